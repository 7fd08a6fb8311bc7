// Documents of Office Open XML.
#pragma once

#include "importers/system/packages/DocumentInformation.h"

#include <optional>

namespace quarry::packages {

/// What a text, a workbook or a presentation says; nullopt when the package is none. Text that was deleted with its
/// changes recorded, and the instructions of fields, are left out.
[[nodiscard]] std::optional<DocumentInformation> informationFromOpenXml(std::string_view bytes);

}  // namespace quarry::packages
