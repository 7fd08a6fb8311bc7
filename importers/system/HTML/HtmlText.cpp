#include "importers/system/HTML/HtmlText.h"

#include "foundation/Unicode.h"
#include "markup/Entities.h"
#include "markup/Html2Text.h"
#include "markup/MarkupDecoder.h"
#include "markup/Stripping.h"

namespace quarry::support {
namespace {

constexpr halden::NSStringEncoding kWindowsLatin1 =
    12;  // a superset of ISO Latin 1, and what pages without a word mean

}  // namespace

std::optional<std::u16string> markupFromBytes(std::string_view bytes, std::string_view charset) {
    const bool isUtf8 = halden::strictUtf16FromUtf8(bytes).has_value();
    const auto byDefault = isUtf8 ? halden::kNSUTF8StringEncoding : kWindowsLatin1;
    if (bytes.empty()) return std::nullopt;
    return halden::stringWithMarkupData(bytes, halden::utf16FromUtf8(charset), byDefault);
}

std::string textOfMarkup(const std::u16string& markup) {
    constexpr halden::PlainTextOptions kOptions{
        .entities = true, .stdEntities = true, .reformat = true, .onlyBody = true, .imageAlts = true};
    std::u16string text = halden::stringByConvertingHtml2PlainText(markup, kOptions);
    // A page without content comes back as it is.
    if (text == markup && markup.find(u'<') != std::u16string::npos) {
        text = halden::stringByConvertingEntitiesToCharacters(halden::stripTags(markup));
    }
    return halden::utf8FromUtf16(text);
}

}  // namespace quarry::support
