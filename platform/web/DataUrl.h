// Addresses that are their own contents, and what images are.
#pragma once

#include "foundation/Data.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden::web {

struct DataUrl {
    std::string mediaType;  ///< in lower case, without parameters
    Data data;
};

/// The contents of "data:TYPE;base64,...", or of one without base64; nullopt for other addresses.
[[nodiscard]] std::optional<DataUrl> dataOfDataUrl(std::string_view address);

struct ImageKind {
    std::u16string_view type;       ///< content type; empty where it is not known
    std::u16string_view extension;  ///< of a file
};

/// By the first bytes, else by the media type.
[[nodiscard]] ImageKind imageKindOf(const Data& data, std::string_view mediaType);

/// The last part of an address's path, without its extension and with nothing in it that a file's name may not have; at
/// most 60 units. Empty for data: addresses.
[[nodiscard]] std::u16string nameOfAddress(std::string_view address);

}  // namespace halden::web
