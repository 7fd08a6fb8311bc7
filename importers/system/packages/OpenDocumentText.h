// Documents of OpenDocument, as packages and as one file.
#pragma once

#include "importers/system/packages/DocumentInformation.h"

#include <optional>

namespace quarry::packages {

/// What a document says; nullopt when the bytes are none. `isEncrypted` tells that its text needs a password.
[[nodiscard]] std::optional<DocumentInformation> informationFromOpenDocument(std::string_view bytes, bool& isEncrypted);

}  // namespace quarry::packages
