// Pictures of files, for the service.
#pragma once

#include "foundation/Data.h"
#include "foundation/Value.h"

#include <functional>
#include <optional>
#include <string_view>

namespace quarry {

/// Gives the information dictionary of a PDF document, with its text as a plain string: with `size`, also the size of
/// its first page. Without a path no importer is asked for the text.
using PdfInformation = std::function<std::optional<halden::Dictionary>(
    const halden::Data& pdf, std::optional<std::u16string_view> path, bool size)>;

struct ImageLoading {
    bool stringFromPDF = false;    ///< with text and information of PDF content, and without the quick thumbnail
    bool canUseSpotlight = false;  ///< importers may be asked for the text of a PDF file
};

/// The picture of a file, in one of three shapes; nullopt when it is no picture and no PDF, and when anything throws.
///
/// 1. Without `stringFromPDF`, for pictures of pixels: "Properties" and "Thumbnail" (TIFF data, at most 256 pixels, the
///    one that is kept in the file when there is one). Should the properties be missing, the dictionary is empty; that
///    is meant so.
/// 2. For other pictures: "Size" in points, "PixelSize", "Alpha", "Thumbnail" (at most 256 by 256 pixels; absent when
/// it
///    cannot be drawn); then, with `stringFromPDF`, the information of the PDF document that the picture is, or that
///    was made of its PostScript.
/// 3. With `stringFromPDF`, for a file named as a PDF document that cannot be drawn: the information alone, with
/// "Size",
///    "PixelSize" and "Alpha" from the first page.
[[nodiscard]] std::optional<halden::Dictionary> imageWithContentsOfFile(std::u16string_view path, ImageLoading loading,
                                                                        const PdfInformation& information);

/// The document of a PDF file or PDF bundle as it is, or the one made of a PostScript file; nullopt for everything
/// else, and when anything throws.
[[nodiscard]] std::optional<halden::Data> PDFImageRepOfFile(std::u16string_view path);

}  // namespace quarry
