#include "foundation/Log.h"
#include "foundation/Unicode.h"
#include "markup/MarkupDecoder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace halden {
namespace {

using namespace std::string_view_literals;

constexpr NSStringEncoding kUTF8 = kNSUTF8StringEncoding;
constexpr NSStringEncoding kLatin1 = kNSISOLatin1StringEncoding;
constexpr NSStringEncoding kLatin2 = 9;
constexpr NSStringEncoding kWindowsLatin1 = 12;

std::string meta(std::string_view charset, std::string_view text) {
    return "<meta charset=" + std::string(charset) + ">" + std::string(text);
}

std::u16string metaText(std::u16string_view charset, std::u16string_view text) {
    return u"<meta charset=" + std::u16string(charset) + u">" + std::u16string(text);
}

// --- Decoders ------------------------------------------------------------------------------------------------------

TEST(ConverterDecode, KeepsWhatCameOutAndCountsReplacements) {
    struct Row {
        const char* what;
        std::string_view bytes;
        CFStringEncoding encoding;
        std::optional<std::u16string> text;
        std::size_t errors;
    };
    const Row rows[] = {
        {"well-formed", "a\xC3\xA9", 0x08000100, u"a\u00E9", 0},
        {"stops at malformed bytes", "ab\xE9z", 0x08000100, u"ab", 0},
        {"nothing comes out", "\xE9z", 0x08000100, std::nullopt, 0},
        {"undefined bytes count", "a\x81\x8Dz", 0x500, u"a\uFFFD\uFFFDz", 2},
        {"so do replacement characters in the bytes", "\xEF\xBF\xBD", 0x08000100, u"\uFFFD", 1},
        {"no bytes", "", 0x201, std::nullopt, 0},
        {"no converter", "abc", 0x1, std::nullopt, 0},
        {"no encoding", "abc", kInvalidEncoding, std::nullopt, 0},
    };
    for (const auto& row : rows) {
        std::size_t errors = 99;
        EXPECT_EQ(tryToCreateStringWithEncoding(row.bytes, row.encoding, &errors), row.text) << row.what;
        EXPECT_EQ(errors, row.errors) << row.what;
    }
    // The buffer has as many units as there are bytes, but 32 at least: a byte of Mac Thai may give two units.
    EXPECT_EQ(tryToCreateStringWithEncoding(std::string(20, '\x83'), 0x15)->size(), 32U);
    EXPECT_EQ(tryToCreateStringWithEncoding(std::string(41, '\x83'), 0x15)->size(), 40U);
}

TEST(StrictDecode, GivesNothingForWhatTheConverterWouldGuess) {
    struct Row {
        const char* what;
        std::string_view bytes;
        NSStringEncoding encoding;
        std::optional<std::u16string> text;
    };
    const Row rows[] = {
        {"well-formed", "a\xC3\xA9", kUTF8, u"a\u00E9"},
        {"no bytes", "", kUTF8, u""},
        {"malformed", "ab\xE9z", kUTF8, std::nullopt},
        {"cut", "ab\xC3", kUTF8, std::nullopt},
        {"undefined", "a\x81z", kWindowsLatin1, std::nullopt},
        {"undefined pair", "a\xA2\xFEz", 0x80000940, std::nullopt},
        {"not ASCII", "a\x80z", 1, std::nullopt},
        {"several units for a byte", "\x83\x83\x83", 0x80000015, u"\u0E48\uF875\u0E48\uF875\u0E48\uF875"},
        {"multi-byte", "\x82\xA0z", 8, u"\u3042z"},
        {"no converter", "a", 0x80000001, std::nullopt},
        {"no encoding", "a", 0, std::nullopt},
    };
    for (const auto& row : rows)
        EXPECT_EQ(initWithData(row.bytes, row.encoding), row.text) << row.what;
}

TEST(PrivateCodePages, DecodeEveryByte) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    EXPECT_EQ(initWithKamenickyData(all).size(), 256U);
    EXPECT_EQ(countReplacementCharacters(initWithKamenickyData(all)), 0U);
    EXPECT_EQ(initWithKoi8cs2Data(all).size(), 256U);
    EXPECT_EQ(countReplacementCharacters(initWithKoi8cs2Data(all)), 12U);
    EXPECT_EQ(initWithKamenickyData("P\xA9\xA1li\xA8 \x91lu\x9Fou\x87k\x98 k\x96\xE5"),
              u"P\u0159\u00EDli\u0161 \u017Elu\u0165ou\u010Dk\u00FD k\u016F\u03C3");
    EXPECT_EQ(initWithKoi8cs2Data("\xD0\xD2\xC9l\xC9\xD3"), u"\u00F4\u0159\u00EDl\u00ED\u0161");
    EXPECT_EQ(initWithKamenickyData(""), u"");
}

