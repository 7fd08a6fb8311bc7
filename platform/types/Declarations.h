// Content types that bundles declare, beside the built-in ones.
#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace halden::types {

/// One declaration. Everything but the identifier is in lower case.
struct DeclaredType {
    std::u16string identifier;
    std::vector<std::u16string> extensions;
    std::vector<std::u16string> mimeTypes;
    std::vector<std::u16string> conformsTo;
};

/// Whether a bundle owns a type or only knows it.
enum class Ownership { imported, exported };

/// Declarations in the order they came, found by identifier, extension and MIME type (given in lower case).
class Declarations {
public:
    /// The first declaration of an identifier counts, but an exported one replaces an imported one.
    void add(DeclaredType type, Ownership ownership);

    /// Pointers are valid until the next `add`.
    [[nodiscard]] const DeclaredType* find(const std::u16string& identifier) const;
    [[nodiscard]] std::vector<const DeclaredType*> withExtension(const std::u16string& extension) const;
    [[nodiscard]] const DeclaredType* withMimeType(const std::u16string& mimeType) const;

private:
    using Index = std::unordered_map<std::u16string, std::vector<std::size_t>>;

    void index(std::size_t place);
    void removeFromIndex(std::size_t place);

    struct Entry {
        DeclaredType type;
        Ownership ownership;
    };

    std::vector<Entry> entries_;
    std::unordered_map<std::u16string, std::size_t> places_;
    Index extensions_;
    Index mimeTypes_;
};

/// The declaration in one element of UTExportedTypeDeclarations or UTImportedTypeDeclarations; nullopt when it is no
/// dictionary with an identifier.
[[nodiscard]] std::optional<DeclaredType> declaredTypeFrom(const Value& declaration);

}  // namespace halden::types
