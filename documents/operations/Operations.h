// The tables of the operations on documents.
#pragma once

#include "foundation/operations/Operation.h"

#include <span>

namespace quarry::operations {

/// Files of markup, property lists among them: markup/MarkupDecoder.h with the platform's reader.
[[nodiscard]] std::span<const halden::operations::Operation> markupFileOperations();
/// WebArchive.h
[[nodiscard]] std::span<const halden::operations::Operation> webArchiveOperations();

}  // namespace quarry::operations
