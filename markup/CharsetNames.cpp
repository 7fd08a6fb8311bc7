#include "markup/CharsetNames.h"

#include "foundation/CharacterComparison.h"
#include "foundation/Characters.h"
#include "foundation/Log.h"
#include "foundation/StringConversion.h"
#include "foundation/Unicode.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace halden {
namespace {

// --- Numbers -------------------------------------------------------------------------------------------------------

struct NumberedEncoding {
    std::uint32_t number;
    CFStringEncoding encoding;
};

constexpr CFStringEncoding kISOLatin2 = 0x202;
constexpr CFStringEncoding kISOLatin5 = 0x209;
constexpr CFStringEncoding kEUC_JP = 0x920;

/// Sorted by number.
constexpr NumberedEncoding kNumbers[] = {
    {437, 0x400},
    {646, kEUC_JP},  // deliberately, though the number is that of ASCII
    {708, 0x206},
    {737, 0x405},
    {775, 0x406},
    {850, 0x410},
    {851, 0x411},
    {852, 0x412},
    {855, 0x413},
    {857, 0x414},
    {860, 0x415},
    {861, 0x416},
    {862, 0x417},
    {863, 0x418},
    {864, 0x419},
    {865, 0x41A},
    {866, 0x41B},
    {869, 0x41C},
    {874, 0x41D},
    {932, 0x420},
    {936, 0x421},
    {949, 0x422},
    {950, 0x423},
    {1250, 0x501},
    {1251, 0x502},
    {1252, 0x500},
    {1253, 0x503},
    {1254, 0x504},
    {1255, 0x505},
    {1256, 0x506},
    {1257, 0x507},
    {1258, 0x508},
    {1361, 0x510},
    {6461, kEUC_JP},
    {8591, kCFStringEncodingISOLatin1},
    {8859, kCFStringEncodingISOLatin1},
    {80591, kCFStringEncodingISOLatin1},
    {85591, kCFStringEncodingISOLatin1},
    {85922, kISOLatin2},
    {88191, kCFStringEncodingISOLatin1},
    {88391, kCFStringEncodingISOLatin1},
    {88511, kCFStringEncodingISOLatin1},
    {88571, kCFStringEncodingISOLatin1},
    {88582, kISOLatin2},
    {88591, kCFStringEncodingISOLatin1},
    {88592, kISOLatin2},
    {88593, 0x203},
    {88594, 0x204},
    {88595, 0x205},
    {88596, 0x206},
    {88597, 0x207},
    {88598, 0x208},
    {88599, kISOLatin5},
    {88611, kCFStringEncodingISOLatin1},
    {88691, kCFStringEncodingISOLatin1},
    {88791, kCFStringEncodingISOLatin1},
    {89091, kCFStringEncodingISOLatin1},
    {89599, kISOLatin5},
    {99591, kCFStringEncodingISOLatin1},
    {100591, kCFStringEncodingISOLatin1},
    {810091, kCFStringEncodingISOLatin1},
    {885910, 0x20A},
    {885911, 0x20B},
    {885913, 0x20D},
    {885914, 0x20E},
    {885915, 0x20F},
    {885916, 0x210},
};
static_assert(std::ranges::is_sorted(kNumbers, std::ranges::less_equal{}, &NumberedEncoding::number));

constexpr bool isDigit(char16_t unit) noexcept {
    return unit >= u'0' && unit <= u'9';
}

/// The integer that `text` begins with; numbers too large for any table stay that large.
std::uint32_t leadingNumber(std::u16string_view text) noexcept {
    constexpr std::uint32_t kTooLarge = 100'000'000;
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < text.size() && isDigit(text[i]) && number < kTooLarge; ++i)
        number = number * 10 + (text[i] - u'0');
    return number;
}

CFStringEncoding encodingOfNumber(std::uint32_t number, std::u16string_view name) noexcept {
    if (number == 2022) {
        if (name == u"iso2022jp1") return 0x822;
        if (name == u"iso2022jp2") return 0x821;
        if (name == u"iso2022jp3") return 0x823;
        return 0x820;
    }
    if (number >= 885101 && number <= 885391 && number % 10 == 1) return kCFStringEncodingISOLatin1;
    const auto found = std::ranges::lower_bound(kNumbers, number, {}, &NumberedEncoding::number);
    return found != std::end(kNumbers) && found->number == number ? found->encoding : kInvalidEncoding;
}

// --- Words ---------------------------------------------------------------------------------------------------------

