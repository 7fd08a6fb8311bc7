// Which importers there are, and in which order they are asked.
#pragma once

#include "platform/bundles/Paths.h"

#include <string>
#include <string_view>
#include <vector>

namespace quarry {

/// The importers of this machine in priority order, as paths of bundles. The same path may occur more than once.
///
/// The lister is run with "-L" and its standard error read. Output that is no UTF-8 ends the search with nothing. From
/// the first
/// "(" that ends a line on, the output is a list in the old bracketed form; when that gives at least one path, the
/// order is: importers in the user's folder, in the machine's, in the system's, then what is left, each folder in the
/// reverse of the list's order (see `addPluginsInFolderToArray`); and the system's mail importer, which lists may omit,
/// is added at the end
/// ("Added: PATH" in the log). Otherwise the folders are scanned: those of applications first, then the user's, the
/// machine's and the system's.
///
/// Throws `halden::Exception` when the lister cannot be started.
[[nodiscard]] std::vector<std::u16string> discoverImporters(const halden::ImporterLocations& locations);

/// Moves the paths of `list` that lie in `folder` to the end of `importers`, from the last to the first: this order
/// decides which importer wins for a type that several declare, and must stay. A path lies in the folder when it begins
/// with the folder's string; no separator is looked for. Importers that register dynamically are dropped from the list,
/// whichever folder they lie in.
void addPluginsInFolderToArray(std::vector<std::u16string>& list, std::vector<std::u16string>& importers,
                               std::u16string_view folder);

/// Adds the importers that the entries of `folder` carry in Contents/Library/Spotlight. A leading "~" is expanded for
/// listing the folder, but not in the paths of what was found there, so that applications in "~/Applications"
/// contribute nothing.
void loadPluginsFromApplicationsDirectory(std::vector<std::u16string>& importers, std::u16string_view folder);

/// Adds the bundles directly inside `folder` whose extension is mdimporter in any case, in the order in which the
/// system lists them, but for those that register dynamically.
void loadPluginsFromFolder(std::vector<std::u16string>& importers, std::u16string_view folder);

}  // namespace quarry
