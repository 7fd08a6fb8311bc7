// Thumbnails of files.
#pragma once

#include "foundation/Value.h"
#include "platform/images/Image.h"

#include <optional>
#include <string_view>

namespace halden {

struct ThumbnailForFileOptions {
    int maxSize = 256;             ///< pixels of the longer side
    bool alwaysFromImage = false;  ///< never the thumbnail that is kept in the file
    bool withTransform = false;    ///< turned as the file says, else as its pixels are stored
};

/// A thumbnail of a file's first picture: the one that is kept in the file (reduced when it is too large), else one
/// made from the picture; never larger than either. nullopt for a file that cannot be read and for everything that is
/// no picture of pixels: SVG, PDF and PostScript have no thumbnails here.
///
/// `properties`, when it is given, becomes the picture's properties (see ImageProperties.h) once there is a thumbnail;
/// nullopt in all other cases, and when they cannot be read.
[[nodiscard]] std::optional<Image> thumbnailForFile(std::u16string_view path, ThumbnailForFileOptions options,
                                                    std::optional<Dictionary>* properties = nullptr);

struct PreviewForFileOptions {
    bool asIcon = false;  ///< icons of pictures look as the pictures do
};

/// A picture of the file that fits `size`, by the same means as images are loaded; nullopt when there is none.
[[nodiscard]] std::optional<Image> previewForFile(std::u16string_view path, Size size,
                                                  PreviewForFileOptions options = {});
/// The same in a square.
[[nodiscard]] std::optional<Image> previewForFile(std::u16string_view path, int maxSize,
                                                  PreviewForFileOptions options = {});

}  // namespace halden
