// The named characters of HTML 4.01, without the four that are significant to markup, which dedicated code handles, and
// without the cedilla and the small f with hook, which are neither decoded nor written by name.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace halden {

struct NamedEntity {
    std::string_view name;
    char16_t character;
};

inline constexpr std::size_t kNamedEntityCount = 246;

/// Latin 1 (letters in pairs, then signs), Greek, symbols, then the special characters of other scripts.
[[nodiscard]] const std::array<NamedEntity, kNamedEntityCount>& namedEntities() noexcept;

/// The character of that name, which is compared in exact case.
[[nodiscard]] std::optional<char16_t> characterOfEntity(std::u16string_view name) noexcept;

/// The name of a character; empty when it has none.
[[nodiscard]] std::string_view entityOfCharacter(char16_t character) noexcept;

}  // namespace halden
