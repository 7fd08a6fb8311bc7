// Real files in many character sets, when there is a folder of them: $QUARRY_CORPUS, else shared/corpus beside the
// source tree. Their true texts are judged by hashes, which were made with other decoders.
#include "foundation/Data.h"
#include "foundation/Log.h"
#include "foundation/Unicode.h"
#include "markup/MarkupDecoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace halden {
namespace {

std::uint64_t fnv1a(std::string_view bytes) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
    return hash;
}

struct Row {
    std::string file;
    std::string name;
    std::uint64_t hash = 0;
    std::string reason;
};

/// The columns of a line, which are separated by tabs.
Row rowOf(std::string_view line) {
    const auto next = [&line] {
        const std::string_view column = line.substr(0, line.find('\t'));
        line.remove_prefix(std::min(line.size(), column.size() + 1));
        return column;
    };
    Row row;
    row.file = next();
    row.name = next();
    const std::string_view hash = next();
    std::from_chars(hash.data(), hash.data() + hash.size(), row.hash, 16);
    row.reason = next();
    return row;
}

TEST(CharsetCorpus, FilesAreReadByTheirTrueNameOrDeclaration) {
    const char* folder = std::getenv("QUARRY_CORPUS");
    if (folder == nullptr) GTEST_SKIP() << "QUARRY_CORPUS is not set";
    const std::filesystem::path corpus = std::filesystem::path(folder) / "charset";
    setLogSink([](LogLevel, std::string_view) {});
    std::ifstream table(QUARRY_SOURCE_DIR "/tests/markup/charset_corpus.tsv");
    int files = 0;
    int correct = 0;
    for (std::string line; std::getline(table, line);) {
        if (line.starts_with('#')) continue;
        const Row row = rowOf(line);
        const auto data = Data::contentsOfFile((corpus / row.file).string());
        if (!data) continue;  // a corpus may have a part of the files
        ++files;
        const auto text = stringWithMarkupData(data->view(), utf16FromUtf8(row.name), 12);
        const bool isCorrect = text && fnv1a(utf8FromUtf16(*text)) == row.hash;
        correct += isCorrect ? 1 : 0;
        EXPECT_EQ(isCorrect, row.reason.empty()) << row.file << " as \"" << row.name << '"';
    }
    setLogSink({});
    EXPECT_GE(correct * 100, files * 95) << correct << " of " << files;
}

}  // namespace
}  // namespace halden
