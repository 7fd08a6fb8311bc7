// Which files are markup, by their extensions.
#pragma once

#include <span>
#include <string_view>

namespace halden {

// The extensions of each kind, in a fixed order, without full stops.
[[nodiscard]] std::span<const std::u16string_view> HTMLFileTypes() noexcept;
[[nodiscard]] std::span<const std::u16string_view> XMLFileTypes() noexcept;
[[nodiscard]] std::span<const std::u16string_view> PropertyListFileTypes() noexcept;
/// Those of XML, then of HTML, then of property lists.
[[nodiscard]] std::span<const std::u16string_view> MarkupFileTypes() noexcept;

// Whether an extension is of a kind, in any case. The kinds know other extensions than the lists: "shtm" is XML, "cgi"
// in mixed case HTML, "scriptTerminology" a property list in any case.

/// A query behind the extension ("php?page=1") does not count.
[[nodiscard]] bool isHTMLExtension(std::u16string_view extension);
[[nodiscard]] bool isXMLExtension(std::u16string_view extension);
[[nodiscard]] bool isPropertyListExtension(std::u16string_view extension);
[[nodiscard]] bool isMarkupExtension(std::u16string_view extension);

// The same tests on the extension of a path.
[[nodiscard]] bool isHTMLFile(std::u16string_view path);
[[nodiscard]] bool isXMLFile(std::u16string_view path);
[[nodiscard]] bool isPropertyListFile(std::u16string_view path);
[[nodiscard]] bool isMarkupFile(std::u16string_view path);

}  // namespace halden
