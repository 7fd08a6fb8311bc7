// Sets and tables that an operation takes as an argument: they are given by the names of their functions.
#pragma once

#include "foundation/Characters.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace halden::operations {

/// The set of that name, a null pointer for none. Throws ArgumentError, with `index` counted from 0, when there is no
/// such set.
[[nodiscard]] const CharacterBitmap* setNamed(std::optional<std::u16string_view> name, std::size_t index);

/// The table of that name, likewise.
[[nodiscard]] const ConversionTable* tableNamed(std::optional<std::u16string_view> name, std::size_t index);

}  // namespace halden::operations
