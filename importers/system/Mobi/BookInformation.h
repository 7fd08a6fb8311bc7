// What a Mobipocket book says.
#pragma once

#include "importers/system/packages/DocumentInformation.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::mobi {

struct BookInformation {
    packages::DocumentInformation document;
    std::vector<std::string> contributors;
    bool isEncrypted = false;  ///< then there is no text
};

/// Books with the suffixes mobi, prc, azw and azw3, and the plain texts (pdb) that came before them. nullopt when the
/// bytes are none.
[[nodiscard]] std::optional<BookInformation> informationFromBook(std::string_view bytes);

}  // namespace quarry::mobi
