// One importer, loaded.
#pragma once

#include "foundation/Value.h"
#include "importers/sdk/quarry_importer.h"

#include <string>
#include <string_view>

namespace quarry {

/// The importer interface of the bundle at `bundlePath`, or a null pointer: loads the plug-in, takes the first of its
/// factories that makes an instance of the importer type, asks that instance for the interface and releases it. The
/// first instance decides, whether or not it has the interface. The reference that is returned is never released: an
/// importer lives until the process ends.
[[nodiscard]] quarry_importer* importerInterfaceOfBundle(std::u16string_view bundlePath);

/// What the importer fills in for the file. Its boolean answer is not looked at, and an exception that it lets out is
/// dropped: what was filled until then counts.
[[nodiscard]] halden::Dictionary attributesFromImporter(quarry_importer& importer, std::u16string_view contentType,
                                                        const std::string& path);

}  // namespace quarry
