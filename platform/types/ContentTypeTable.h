// The built-in table of content types: constant data, made from content_types.tsv at build time.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace halden::types {

/// A type of the table; numbers run in the order of the identifiers in lower case.
using TypeNumber = std::uint16_t;

/// The type with this identifier, which must be in lower case.
[[nodiscard]] std::optional<TypeNumber> typeOfIdentifier(std::string_view identifier) noexcept;

/// The types that have this extension (in lower case), the preferred one first.
[[nodiscard]] std::span<const TypeNumber> typesOfExtension(std::string_view extension) noexcept;

/// The type with this MIME type (in lower case).
[[nodiscard]] std::optional<TypeNumber> typeOfMimeType(std::string_view mimeType) noexcept;

/// The identifier as declared.
[[nodiscard]] std::string_view identifierOf(TypeNumber type) noexcept;

/// The first extension of the type; empty when it has none.
[[nodiscard]] std::string_view preferredExtensionOf(TypeNumber type) noexcept;

/// Whether `type` is `ancestor` or conforms to it, over any number of steps.
[[nodiscard]] bool conformsTo(TypeNumber type, TypeNumber ancestor) noexcept;

}  // namespace halden::types
