#include "platform/types/ContentTypeTable.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace halden::types {
namespace {

struct TypeRow {
    std::uint16_t identifier;
    std::uint16_t preferredExtension;
    std::uint16_t firstConformance;
    std::uint16_t conformances;
};

struct ExtensionRow {
    std::uint16_t name;
    std::uint16_t firstType;
    std::uint16_t types;
};

struct MimeRow {
    std::uint16_t name;
    std::uint16_t type;
};

#include "ContentTypeTable.inc"

std::string_view textAt(std::uint16_t place) {
    return kText + place;
}

char lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool isLessInLowerCase(std::string_view a, std::string_view b) {
    const auto isLess = [](char x, char y) { return lower(x) < lower(y); };
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), isLess);
}

/// The row of a table sorted by the text `key` of its rows, or a null pointer.
template <class Row, std::size_t count>
const Row* findRow(const Row (&rows)[count], std::uint16_t Row::*key, std::string_view text) {
    const auto isBefore = [key](const Row& row, std::string_view wanted) {
        return isLessInLowerCase(textAt(row.*key), wanted);
    };
    const Row* const found = std::lower_bound(std::begin(rows), std::end(rows), text, isBefore);
    if (found == std::end(rows) || isLessInLowerCase(text, textAt(found->*key))) return nullptr;
    return found;
}

}  // namespace

std::optional<TypeNumber> typeOfIdentifier(std::string_view identifier) noexcept {
    const TypeRow* const row = findRow(kTypes, &TypeRow::identifier, identifier);
    if (row == nullptr) return std::nullopt;
    return static_cast<TypeNumber>(row - kTypes);
}

std::span<const TypeNumber> typesOfExtension(std::string_view extension) noexcept {
    const ExtensionRow* const row = findRow(kExtensions, &ExtensionRow::name, extension);
    if (row == nullptr) return {};
    return {kExtensionTypes + row->firstType, row->types};
}

std::optional<TypeNumber> typeOfMimeType(std::string_view mimeType) noexcept {
    const MimeRow* const row = findRow(kMimeTypes, &MimeRow::name, mimeType);
    if (row == nullptr) return std::nullopt;
    return row->type;
}

std::string_view identifierOf(TypeNumber type) noexcept {
    return textAt(kTypes[type].identifier);
}

std::string_view preferredExtensionOf(TypeNumber type) noexcept {
    return textAt(kTypes[type].preferredExtension);
}

// The generator refuses cycles, so the recursion ends.
bool conformsTo(TypeNumber type, TypeNumber ancestor) noexcept {
    if (type == ancestor) return true;
    const std::span parents(kConformances + kTypes[type].firstConformance, kTypes[type].conformances);
    return std::any_of(parents.begin(), parents.end(),
                       [ancestor](TypeNumber parent) { return conformsTo(parent, ancestor); });
}

}  // namespace halden::types
