#include "markup/BaseElement.h"

#include "markup/Entities.h"
#include "markup/LinkCleaning.h"
#include "markup/PageTags.h"

namespace halden {
namespace {

bool RetrieveCanonicalURLHandler(const Tag& tag, void* context) {
    const TagNameKey key = keyOfTag(tag);
    if (key == "body"_tag) return true;
    if (key != "link"_tag || !isOpeningTag(tag)) return false;
    const std::optional<std::u16string> relation = attributeOf(tag, "REL");
    if (!relation || !equalsNoCase(*relation, "canonical")) return false;
    const std::optional<std::u16string> href = attributeOf(tag, "HREF");
    auto url = href ? normalizedStringURL(*href) : std::nullopt;
    if (!url || url->starts_with(u'#')) return false;
    *static_cast<std::optional<std::u16string>*>(context) = std::move(url);
    return true;
}

bool RetrieveBaseURLHandler(const Tag& tag, void* context) {
    const TagNameKey key = keyOfTag(tag);
    if (key == "body"_tag) return true;
    if (key != "base"_tag || !isOpeningTag(tag)) return false;
    const std::optional<std::u16string> href = attributeOf(tag, "HREF");
    if (!href) return false;
    *static_cast<std::optional<Url>*>(context) = baseURL(*href);
    return true;
}

struct BaseElement {
    Range tag;  ///< of the base tag
    std::size_t insertionPoint = kNotFound;
};

bool SetBaseURLHandler(const Tag& tag, void* context) {
    auto& element = *static_cast<BaseElement*>(context);
    switch (keyOfTag(tag)) {
        case "body"_tag:
            return true;
        case "base"_tag:
            if (!attributeOf(tag, "HREF")) return false;
            element.tag = {tag.tagLocation, tag.tag().size()};
            return true;
        case "head"_tag:
            if (isOpeningTag(tag)) element.insertionPoint = tag.tagLocation + tag.tag().size();
            return false;
        default:
            return false;
    }
}

BaseElement findBaseElement(std::u16string_view html) {
    BaseElement element;
    GetTagsOfString(html, SetBaseURLHandler, &element);
    return element;
}

std::u16string baseElementFor(std::u16string_view url) {
    return u"<BASE href=\"" + stringByConvertingCharactersToStandardEntities(std::u16string(url)) + u"\"/>\n";
}

}  // namespace

std::optional<std::u16string> htmlCanonicalURL(std::u16string_view html) {
    std::optional<std::u16string> url;
    GetTagsOfString(html, RetrieveCanonicalURLHandler, &url);
    return url;
}

std::optional<Url> htmlBaseURL(std::u16string_view html) {
    std::optional<Url> url;
    GetTagsOfString(html, RetrieveBaseURLHandler, &url);
    return url;
}

std::u16string stringBySettingBaseURL(std::u16string html, std::optional<std::u16string_view> url) {
    if (!url) return html;
    const BaseElement element = findBaseElement(html);
    if (element.tag.found()) {
        html.erase(element.tag.location, element.tag.length);
        if (!url->empty()) html.insert(element.tag.location, baseElementFor(*url));
    } else if (element.insertionPoint != kNotFound && !url->empty()) {
        html.insert(element.insertionPoint, baseElementFor(*url));
    }
    return html;
}

std::u16string stringByAddingBaseURL(std::u16string html, std::optional<std::u16string_view> url) {
    if (!url || url->empty()) return html;
    const BaseElement element = findBaseElement(html);
    if (!element.tag.found() && element.insertionPoint != kNotFound) {
        html.insert(element.insertionPoint, baseElementFor(*url));
    }
    return html;
}

}  // namespace halden
