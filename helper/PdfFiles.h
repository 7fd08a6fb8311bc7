// Which files hold a PDF document, told from their names.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quarry {

/// Whether the extension is "PDF" in any case, or the HFS type, as text, is exactly "'PDF '" with its quotes.
[[nodiscard]] bool isRealPDFExtension(std::u16string_view extension, std::u16string_view type);

/// The same for a file's extension and the HFS type that it was given.
[[nodiscard]] bool isRealPDFFile(std::u16string_view path);

/// Whether the extension is "pdfd" in any case; false for none.
[[nodiscard]] bool isPDFBundleExtension(std::optional<std::u16string_view> extension);
/// The same for a path's extension; false for no path.
[[nodiscard]] bool isPDFBundle(std::optional<std::u16string_view> path);

/// Of a PDF bundle the document in it: the one that is named as the bundle, if it is there, else the first one that the
/// folder's listing has, else the bundle itself. Every other path as it is.
[[nodiscard]] std::u16string pathToPDF(std::u16string_view path);

}  // namespace quarry