// --- Documents -----------------------------------------------------------------------------------------------------

struct Document {
    const char* what;
    std::string bytes;
    std::u16string_view name;
    NSStringEncoding defaultEncoding;
    std::optional<std::u16string> text;
};

class MarkupDecode : public testing::Test {
protected:
    // Names that say nothing are logged, which is tested elsewhere.
    void SetUp() override {
        setLogSink([](LogLevel, std::string_view) {});
    }
    void TearDown() override { setLogSink({}); }

    static void expectTexts(const std::vector<Document>& rows) {
        for (const auto& row : rows) {
            const auto text = stringWithMarkupData(row.bytes, row.name, row.defaultEncoding);
            EXPECT_EQ(text, row.text) << row.what;
        }
    }
};

TEST_F(MarkupDecode, WithoutAnotherDeclarationTheCallersEncodingStands) {
    expectTexts({
        {"empty", "", u"koi8-r", kUTF8, u""},
        {"named", "\xC1", u"koi8-r", kUTF8, u"\u0430"},
        {"default", "\xE9", u"", kLatin1, u"\u00E9"},
        {"a name that says nothing", "\xE9", u"foo-bar", kLatin1, u"\u00E9"},
        {"the same declared", meta("koi8-r", "\xC1"), u"KOI8-R", kUTF8, metaText(u"koi8-r", u"\u0430")},
        {"ASCII declared", meta("us-ascii", "\xE9"), u"", kLatin1, metaText(u"us-ascii", u"\u00E9")},
        {"nonsense declared", meta("auto", "\xE9"), u"", kLatin1, metaText(u"auto", u"\u00E9")},
        {"cut at malformed bytes", "ab\xE9z", u"utf-8", kLatin1, u"ab"},
        {"private encoding named", "\xA9", u"x-kam-cs", kLatin1, u"\u0159"},
    });
}

TEST_F(MarkupDecode, TheDeclarationWinsWhenItReadsNoWorse) {
    expectTexts({
        {"no name", meta("koi8-r", "\xC1"), u"", kLatin1, metaText(u"koi8-r", u"\u0430")},
        {"named, no worse", meta("koi8-r", "\xC1"), u"iso-8859-1", kLatin1, metaText(u"koi8-r", u"\u0430")},
        {"fewer errors", meta("koi8-r", "\x81"), u"windows-1252", kLatin1, metaText(u"koi8-r", u"\u2502")},
        {"more errors, but the caller had no name", meta("windows-1252", "\x81"), u"", kLatin1,
         metaText(u"windows-1252", u"\uFFFD")},
        {"more errors than a named encoding", meta("windows-1252", "\x81"), u"iso-8859-1", kUTF8,
         metaText(u"windows-1252", u"\x81")},
        {"UTF-8 declared, cut where it is malformed", meta("utf-8", "a\xE9z"), u"iso-8859-1", kLatin1,
         metaText(u"utf-8", u"a")},
    });
}

TEST_F(MarkupDecode, Utf8ThatIsCalledLatin1OrCyrillicStaysUtf8) {
    const std::string latin1 = meta("iso-8859-1", "\xC3\xA9");
    const std::string cyrillic = meta("windows-1251", "\xC3\xA9");
    expectTexts({
        {"Latin 1 reads longer", latin1, u"utf-8", kLatin1, metaText(u"iso-8859-1", u"\u00E9")},
        {"not named", latin1, u"", kUTF8, metaText(u"iso-8859-1", u"\u00C3\u00A9")},
        {"plain text reads equally long", meta("iso-8859-1", "e"), u"utf-8", kUTF8, metaText(u"iso-8859-1", u"e")},
        {"replacement characters spoil the first reading", meta("iso-8859-1", "\xEF\xBF\xBD"), u"utf-8", kUTF8,
         metaText(u"iso-8859-1", u"\u00EF\u00BF\u00BD")},
        {"other sets have no such rule", meta("windows-1252", "\xC3\xA9"), u"utf-8", kUTF8,
         metaText(u"windows-1252", u"\u00C3\u00A9")},
        {"Cyrillic reads longer", cyrillic, u"utf-8", kLatin1, metaText(u"windows-1251", u"\u00E9")},
        // Unless UTF-8 was named, a declared Windows-1251 drops the first reading.
        {"Cyrillic, other name", meta("windows-1251", "\x98"), u"iso-8859-1", kUTF8,
         metaText(u"windows-1251", u"\uFFFD")},
        {"Cyrillic, UTF-8 by default", cyrillic, u"", kUTF8, metaText(u"windows-1251", u"\u0413\u00A9")},
    });
}

