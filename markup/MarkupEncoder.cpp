#include "markup/MarkupEncoder.h"

#include "markup/DeclaredCharset.h"
#include "markup/Entities.h"

namespace halden {

std::optional<std::string> markupData(std::u16string_view markup, NSStringEncoding* encoding) {
    NSStringEncoding used = markup.empty() ? kInvalidEncoding : markupEncoding(markup);
    const bool isDeclared = used != kInvalidEncoding;
    if (!isDeclared) used = kNSASCIIStringEncoding;
    if (encoding != nullptr) *encoding = used;
    if (markup.empty()) return std::string();
    if (isDeclared) return encodedText(markup, CFStringConvertNSStringEncodingToEncoding(used));
    return encodedText(stringByConvertingCharactersToEntities(std::u16string(markup)), kCFStringEncodingASCII);
}

}  // namespace halden
