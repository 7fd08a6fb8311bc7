#include "foundation/Unicode.h"
#include "markup/Stripping.h"
#include "markup/operations/Operations.h"

#include <array>

namespace halden::operations {
namespace {

using Prefixes = std::optional<std::vector<std::u16string>>;

std::u16string stripNamedTag(std::u16string html, const std::optional<std::u16string>& name) {
    return stripTag(std::move(html), utf8FromUtf16(name.value_or(u"")));
}

std::u16string stripAttributes(std::u16string html, const std::optional<std::u16string>& name) {
    return stripAttributesOfTag(std::move(html), utf8FromUtf16(name.value_or(u"")));
}

std::optional<std::u16string> stripBodiesOrOthers(std::u16string html, const Prefixes& prefixes, bool except) {
    return stripTagBodies(std::move(html), prefixes.value_or(std::vector<std::u16string>()),
                          except ? StrippedBodies::allButTheListed : StrippedBodies::listed);
}

std::optional<std::u16string> stripBodies(std::u16string html, const Prefixes& prefixes) {
    return stripBodiesOrOthers(std::move(html), prefixes, false);
}

std::optional<std::u16string> stripOthers(std::u16string html, const Prefixes& prefixes) {
    return stripBodiesOrOthers(std::move(html), prefixes, true);
}

std::u16string stripObjects(std::u16string_view html, bool replaceImages) {
    return stripObjectsAndReplaceImages(html, replaceImages ? ImageReplacement::text : ImageReplacement::none);
}

constexpr auto kOperations = std::to_array<Operation>({
    method<stripTags>("stripTags", "string"),
    method<stripNamedTag>("stripTag:", "string name"),
    method<stripAttributes>("stripAttributesOfTag:", "string name"),
    method<stripBodiesOrOthers>("stripTagBodies:except:", "string prefixes except"),
    method<stripBodies>("stripTagBodies:", "string prefixes"),
    method<stripOthers>("stripTagBodiesExcept:", "string prefixes"),
    method<stripObjects>("stripObjectsAndReplaceImages:", "string replaceImages"),
    method<stripLinks>("stripLinks", "string"),
    method<isHTML>("isHTML", "string"),
});

}  // namespace

std::span<const Operation> strippingOperations() {
    return kOperations;
}

}  // namespace halden::operations