TEST_F(MarkupDecode, PrivateEncodingsAreReadWithoutErrors) {
    expectTexts({
        {"Kamenicky", meta("x-kam-cs", "\xA9\xE1"), u"iso-8859-1", kUTF8, metaText(u"x-kam-cs", u"\u0159\u00DF")},
        {"KOI8-CS2, undefined bytes and all", meta("koi8-cs2", "\xD2\xA1"), u"iso-8859-1", kUTF8,
         metaText(u"koi8-cs2", u"\u0159\uFFFD")},
    });
}

TEST_F(MarkupDecode, Big5DropsTheFirstReading) {
    expectTexts({
        {"good", meta("big5", "\xA4\x40"), u"utf-8", kUTF8, metaText(u"big5", u"\u4E00")},
        {"with more errors than the caller's", meta("big5", "\x80"), u"iso-8859-1", kUTF8,
         metaText(u"big5", u"\uFFFD")},
    });
}

// Documents whose declaration only shows in the caller's encoding, so that the declared one gives nothing at all.
TEST_F(MarkupDecode, WhenTheDeclaredEncodingGivesNothingItsRelativesAreTried) {
    // Shift JIS cannot begin with 82 20. The first relative that reads anything is JIS X 0201, where 82 is undefined.
    const std::string japanese = "\x82 " + meta("shift_jis", "\xB1");
    // Nor EUC-CN, EUC-TW, GB 2312 and HZ with FF, which GBK has for private use.
    const std::string chinese = "\xFF" + meta("gb2312", "\xB0\xA1");
    expectTexts({
        {"Shift JIS", japanese, u"iso-8859-1", kUTF8, u"\uFFFD " + metaText(u"shift_jis", u"\uFF71")},
        {"EUC-CN", chinese, u"iso-8859-1", kUTF8, u"\uF8F5" + metaText(u"gb2312", u"\u554A")},
    });
}

TEST_F(MarkupDecode, TheLastResortIsTheStrictDecoder) {
    // A first byte that UTF-8 cannot have: named UTF-8 gives no first reading, so nothing is known of a declaration.
    expectTexts({
        {"default encoding", "\xE9t\xE9", u"utf-8", kLatin1, u"\u00E9t\u00E9"},
        {"no default that fits", "\xE9t\xE9", u"utf-8", kUTF8, std::nullopt},
        {"a default that is strict", "\xE9\x81", u"utf-8", kWindowsLatin1, std::nullopt},
        {"no such default", "\xE9", u"utf-8", 0, std::nullopt},
    });
    // UTF-16 named Latin 1: the declaration stands between NULs and is not seen.
    EXPECT_EQ(stringWithMarkupData("<\0m\0"sv, u"iso-8859-1", kUTF8), u"<\0m\0"sv);
    // Declared Latin 2 with the caller's first reading kept when it names fewer errors.
    EXPECT_EQ(stringWithMarkupData(meta("iso-8859-2", "\x8A"), u"windows-1250", kLatin2),
              metaText(u"iso-8859-2", u"\u0160"));
}

TEST_F(MarkupDecode, AnUnavailableDeclarationIsNone) {
    expectTexts({
        {"Mac Japanese", meta("x-mac-japanese", "\xE9"), u"", kLatin1, metaText(u"x-mac-japanese", u"\u00E9")},
    });
}

TEST_F(MarkupDecode, OtherFormsFindTheNameThemselves) {
    EXPECT_EQ(stringWithMarkupDataOfContentType("\xC1", u"text/html; charset=koi8-r", kLatin1), u"\u0430");
    EXPECT_EQ(stringWithMarkupDataOfContentType("\xC1", u"text/html", kLatin1), u"\u00C1");
    EXPECT_EQ(stringWithMarkupData("\xC1", kLatin1), u"\u00C1");
    EXPECT_EQ(stringWithMarkupData("", kLatin1), u"");
}

// --- Files ---------------------------------------------------------------------------------------------------------

