// RTFD packages on disk, and what becomes of them where they cannot be written.
#include "foundation/Path.h"
#include "richtext/FlatRtfd.h"
#include "richtext/RtfdPackage.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace halden {
namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

void write(const fs::path& path, std::string_view bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

std::u16string stringOf(const fs::path& path) {
    return stringFromPathBytes(path.native());
}

FileNode fileNode(std::u16string name, std::string_view bytes) {
    return {.name = std::move(name), .data = Data::copying(bytes), .children = {}};
}

FileNode folderNode(std::u16string name, std::vector<FileNode> children) {
    return {.name = std::move(name), .data = {}, .isFolder = true, .children = std::move(children)};
}

/// A text with an attachment for each file.
RichTextDocument documentWith(const std::vector<FileNode>& files) {
    AttributedString::Parts parts;
    for (const FileNode& file : files) {
        parts.attachments.push_back({parts.text.size(), std::make_shared<const Attachment>(Attachment{.file = file})});
        parts.text += u'\uFFFC';
    }
    parts.text += u"words\n";
    parts.characterRuns.push_back({parts.text.size(), std::make_shared<const CharacterAttributes>()});
    parts.paragraphRuns.push_back({parts.text.size(), std::make_shared<const ParagraphAttributes>()});
    return {AttributedString(std::move(parts)), {}};
}

class RtfdPackage : public ::testing::Test {
protected:
    RtfdPackage() {
        std::string path = (fs::temp_directory_path() / "rtfd-XXXXXX").native();
        folder_ = ::mkdtemp(path.data());
    }
    ~RtfdPackage() override { fs::remove_all(folder_); }

    std::vector<std::string> names(const fs::path& path) const {
        std::vector<std::string> names;
        for (const auto& entry : fs::recursive_directory_iterator(path))
            names.push_back(entry.path().lexically_relative(path));
        std::ranges::sort(names);
        return names;
    }

    /// Runs `action` in a process of its own, which may limit itself; whether it returned true.
    template <class Action>
    static bool inChild(Action action) {
        const pid_t child = ::fork();
        if (child == 0) ::_exit(action() ? 0 : 1);
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status));
        return WEXITSTATUS(status) == 0;
    }

    fs::path folder_;
};

TEST_F(RtfdPackage, HoldsTheTextAndItsFiles) {
    const FileNode package =
        packageFromDocument(documentWith({fileNode(u"a.bin", "A"), folderNode(u"d", {fileNode(u"b", "B")})}));
    const fs::path path = folder_ / "a.rtfd";
    EXPECT_TRUE(writePackage(package, stringOf(path)));
    EXPECT_EQ(names(path), (std::vector<std::string>{"TXT.rtf", "a.bin", "d", "d/b"}));
    EXPECT_EQ(contents(path / "d/b"), "B");
    EXPECT_TRUE(contents(path / "TXT.rtf").starts_with("{\\rtf1"));

    const auto again = documentFromRtfdPackage(stringOf(path));
    ASSERT_TRUE(again);
    EXPECT_EQ(*again->documentAttributes.find(u"DocumentType"), Value(u"NSRTFD"));
    const FileNode written = packageFromDocument(*again);
    ASSERT_EQ(written.children.size(), 3U);
    EXPECT_EQ(written.children[1], package.children[1]);
    EXPECT_EQ(written.children[2], package.children[2]);
}

TEST_F(RtfdPackage, AFileThatIsAttachedOftenLiesThereOnce) {
    const FileNode file = fileNode(u"a.bin", "A");
    const FileNode package =
        packageFromDocument(documentWith({file, fileNode(u"a.bin", "other"), file, file, fileNode(u"TXT.rtf", "x")}));
    ASSERT_EQ(package.children.size(), 5U);
    EXPECT_EQ(package.children[1], file);
    EXPECT_EQ(package.children[2].name, u"a-2.bin");
    EXPECT_EQ(package.children[2].data.view(), "other");
    EXPECT_EQ(package.children[3].name, u"a-3.bin");
    EXPECT_EQ(package.children[4].name, u"TXT-2.rtf");
}

// Whatever a name is, its file lies in the folder of the package.
TEST_F(RtfdPackage, HostileNamesStayInside) {
    const std::u16string hostile[] = {u"..",
                                      u".",
                                      u"",
                                      u"/",
                                      u"../../out",
                                      u"/etc/out",
                                      u"a/b",
                                      std::u16string(4000, u'x') + u".png",
                                      u"a\nb",
                                      u" a ",
                                      std::u16string(300, u'\u65E5'),
                                      {0xD800, u'a'},
                                      u"TXT.rtf",
                                      u"..."};
    std::vector<FileNode> files;
    for (const std::u16string& name : hostile) {
        files.push_back(fileNode(name, "bytes"));
        files.push_back(folderNode(name, {fileNode(name, "inside"), fileNode(name, "twice")}));
    }
    const fs::path path = folder_ / "deep/er/a.rtfd";
    fs::create_directories(path.parent_path());
    ASSERT_TRUE(writePackage(packageFromDocument(documentWith(files)), stringOf(path)));
    EXPECT_EQ(std::distance(fs::directory_iterator(path), {}), static_cast<std::ptrdiff_t>(files.size() + 1));
    EXPECT_EQ(names(folder_).size(), 3 + files.size() / 2 * 4 + 1);  // nothing beside
    const auto again = documentFromRtfdPackage(stringOf(path));
    ASSERT_TRUE(again);
    ASSERT_EQ(again->text.attachments().size(), files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        const FileNode& file = again->text.attachments()[i].attachment->file;
        EXPECT_EQ(file.isFolder, files[i].isFolder);
        if (file.isFolder) {
            EXPECT_EQ(file.children.size(), 2U);
        } else {
            EXPECT_EQ(file.data.view(), "bytes");
        }
    }
}

