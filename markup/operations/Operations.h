// The tables of the markup engine's operations, a theme each.
#pragma once

#include "foundation/operations/Operation.h"

#include <span>

namespace halden::operations {

/// TagScanner.h, TagCollector.h, Tags.h, TagAttributes.h, AttributeText.h and XmlExtensions.h
[[nodiscard]] std::span<const Operation> scannerOperations();
/// Entities.h
[[nodiscard]] std::span<const Operation> entityOperations();
/// Html2Text.h
[[nodiscard]] std::span<const Operation> plainTextOperations();
/// Stripping.h
[[nodiscard]] std::span<const Operation> strippingOperations();

}  // namespace halden::operations
