// The tables of the markup engine's operations, a theme each.
#pragma once

#include "foundation/operations/Operation.h"

#include <span>

namespace halden::operations {

/// TagScanner.h, TagCollector.h, Tags.h, TagAttributes.h, AttributeText.h and XmlExtensions.h
[[nodiscard]] std::span<const Operation> scannerOperations();
/// Entities.h
[[nodiscard]] std::span<const Operation> entityOperations();
/// CharsetNames.h, DeclaredCharset.h, MarkupDecoder.h, MarkupEncoder.h and FileTypes.h
[[nodiscard]] std::span<const Operation> charsetOperations();
/// PageLinks.h, PageFrames.h, PageResources.h, PageMetaData.h, BaseElement.h, LinkCleaning.h and MimeTypes.h
[[nodiscard]] std::span<const Operation> pageOperations();
/// Feeds.h, Reader.h and ErrorPages.h
[[nodiscard]] std::span<const Operation> feedOperations();
/// Html2Text.h
[[nodiscard]] std::span<const Operation> plainTextOperations();
/// Stripping.h
[[nodiscard]] std::span<const Operation> strippingOperations();

}  // namespace halden::operations
