// The text of a Mobipocket book.
#pragma once

#include "importers/system/Mobi/BookHeader.h"
#include "importers/system/Mobi/PalmDatabase.h"

#include <string>

namespace quarry::mobi {

/// Bytes of markup of one book that are read.
inline constexpr std::size_t kMaxMarkup = std::size_t{64} << 20;

/// The text in the order in which it is read, in UTF-8. A book that is kept twice, in the older form and in the newer,
/// gives the newer, or the older where the newer gives nothing. Text that is encrypted, or a picture of it, is none.
[[nodiscard]] std::string textOfBook(const PalmDatabase& database, const BookHeader& header);

}  // namespace quarry::mobi
