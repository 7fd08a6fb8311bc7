// Any bytes as a document, and as text of every encoding: what is decoded without an error and can be written comes
// back, and the two decoders agree wherever both read.
#include "foundation/Log.h"
#include "foundation/Unicode.h"
#include "markup/DeclaredCharset.h"
#include "markup/MarkupDecoder.h"
#include "markup/MarkupEncoder.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace halden;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

void decodeAs(std::string_view bytes, CFStringEncoding encoding) {
    std::size_t errors = 0;
    const auto text = tryToCreateStringWithEncoding(bytes, encoding, &errors);
    if (text) require(text->size() <= std::max<std::size_t>(bytes.size(), 32) && errors <= text->size());
    const auto strict = strictlyDecodedText(bytes, encoding);
    if (!strict) return;
    if (!CFStringIsEncodingAvailable(encoding)) std::abort();
    // The lenient decoder has the same text, as far as its room goes.
    if (text) require(strict->starts_with(*text));
    const auto again = encodedText(*strict, encoding);
    if (again) require(strictlyDecodedText(*again, encoding) == *strict);
}

/// Into a room that may be too small, between guards.
void decodeIntoRoom(std::string_view bytes, CFStringEncoding encoding, std::size_t room) {
    std::u16string units(room + 1, u'#');
    const DecodeResult result = decodeText(bytes, encoding, std::span(units).first(room));
    require(result.unitsWritten <= room && units[room] == u'#');
    DecodeResult limited;
    const std::u16string text = decodedText(bytes, encoding, room, limited);
    require(text == std::u16string_view(units).substr(0, result.unitsWritten) && limited.status == result.status);
}

void decodeDocument(std::string_view bytes, std::u16string_view name, NSStringEncoding defaultEncoding) {
    const auto text = stringWithMarkupData(bytes, name, defaultEncoding);
    if (!text) return;
    NSStringEncoding encoding = kInvalidEncoding;
    const auto data = markupData(*text, &encoding);
    const Range range = markupCharsetRange(*text);
    // A script's token may claim a unit too many, but a declaration never does.
    require(range.found() ? range.end() <= text->size() : range.length == 0);
    if (data) require(initWithData(*data, encoding).has_value());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const bool isQuiet = [] {
        setLogSink([](LogLevel, std::string_view) {});
        return true;
    }();
    static_cast<void>(isQuiet);
    if (size < 3) return 0;
    const auto encodings = textEncodings();
    const TextEncoding& encoding = encodings[bytes[0] % encodings.size()];
    const std::size_t room = bytes[1];
    const std::size_t nameLength = std::min<std::size_t>(bytes[2] % 16, size - 3);
    const std::string_view rest(reinterpret_cast<const char*>(bytes) + 3, size - 3);
    const std::u16string name = utf16FromUtf8(rest.substr(0, nameLength));
    const std::string_view document = rest.substr(nameLength);

    decodeAs(document, encoding.cfEncoding);
    decodeIntoRoom(document, encoding.cfEncoding, room);
    decodeDocument(document, name, encoding.nsEncoding);
    return 0;
}
