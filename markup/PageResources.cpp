#include "markup/PageResources.h"

#include "markup/LinkCleaning.h"
#include "markup/PageTags.h"
#include "markup/UniqueStrings.h"

namespace halden {
namespace {

void addURL(UniqueStrings& set, std::optional<std::u16string> url) {
    if (url) set.insert(*std::move(url));
}

std::optional<std::u16string> urlOf(const Tag& tag, std::string_view attribute) {
    const std::optional<std::u16string> value = attributeOf(tag, attribute);
    return value ? normalizedStringURL(*value) : std::nullopt;
}

std::optional<std::u16string> relLinkOf(const Tag& tag) {
    const std::optional<std::u16string> value = attributeOf(tag, "HREF");
    return value ? normalizedRelLink(*value) : std::nullopt;
}

bool relationContains(const Tag& tag, std::size_t shortest, std::initializer_list<std::string_view> words) {
    const std::optional<std::u16string> relation = attributeOf(tag, "REL");
    if (!relation || relation->size() < shortest) return false;
    for (const std::string_view word : words) {
        if (containsNoCase(*relation, word)) return true;
    }
    return false;
}

bool RetrieveFavIconHandler(const Tag& tag, void* context) {
    auto& icon = *static_cast<std::optional<std::u16string>*>(context);
    icon = getFavIcon(tag);
    return icon.has_value();
}

bool RetrieveImagesHandler(const Tag& tag, void* context) {
    auto& images = *static_cast<UniqueStrings*>(context);
    if (!isOpeningTag(tag)) return false;
    switch (keyOfTag(tag)) {
        case "img"_tag:
            addURL(images, urlOf(tag, "SRC"));
            break;
        case "body"_tag:
            addURL(images, urlOf(tag, "BACKGROUND"));
            break;
        case "link"_tag:
            if (relationContains(tag, 4, {"icon", "image"})) addURL(images, relLinkOf(tag));
            break;
        default:
            break;
    }
    return false;
}

/// What stands between the first two double quotes behind the first "@import" of a style element.
std::optional<std::u16string> importedURL(std::u16string_view item) {
    const char16_t* import = fastCaseInsensitiveUnicharsContainChars(item, "@import");
    if (import == nullptr) return std::nullopt;
    const std::size_t open = item.find(u'"', static_cast<std::size_t>(import - item.data()));
    if (open == std::u16string_view::npos) return std::nullopt;
    const std::size_t close = item.find(u'"', open + 1);
    if (close == std::u16string_view::npos) return std::nullopt;
    return normalizedStringURL(item.substr(open + 1, close - open - 1));
}

/// `tag` is a whole script or style element. Its SRC is searched for in all of it.
void addSheetOrScriptToSet(UniqueStrings& set, const Tag& tag) {
    std::optional<std::u16string> url = urlOf(tag, "SRC");
    if (!url) url = importedURL(tag.tag());
    addURL(set, std::move(url));
}

bool RetrieveSheetsAndScriptsHandler(const Tag& tag, void* context) {
    auto& set = *static_cast<UniqueStrings*>(context);
    if (!isOpeningTag(tag)) return false;
    switch (keyOfTag(tag)) {
        case "script"_tag:
        case "style"_tag:
            addSheetOrScriptToSet(set, tag);
            break;
        case "link"_tag:
            if (relationContains(tag, 5, {"style", "sheet", "script"})) addURL(set, relLinkOf(tag));
            break;
        default:
            break;
    }
    return false;
}

bool RetrieveObjectsHandler(const Tag& tag, void* context) {
    const TagNameKey key = keyOfTag(tag);
    if ((key == "object"_tag || key == "embed"_tag) && isOpeningTag(tag)) {
        addURL(*static_cast<UniqueStrings*>(context), urlOf(tag, "HREF"));
    }
    return false;
}

std::vector<std::u16string> collected(std::u16string_view html, TagHandler handler) {
    UniqueStrings strings;
    GetTagsOfString(html, handler, &strings);
    return strings.take();
}

}  // namespace

std::optional<std::u16string> getFavIcon(const Tag& tag) {
    constexpr std::size_t kShortestRelation = 13;
    if (keyOfTag(tag) != "link"_tag || !isOpeningTag(tag)) return std::nullopt;
    return relationContains(tag, kShortestRelation, {"shortcut icon"}) ? relLinkOf(tag) : std::nullopt;
}

std::optional<std::u16string> htmlFavIcon(std::u16string_view html) {
    std::optional<std::u16string> icon;
    GetTagsOfString(html, RetrieveFavIconHandler, &icon);
    return icon;
}

std::vector<std::u16string> htmlImages(std::u16string_view html) {
    return collected(html, RetrieveImagesHandler);
}

std::vector<std::u16string> htmlStylesheetsAndScripts(std::u16string_view html) {
    return collected(html, RetrieveSheetsAndScriptsHandler);
}

std::vector<std::u16string> htmlEmbeddedObjects(std::u16string_view html) {
    return collected(html, RetrieveObjectsHandler);
}

}  // namespace halden