TEST_F(RtfdPackage, NamesThatNoPackageMakesAreNotWritten) {
    for (const std::u16string& name : {std::u16string(u".."), std::u16string(u"a/b"), std::u16string()}) {
        EXPECT_FALSE(writePackage(folderNode(u"", {fileNode(u"TXT.rtf", "{\\rtf1}"), fileNode(name, "x")}),
                                  stringOf(folder_ / "a.rtfd")));
        EXPECT_TRUE(fs::is_empty(folder_));
    }
    EXPECT_FALSE(writePackage(fileNode(u"a", "no folder"), stringOf(folder_ / "a.rtfd")));
}

TEST_F(RtfdPackage, IsNotWrittenIntoAMissingFolder) {
    const FileNode package = packageFromDocument(documentWith({}));
    EXPECT_FALSE(writePackage(package, stringOf(folder_ / "missing/a.rtfd")));
    EXPECT_FALSE(writePackage(package, u""));
    EXPECT_TRUE(fs::is_empty(folder_));
}

TEST_F(RtfdPackage, TakesThePlaceOfAnother) {
    const fs::path path = folder_ / "a.rtfd";
    write(path / "TXT.rtf", "{\\rtf1 old}");
    write(path / "d/old", "old");
    write(path / "kept", "kept");
    struct stat before {};
    ::stat(path.c_str(), &before);
    EXPECT_TRUE(
        writePackage(packageFromDocument(documentWith({folderNode(u"d", {fileNode(u"new", "n")})})), stringOf(path)));
    EXPECT_EQ(names(path), (std::vector<std::string>{"TXT.rtf", "d", "d/new", "kept"}));
    EXPECT_NE(contents(path / "TXT.rtf").find("words"), std::string::npos);
    // The folder itself stays: it is not written as a whole.
    struct stat after {};
    ::stat(path.c_str(), &after);
    EXPECT_EQ(after.st_ino, before.st_ino);
}

TEST_F(RtfdPackage, DoesNotTakeThePlaceOfAFile) {
    write(folder_ / "a.rtfd", "a file");
    EXPECT_FALSE(writePackage(packageFromDocument(documentWith({})), stringOf(folder_ / "a.rtfd")));
    EXPECT_EQ(contents(folder_ / "a.rtfd"), "a file");
}