class MarkupFile : public MarkupDecode {
protected:
    void SetUp() override {
        MarkupDecode::SetUp();
        folder_ = std::filesystem::path(testing::TempDir()) / ("markup-file-" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override {
        std::filesystem::remove_all(folder_);
        MarkupDecode::TearDown();
    }

    std::optional<std::u16string> read(const std::string& name, std::string_view bytes, NSStringEncoding encoding) {
        const auto path = folder_ / name;
        std::ofstream(path, std::ios::binary) << bytes;
        return stringWithMarkupContentsOfFile(utf16FromUtf8(path.string()), encoding, [this](std::string_view list) {
            ++lists_;
            return list.ends_with("bad") ? std::nullopt : std::optional<std::string>("<plist>\xC3\xA9</plist>");
        });
    }

    std::filesystem::path folder_;
    int lists_ = 0;
};

TEST_F(MarkupFile, IsDecodedStrictlyAndAgainAsItDeclares) {
    struct Row {
        const char* what;
        std::string bytes;
        NSStringEncoding encoding;
        std::optional<std::u16string> text;
    };
    const Row rows[] = {
        {"default", "a\xE9", kLatin1, u"a\u00E9"},
        {"empty", "", kLatin1, u""},
        {"default does not fit", "a\xE9", kUTF8, std::nullopt},
        {"default declared", meta("iso-8859-1", "\xE9"), kLatin1, metaText(u"iso-8859-1", u"\u00E9")},
        {"ASCII declared", meta("ascii", "\xE9"), kLatin1, metaText(u"ascii", u"\u00E9")},
        {"nonsense declared", meta("auto", "\xE9"), kLatin1, metaText(u"auto", u"\u00E9")},
        {"other declared", meta("koi8-r", "\xC1"), kLatin1, metaText(u"koi8-r", u"\u0430")},
        {"other declared, does not fit", meta("windows-1252", "\x81"), kLatin1, metaText(u"windows-1252", u"\x81")},
        {"UTF-8 declared", meta("utf-8", "\xC3\xA9"), kLatin1, metaText(u"utf-8", u"\u00E9")},
        {"UTF-8 declared, is Mac Roman", meta("utf-8", "\x8E"), kLatin1, metaText(u"utf-8", u"\u00E9")},
        {"Kamenicky declared", meta("x-kam-cs", "\xA9"), kLatin1, metaText(u"x-kam-cs", u"\u0159")},
        {"KOI8-CS2 declared", meta("koi8-cs2", "\xD2\xA1"), kLatin1, metaText(u"koi8-cs2", u"\u0159\uFFFD")},
    };
    for (const auto& row : rows)
        EXPECT_EQ(read("page.html", row.bytes, row.encoding), row.text) << row.what;
    EXPECT_EQ(lists_, 0);
}

TEST_F(MarkupFile, PropertyListsComeInTheirXmlForm) {
    const std::u16string_view xml = u"<plist>\u00E9</plist>";
    EXPECT_EQ(read("Info.plist", "{ a = b; }", kUTF8), xml);
    EXPECT_EQ(read("whatever", "bplist00", kUTF8), xml);
    EXPECT_EQ(lists_, 2);
    EXPECT_EQ(read("Info.PLIST", "{ bad", kUTF8), u"{ bad");
    EXPECT_EQ(read("whatever", "bplist bad", kUTF8), u"bplist bad");
    EXPECT_EQ(lists_, 4);
    EXPECT_EQ(read("whatever", "bplis", kUTF8), u"bplis");
    EXPECT_EQ(lists_, 4);
    const auto path = utf16FromUtf8((folder_ / "Info.PLIST").string());
    EXPECT_EQ(stringWithMarkupContentsOfFile(path, kUTF8, {}), u"{ bad") << "without a reader";
}

TEST_F(MarkupFile, WhatIsNoFileGivesNothing) {
    EXPECT_FALSE(stringWithMarkupContentsOfFile(u"", kUTF8, {}));
    EXPECT_FALSE(stringWithMarkupContentsOfFile(utf16FromUtf8((folder_ / "missing").string()), kUTF8, {}));
    EXPECT_FALSE(stringWithMarkupContentsOfFile(utf16FromUtf8(folder_.string()), kUTF8, {}));
    EXPECT_FALSE(stringWithMarkupContentsOfFile(u"/dev/zero", kUTF8, {}));
}

}  // namespace
}  // namespace halden
