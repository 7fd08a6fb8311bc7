// Dynamic identifiers: "dyn.a" and a payload in base 32, most significant bit first, zero bits at the end.
//
// The payload of a file extension is "?0=6:1=EXTENSION": what it conforms to (6, data) and one tag (1, an extension).
#include "foundation/Path.h"
#include "foundation/Strings.h"
#include "foundation/Unicode.h"
#include "platform/types/ContentTypes.h"

namespace halden {
namespace {

constexpr std::u16string_view kPrefix = u"dyn.a";
constexpr std::string_view kExtensionMark = "?0=6:1=";
constexpr std::u16string_view kDigits = u"abcdefghkmnpqrstuvwxyz0123456789";
// What no file name holds, so that nobody can smuggle it into one by an identifier.
constexpr std::string_view kNotInNames("/\0", 2);
constexpr unsigned kBitsPerDigit = 5;
constexpr unsigned kBitsPerByte = 8;

std::u16string base32(std::string_view bytes) {
    std::u16string digits;
    unsigned pending = 0;
    unsigned bits = 0;
    for (const char byte : bytes) {
        pending = (pending & 0xFF) << kBitsPerByte | static_cast<unsigned char>(byte);
        for (bits += kBitsPerByte; bits >= kBitsPerDigit; bits -= kBitsPerDigit)
            digits += kDigits[pending >> (bits - kBitsPerDigit) & 0x1F];
    }
    if (bits > 0) digits += kDigits[pending << (kBitsPerDigit - bits) & 0x1F];
    return digits;
}

std::optional<std::string> bytesFromBase32(std::u16string_view digits) {
    std::string bytes;
    unsigned pending = 0;
    unsigned bits = 0;
    for (const char16_t digit : digits) {
        const std::size_t value = kDigits.find(digit);
        if (value == std::u16string_view::npos) return std::nullopt;
        pending = (pending & 0xFF) << kBitsPerDigit | static_cast<unsigned>(value);
        bits += kBitsPerDigit;
        if (bits < kBitsPerByte) continue;
        bits -= kBitsPerByte;
        bytes += static_cast<char>(pending >> bits & 0xFF);
    }
    // What is left over is padding: less than a digit, and zero.
    if (bits >= kBitsPerDigit || (pending & ((1U << bits) - 1)) != 0) return std::nullopt;
    return bytes;
}

}  // namespace

std::u16string dynamicIdentifierForExtension(std::u16string_view extension) {
    const std::u16string lower = lowercaseString(extension);
    auto bytes = pathBytesFromString(lower);
    if (!bytes) bytes = utf8FromUtf16(lower);
    return std::u16string(kPrefix) + base32(std::string(kExtensionMark) + *bytes);
}

std::optional<std::u16string> extensionOfDynamicIdentifier(std::u16string_view identifier) {
    const std::u16string lower = lowercaseString(identifier);
    if (!lower.starts_with(kPrefix)) return std::nullopt;
    const auto payload = bytesFromBase32(std::u16string_view(lower).substr(kPrefix.size()));
    if (!payload || !payload->starts_with(kExtensionMark)) return std::nullopt;
    const auto extension = std::string_view(*payload).substr(kExtensionMark.size());
    if (extension.empty() || extension.find_first_of(kNotInNames) != std::string_view::npos) return std::nullopt;
    return stringFromPathBytes(extension);
}

}  // namespace halden
