// Real documents, when $QUARRY_CORPUS names a folder of them.
#include "foundation/Path.h"
#include "helper/RichTextReaders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>

namespace quarry {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

fs::path corpus() {
    const char* folder = std::getenv("QUARRY_CORPUS");
    return folder != nullptr ? fs::path(folder) / "richtext" : fs::path();
}

/// What nobody reads: encrypted documents, archives damaged beyond telling what they are, and pages without the web
/// engine.
bool isExpectedNil(const fs::path& file, bool hasEngine) {
    static const std::set<std::string> kNames{
        "apache_poi__PasswordProtected.doc",
        "apache_poi__bug53475-password-is-pass.docx",
        "apache_poi__clusterfuzz-testcase-minimized-POIXWPFFuzzer-4791943399604224.docx",
        "apache_poi__clusterfuzz-testcase-minimized-POIXWPFFuzzer-6442791109263360.docx",
        "apache_poi__crash-517626e815e0afa9decd0ebb6d1dee63fb9907dd.docx",
    };
    return kNames.contains(file.filename()) || (file.extension() == ".webarchive" && !hasEngine);
}

/// Web archives bring everything along.
class Nothing : public halden::ResourceLoadDelegate {
public:
    halden::ResourceDecision willSendRequest(const halden::Url&, const std::optional<halden::Url>&) override {
        return {};
    }
};

class RichTextCorpus : public ::testing::TestWithParam<const char*> {};

TEST_P(RichTextCorpus, IsRead) {
    const fs::path folder = corpus() / GetParam();
    if (!fs::is_directory(folder)) GTEST_SKIP() << "QUARRY_CORPUS is not set";
    halden::HtmlRenderer renderer;
    Nothing nothing;
    RichTextReaders readers(renderer, nothing);
    const bool hasEngine = !renderer.start().version.empty();
    int read = 0;
    int nil = 0;
    Clock::duration slowest{};
    for (const auto& entry : fs::directory_iterator(folder)) {
        const auto start = Clock::now();
        const auto document = readers.documentAtPath(halden::stringFromPathBytes(entry.path().string()));
        slowest = std::max(slowest, Clock::now() - start);
        EXPECT_EQ(document.has_value(), !isExpectedNil(entry.path(), hasEngine)) << entry.path();
        ++(document ? read : nil);
        if (document) {
            EXPECT_TRUE(document->documentAttributes.contains(u"DocumentType")) << entry.path();
        }
    }
    std::cout << GetParam() << ": " << read << " read, " << nil << " nil, the slowest took "
              << std::chrono::duration_cast<std::chrono::milliseconds>(slowest).count() << " ms\n";
    EXPECT_GT(read + nil, 0);
}

INSTANTIATE_TEST_SUITE_P(Kinds, RichTextCorpus,
                         ::testing::Values("doc", "docx", "odt", "fodt", "xml", "rtfd", "flat-rtfd", "webarchive"),
                         [](const auto& row) {
                             std::string name = row.param;
                             std::erase(name, '-');
                             return name;
                         });

}  // namespace
}  // namespace quarry
