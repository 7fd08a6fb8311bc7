#include "platform/images/Thumbnails.h"

#include "platform/images/FileContents.h"

#include <algorithm>
#include <cmath>

namespace halden {
namespace {

/// The thumbnail that is kept in the file, no larger than wanted.
std::optional<Bitmap> keptThumbnail(const ImagesEngine& engine, const Data& file, ImageFormat format, int maxSize,
                                    Turning turning) {
    auto bitmap = engine.embeddedThumbnailOf(file, format, turning);
    if (!bitmap || std::max(bitmap->width, bitmap->height) <= maxSize) return bitmap;
    const double maximum = maxSize;
    const Size size =
        thumbForSize({maximum, maximum}, {static_cast<double>(bitmap->width), static_cast<double>(bitmap->height)});
    return engine.resized(*bitmap, {static_cast<int>(size.width), static_cast<int>(size.height)});
}

std::optional<Bitmap> madeThumbnail(const ImagesEngine& engine, const Data& file, ImageFormat format, int maxSize,
                                    Turning turning) {
    const auto frame = engine.firstFrameOf(file, format, turning);
    if (!frame) return std::nullopt;
    const double maximum = maxSize;
    const Size size = thumbForSize({maximum, maximum},
                                   {static_cast<double>(frame->size.width), static_cast<double>(frame->size.height)});
    return engine.bitmapOf(
        file, format,
        {.frame = 0, .size = {static_cast<int>(size.width), static_cast<int>(size.height)}, .turning = turning});
}

}  // namespace

std::optional<Image> thumbnailForFile(std::u16string_view path, ThumbnailForFileOptions options,
                                      std::optional<Dictionary>* properties) {
    if (properties != nullptr) properties->reset();
    const auto file = contentsOfImageFile(path);
    const ImageFormat format = file ? imageFormatOf(file->span()) : ImageFormat::unknown;
    if (format == ImageFormat::unknown || isVectorFormat(format) || options.maxSize <= 0) return std::nullopt;
    const ImagesEngine* engine = imagesEngineStatus().engine;
    if (engine == nullptr) return std::nullopt;
    const Turning turning = options.withTransform ? Turning::upright : Turning::asStored;
    std::optional<Bitmap> thumbnail;
    if (!options.alwaysFromImage) thumbnail = keptThumbnail(*engine, *file, format, options.maxSize, turning);
    if (!thumbnail) thumbnail = madeThumbnail(*engine, *file, format, options.maxSize, turning);
    if (!thumbnail) return std::nullopt;
    if (properties != nullptr) *properties = engine->propertiesOf(*file, format);
    return Image::imageWithCGImageRef(std::move(thumbnail));
}

std::optional<Image> previewForFile(std::u16string_view path, Size size, PreviewForFileOptions) {
    if (path.empty() || !(size.width >= 1 && size.height >= 1)) return std::nullopt;
    Image image = Image::initByReferencingFile(path);
    if (!image.isReallyValid()) return std::nullopt;
    const Size fitting = image.thumbSize(size);
    auto bitmap =
        image.drawInRect({static_cast<int>(std::ceil(fitting.width)), static_cast<int>(std::ceil(fitting.height))});
    return Image::imageWithCGImageRef(std::move(bitmap));
}

std::optional<Image> previewForFile(std::u16string_view path, int maxSize, PreviewForFileOptions options) {
    const double side = maxSize;
    return previewForFile(path, Size{side, side}, options);
}

}  // namespace halden
