// The image libraries: a module of its own, loaded on first use.
#pragma once

#include "foundation/Data.h"
#include "foundation/Value.h"
#include "platform/images/Bitmap.h"
#include "platform/images/ImageFormat.h"
#include "platform/modules/EngineModule.h"

#include <optional>
#include <string>
#include <vector>

namespace halden {

/// One picture of a file, upright: turned as the file says it is to be shown.
struct ImageFrame {
    PixelSize size;
    double xResolution = 72;  ///< pixels an inch
    double yResolution = 72;
    bool hasAlpha = false;
};

enum class Turning { upright, asStored };

struct BitmapRequest {
    int frame = 0;
    PixelSize size;  ///< of the result, exactly
    Turning turning = Turning::upright;
};

/// What the module quarry-images.so offers. Every format but SVG, PDF and PostScript counts; SVG only where it is said.
///
/// No decoder that reads other files, or addresses, is ever asked. Pictures that claim more pixels than are plausible
/// have frames, and no bitmaps; decoding one ends after half a minute.
class ImagesEngine {
public:
    virtual ~ImagesEngine() = default;

    /// "libvips 8.14.1, exiv2 0.27.6, ...".
    [[nodiscard]] virtual std::string version() const = 0;

    /// The pictures of the file (of SVG, too), in their order; empty when it cannot be read. Of an animation that is
    /// its first picture alone.
    [[nodiscard]] virtual std::vector<ImageFrame> framesOf(const Data& file, ImageFormat format) const = 0;

    /// The first of them, as it is stored or upright.
    [[nodiscard]] virtual std::optional<ImageFrame> firstFrameOf(const Data& file, ImageFormat format,
                                                                 Turning turning) const = 0;

    /// One picture (of SVG, too), in sRGB; nullopt when it cannot be decoded.
    [[nodiscard]] virtual std::optional<Bitmap> bitmapOf(const Data& file, ImageFormat format,
                                                         const BitmapRequest& request) const = 0;

    /// The thumbnail that is kept in the file, as it is stored there or turned as its picture is; nullopt when there is
    /// none.
    [[nodiscard]] virtual std::optional<Bitmap> embeddedThumbnailOf(const Data& file, ImageFormat format,
                                                                    Turning turning) const = 0;

    /// What the file says of its first picture, under the published keys: see ImageProperties.h.
    [[nodiscard]] virtual std::optional<Dictionary> propertiesOf(const Data& file, ImageFormat format) const = 0;

    /// `bitmap` in another size.
    [[nodiscard]] virtual std::optional<Bitmap> resized(const Bitmap& bitmap, PixelSize size) const = 0;

    /// `bitmap` as a TIFF file, packed by LZW, at 72 dots an inch.
    [[nodiscard]] virtual std::optional<Data> tiffFromBitmap(const Bitmap& bitmap) const = 0;
};

/// The name of the module's one entry, a function without arguments that returns a pointer to its ImagesEngine. The
/// number changes whenever ImagesEngine or a type that it passes does.
inline constexpr const char* kImagesModuleEntry = "quarry_images_module_1";

using ImagesEngineStatus = EngineStatus<ImagesEngine>;

/// Loads the first quarry-images.so of `folders`, and no other one should that fail. It is never unloaded.
[[nodiscard]] ImagesEngineStatus loadImagesEngine(const std::vector<std::string>& folders);

/// The engine of this process, loaded on the first call from the folders of `engineModuleFolders`. A failure is logged,
/// once. Thread-safe.
[[nodiscard]] const ImagesEngineStatus& imagesEngineStatus();

}  // namespace halden
