// Electronic books.
#pragma once

#include "importers/system/packages/DocumentInformation.h"

#include <optional>

namespace quarry::packages {

/// What a book says: its package document, and the chapters in the order in which they are read. Chapters that are
/// encrypted are left out. nullopt when the bytes are no book.
[[nodiscard]] std::optional<DocumentInformation> informationFromBook(std::string_view bytes);

}  // namespace quarry::packages
