// Real files, when there is a folder of them: $QUARRY_CORPUS/richtext. Their texts are judged by hashes of what
// LibreOffice makes of them.
#include "foundation/Data.h"
#include "foundation/Unicode.h"
#include "richtext/RtfReader.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace halden {
namespace {

namespace fs = std::filesystem;

std::uint64_t fnv1a(std::string_view bytes) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
    return hash;
}

bool isBlank(char16_t unit) {
    constexpr std::u16string_view kBlanks = u"\t\n\v\f\r \u0085\u00A0\u1680\u2028\u2029\u202F\u205F\u3000";
    return kBlanks.find(unit) != kBlanks.npos || (unit >= 0x2000 && unit <= 0x200A);
}

/// `text` with white space as single blanks, none at the ends, and without what another program may leave out.
std::u16string comparable(std::u16string_view text) {
    std::u16string result;
    for (const char16_t unit : text) {
        if (unit == 0xFFFC || unit == 0x00AD || unit == 0x200B || unit == 0xFEFF) continue;
        if (!isBlank(unit)) {
            result += unit;
        } else if (!result.empty() && result.back() != u' ') {
            result += u' ';
        }
    }
    if (!result.empty() && result.back() == u' ') result.pop_back();
    return result;
}

TEST(RtfCorpus, FilesHaveTheTextThatLibreOfficeReads) {
    const char* folder = std::getenv("QUARRY_CORPUS");
    if (folder == nullptr) GTEST_SKIP() << "QUARRY_CORPUS is not set";
    std::ifstream table(QUARRY_SOURCE_DIR "/tests/richtext/rtf_corpus.tsv");
    int files = 0;
    int equal = 0;
    for (std::string line; std::getline(table, line);) {
        if (line.starts_with('#')) continue;
        const std::size_t hashStart = line.find('\t') + 1;
        const std::size_t reasonStart = line.find('\t', hashStart) + 1;
        const std::string name = line.substr(0, hashStart - 1);
        const std::string hash = line.substr(hashStart, reasonStart - 1 - hashStart);
        const bool hasReason = reasonStart < line.size();
        const auto data = Data::contentsOfFile((fs::path(folder) / "richtext" / "rtf" / name).string());
        if (!data) continue;  // a corpus may have a part of the files
        const auto document = documentFromRtf(data->view());
        EXPECT_EQ(document.has_value(), hash != "nil") << name;
        if (!document) continue;
        ++files;
        std::uint64_t expected = 0;
        std::from_chars(hash.data(), hash.data() + hash.size(), expected, 16);
        const bool isEqual = fnv1a(utf8FromUtf16(comparable(document->text.string()))) == expected;
        equal += isEqual ? 1 : 0;
        EXPECT_EQ(isEqual, !hasReason) << name << "\n"
                                       << utf8FromUtf16(comparable(document->text.string())).substr(0, 2000);
    }
    RecordProperty("files", files);
    RecordProperty("equal", equal);
}

/// The RTF inside packages: what a package's file of text, or the first record that begins as RTF, holds.
TEST(RtfCorpus, PackagesAreRead) {
    const char* folder = std::getenv("QUARRY_CORPUS");
    if (folder == nullptr) GTEST_SKIP() << "QUARRY_CORPUS is not set";
    for (const char* part : {"rtfd", "flat-rtfd"}) {
        std::error_code error;
        for (const auto& entry : fs::recursive_directory_iterator(fs::path(folder) / "richtext" / part, error)) {
            const auto data = Data::contentsOfFile(entry.path().string());
            if (!data) continue;
            const std::size_t start = data->view().find("{\\rtf");
            if (start == std::string_view::npos) continue;
            const auto document = documentFromRtf(data->view().substr(start));
            ASSERT_TRUE(document) << entry.path();
            EXPECT_TRUE(isWellFormed(document->text.string())) << entry.path();
            EXPECT_FALSE(comparable(document->text.string()).empty() && document->text.attachments().empty())
                << entry.path();
        }
    }
}

}  // namespace
}  // namespace halden
