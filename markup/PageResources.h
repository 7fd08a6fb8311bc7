// What a page loads: icons, images, style sheets, scripts, embedded objects. All addresses are cleaned
// (LinkCleaning.h).
#pragma once

#include "markup/TagScanner.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// HREF of the first link element whose REL contains "shortcut icon".
[[nodiscard]] std::optional<std::u16string> htmlFavIcon(std::u16string_view html);
/// The same of one tag; nullopt when it is no such link.
[[nodiscard]] std::optional<std::u16string> getFavIcon(const Tag& tag);

// Each address once; their order says nothing.

/// SRC of img, BACKGROUND of body, HREF of links whose REL contains "icon" or "image".
[[nodiscard]] std::vector<std::u16string> htmlImages(std::u16string_view html);
/// SRC of script and style elements, or else what such an element imports first; HREF of links whose REL contains
/// "style", "sheet" or "script".
[[nodiscard]] std::vector<std::u16string> htmlStylesheetsAndScripts(std::u16string_view html);
/// HREF (not SRC, nor DATA) of object and embed.
[[nodiscard]] std::vector<std::u16string> htmlEmbeddedObjects(std::u16string_view html);

}  // namespace halden
