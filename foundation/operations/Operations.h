// The tables of operations, a theme each.
#pragma once

#include "foundation/operations/Operation.h"

#include <span>

namespace halden::operations {

/// Bitmaps, tables, single units, comparison and search: Characters.h, CharacterComparison.h.
[[nodiscard]] std::span<const Operation> characterOperations();

}  // namespace halden::operations