enum class Test { equals, contains, prefix };

struct NamedEncoding {
    std::u16string_view word;
    Test test;
    CFStringEncoding encoding;
};

bool matches(const NamedEncoding& row, std::u16string_view name) noexcept {
    switch (row.test) {
        case Test::equals:
            return name == row.word;
        case Test::contains:
            return name.find(row.word) != std::u16string_view::npos;
        case Test::prefix:
            return name.starts_with(row.word);
    }
    return false;
}

/// For names that contain "latin". The first row that matches counts; ten comes before one.
constexpr NamedEncoding kLatinNames[] = {
    {u"latin10", Test::contains, 0x210},
    {u"latin1", Test::contains, kCFStringEncodingISOLatin1},
    {u"latin", Test::equals, kCFStringEncodingISOLatin1},
    {u"latin2", Test::contains, kISOLatin2},
    {u"latin3", Test::contains, 0x203},
    {u"latin4", Test::contains, 0x204},
    {u"latin5", Test::contains, kISOLatin5},
    {u"latin6", Test::contains, 0x20A},
    {u"latin7", Test::contains, 0x20D},
    {u"latin8", Test::contains, 0x20E},
    {u"latin9", Test::contains, 0x20F},
};

/// The first row that matches counts.
constexpr NamedEncoding kNames[] = {
    {u"iso", Test::equals, kCFStringEncodingISOLatin1},
    {u"visual", Test::equals, 0x208},
    {u"xkamcs", Test::equals, kCFStringEncodingKamenicky},
    {u"kamcs", Test::equals, kCFStringEncodingKamenicky},
    {u"kbkam", Test::equals, kCFStringEncodingKamenicky},
    {u"koi8cs2", Test::equals, kCFStringEncodingKoi8cs2},
    {u"csn369103", Test::equals, kCFStringEncodingKoi8cs2},
    {u"usascii", Test::equals, kCFStringEncodingASCII},
    {u"ascii", Test::equals, kCFStringEncodingASCII},
    {u"utf7", Test::contains, kCFStringEncodingASCII},
    {u"gb2312", Test::contains, kCFStringEncodingEUC_CN},
    {u"gbk", Test::prefix, 0x631},
    {u"gb18030", Test::contains, 0x632},
    {u"utf", Test::equals, kCFStringEncodingUTF8},
    {u"utf8", Test::contains, kCFStringEncodingUTF8},
    {u"utf08", Test::contains, kCFStringEncodingUTF8},
    {u"uft8", Test::contains, kCFStringEncodingUTF8},
    {u"utf2d8", Test::contains, kCFStringEncodingUTF8},
    {u"utf9", Test::equals, kCFStringEncodingUTF8},
    {u"unicode", Test::equals, kCFStringEncodingUTF8},
    {u"utf16", Test::contains, kCFStringEncodingUTF16},
    {u"shiftj", Test::contains, kCFStringEncodingShiftJIS},
    {u"sjis", Test::contains, kCFStringEncodingShiftJIS},
    {u"koi8", Test::prefix, 0xA02},
    {u"big5", Test::contains, kCFStringEncodingBig5},
    {u"euckr", Test::contains, 0x940},
    {u"eucj", Test::contains, kEUC_JP},
    {u"euccn", Test::contains, kCFStringEncodingEUC_CN},
    {u"euctw", Test::contains, 0x931},
    {u"ksc56011987", Test::equals, 0x640},
    {u"ksc560187", Test::equals, 0x640},
    {u"ksc560192", Test::prefix, 0x641},
    // Languages that pages name in place of a character set. "en" would be one, but is too short for any name.
    {u"enus", Test::equals, kCFStringEncodingUTF8},
    {u"engb", Test::equals, kCFStringEncodingUTF8},
    {u"none", Test::equals, kCFStringEncodingASCII},
};

template <std::size_t N>
CFStringEncoding firstMatch(const NamedEncoding (&rows)[N], std::u16string_view name) noexcept {
    const auto found = std::ranges::find_if(rows, [name](const NamedEncoding& row) { return matches(row, name); });
    return found == std::end(rows) ? kInvalidEncoding : found->encoding;
}

CFStringEncoding encodingOfWords(std::u16string_view name) noexcept {
    if (name.starts_with(u"windows")) return kCFStringEncodingWindowsLatin1;
    if (name.starts_with(u"mac")) return macEncoding(name.substr(3));
    if (name.starts_with(u"xmac")) return macEncoding(name.substr(4));
    if (name.find(u"latin") != std::u16string_view::npos) {
        const CFStringEncoding encoding = firstMatch(kLatinNames, name);
        if (encoding != kInvalidEncoding) return encoding;
    }
    return firstMatch(kNames, name);
}

