// Text of document packages whose importers serve them badly, or that have none.
#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string_view>

namespace quarry {

/// More text than this is not read from a package: whatever inflates to more is damaged, or means harm.
inline constexpr std::size_t kLargestPackageText = std::size_t{256} << 20;

/// Removes from the attributes of a ".mellel" document (in any case) the placeholders that its importer reports:
/// strings, alone or in an array of one, from "<" to ">" without white space.
void cleanUpPackageAttributes(halden::Dictionary& attributes, std::u16string_view path);

/// The text of a ".oo3" or ".chatlog" package (in any case), under kMDItemTextContent; nullopt for every other path,
/// and when the package cannot be read or decoded.
///
/// - ".oo3": contents.xml, which may be compressed, without styles and settings, as one line.
/// - ".chatlog": the one XML file in the package; without one, or with several, there is no text.
[[nodiscard]] std::optional<halden::Dictionary> textOfPackage(std::u16string_view path);

}  // namespace quarry
