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

struct Encoded {
    const char* what;
    std::string_view bytes;
    std::string_view text;
};

const Encoded kEncoded[] = {
    {"Windows-1251",
     "\321\372\345\370\374 \346\345 \345\371\270 \375\362\350\365 \354\377\343\352\350\365 "
     "\364\360\340\355\366\363\347\361\352\350\365 \341\363\353\356\352, \344\340 \342\373\357\345\351 \367\340\376.",
     "Съешь же ещё этих мягких французских булок, да выпей чаю."},
    {"KOI8-R",
     "\363\337\305\333\330 \326\305 \305\335\243 \334\324\311\310 \315\321\307\313\311\310 "
     "\306\322\301\316\303\325\332\323\313\311\310 \302\325\314\317\313, \304\301 \327\331\320\305\312 \336\301\300.",
     "Съешь же ещё этих мягких французских булок, да выпей чаю."},
    {"Shift JIS",
     "\202\242\202\353\202\315\202\311\202\331\202\326\202\306 \202\277\202\350\202\312\202\351\202\360 "
     "\202\355\202\251\202\346\202\275\202\352\202\273 \202\302\202\313\202\310\202\347\202\336",
     "いろはにほへと ちりぬるを わかよたれそ つねならむ"},
    {"GB 18030",
     "\310\313\310\313\311\372\266\370\327\324\323\311,"
     "\324\332\327\360\321\317\272\315\310\250\300\373\311\317\322\273\302\311\306\275\265\310\241\243",
     "人人生而自由,在尊严和权利上一律平等。"},
    {"Windows-1250", "P\370\355li\232 \236lu\235ou\350k\375 k\371\362 \372p\354l \357\341belsk\351 \363dy",
     "Příliš žluťoučký kůň úpěl ďábelské ódy"},
    {"Windows Latin 1", "\223Na\357ve\224 caf\351s \226 l\222\351t\351, a few \223quoted\224 words",
     "“Naïve” cafés – l’été, a few “quoted” words"},
};

TEST(PlainText, EncodingsAreToldByTheirLetters) {
    for (const Encoded& row : kEncoded)
        EXPECT_EQ(cleanTextOfBytes(row.bytes), row.text) << row.what;
    const std::string_view japanese = kEncoded[2].bytes;
    EXPECT_EQ(cleanTextOfBytes(japanese.substr(0, japanese.size() - 1), Extent::beginning),
              kEncoded[2].text.substr(0, kEncoded[2].text.size() - 3));
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
