// Importers read. What none of them does is seen here: write a byte into a file, leave one behind, keep one open.
#include "tests/importers/system/SystemBundles.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <iterator>
#include <set>

namespace quarry::test {
namespace {

namespace fs = std::filesystem;

std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        names.insert(entry.path().string());
    return names;
}

std::ptrdiff_t openFiles() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

class LeavesNothingTest : public SystemBundles {
protected:
    LeavesNothingTest() {
        const std::pair<const char*, const char*> samples[] = {
            {"a.txt", "Text"},
            {"a.html", "<html><head><title>T</title></head><body>Text</body></html>"},
            {"a.rtf", "{\\rtf1 Text}"},
            {"a.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:A\r\nEND:VCARD\r\n"},
            {"a.ics", "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:S\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n"},
            {"a.eml", "From: a@b.c\r\nSubject: S\r\nContent-Type: text/html\r\n\r\n<p>Text</p>\r\n"},
            {"a.mbox", "From a Thu Jan  1 00:00:00 2026\nSubject: S\n\nText\n"},
            {"a.fodt", "<office:document xmlns:office='urn:oasis:names:tc:opendocument:xmlns:office:1.0'/>"},
            {"a.doc", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"},
            {"a.pdf", "%PDF-1.4"},
            {"a.ttf", "OTTO"},
            {"a.djvu", "AT&TFORM"},
            {"a.chm", "ITSF"},
            {"a.mobi", "BOOKMOBI"},
            {"a.pages", "PK\3\4"},
            {"a.zip", "PK\3\4"},
            {"a.docx", "PK\3\4"},
            {"a.epub", "PK\3\4"},
            {"a.png", "\x89PNG\r\n\x1A\n"},
            {"a.mp3", "ID3"},
            {"a.mp4", "ftyp"}};
        for (const auto& [name, bytes] : samples)
            files_.push_back(folder_.write(name, bytes));
        if (const char* corpus = std::getenv("QUARRY_CORPUS")) {
            for (const auto& entry : fs::directory_iterator(fs::path(corpus) / "files"))
                files_.push_back(entry.path());
        }
    }

    std::vector<fs::path> files_;
};

TEST_F(LeavesNothingTest, AProcessThatMayNotWriteReadsEveryKind) {
    const fs::path temporary = folder_ / "temporary";
    fs::create_directory(temporary);
    const auto before = namesIn(folder_ / ".");
    const pid_t child = fork();
    if (child == 0) {
        setenv("TMPDIR", temporary.c_str(), 1);
        setenv("HOME", temporary.c_str(), 1);
        setenv("XDG_CACHE_HOME", temporary.c_str(), 1);
        const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(nothing, STDOUT_FILENO);
        dup2(nothing, STDERR_FILENO);
        // Whoever writes into a file is ended by a signal.
        constexpr rlimit kNoBytes{0, 0};
        setrlimit(RLIMIT_FSIZE, &kNoBytes);
        std::size_t results = 0;
        for (const auto& file : files_)
            results += metaDataOf(file) ? 1 : 0;
        _exit(results >= 5 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_FALSE(WIFSIGNALED(status)) << "signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(namesIn(folder_ / "."), before);
}

TEST_F(LeavesNothingTest, NoFileStaysOpen) {
    const auto readAll = [this] {
        for (const auto& file : files_)
            (void)metaDataOf(file);
    };
    readAll();  // libraries open what they keep
    const auto before = openFiles();
    readAll();
    EXPECT_EQ(openFiles(), before);
}

}  // namespace
}  // namespace quarry::test
