// The tables of operations, a theme each.
#pragma once

#include "foundation/operations/Operation.h"

#include <span>

namespace halden::operations {

/// Bitmaps, tables, single units, comparison and search: Characters.h, CharacterComparison.h.
[[nodiscard]] std::span<const Operation> characterOperations();
/// The number spaces of the text encodings, and the converters between buffers: TextEncoding.h, UnicodeConverters.h.
[[nodiscard]] std::span<const Operation> encodingOperations();
/// CompressedData.h
[[nodiscard]] std::span<const Operation> dataOperations();
/// StringNormalization.h, StringConversion.h, StringWhiteSpace.h, StringTrimming.h, StringSearch.h.
[[nodiscard]] std::span<const Operation> stringOperations();
/// Url.h, PercentEscapes.h, UrlSimplification.h
[[nodiscard]] std::span<const Operation> urlOperations();

}  // namespace halden::operations
