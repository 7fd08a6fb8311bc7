#include "importers/system/Text/Markdown.h"
#include "importers/system/Text/PlainText.h"

#include <gtest/gtest.h>

namespace quarry::text {
namespace {

using namespace std::string_view_literals;

struct Row {
    const char* what;
    std::string_view bytes;
    std::optional<std::string> text;
};

const Row kTexts[] = {
    {"UTF-8", "caf\xC3\xA9", "caf\xC3\xA9"},
    {"UTF-8 with mark",
     "\xEF\xBB\xBF"
     "a",
     "a"},
    {"ISO Latin 1", "caf\xE9", "caf\xC3\xA9"},
    {"a surrogate in three bytes is no UTF-8", "\xED\xA0\x80", "\xC3\xAD\xC2\xA0"},
    {"an overlong form is no UTF-8", "\xC0\xAF", "\xC3\x80\xC2\xAF"},
    {"UTF-16 little-endian with mark", "\xFF\xFE\xE9\0\x3D\xD8\x00\xDE"sv, "\xC3\xA9\xF0\x9F\x98\x80"},
    {"UTF-16 big-endian with mark", "\xFE\xFF\0a\0b"sv, "ab"},
    {"UTF-16 little-endian", "a\0 \0b\0"sv, "a b"},
    {"UTF-16 big-endian", "\0a\0 \0b"sv, "a b"},
    {"a lone surrogate with mark is dropped", "\xFF\xFE\x00\xD8\x61\x00"sv, "a"},
    {"zeros that are no UTF-16", "abc\0\0\0\0"sv, std::nullopt},
    {"binary", "\0\1\2\3\4\5"sv, std::nullopt},
    {"line ends", "a\r\nb\rc\n\rd\fe\vf", "a\nb\nc\n\nd\ne\nf"},
    {"control characters", "a\x01\x1B[0m\tb\x7F\xC2\x85\xC2\x90", "a[0m\tb\n"},
    {"empty", "", ""},
};

TEST(PlainText, EncodingsAndCleaning) {
    for (const auto& row : kTexts)
        EXPECT_EQ(cleanTextOfBytes(row.bytes), row.text) << row.what;
}

TEST(PlainText, OnlyTheEndOfABeginningCutsACharacter) {
    EXPECT_EQ(cleanTextOfBytes("\xC3\xA9 \xE2\x82", Extent::beginning), "\xC3\xA9 ");
    EXPECT_EQ(cleanTextOfBytes("\xE9\xE9", Extent::beginning), "\xC3\xA9\xC3\xA9");
}

TEST(Markdown, Titles) {
    const std::pair<std::string_view, const char*> rows[] = {
        {"# One\n# Two", "One"},
        {"text\n\n## Second level ##\n", "Second level"},
        {"Under\n=====\n", "Under"},
        {"Under\n---\n", "Under"},
        {"---\ntitle\n", ""},
        {"#no space\n#\n####### seven", ""},
        {"```\n# code\n```\n# Real", "Real"},
        {"# C#", "C#"},
        {"", ""},
    };
    for (const auto& [text, title] : rows)
        EXPECT_EQ(titleOfMarkdown(text), title) << text;
}

}  // namespace
}  // namespace quarry::text
