#include "markup/DeclaredCharset.h"

#include "foundation/Strings.h"
#include "markup/AttributeText.h"
#include "markup/CharsetNames.h"
#include "markup/Entities.h"
#include "markup/TagAttributes.h"
#include "markup/TagNames.h"
#include "markup/TagScanner.h"

namespace halden {
namespace {

struct Declaration {
    std::u16string charset;
    Range tag;
};

constexpr AttributeTextOptions kCharsetOptions{.quote = u'\'', .tolerant = true, .stopAtSemicolon = true};

/// What a meta tag declares: in its content it takes precedence.
std::optional<std::u16string> charsetOfMetaTag(const Tag& tag) {
    const auto content =
        _attributeOfTagCharactersWithName(tag.characters, tag.tagRange(), "CONTENT", AttributeValue::metaContent);
    std::optional<std::u16string> charset;
    if (content) charset = headerCharset(*content);
    if (!charset) charset = attributeOfTagCharacters(tag.characters, tag.tagRange(), "CHARSET");
    if (charset) charset = stringByConvertingEntitiesToCharacters(*std::move(charset));
    return charset;
}

/// Stops at the first declaration, or where none can follow.
bool findDeclaration(const Tag& tag, void* context) {
    if (tag.kind != TagKind::tag) return false;
    const std::u16string_view text = tag.tag();
    std::optional<std::u16string> charset;
    switch (tagNameKey(tag.name())) {
        case "body"_tag:
            return true;
        case "meta"_tag:
            if (text.size() >= 3 && text[1] != u'/') charset = charsetOfMetaTag(tag);
            break;
        case "xml"_tag:
            if (text[1] == u'?') charset = attributeOfTagCharacters(tag.characters, tag.tagRange(), "ENCODING");
            break;
        default:
            break;
    }
    if (!charset) return false;
    auto& declaration = *static_cast<Declaration*>(context);
    declaration.charset = *std::move(charset);
    declaration.tag = tag.tagRange();
    return true;
}

Declaration declarationOf(std::u16string_view markup) {
    Declaration declaration;
    GetTagsOfString(markup, findDeclaration, &declaration);
    return declaration;
}

}  // namespace

std::u16string markupCharset(std::u16string_view markup) {
    return declarationOf(markup).charset;
}

Range markupCharsetRange(std::u16string_view markup) {
    return declarationOf(markup).tag;
}

NSStringEncoding markupEncoding(std::u16string_view markup) {
    return NSEncodingFromName(markupCharset(markup));
}

NSStringEncoding defaultURLEncoding(std::u16string_view markup) {
    return markupEncoding(markup) == kNSISOLatin1StringEncoding ? kNSISOLatin1StringEncoding : kNSUTF8StringEncoding;
}

std::optional<std::u16string> headerCharset(std::u16string_view value) {
    return _copyOfAttributeOfString(value, u"CHARSET", kCharsetOptions);
}

NSStringEncoding headerEncoding(std::u16string_view value) {
    return NSEncodingFromName(headerCharset(value).value_or(std::u16string()));
}

std::optional<std::u16string> headerRefresh(std::u16string_view value) {
    return _copyOfAttributeOfString(value, u"URL", {.quote = u'\'', .tolerant = true, .stopAtSemicolon = false});
}

std::int64_t refreshInterval(std::u16string_view value) noexcept {
    return integerValue(value);
}

}  // namespace halden
