// Real documents, when there is a folder of them: $QUARRY_CORPUS, else shared/corpus beside the source tree.
#include "platform/pdf/PdfDocument.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace halden {
namespace {

namespace fs = std::filesystem;

fs::path corpus() {
    const char* folder = std::getenv("QUARRY_CORPUS");
    return fs::path(folder != nullptr ? folder : QUARRY_SOURCE_DIR "/../shared/corpus") / "pdf";
}

enum Outcome : int { kOtherLines = 9, kNoDocument, kLocked, kNoPages, kNoText, kText };

// The lines of longer documents are compared on so many pages.
constexpr int kComparedPages = 20;

int outcomeOf(const fs::path& path) {
    const auto data = Data::mappedContentsOfFile(path.native());
    const auto document = data ? PdfDocument::documentWithData(*data) : nullptr;
    if (!document) return kNoDocument;
    (void)document->documentAttributes();
    if (document->isLocked()) return kLocked;
    if (document->pageCount() == 0) return kNoPages;
    int outcome = kNoText;
    for (int page = 0; page < document->pageCount(); ++page) {
        const auto text = document->textOfPage(page);
        if (text && !text->empty()) outcome = kText;
        if (page >= kComparedPages) continue;
        const auto styled = document->styledTextOfPage(page);
        if (text.has_value() != styled.has_value() || (text && *text != styled->text)) return kOtherLines;
    }
    return outcome;
}

/// The outcome in a process of its own, so that a crash is one file's; -1 for a crash or more than 50 s.
int outcomeInChild(const fs::path& path) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(50);
        _exit(outcomeOf(path));
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(PdfCorpus, IsReadWithoutACrash) {
    if (!fs::is_directory(corpus())) GTEST_SKIP() << "no corpus";
    int files = 0;
    int withPages = 0;
    int withText = 0;
    int unreadable = 0;
    for (const auto& entry : fs::directory_iterator(corpus())) {
        if (entry.path().extension() != ".pdf") continue;
        const int outcome = outcomeInChild(entry.path());
        EXPECT_GE(outcome, kNoDocument) << entry.path();
        ++files;
        withText += outcome == kText ? 1 : 0;
        withPages += outcome == kText || outcome == kNoText ? 1 : 0;
        unreadable += outcome == kNoDocument || outcome == kNoPages ? 1 : 0;
    }
    RecordProperty("files", files);
    RecordProperty("withPages", withPages);
    RecordProperty("withText", withText);
    // What was reached is not to be lost again.
    if (files < 90) GTEST_SKIP() << "another corpus: " << files << " files, " << withText << " with text";
    EXPECT_LE(unreadable, 2);
    EXPECT_GE(withPages, 83);
    EXPECT_GE(withText, 67);
}

}  // namespace
}  // namespace halden
