// Bytes to strings and back: paths keep every byte, decoding agrees with itself.
#include "foundation/Path.h"
#include "foundation/Unicode.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    const auto strict = halden::strictUtf16FromUtf8(text);
    if (strict && (*strict != halden::utf16FromUtf8(text) || halden::utf8FromUtf16(*strict) != text)) std::abort();
    if (!text.empty() && text.find('\0') == std::string_view::npos &&
        halden::pathBytesFromString(halden::stringFromPathBytes(text)) != text) {
        std::abort();
    }
    const std::u16string units(reinterpret_cast<const char16_t*>(bytes), size / 2);
    if (halden::utf16FromUtf8(halden::utf8FromUtf16(units)) != units) std::abort();
    return 0;
}
