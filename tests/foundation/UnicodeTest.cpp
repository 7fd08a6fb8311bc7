#include "foundation/Unicode.h"

#include <gtest/gtest.h>

#include <random>

namespace halden {
namespace {

TEST(Unicode, EveryStringOfUnitsComesBackThroughUtf8) {
    std::mt19937 random(1);
    const char16_t interesting[] = {0,      'a',    0x7F,   0x80,   0x7FF,  0x800,  0xD7FF, 0xD800,
                                    0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFEFF, 0xFFFD, 0xFFFF};
    for (int round = 0; round < 5000; ++round) {
        std::u16string text;
        for (std::size_t length = random() % 12; length > 0; --length) {
            text +=
                random() % 2 == 0 ? interesting[random() % std::size(interesting)] : static_cast<char16_t>(random());
        }
        const std::string bytes = utf8FromUtf16(text);
        ASSERT_EQ(utf16FromUtf8(bytes), text);
        // The strict forms accept exactly the strings without lone surrogates.
        ASSERT_EQ(strictUtf8FromUtf16(text).has_value(), isWellFormed(text));
        ASSERT_EQ(strictUtf16FromUtf8(bytes).has_value(), isWellFormed(text));
    }
}

struct IllFormed {
    const char* what;
    std::string_view bytes;
    std::u16string_view decoded;
};

const IllFormed kIllFormed[] = {
    {"stray continuation", "a\x80z", u"a\uFFFDz"},
    {"overlong slash", "\xC0\xAF", u"\uFFFD\uFFFD"},
    {"overlong of three bytes", "\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
    {"cut after two of three", "\xE2\x82", u"\uFFFD"},
    {"cut inside, text goes on", "\xE2\x82z", u"\uFFFDz"},
    {"cut after three of four", "\xF0\x9F\x98", u"\uFFFD"},
    {"beyond U+10FFFF", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"no lead byte at all", "\xFF\xFE", u"\uFFFD\uFFFD"},
};

TEST(Unicode, IllFormedBytesBecomeOneReplacementForEachLongestPrefix) {
    for (const auto& row : kIllFormed) {
        EXPECT_EQ(utf16FromUtf8(row.bytes), row.decoded) << row.what;
        EXPECT_FALSE(strictUtf16FromUtf8(row.bytes)) << row.what;
    }
}

}  // namespace
}  // namespace halden
