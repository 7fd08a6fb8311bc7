// The outermost element of an XML document.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarry {

/// As written: names with their prefixes, values with their references.
struct XmlRoot {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;

    /// The value of the attribute; empty when there is none.
    [[nodiscard]] std::string_view attribute(std::string_view attributeName) const noexcept;
    /// The name without its prefix, and the namespace that the prefix is bound to here.
    [[nodiscard]] std::string_view localName() const noexcept;
    [[nodiscard]] std::string_view namespaceUri() const noexcept;
};

/// The root element of the document whose beginning `text` is (in any encoding in which markup is ASCII); nullopt when
/// the text does not begin with markup, or ends before the root's tag does. A prologue of declarations, instructions,
/// comments and a document type is passed over; well-formedness is not checked.
[[nodiscard]] std::optional<XmlRoot> xmlRootOf(std::string_view text);

}  // namespace quarry