/// Files may have 4096 bytes, as if the disk were full then.
void limitFiles() {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{4096, 4096};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

TEST_F(RtfdPackage, LeavesNothingOnAFullDisk) {
    const FileNode package =
        packageFromDocument(documentWith({fileNode(u"small", "s"), fileNode(u"big", std::string(5000, 'b'))}));
    EXPECT_FALSE(inChild([&] {
        limitFiles();
        return writePackage(package, stringOf(folder_ / "a.rtfd"));
    }));
    EXPECT_TRUE(fs::is_empty(folder_));
    EXPECT_TRUE(writePackage(package, stringOf(folder_ / "a.rtfd")));
}

TEST_F(RtfdPackage, LeavesAnOlderOneOnAFullDisk) {
    const fs::path path = folder_ / "a.rtfd";
    write(path / "TXT.rtf", "{\\rtf1 old}");
    write(path / "small", "old");
    const FileNode package =
        packageFromDocument(documentWith({fileNode(u"small", "s"), fileNode(u"big", std::string(5000, 'b'))}));
    EXPECT_FALSE(inChild([&] {
        limitFiles();
        return writePackage(package, stringOf(path));
    }));
    EXPECT_EQ(names(path), (std::vector<std::string>{"TXT.rtf", "small"}));
    EXPECT_EQ(contents(path / "TXT.rtf"), "{\\rtf1 old}");
    EXPECT_EQ(contents(path / "small"), "old");
}

/// The folder belongs to someone else, and is there to be read.
TEST_F(RtfdPackage, IsNotWrittenIntoAReadOnlyFolder) {
    const FileNode package = packageFromDocument(documentWith({fileNode(u"a", "a")}));
    const fs::path path = folder_ / "old.rtfd";
    write(path / "TXT.rtf", "{\\rtf1 old}");
    for (const fs::path& folder : {path, folder_})
        ::chmod(folder.c_str(), 0555);
    EXPECT_FALSE(inChild([&] {
        if (::geteuid() == 0 && ::setuid(65534) != 0) return true;
        return writePackage(package, stringOf(folder_ / "a.rtfd")) || writePackage(package, stringOf(path));
    }));
    for (const fs::path& folder : {path, folder_})
        ::chmod(folder.c_str(), 0755);
    EXPECT_EQ(names(folder_), (std::vector<std::string>{"old.rtfd", "old.rtfd/TXT.rtf"}));
}

TEST_F(RtfdPackage, ReadsNothingOutsideItself) {
    write(folder_ / "secret", "secret");
    const fs::path path = folder_ / "a.rtfd";
    write(path / "TXT.rtf",
          "{\\rtf1 {{\\NeXTGraphic ../secret }\xAC}{{\\NeXTGraphic link }\xAC}{{\\NeXTGraphic .. }\xAC}"
          "{{\\NeXTGraphic pipe }\xAC}{{\\NeXTGraphic d }\xAC}{{\\NeXTGraphic missing }\xAC}}");
    write(path / "d/inside", "i");
    fs::create_symlink(folder_ / "secret", path / "link");
    fs::create_symlink(folder_ / "secret", path / "d/link");
    ::mkfifo((path / "pipe").c_str(), 0600);
    const auto document = documentFromRtfdPackage(stringOf(path));
    ASSERT_TRUE(document);
    ASSERT_EQ(document->text.attachments().size(), 6U);
    for (const auto& place : document->text.attachments()) {
        EXPECT_TRUE(place.attachment->file.data.empty());
        if (place.attachment->file.isFolder) {
            ASSERT_EQ(place.attachment->file.children.size(), 1U);
            EXPECT_EQ(place.attachment->file.children[0], fileNode(u"inside", "i"));
        }
    }
}

TEST_F(RtfdPackage, WithoutTextThereIsNoDocument) {
    EXPECT_FALSE(documentFromRtfdPackage(stringOf(folder_)));
    EXPECT_FALSE(documentFromRtfdPackage(stringOf(folder_ / "missing")));
    EXPECT_FALSE(documentFromRtfdPackage(u""));
    write(folder_ / "a.rtfd/TXT.rtf", "no RTF");
    EXPECT_FALSE(documentFromRtfdPackage(stringOf(folder_ / "a.rtfd")));
    write(folder_ / "outside.rtf", "{\\rtf1}");
    fs::create_directory(folder_ / "b.rtfd");
    fs::create_symlink(folder_ / "outside.rtf", folder_ / "b.rtfd/TXT.rtf");
    EXPECT_FALSE(documentFromRtfdPackage(stringOf(folder_ / "b.rtfd")));
}

TEST_F(RtfdPackage, RealPackagesAreRead) {
    const char* const corpus = std::getenv("QUARRY_CORPUS");
    if (corpus == nullptr) GTEST_SKIP() << "QUARRY_CORPUS is not set";
    int count = 0;
    for (const auto& sample : fs::directory_iterator(fs::path(corpus) / "richtext/rtfd")) {
        ++count;
        const auto document = documentFromRtfdPackage(stringOf(sample.path()));
        ASSERT_TRUE(document) << sample.path();
        EXPECT_FALSE(document->text.empty());
        const auto files = std::distance(fs::directory_iterator(sample.path()), {});
        EXPECT_EQ(document->text.attachments().size(), static_cast<std::size_t>(files) - 1) << sample.path();
        const fs::path copy = folder_ / sample.path().filename();
        ASSERT_TRUE(writePackage(packageFromDocument(*document), stringOf(copy)));
        for (const auto& file : fs::directory_iterator(sample.path())) {
            if (file.path().filename() == "TXT.rtf") continue;
            EXPECT_EQ(contents(copy / file.path().filename()), contents(file.path())) << file.path();
        }
    }
    EXPECT_GT(count, 0);
}

TEST(FileNames, AreWhatFilesCanHave) {
    const std::pair<std::u16string, std::u16string> rows[] = {
        {u"a.png", u"a.png"},
        {u"Pasted Graphic 1.png", u"Pasted Graphic 1.png"},
        {u"", u"Attachment"},
        {u"..", u"Attachment"},
        {u"a/b", u"a_b"},
        {u"/", u"_"},
        {u"  a b  ", u"a b"},
        {u"a\nb\u007F", u"a_b_"},
        {{u'a', 0xDC80}, u"a_"},
        {u"\U0001F600", u"\U0001F600"},
        {std::u16string(4000, u'x') + u".png", std::u16string(251, u'x') + u".png"},
        {std::u16string(100, u'\u65E5') + u".p", std::u16string(84, u'\u65E5') + u".p"},
        {u"a." + std::u16string(4000, u'x'), u"a." + std::u16string(253, u'x')},
        {std::u16string(254, u'x') + u" y", std::u16string(254, u'x')},  // no blank where it is cut
        {std::u16string(300, u'.') + u"x", u"Attachment"}};
    for (const auto& [name, fileName] : rows)
        EXPECT_EQ(fileNameFrom(name), fileName);
}

}  // namespace
}  // namespace halden
