#include "foundation/TextEncoding.h"
#include "foundation/Unicode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <thread>

namespace halden {
namespace {

std::u16string decode(std::string_view bytes, CFStringEncoding encoding, DecodeResult* result = nullptr) {
    DecodeResult own;
    return decodedText(bytes, encoding, std::max<std::size_t>(bytes.size() * 4, 32), result != nullptr ? *result : own);
}

// --- Number spaces -------------------------------------------------------------------------------------------------

TEST(TextEncodingNumbers, SmallStringEncodings) {
    const std::pair<CFStringEncoding, NSStringEncoding> rows[] = {
        {0x600, 1},  {0xB01, 2},  {0x920, 3},  {0x08000100, 4},      {0x201, 5},           {0x21, 6},   {0xBFF, 7},
        {0x420, 8},  {0x202, 9},  {0x100, 10}, {0x502, 11},          {0x500, 12},          {0x503, 13}, {0x504, 14},
        {0x501, 15}, {0x820, 21}, {0, 30},     {0xA001, 0xFFFFFFF0}, {0xA002, 0xFFFFFFF1},
    };
    std::set<CFStringEncoding> small;
    for (const auto& [cf, ns] : rows) {
        EXPECT_EQ(CFStringConvertEncodingToNSStringEncoding(cf), ns) << std::hex << cf;
        EXPECT_EQ(CFStringConvertNSStringEncodingToEncoding(ns), cf) << std::hex << ns;
        small.insert(cf);
    }
    for (const TextEncoding& encoding : textEncodings()) {
        if (small.contains(encoding.cfEncoding)) continue;
        const NSStringEncoding ns = 0x80000000 | encoding.cfEncoding;
        EXPECT_EQ(CFStringConvertEncodingToNSStringEncoding(encoding.cfEncoding), ns) << encoding.name;
        EXPECT_EQ(CFStringConvertNSStringEncodingToEncoding(ns), encoding.cfEncoding) << encoding.name;
    }
    for (const std::uint32_t unknown : {0x8U, 0x2FFU, 0x07FFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(CFStringConvertEncodingToNSStringEncoding(unknown), kInvalidEncoding) << std::hex << unknown;
        EXPECT_FALSE(CFStringIsEncodingAvailable(unknown)) << std::hex << unknown;
    }
    for (const std::uint32_t unknown : {0U, 16U, 31U, 0x800002FFU, 0xFFFFFFF2U, 0xFFFFFFFFU})
        EXPECT_EQ(CFStringConvertNSStringEncodingToEncoding(unknown), kInvalidEncoding) << std::hex << unknown;
}

TEST(TextEncodingNumbers, TheListIsSortedAndNamesEveryPublishedNumberOnce) {
    const auto all = textEncodings();
    EXPECT_EQ(all.size(), 143U);
    EXPECT_EQ(std::ranges::adjacent_find(all, std::greater_equal<>{}, &TextEncoding::cfEncoding), all.end());
    std::set<std::string_view> names;
    for (const TextEncoding& encoding : all)
        EXPECT_TRUE(names.insert(encoding.name).second) << encoding.name;
}

TEST(TextEncodingNumbers, OnlyThoseWithoutAnExactConverterAreUnavailable) {
    const std::set<CFStringEncoding> unavailable = {
        0x1,   0x2,   0x3,   0x9,   0xA,   0xB,   0xC,   0xD,   0xE,   0xF,   0x10,  0x11,  0x12,  0x13,
        0x14,  0x16,  0x17,  0x18,  0x19,  0x1A,  0x1B,  0x1C,  0x1E,  0x1F,  0xFC,  0xFF,  0x601, 0x621,
        0x622, 0x624, 0x628, 0x629, 0x640, 0x651, 0x652, 0x653, 0x823, 0xA04, 0xA09, 0xB02,
    };
    for (const TextEncoding& encoding : textEncodings()) {
        EXPECT_EQ(CFStringIsEncodingAvailable(encoding.cfEncoding), !unavailable.contains(encoding.cfEncoding))
            << encoding.name;
        if (!unavailable.contains(encoding.cfEncoding)) continue;
        char16_t unit = 0;
        EXPECT_EQ(decodeText("a", encoding.cfEncoding, {&unit, 1}).status, DecodeStatus::unavailable);
        EXPECT_FALSE(encodedText(u"a", encoding.cfEncoding)) << encoding.name;
    }
}

// --- Samples of every encoding -------------------------------------------------------------------------------------

struct Sample {
    CFStringEncoding encoding;
    std::string_view bytes;
    std::u16string_view text;
};

using namespace std::string_view_literals;

// Bytes whose character tells the encoding from its neighbours.
const Sample kSamples[] = {
    {0x0, "\x80\xDB\xF0\xFF", u"\u00C4\u20AC\uF8FF\u02C7"},            // Mac Roman
    {0x4, "\x8B\xAC\xC1\xE1\xF3", u"\u06BA\u060C\u0621\u0641\u067E"},  // Mac Arabic
    {0x5, "\x81\xE0\xFA\xA6", u"\u05F2\u05B7\u05D0\u05EA\u20AA"},      // Mac Hebrew
    {0x6, "\xB0\xE1\x80", u"\u0391\u03B1\u00C4"},                      // Mac Greek
    {0x7, "\x80\xE0\xA2\xFF", u"\u0410\u0430\u0490\u20AC"},            // Mac Cyrillic
    {0x15, "\xA1\x83\xDF", u"\u0E01\u0E48\uF875\u0E3F"},               // Mac Thai
    {0x1D, "\x81\xAB\xFF", u"\u0100\u0119\u02C7"},                     // Mac Central European
    {0x21, "a\x22\xA5\xE2", u"\u03B1\u2200\u221E\u00AE\uF87F"},        // Mac Symbol
    {0x22, "\x21\xA1\xFE", u"\u2701\u2761\u27BE"},                     // Mac Dingbats
    {0x23, "\xDA\xDD\xDF", u"\u011E\u0131\u015F"},                     // Mac Turkish
    {0x24, "\xA9\xC6\xC8\xD0", u"\u0160\u0106\u010C\u0110"},           // Mac Croatian
    {0x25, "\xA0\xDC\xDD\xBB", u"\u00DD\u00D0\u00F0\u00AA"},           // Mac Icelandic
    {0x26, "\xAE\xAF\xDE\xDF", u"\u0102\u0218\u021A\u021B"},           // Mac Romanian
    {0x27, "\xE2\xF8\xFF", u"\u1EF2\u0174\u1E83"},                     // Mac Celtic
    {0x28, "\xB0\xE4\xFF", u"\u1E02\u204A\u1E83"},                     // Mac Gaelic
    {0x8C, "\xB0\xF3\xA4", u"\u06F0\u067E$"},                          // Mac Farsi
    {0x98, "\x80\xA2\xB6", u"\u0410\u0490\u0491"},                     // Mac Ukrainian
    {0xEC, "\x80\xEF\xFF", u"\u1403\u1671\u0142"},                     // Mac Inuit
    {0x100, "\xFE\xFF\x20\xAC\xD8\x3D\xDE\x00"sv, u"\u20AC\U0001F600"},
    {0x100, "\xFF\xFE\xAC\x20", u"\u20AC"},
    {0x100, "\x20\xAC", u"\u20AC"},
    {0x201, "\x80\xA4\xE9", u"\x80\u00A4\u00E9"},              // ISO Latin 1
    {0x202, "\x80\xA1\xB1\xE8", u"\uFFFD\u0104\u0105\u010D"},  // 2: no C1 controls
    {0x203, "\xA1\xA5\xB1", u"\u0126\uFFFD\u0127"},            // 3
    {0x204, "\xA2\xBD\x90", u"\u0138\u014A\x90"},              // 4
    {0x205, "\xB0\xF0\x9F", u"\u0410\u2116\uFFFD"},            // Cyrillic
    {0x206, "\xAC\xC7\xA1", u"\u060C\u0627\uFFFD"},            // Arabic
    {0x207, "\xA1\xE1\xD2", u"\u2018\u03B1\uFFFD"},            // Greek
    {0x208, "\xE0\xFA\xFE", u"\u05D0\u05EA\uFFFD"},            // Hebrew
    {0x209, "\xD0\xFD\xFE", u"\u011E\u0131\u015F"},            // Latin 5
    {0x20A, "\xBF\xFF\xA2", u"\u014B\u0138\u0112"},            // Latin 6
    {0x20B, "\xA1\xDF", u"\u0E01\u0E3F"},                      // Thai
    {0x20D, "\xA1\xC0\xFF", u"\u201D\u0104\u2019"},            // Latin 7
    {0x20E, "\xA1\xFE", u"\u1E02\u0177"},                      // Latin 8
    {0x20F, "\xA4\xA6\xBE", u"\u20AC\u0160\u0178"},            // Latin 9
    {0x210, "\xA4\xAA\xDE", u"\u20AC\u0218\u021A"},            // Latin 10
    {0x400, "\x80\xE6\xFF\x1A", u"\u00C7\u00B5\u00A0\x1A"},    // DOS
    {0x405, "\x80\x98", u"\u0391\u03B1"},
    {0x406, "\x80\xB5", u"\u0106\u0104"},
    {0x410, "\xD5\xFE", u"\u0131\u25A0"},
    {0x411, "\x80\xA4", u"\u00C7\u0391"},
    {0x412, "\xAA\xFD", u"\u00AC\u0159"},
    {0x413, "\xA0\xA1", u"\u0430\u0410"},
    {0x414, "\x8D\x98", u"\u0131\u0130"},
    {0x415, "\x84\xE6", u"\u00E3\u00B5"},
    {0x416, "\x8B\x8C", u"\u00D0\u00F0"},
    {0x417, "\x80\x9A", u"\u05D0\u05EA"},
    {0x418, "\x84\x8D", u"\u00C2\u2017"},
    {0x419, "\x80\xD7\x9F", u"\u00B0\uFEC1\uFFFD"},
    {0x41A, "\x9B\xAF", u"\u00F8\u00A4"},
    {0x41B, "\x80\xF1", u"\u0410\u0451"},
    {0x41C, "\x86\xD6\xEF", u"\u0386\u03B1\u0384"},
    {0x41D, "\x80\xA1\xFF", u"\u20AC\u0E01\uFFFD"},
    {0x420, "\x82\xA0\xB1\x1A", u"\u3042\uFF71\x1A"},
    {0x421, "\xB0\xA1\x80", u"\u554A\uFFFD"},
    {0x422, "\xB0\xA1\x81\x41", u"\uAC00\uAC02"},
    {0x423, "\xA4\x40\xFF", u"\u4E00\uFFFD"},
    {0x500, "\x80\x81\x9F", u"\u20AC\uFFFD\u0178"},  // Windows
    {0x501, "\x8A\x9C\x88", u"\u0160\u015B\uFFFD"},
    {0x502, "\xC0\xFF\x98", u"\u0410\u044F\uFFFD"},
    {0x503, "\xC1\xE1\xAA", u"\u0391\u03B1\uFFFD"},
    {0x504, "\xD0\xFD\x8E", u"\u011E\u0131\uFFFD"},
    {0x505, "\xE0\xC0\xD9", u"\u05D0\u05B0\uFFFD"},
    {0x506, "\xC7\xED\x81", u"\u0627\u064A\u067E"},
    {0x507, "\xC0\xE0\xA5", u"\u0104\u0105\uFFFD"},
    {0x508, "\xC3\xD5\xEC", u"\u0102\u01A0\u0301"},
    {0x510, "\x88\x61\xD9\x31\xE0\x31\\", u"\uAC00\u3000\u4F3D\\"},  // Johab
    {0x600, "a\x80z", u"a\uFFFDz"},                                  // ASCII
    {0x620, "\\~\xB1\xDF\xE0", u"\u00A5\u203E\uFF71\uFF9F\uFFFD"},   // JIS X 0201
    {0x623, "\x30\x21", u"\u4E02"},
    {0x630, "\x30\x21\x23\x27", u"\u554A\uFF07"},
    {0x631, "\xB0\xA1\x81\x40", u"\u554A\u4E02"},
    {0x632, "\xB0\xA1\x81\x30\x81\x30\x94\x39\xFC\x36", u"\u554A\x80\U0001F600"},
    {0x641, "\x88\x41\x84\x61\x84\x43\\", u"\u3131\u314F\u3132\u20A9"},
    {0x820, "\x1B$B$\x22\x1B(Bz", u"\u3042z"},
    {0x821, "\x1B$A0!\x1B(B", u"\u554A"},
    {0x822, "\x1B$(D0!\x1B(B", u"\u4E02"},
    {0x830,
     "\x1B$)A\x0E"
     "0!\x0F"
     "a",
     u"\u554A"
     u"a"},
    {0x831,
     "\x1B$)A\x0E"
     "0!\x0F"
     "a",
     u"\u554A"
     u"a"},
    {0x840,
     "\x1B$)C\x0E"
     "0!\x0F\\",
     u"\uAC00\\"},
    {0x920, "\xA4\xA2\x8E\xB1\x8F\xB0\xA1", u"\u3042\uFF71\u4E02"},
    {0x930, "\xB0\xA1\xA3\xA7", u"\u554A\uFF07"},
    {0x931, "\xC4\xA1\x8E\xA2\xA1\xA1", u"\u4E00\u4E42"},
    {0x940, "\xB0\xA1\xCA\xA1", u"\uAC00\u4F3D"},
    {0xA01, "\x82\xA0\xB1\x7F", u"\u3042\uFF71\x7F"},
    {0xA02, "\xC1\xE1\xB3", u"\u0430\u0410\u0401"},
    {0xA03, "\xA4\x40\x80", u"\u4E00\uFFFD"},
    {0xA05, "~{0!~}~~", u"\u554A~"},
    {0xA06, "\xA4\x40\x88\x66", u"\u4E00\u00CA"},
    {0xA07, "\x02\xA1\xFE", u"\u1EB2\u1EAF\u1EE3"},
    {0xA08, "\xC1\xA4", u"\u0430\u0454"},
    {0xA10, "&AOk-", u"\u00E9"},
    {0xB01, "\x81\xE1\xFE", u"\u00C0\u00C6\uFFFD"},
    {0xBFF, "a\\351\\u20ac\\\\", u"a\u00E9\u20AC\\"},
    {0xC01, "\xC1\x4A\x25\x41", u"A\u00A2\n\uFFFD"},
    {0xC02, "\xC1\x4A\x25\x41", u"A\u00A2\n\u00A0"},
    {0xA001, "\x80\x8C\xA8\xAD\xE1\xF8", u"\u010C\u013E\u0161\u00A7\u00DF\u00B0"},
    {0xA002, "\xC1\xE3\xD0\xA1", u"\u00E1\u010C\u00F4\uFFFD"},
    {0x4000100, "+AOk-a",
     u"\u00E9"
     u"a"},
    {0x8000100, "\xEF\xBB\xBF\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"\uFEFF\u00E9\u20AC\U0001F600"},
    {0xC000100, "\xFF\xFE\0\0\xAC\x20\0\0"sv, u"\u20AC"},
    {0x10000100, "\xFE\xFF\x20\xAC", u"\uFEFF\u20AC"},
    {0x14000100, "\xAC\x20", u"\u20AC"},
    {0x18000100, "\0\x01\xF6\0"sv, u"\U0001F600"},
    {0x1C000100, "\0\xF6\x01\0"sv, u"\U0001F600"},
};

TEST(TextEncoding, EveryAvailableEncodingHasItsOwnCharacters) {
    std::set<CFStringEncoding> seen;
    for (const Sample& sample : kSamples) {
        seen.insert(sample.encoding);
        DecodeResult result;
        EXPECT_EQ(decode(sample.bytes, sample.encoding, &result), sample.text) << std::hex << sample.encoding;
        EXPECT_EQ(result.status, DecodeStatus::complete) << std::hex << sample.encoding;
        EXPECT_EQ(result.undefined, countReplacementCharacters(sample.text)) << std::hex << sample.encoding;
    }
    for (const TextEncoding& encoding : textEncodings()) {
        EXPECT_EQ(CFStringIsEncodingAvailable(encoding.cfEncoding), seen.contains(encoding.cfEncoding))
            << encoding.name;
    }
}

TEST(TextEncoding, WhatIsDecodedIsEncodedToTheSameText) {
    for (const Sample& sample : kSamples) {
        const bool hasUndefined = countReplacementCharacters(sample.text) > 0;
        const auto bytes = encodedText(sample.text, sample.encoding);
        if (hasUndefined) {
            EXPECT_FALSE(bytes) << std::hex << sample.encoding;
            continue;
        }
        ASSERT_TRUE(bytes) << std::hex << sample.encoding;
        EXPECT_EQ(decode(*bytes, sample.encoding), sample.text) << std::hex << sample.encoding;
    }
}

// How many bytes the single-byte sets define; a row lost or doubled in a table shows here.
TEST(TextEncoding, SingleByteSetsDefineAsManyBytesAsTheirCharts) {
    const std::pair<CFStringEncoding, int> rows[] = {
        {0x15, 250},  {0x21, 223},  {0x22, 235},  {0x24, 256},  {0x25, 256},  {0x26, 256},   {0x202, 224},
        {0x203, 249}, {0x205, 224}, {0x206, 179}, {0x207, 218}, {0x208, 186}, {0x209, 224},  {0x210, 256},
        {0x400, 256}, {0x419, 250}, {0x412, 256}, {0x41C, 247}, {0x41D, 225}, {0x500, 251},  {0x501, 251},
        {0x502, 255}, {0x503, 239}, {0x504, 249}, {0x505, 233}, {0x506, 248}, {0x507, 244},  {0x508, 247},
        {0x600, 128}, {0x620, 191}, {0xA07, 256}, {0xB01, 254}, {0xC01, 160}, {0xA001, 256}, {0xA002, 244},
    };
    for (const auto& [encoding, count] : rows) {
        int defined = 0;
        for (int byte = 0; byte < 256; ++byte) {
            const char one = static_cast<char>(byte);
            DecodeResult result;
            const std::u16string text = decode({&one, 1}, encoding, &result);
            ASSERT_EQ(result.status, DecodeStatus::complete);
            if (result.undefined > 0) continue;
            ++defined;
            // Every character goes back to a byte that means the same.
            const auto bytes = encodedText(text, encoding);
            ASSERT_TRUE(bytes) << std::hex << encoding << ' ' << byte;
            EXPECT_EQ(decode(*bytes, encoding), text);
        }
        EXPECT_EQ(defined, count) << std::hex << encoding;
    }
}

TEST(TextEncoding, PairsOfMultiByteSetsComeBack) {
    for (const CFStringEncoding encoding : {0x420U, 0x421U, 0x422U, 0x423U, 0x510U, 0x631U, 0x920U, 0x930U, 0xA06U}) {
        std::u16string defined;
        for (int first = 0x81; first < 0xFF; ++first) {
            if (encoding == 0x920 && first == 0x8E) continue;  // has doubles that are read and never written
            for (int second = 0x31; second < 0xFF; second += 3) {
                const char pair[] = {static_cast<char>(first), static_cast<char>(second)};
                char16_t units[8];
                const DecodeResult result = decodeText({pair, 2}, encoding, units);
                if (result.status == DecodeStatus::complete && result.undefined == 0)
                    defined.append(units, result.unitsWritten);
            }
        }
        EXPECT_GT(defined.size(), 1000U) << std::hex << encoding;
        const auto bytes = encodedText(defined, encoding);
        ASSERT_TRUE(bytes) << std::hex << encoding;
        EXPECT_EQ(decode(*bytes, encoding), defined) << std::hex << encoding;
    }
}

// --- Ends ----------------------------------------------------------------------------------------------------------

struct Ending {
    const char* what;
    CFStringEncoding encoding;
    std::string_view bytes;
    DecodeStatus status;
    std::u16string_view text;
};

const Ending kEndings[] = {
    {"nothing", 0x8000100, "", DecodeStatus::complete, u""},
    {"Latin-1 as UTF-8", 0x8000100, "caf\xE9 au", DecodeStatus::malformed, u"caf"},
    {"cut UTF-8", 0x8000100, "a\xE2\x82", DecodeStatus::partial, u"a"},
    {"overlong", 0x8000100, "a\xC0\xAF", DecodeStatus::malformed, u"a"},
    {"surrogate in UTF-8", 0x8000100, "a\xED\xA0\x80", DecodeStatus::malformed, u"a"},
    {"beyond Unicode", 0x8000100, "a\xF4\x90\x80\x80", DecodeStatus::malformed, u"a"},
    {"stray trail byte", 0x8000100, "\x80", DecodeStatus::malformed, u""},
    {"cut Shift JIS", 0xA01, "a\x82", DecodeStatus::partial, u"a"},
    {"bad Shift JIS", 0xA01, "a\x82\x20z", DecodeStatus::malformed, u"a"},
    {"bad EUC-KR", 0x940, "a\xB0\x20z", DecodeStatus::malformed, u"a"},
    {"undefined in EUC-KR goes on", 0x940, "a\xA2\xFEz", DecodeStatus::complete, u"a\uFFFDz"},
    {"undefined in code page 936 goes on", 0x421, "a\x80\xB0\xA1", DecodeStatus::complete, u"a\uFFFD\u554A"},
    {"cut Johab", 0x510, "a\x88", DecodeStatus::partial, u"a"},
    {"bad Johab", 0x510, "a\x88\x20z", DecodeStatus::malformed, u"a"},
    {"no lead of Johab", 0x510, "a\x80z", DecodeStatus::malformed, u"a"},
    {"undefined in Johab goes on", 0x510, "a\xD8\x31z", DecodeStatus::complete, u"a\uFFFDz"},
    {"odd UTF-16", 0x100, "\x00\x61\x00"sv, DecodeStatus::partial, u"a"},
    {"lone low surrogate", 0x100, "\x00\x61\xDC\x00\x00\x62"sv, DecodeStatus::malformed, u"a"},
    {"UTF-32 beyond Unicode", 0x18000100, "\x00\x11\x00\x00"sv, DecodeStatus::malformed, u""},
    {"escape cut", 0xBFF, "a\\35", DecodeStatus::partial, u"a"},
    {"escape unknown", 0xBFF, "a\\q", DecodeStatus::malformed, u"a"},
    {"escape above one byte", 0xBFF, "a\\777", DecodeStatus::malformed, u"a"},
    {"no ASCII", 0xBFF, "a\xE9", DecodeStatus::malformed, u"a"},
};

TEST(TextEncoding, WhatCannotBeReadEndsTheTextAndWhatCameBeforeStays) {
    for (const Ending& row : kEndings) {
        DecodeResult result;
        EXPECT_EQ(decode(row.bytes, row.encoding, &result), row.text) << row.what;
        EXPECT_EQ(result.status, row.status) << row.what;
        EXPECT_EQ(result.unitsWritten, row.text.size()) << row.what;
    }
}

TEST(TextEncoding, ALackOfRoomNeverSplitsACharacter) {
    const Sample rows[] = {
        {0x8000100, "ab\xF0\x9F\x98\x80", u"ab"},
        {0x632, "ab\x94\x39\xFC\x36", u"ab"},
        {0x15, "ab\x83", u"ab"},
        {0x100, "\0a\0b\xD8\x3D\xDE\0"sv, u"ab"},
    };
    for (const Sample& row : rows) {
        char16_t units[4] = {0, 0, 0, u'#'};
        const DecodeResult result = decodeText(row.bytes, row.encoding, std::span(units, 3));
        EXPECT_EQ(result.status, DecodeStatus::outputFull) << std::hex << row.encoding;
        EXPECT_EQ(std::u16string_view(units, result.unitsWritten), row.text) << std::hex << row.encoding;
        EXPECT_EQ(units[3], u'#');
        DecodeResult limited;
        EXPECT_EQ(decodedText(row.bytes, row.encoding, 3, limited), row.text) << std::hex << row.encoding;
        EXPECT_EQ(limited.status, DecodeStatus::outputFull) << std::hex << row.encoding;
    }
}

TEST(TextEncoding, UnwritableTextIsRefused) {
    EXPECT_FALSE(encodedText(u"\u20AC", 0x201));
    EXPECT_FALSE(encodedText(u"a\xD800z", 0x8000100));
    EXPECT_FALSE(encodedText(u"a\xDC00z", 0x100));
    EXPECT_FALSE(encodedText(u"\u00AD", 0x600)) << "invisible characters are not dropped";
    EXPECT_FALSE(encodedText(u"\u200B", 0xA01));
    EXPECT_FALSE(encodedText(u"\u20AC", 0x421)) << "what the platform's table lacks";
    EXPECT_EQ(encodedText(u"\u20AC", 0x631), "\x80");
    EXPECT_EQ(encodedText(u"a", 0x100),
              "\xFF\xFE"
              "a\0"sv);
    EXPECT_EQ(encodedText(u"a", 0xC000100), "\xFF\xFE\0\0a\0\0\0"sv);
    EXPECT_EQ(encodedText(u"\x7F\\", 0x840), encodedText(u"", 0x840).value() + "\x7F\\");
}

// --- Against slow references ---------------------------------------------------------------------------------------

// A string of pieces that a decoder's fast paths treat differently.
std::string randomUtf8(std::mt19937& random) {
    static const std::string_view kPieces[] = {
        "a",
        "<div class=\"x\">",
        "0123456789abcdef0123456789abcdef",
        "\xC3\xA9",
        "\xD0\x96\xD0\x97\xD0\x98",
        "\xE2\x82\xAC",
        "\xE4\xB8\xAD\xE6\x96\x87",
        "\xF0\x9F\x98\x80",
        "\xEF\xBF\xBD",
        "\xC2\x80",
        "\xDF\xBF",
        "\xE0\xA0\x80",
        "\xED\x9F\xBF",
        "\xEE\x80\x80",
        "\xF4\x8F\xBF\xBF",
    };
    std::string bytes;
    for (std::size_t count = random() % 24; count > 0; --count)
        bytes += kPieces[random() % std::size(kPieces)];
    if (random() % 3 == 0 && !bytes.empty()) bytes[random() % bytes.size()] = static_cast<char>(random());
    if (random() % 4 == 0 && !bytes.empty()) bytes.resize(random() % bytes.size());
    return bytes;
}

TEST(TextEncoding, Utf8AgreesWithTheSlowDecoderOnRandomBytes) {
    std::mt19937 random(7);
    for (int round = 0; round < 40000; ++round) {
        const std::string bytes = randomUtf8(random);
        DecodeResult result;
        const std::u16string text = decode(bytes, kCFStringEncodingUTF8, &result);
        const auto strict = strictUtf16FromUtf8(bytes);
        ASSERT_EQ(result.status == DecodeStatus::complete, strict.has_value());
        if (strict) {
            ASSERT_EQ(text, *strict);
        } else {
            // The longest prefix that is well-formed.
            const std::string prefix = utf8FromUtf16(text);
            ASSERT_TRUE(bytes.starts_with(prefix));
            for (std::size_t more = 1; more <= 4 && prefix.size() + more <= bytes.size(); ++more)
                ASSERT_FALSE(strictUtf16FromUtf8(std::string_view(bytes).substr(0, prefix.size() + more)));
        }
    }
}

TEST(TextEncoding, SingleByteBlocksAgreeWithOneByteAtATime) {
    std::mt19937 random(8);
    for (const CFStringEncoding encoding : {0x201U, 0x502U, 0x15U, 0xC02U}) {
        for (std::size_t length = 0; length < 200; ++length) {
            std::string bytes(length, 'a');
            for (char& byte : bytes)
                byte = random() % 5 == 0 ? static_cast<char>(random()) : static_cast<char>(random() % 128);
            std::u16string expected;
            for (const char byte : bytes)
                expected += decode({&byte, 1}, encoding);
            ASSERT_EQ(decode(bytes, encoding), expected);
        }
    }
}

TEST(TextEncoding, LongTextsAreDecodedAcrossChunks) {
    std::string bytes;
    std::u16string text;
    for (int i = 0; i < 20000; ++i) {
        bytes += i % 3 == 0 ? "\xF0\x9F\x98\x80" : "a";
        text += i % 3 == 0 ? u"\U0001F600" : u"a";
    }
    EXPECT_EQ(decode(bytes, kCFStringEncodingUTF8), text);
    EXPECT_EQ(decode(std::string(100000, '\xE9'), 0x500), std::u16string(100000, u'\u00E9'));
}

TEST(TextEncoding, ThreadsThatComeFirstTogetherGetTheSameTables) {
    std::vector<std::thread> threads;
    std::vector<std::u16string> texts(4);
    for (std::size_t i = 0; i < texts.size(); ++i)
        threads.emplace_back([&texts, i] { texts[i] = decode("\x80\xA5\xD8", 0x41A) + decode("\x88\x61", 0x641); });
    for (auto& thread : threads)
        thread.join();
    for (const auto& text : texts)
        EXPECT_EQ(text, u"\u00C7\u00D1\u256A\uAC00");
}

}  // namespace
}  // namespace halden