// --- Mac scripts ---------------------------------------------------------------------------------------------------

struct MacScript {
    std::u16string_view name;
    CFStringEncoding encoding;
};

constexpr MacScript kMacScripts[] = {
    {u"", kCFStringEncodingMacRoman},
    {u"roman", kCFStringEncodingMacRoman},
    {u"osroman", kCFStringEncodingMacRoman},
    {u"intosh", kCFStringEncodingMacRoman},  // what is left of "macintosh"
    {u"romanlatin1", kCFStringEncodingMacRomanLatin1},
    {u"ce", 29},
    {u"centraleur", 29},
    {u"cyrillic", 7},
    {u"japanese", 1},
    {u"chinesetrad", 2},
    {u"korean", 3},
    {u"arabic", 4},
    {u"hebrew", 5},
    {u"greek", 6},
    {u"devanagari", 9},
    {u"gurmukhi", 10},
    {u"gujarati", 11},
    {u"oriya", 12},
    {u"bengali", 13},
    {u"tamil", 14},
    {u"telugu", 15},
    {u"kannada", 16},
    {u"malayalam", 17},
    {u"sinhalese", 18},
    {u"burmese", 19},
    {u"khmer", 20},
    {u"thai", 21},
    {u"laotian", 22},
    {u"georgian", 23},
    {u"armenian", 24},
    {u"chinesesimp", 25},
    {u"tibetan", 26},
    {u"mongolian", 27},
    {u"ethiopic", 28},
    {u"vietnamese", 30},
    {u"extarabic", 31},
    {u"turkish", 35},
    {u"croatian", 36},
    {u"icelandic", 37},
    {u"romanian", 38},
    {u"celtic", 39},
    {u"gaelic", 40},
    {u"farsi", 140},
    {u"ukrainian", 152},
    {u"inuit", 236},
};

// --- Logging -------------------------------------------------------------------------------------------------------

/// What pages commonly have in place of a name is not worth a line.
bool isWorthLogging(std::u16string_view name) {
    if (name.empty()) return false;
    if (name.size() == 1) return std::u16string_view(u"/0<>").find(name[0]) == std::u16string_view::npos;
    return fastCaseInsensitiveCompareUnicharsWithChars(name, "auto") != 0;
}

}  // namespace

CFStringEncoding charset2CFStringEncoding(std::u16string_view name) {
    const std::u16string normalized =
        stringByRemovingNonAlphaNumericCharactersAndApplyingConversionTable(name, &initLowerCharsTable());
    if (normalized.size() < 3) return kInvalidEncoding;
    const auto digit = std::ranges::find_if(normalized, isDigit);
    if (digit != normalized.end()) {
        const auto tail = std::u16string_view(digit, normalized.end());
        const CFStringEncoding encoding = encodingOfNumber(leadingNumber(tail), normalized);
        if (encoding != kInvalidEncoding) return encoding;
    }
    return encodingOfWords(normalized);
}

CFStringEncoding CFEncodingFromName(std::u16string_view name) {
    return charset2CFStringEncoding(name);
}

NSStringEncoding charset2NSStringEncoding(std::u16string_view name) {
    const CFStringEncoding encoding = charset2CFStringEncoding(name);
    if (encoding == kCFStringEncodingKamenicky) return kNSKamenickyStringEncoding;
    if (encoding == kCFStringEncodingKoi8cs2) return kNSKoi8cs2StringEncoding;
    if (encoding == kCFStringEncodingShiftJIS) return kNSShiftJISStringEncoding;
    if (encoding != kInvalidEncoding && CFStringIsEncodingAvailable(encoding))
        return CFStringConvertEncodingToNSStringEncoding(encoding);
    if (isWorthLogging(name)) logInfo("Unknown/Unsupported encoding: " + utf8FromUtf16(name));
    return kInvalidEncoding;
}

NSStringEncoding NSEncodingFromName(std::u16string_view name) {
    return charset2NSStringEncoding(name);
}

CFStringEncoding macEncoding(std::u16string_view name) noexcept {
    const auto found = std::ranges::find(kMacScripts, name, &MacScript::name);
    return found == std::end(kMacScripts) ? kInvalidEncoding : found->encoding;
}

}  // namespace halden
