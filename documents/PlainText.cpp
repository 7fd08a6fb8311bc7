#include "documents/PlainText.h"

#include "foundation/Unicode.h"
#include "markup/CharsetNames.h"

#include <algorithm>
#include <charconv>

namespace quarry {
namespace {

using halden::CFStringEncoding;
using halden::DecodeResult;
using halden::DecodeStatus;

constexpr CFStringEncoding kUTF16BE = 0x10000100;
constexpr CFStringEncoding kUTF16LE = 0x14000100;
constexpr CFStringEncoding kUTF32BE = 0x18000100;
constexpr CFStringEncoding kUTF32LE = 0x1C000100;

struct Mark {
    std::string_view bytes;
    CFStringEncoding encoding;
};

// The longer one first: UTF-32's begins as UTF-16's does.
constexpr Mark kMarks[] = {
    {std::string_view("\xFF\xFE\0\0", 4), kUTF32LE},
    {std::string_view("\0\0\xFE\xFF", 4), kUTF32BE},
    {std::string_view("\xEF\xBB\xBF", 3), halden::kCFStringEncodingUTF8},
    {std::string_view("\xFF\xFE", 2), kUTF16LE},
    {std::string_view("\xFE\xFF", 2), kUTF16BE},
};

std::string_view viewOf(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

const Mark* markOf(std::string_view bytes) {
    const auto* mark = std::ranges::find_if(kMarks, [&](const Mark& each) { return bytes.starts_with(each.bytes); });
    return mark != std::end(kMarks) ? mark : nullptr;
}

/// Control characters that text does not have. Some have a form feed, a terminal's escapes, or an old end mark.
bool isOdd(char32_t character) {
    constexpr std::string_view kWhite = "\b\t\n\v\f\r\x1A\x1B";
    return (character < 0x20 && kWhite.find(static_cast<char>(character)) == std::string_view::npos) ||
           character == 0x7F;
}

/// One in a hundred may be odd.
bool isFewOf(std::size_t odd, std::size_t all) {
    return odd <= all / 100;
}

/// The byte order that makes text of bytes without a mark: neither controls nor lone surrogates, and ASCII as every
/// text has some, all on one side.
std::optional<CFStringEncoding> evidentUtf16(std::string_view bytes) {
    if (bytes.empty() || bytes.size() % 2 != 0) return std::nullopt;
    for (const bool isLittle : {true, false}) {
        std::size_t ascii = 0;
        std::size_t odd = 0;
        bool wantsLow = false;
        for (std::size_t i = 0; i < bytes.size() && odd == 0; i += 2) {
            const auto first = static_cast<std::uint8_t>(bytes[i]);
            const auto second = static_cast<std::uint8_t>(bytes[i + 1]);
            const auto unit = static_cast<char16_t>(isLittle ? second << 8 | first : first << 8 | second);
            if (wantsLow != halden::isLowSurrogate(unit) || isOdd(unit) || unit >= 0xFFFE) ++odd;
            wantsLow = halden::isHighSurrogate(unit);
            ascii += unit < 0x80 ? 1U : 0U;
        }
        if (odd == 0 && !wantsLow && ascii >= bytes.size() / 16 + 1) return isLittle ? kUTF16LE : kUTF16BE;
    }
    return std::nullopt;
}

std::optional<std::u16string> decoded(std::string_view bytes, CFStringEncoding encoding) {
    DecodeResult result;
    std::u16string text = halden::decodedText(bytes, encoding, 2 * bytes.size() + 16, result);
    if (result.status != DecodeStatus::complete) return std::nullopt;
    return text;
}

std::optional<PlainText> textIn(std::string_view bytes, CFStringEncoding encoding) {
    auto text = decoded(bytes, encoding);
    if (!text) return std::nullopt;
    return PlainText{std::move(*text), halden::CFStringConvertEncodingToNSStringEncoding(encoding)};
}

bool isAscii(std::string_view bytes) {
    return std::ranges::all_of(bytes, [](char unit) { return static_cast<std::uint8_t>(unit) < 0x80; });
}

}  // namespace

bool isText(std::span<const std::uint8_t> bytes, bool isDeclaredText) {
    const std::string_view view = viewOf(bytes);
    if (markOf(view) != nullptr) return true;
    if (view.find('\0') != std::string_view::npos) return evidentUtf16(view).has_value();
    const auto odd = std::ranges::count_if(bytes, [](std::uint8_t byte) { return isOdd(byte); });
    if (!isFewOf(static_cast<std::size_t>(odd), bytes.size())) return false;
    return isDeclaredText || halden::strictUtf16FromUtf8(view).has_value();
}

std::optional<PlainText> plainTextFromBytes(std::span<const std::uint8_t> bytes, CFStringEncoding declaredEncoding) {
    const std::string_view view = viewOf(bytes);
    if (const Mark* mark = markOf(view)) {
        auto text = textIn(view.substr(mark->bytes.size()), mark->encoding);
        // The mark says the byte order; what is reported is the encoding that has marks.
        if (text && mark->bytes.size() == 2)
            text->encoding = halden::CFStringConvertEncodingToNSStringEncoding(halden::kCFStringEncodingUTF16);
        return text;
    }
    const bool ascii = isAscii(view);
    if (!ascii) {
        if (auto text = halden::strictUtf16FromUtf8(view)) return PlainText{std::move(*text)};
    }
    if (declaredEncoding != halden::kInvalidEncoding) {
        if (auto text = textIn(view, declaredEncoding)) return text;
    }
    if (const auto order = view.find('\0') != std::string_view::npos ? evidentUtf16(view) : std::nullopt)
        return textIn(view, *order);
    if (ascii) return textIn(view, halden::kCFStringEncodingUTF8);
    return textIn(view, halden::kCFStringEncodingWindowsLatin1);
}

CFStringEncoding encodingFromAttribute(std::string_view attribute) {
    const std::string_view name = attribute.substr(0, attribute.find(';'));
    std::string_view digits = attribute.substr(name.size());
    if (!digits.empty()) digits.remove_prefix(1);
    CFStringEncoding encoding = halden::kInvalidEncoding;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), encoding);
    if (result.ec == std::errc() && halden::CFStringIsEncodingAvailable(encoding)) return encoding;
    return name.empty() ? halden::kInvalidEncoding : halden::charset2CFStringEncoding(halden::utf16FromUtf8(name));
}

}  // namespace quarry
