// The tables of the operations on documents.
#pragma once

#include "foundation/operations/Operation.h"

#include <span>

namespace quarry::operations {

/// WebArchive.h
[[nodiscard]] std::span<const halden::operations::Operation> webArchiveOperations();

}  // namespace quarry::operations
