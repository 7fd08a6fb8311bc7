#include "markup/CharsetNames.h"

#include "foundation/CharacterComparison.h"
#include "foundation/Characters.h"
#include "foundation/Log.h"
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
    Test test;
    std::u16string_view word;
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
    {Test::contains, u"latin10", 0x210},
    {Test::contains, u"latin1", kCFStringEncodingISOLatin1},
    {Test::equals, u"latin", kCFStringEncodingISOLatin1},
    {Test::contains, u"latin2", kISOLatin2},
    {Test::contains, u"latin3", 0x203},
    {Test::contains, u"latin4", 0x204},
    {Test::contains, u"latin5", kISOLatin5},
    {Test::contains, u"latin6", 0x20A},
    {Test::contains, u"latin7", 0x20D},
    {Test::contains, u"latin8", 0x20E},
    {Test::contains, u"latin9", 0x20F},
};

/// The first row that matches counts.
constexpr NamedEncoding kNames[] = {
    {Test::equals, u"iso", kCFStringEncodingISOLatin1},
    {Test::equals, u"visual", 0x208},
    {Test::equals, u"xkamcs", kCFStringEncodingKamenicky},
    {Test::equals, u"kamcs", kCFStringEncodingKamenicky},
    {Test::equals, u"kbkam", kCFStringEncodingKamenicky},
    {Test::equals, u"koi8cs2", kCFStringEncodingKoi8cs2},
    {Test::equals, u"csn369103", kCFStringEncodingKoi8cs2},
    {Test::equals, u"usascii", kCFStringEncodingASCII},
    {Test::equals, u"ascii", kCFStringEncodingASCII},
    {Test::contains, u"utf7", kCFStringEncodingASCII},
    {Test::contains, u"gb2312", kCFStringEncodingEUC_CN},
    {Test::prefix, u"gbk", 0x631},
    {Test::contains, u"gb18030", 0x632},
    {Test::equals, u"utf", kCFStringEncodingUTF8},
    {Test::contains, u"utf8", kCFStringEncodingUTF8},
    {Test::contains, u"utf08", kCFStringEncodingUTF8},
    {Test::contains, u"uft8", kCFStringEncodingUTF8},
    {Test::contains, u"utf2d8", kCFStringEncodingUTF8},
    {Test::equals, u"utf9", kCFStringEncodingUTF8},
    {Test::equals, u"unicode", kCFStringEncodingUTF8},
    {Test::contains, u"utf16", kCFStringEncodingUTF16},
    {Test::contains, u"shiftj", kCFStringEncodingShiftJIS},
    {Test::contains, u"sjis", kCFStringEncodingShiftJIS},
    {Test::prefix, u"koi8", 0xA02},
    {Test::contains, u"big5", kCFStringEncodingBig5},
    {Test::contains, u"euckr", 0x940},
    {Test::contains, u"eucj", kEUC_JP},
    {Test::contains, u"euccn", kCFStringEncodingEUC_CN},
    {Test::contains, u"euctw", 0x931},
    {Test::equals, u"ksc56011987", 0x640},
    {Test::equals, u"ksc560187", 0x640},
    {Test::prefix, u"ksc560192", 0x641},
    // Languages that pages name in place of a character set. "en" would be one, but is too short for any name.
    {Test::equals, u"enus", kCFStringEncodingUTF8},
    {Test::equals, u"engb", kCFStringEncodingUTF8},
    {Test::equals, u"none", kCFStringEncodingASCII},
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
    const CharacterBitmap& alphaNumeric = alphaNumCharacterSetRep();
    const ConversionTable& lower = initLowerCharsTable();
    std::u16string normalized;
    for (const char16_t unit : name) {
        if (alphaNumeric.contains(unit)) normalized += lower[unit];
    }
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
