// Snapshots of pages in MHTML, as the web engine writes them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace halden::web {

struct MhtmlPart {
    std::string address;    ///< Content-Location
    std::string mediaType;  ///< in lower case, without parameters
    std::string data;       ///< decoded
};

/// The parts of a snapshot, in their order, those without an address or of an unknown transfer encoding left out. None
/// for what is no snapshot. At most 16384 parts.
[[nodiscard]] std::vector<MhtmlPart> partsOfMhtml(std::string_view snapshot);

}  // namespace halden::web
