#include "richtext/RtfCodePages.h"

#include "foundation/TextEncoding.h"
#include "foundation/Unicode.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace halden {
namespace {

struct CharsetRow {
    int charset;
    int codePage;
};

// Windows character sets from 0, Macintosh scripts from 77. Set 1 is "default"; 2 is found by font.
constexpr CharsetRow kCharsets[] = {
    {77, 10000}, {78, 10001}, {79, 10003}, {80, 10008}, {81, 10002}, {82, 1361},  {83, 10005}, {84, 10004},
    {85, 10006}, {86, 10081}, {87, 10021}, {88, 10029}, {89, 10007}, {128, 932},  {129, 949},  {130, 1361},
    {134, 936},  {136, 950},  {161, 1253}, {162, 1254}, {163, 1258}, {177, 1255}, {178, 1256}, {179, 1256},
    {180, 1256}, {181, 1255}, {186, 1257}, {204, 1251}, {222, 874},  {238, 1250}, {254, 437},  {255, 850},
};

struct SingleByteRow {
    int codePage;
    CFStringEncoding encoding;
};

constexpr SingleByteRow kSingleByte[] = {
    {437, 0x400},
    {708, 0x206},
    {737, 0x405},
    {775, 0x406},
    {819, 0x201},
    {850, 0x410},
    {851, 0x411},
    {852, 0x412},
    {855, 0x413},
    {857, 0x414},
    {858, 0x410},
    {860, 0x415},
    {861, 0x416},
    {862, 0x417},
    {863, 0x418},
    {864, 0x419},
    {865, 0x41A},
    {866, 0x41B},
    {869, 0x41C},
    {874, 0x41D},
    {1250, 0x501},
    {1251, 0x502},
    {1252, 0x500},
    {1253, 0x503},
    {1254, 0x504},
    {1255, 0x505},
    {1256, 0x506},
    {1257, 0x507},
    {1258, 0x508},
    {10000, 0x0},
    {10004, 0x4},
    {10005, 0x5},
    {10006, 0x6},
    {10007, 0x7},
    {10010, 0x26},
    {10017, 0x98},
    {10021, 0x15},
    {10029, 0x1D},
    {10079, 0x25},
    {10081, 0x23},
    {10082, 0x24},
    {20127, 0x500},
    {20866, 0xA02},
    {21866, 0xA08},
    {28591, 0x201},
    {28592, 0x202},
    {28593, 0x203},
    {28594, 0x204},
    {28595, 0x205},
    {28596, 0x206},
    {28597, 0x207},
    {28598, 0x208},
    {28599, 0x209},
    {28603, 0x20D},
    {28605, 0x20F},
    {kCodePageSymbol, 0x21},
    {kCodePageDingbats, 0x22},
    {kCodePageNextStep, 0xB01},
};

// Where an encoding is unavailable: one that has the same letters in the same places.
constexpr SingleByteRow kStandIns[] = {{10004, 0x206}, {10005, 0x208}, {10021, 0x41D}};

struct MultiByteRow {
    int codePage;
    const char* converter;
    bool (*isLeadByte)(unsigned char) = nullptr;  // pages of one and two bytes only
};

bool isShiftJisLead(unsigned char byte) {
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

bool isWideLead(unsigned char byte) {
    return byte >= 0x81 && byte <= 0xFE;
}

constexpr MultiByteRow kMultiByte[] = {
    {932, "ibm-943_P15A-2003", isShiftJisLead},
    {936, "windows-936-2000", isWideLead},
    {949, "windows-949-2000", isWideLead},
    {950, "windows-950-2000", isWideLead},
    {10001, "ibm-943_P15A-2003", isShiftJisLead},
    {10002, "windows-950-2000", isWideLead},
    {10003, "windows-949-2000", isWideLead},
    {10008, "windows-936-2000", isWideLead},
    {20932, "euc-jp-2007"},
    {51932, "euc-jp-2007"},
    {20936, "ibm-1383_P110-1999", isWideLead},
    {51936, "ibm-1383_P110-1999", isWideLead},
    {51949, "ibm-970_P110_P110-2006_U2"},
    {54936, "gb18030"},
    {65001, "UTF-8"},
};

struct SymbolRow {
    std::uint8_t byte;
    char16_t unit;
};

// The signs of Wingdings that documents use: bullets, arrows, check marks, faces, hands.
constexpr SymbolRow kWingdings[] = {
    {0x22, 0x2702}, {0x28, 0x260E}, {0x29, 0x2706}, {0x2A, 0x2709}, {0x3E, 0x2707}, {0x3F, 0x270D}, {0x41, 0x270C},
    {0x45, 0x261C}, {0x46, 0x261E}, {0x47, 0x261D}, {0x48, 0x261F}, {0x4A, 0x263A}, {0x4C, 0x2639}, {0x4E, 0x2620},
    {0x51, 0x2708}, {0x52, 0x263C}, {0x54, 0x2744}, {0x58, 0x2720}, {0x59, 0x2721}, {0x5A, 0x262A}, {0x5B, 0x262F},
    {0x6C, 0x25CF}, {0x6D, 0x274D}, {0x6E, 0x25A0}, {0x6F, 0x25A1}, {0x71, 0x2751}, {0x72, 0x2752}, {0x73, 0x2B27},
    {0x74, 0x29EB}, {0x75, 0x25C6}, {0x76, 0x2756}, {0x77, 0x2B25}, {0x78, 0x2327}, {0x7B, 0x2740}, {0x7C, 0x273F},
    {0x7D, 0x275D}, {0x7E, 0x275E}, {0x80, 0x24EA}, {0x81, 0x2460}, {0x82, 0x2461}, {0x83, 0x2462}, {0x84, 0x2463},
    {0x85, 0x2464}, {0x86, 0x2465}, {0x87, 0x2466}, {0x88, 0x2467}, {0x89, 0x2468}, {0x8A, 0x2469}, {0x8B, 0x24FF},
    {0x8C, 0x2776}, {0x8D, 0x2777}, {0x8E, 0x2778}, {0x8F, 0x2779}, {0x90, 0x277A}, {0x91, 0x277B}, {0x92, 0x277C},
    {0x93, 0x277D}, {0x94, 0x277E}, {0x95, 0x277F}, {0x9E, 0x00B7}, {0x9F, 0x2022}, {0xA1, 0x25CB}, {0xA4, 0x25C9},
    {0xA5, 0x25CE}, {0xA7, 0x25AA}, {0xA8, 0x25FB}, {0xAA, 0x2726}, {0xAB, 0x2605}, {0xAC, 0x2736}, {0xAD, 0x2734},
    {0xB0, 0x2735}, {0xB5, 0x272A}, {0xD5, 0x232B}, {0xD6, 0x2326}, {0xD8, 0x27A2}, {0xDC, 0x27B2}, {0xDF, 0x2190},
    {0xE0, 0x2192}, {0xE1, 0x2191}, {0xE2, 0x2193}, {0xE3, 0x2196}, {0xE4, 0x2197}, {0xE5, 0x2199}, {0xE6, 0x2198},
    {0xE8, 0x2794}, {0xEF, 0x21E6}, {0xF0, 0x21E8}, {0xF1, 0x21E7}, {0xF2, 0x21E9}, {0xFB, 0x2717}, {0xFC, 0x2713},
    {0xFD, 0x2612}, {0xFE, 0x2611},
};

template <class Row, std::size_t count>
const Row* rowOf(const Row (&rows)[count], int codePage) noexcept {
    const auto* const row = std::ranges::find(rows, codePage, &Row::codePage);
    return row == std::end(rows) ? nullptr : row;
}

/// The 256 units of a single-byte encoding.
void fillUnits(std::array<char16_t, 256>& units, CFStringEncoding encoding) {
    for (unsigned i = 0; i < 256; ++i) {
        const char byte = static_cast<char>(i);
        DecodeResult result;
        // Symbols may be followed by a mark that tells variants apart; the symbol is what counts.
        const std::u16string unit = decodedText({&byte, 1}, encoding, 4, result);
        units[i] = unit.empty() ? kReplacementCharacter : unit[0];
    }
}

/// Writes U+FFFD for what a converter cannot read; left to themselves some write a control character.
void replaceUnreadable(const void*, UConverterToUnicodeArgs* arguments, const char*, int32_t,
                       UConverterCallbackReason reason, UErrorCode* error) {
    if (reason > UCNV_IRREGULAR) return;  // the converter is reset or closed
    *error = U_ZERO_ERROR;
    ucnv_cbToUWriteUChars(arguments, &kReplacementCharacter, 1, 0, error);
}

/// Windows pages have grown; where the platform's tables are older, the newer characters are taken from ICU's.
void completeUnits(std::array<char16_t, 256>& units, int codePage) {
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open(("windows-" + std::to_string(codePage)).c_str(), &error);
    if (!converter) return;
    for (unsigned i = 0x80; i < 256; ++i) {
        if (units[i] != kReplacementCharacter) continue;
        const char byte = static_cast<char>(i);
        char16_t unit[4];
        error = U_ZERO_ERROR;
        if (ucnv_toUChars(converter, unit, 4, &byte, 1, &error) == 1 && U_SUCCESS(error)) units[i] = unit[0];
    }
    ucnv_close(converter);
}

void fillPrivateSymbols(std::array<char16_t, 256>& units) {
    for (unsigned i = 0; i < 256; ++i)
        units[i] = static_cast<char16_t>(i <= 0x20 ? i : 0xF000 + i);
}

}  // namespace

int codePageOfCharset(int charset) noexcept {
    const auto* const row = std::ranges::find(kCharsets, charset, &CharsetRow::charset);
    return row == std::end(kCharsets) ? 0 : row->codePage;
}

int codePageOfSymbolFont(std::u16string_view fontName) noexcept {
    if (fontName.starts_with(u"Symbol")) return kCodePageSymbol;
    if (fontName.find(u"Dingbats") != fontName.npos) return kCodePageDingbats;
    if (fontName == u"Wingdings") return kCodePageWingdings;
    return kCodePagePrivateSymbol;
}

void RtfCodePage::ConverterCloser::operator()(UConverter* converter) const noexcept {
    ucnv_close(converter);
}

RtfCodePage::RtfCodePage(int number) {
    if (const MultiByteRow* row = rowOf(kMultiByte, number)) {
        UErrorCode error = U_ZERO_ERROR;
        converter_.reset(ucnv_open(row->converter, &error));
        isLeadByte_ = row->isLeadByte;
        if (converter_) {
            ucnv_setToUCallBack(converter_.get(), replaceUnreadable, nullptr, nullptr, nullptr, &error);
            return;
        }
    }
    symbol_ = number == kCodePageSymbol || number == kCodePageDingbats || number == kCodePageWingdings ||
              number == kCodePagePrivateSymbol;
    asciiCompatible_ = !symbol_;
    if (number == kCodePageWingdings || number == kCodePagePrivateSymbol) {
        fillPrivateSymbols(units_);
        if (number == kCodePagePrivateSymbol) return;
        for (const SymbolRow& row : kWingdings)
            units_[row.byte] = row.unit;
        return;
    }
    const SingleByteRow* row = rowOf(kSingleByte, number);
    if (row && !CFStringIsEncodingAvailable(row->encoding)) row = rowOf(kStandIns, number);
    fillUnits(units_, row ? row->encoding : kCFStringEncodingWindowsLatin1);
    completeUnits(units_, number);
}

RtfCodePage::~RtfCodePage() = default;

bool RtfCodePage::endsInLeadByte(std::string_view bytes) const noexcept {
    if (!isLeadByte_) return false;
    // Characters can only be told from the start; lone bytes that cannot lead end whatever came before.
    std::size_t start = bytes.size();
    while (start > 0 && isLeadByte_(static_cast<unsigned char>(bytes[start - 1])))
        --start;
    return (bytes.size() - start) % 2 == 1;
}

void RtfCodePage::decode(std::string_view bytes, std::u16string& out) const {
    if (!converter_) {
        const std::size_t start = out.size();
        out.resize(start + bytes.size());
        std::transform(bytes.begin(), bytes.end(), out.begin() + static_cast<std::ptrdiff_t>(start),
                       [this](char byte) { return units_[static_cast<std::uint8_t>(byte)]; });
        return;
    }
    // Two units a byte is more than any of the encodings yields; pieces, because the converter counts in int.
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    ucnv_resetToUnicode(converter_.get());
    while (!bytes.empty()) {
        const std::size_t length = std::min(bytes.size(), kPiece);
        const std::size_t start = out.size();
        out.resize(start + 2 * length + 8);
        char16_t* target = out.data() + start;
        const char* source = bytes.data();
        UErrorCode error = U_ZERO_ERROR;
        ucnv_toUnicode(converter_.get(), &target, out.data() + out.size(), &source, source + length, nullptr,
                       static_cast<UBool>(length == bytes.size() ? 1 : 0), &error);
        out.resize(static_cast<std::size_t>(target - out.data()));
        bytes.remove_prefix(length);
    }
}

char16_t RtfCodePage::symbolUnit(char16_t unit) const noexcept {
    return symbol_ && unit >= 0xF020 && unit <= 0xF0FF ? units_[unit & 0xFF] : unit;
}

const RtfCodePage& RtfCodePages::page(int number) {
    const bool known = number == kCodePageWingdings || number == kCodePagePrivateSymbol || rowOf(kSingleByte, number) ||
                       rowOf(kMultiByte, number);
    std::unique_ptr<RtfCodePage>& page = pages_[known ? number : 1252];
    if (!page) page = std::make_unique<RtfCodePage>(known ? number : 1252);
    return *page;
}

}  // namespace halden
