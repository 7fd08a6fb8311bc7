#include "platform/images/IcnsFile.h"
#include "platform/images/ImagesEngine.h"
#include "platform/images/JpegHeader.h"
#include "platform/images/PngHeader.h"
#include "platform/images/module/Metadata.h"
#include "platform/images/module/Properties.h"
#include "platform/images/module/Tiff.h"
#include "platform/images/module/TurboJpeg.h"
#include "platform/images/module/Vips.h"

#include <tiffio.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <string_view>
#include <utility>

namespace halden::images {
namespace {

constexpr double kMillimetresPerInch = 25.4;
constexpr double kCentimetresPerInch = 2.54;
constexpr double kPointsPerInch = 72;
constexpr int kMostFrames = 256;

/// Resolutions out of this range say nothing about how large a picture is meant to be.
constexpr double kLeastResolution = 1;
constexpr double kGreatestResolution = 100'000;

void setResolution(ImageFrame& frame, double x, double y) {
    const bool isPlausible =
        x >= kLeastResolution && y >= kLeastResolution && x <= kGreatestResolution && y <= kGreatestResolution;
    if (!isPlausible) return;
    frame.xResolution = x;
    frame.yResolution = y;
}

void turn(ImageFrame& frame, int orientation) {
    if (orientation < 5 || orientation > 8) return;
    std::swap(frame.size.width, frame.size.height);
    std::swap(frame.xResolution, frame.yResolution);
}

ImageFrame frameOfJpeg(const JpegHeader& header, Turning turning) {
    ImageFrame frame{.size = {header.width, header.height}};
    const double unit = header.densityUnit == 2 ? kCentimetresPerInch : 1;
    if (header.exifXResolution > 0 && header.exifYResolution > 0)
        setResolution(frame, header.exifXResolution, header.exifYResolution);
    else if (header.densityUnit == 1 || header.densityUnit == 2)
        setResolution(frame, header.xDensity * unit, header.yDensity * unit);
    if (turning == Turning::upright) turn(frame, header.orientation);
    return frame;
}

std::optional<ImageFrame> frameOfPicture(const Data& file, ImageFormat format, int index, Turning turning) {
    const VipsPicture picture = openPicture(file, format, index);
    if (!picture) return std::nullopt;
    ImageFrame frame{.size = {vips_image_get_width(picture.get()), vips_image_get_height(picture.get())},
                     .hasAlpha = vips_image_hasalpha(picture.get()) != 0};
    const double x = vips_image_get_xres(picture.get());
    const double y = vips_image_get_yres(picture.get());
    // The library has 1 pixel a millimetre for files that do not tell.
    const bool mayTell = format == ImageFormat::tiff || vips_image_get_typeof(picture.get(), "resolution-unit") != 0;
    if (mayTell && (x != 1.0 || y != 1.0)) setResolution(frame, x * kMillimetresPerInch, y * kMillimetresPerInch);
    if (format == ImageFormat::png) {
        if (const auto header = pngHeaderOf(file.span())) {
            setResolution(frame, resolutionFromMetre(header->xPixelsPerMeter),
                          resolutionFromMetre(header->yPixelsPerMeter));
        }
    }
    // HEIF pictures come upright from their library.
    if (turning == Turning::upright && format != ImageFormat::heif)
        turn(frame, vips_image_get_orientation(picture.get()));
    vips_error_clear();
    return frame;
}

int frameCount(const Data& file, ImageFormat format) {
    if (format != ImageFormat::tiff && format != ImageFormat::ico) return 1;
    if (format == ImageFormat::ico) return file.length() > 6 ? file.bytes()[4] | file.bytes()[5] << 8 : 0;
    const VipsPicture picture = openPicture(file, format, 0);
    return picture ? vips_image_get_n_pages(picture.get()) : 0;
}

/// The picture that stands for a camera's raw data.
Data previewOf(const Data& file, int enough) {
    return Metadata(file).preview(enough);
}

std::vector<ImageFrame> framesOfIcon(const Data& file) {
    std::vector<ImageFrame> frames;
    for (const auto& element : icnsElementsOf(file)) {
        ImageFrame frame{.size = element.size, .hasAlpha = true};
        setResolution(frame, kPointsPerInch * element.scale, kPointsPerInch * element.scale);
        frames.push_back(frame);
    }
    return frames;
}

/// As large as the largest preview.
std::optional<ImageFrame> frameOfCameraRaw(const Data& file, Turning turning) {
    const Metadata metadata(file);
    const Data preview = metadata.preview(INT_MAX);
    const ImageFormat format = imageFormatOf(preview.span());
    std::optional<ImageFrame> frame;
    if (format == ImageFormat::jpeg) {
        if (const auto header = jpegHeaderOf(preview.span())) frame = frameOfJpeg(*header, Turning::asStored);
    } else if (format == ImageFormat::tiff) {
        frame = frameOfPicture(preview, format, 0, Turning::asStored);
    }
    if (frame && turning == Turning::upright) turn(*frame, metadata.orientation());
    return frame;
}

std::vector<ImageFrame> readFrames(const Data& file, ImageFormat format, Turning turning, int most) {
    std::vector<ImageFrame> frames;
    if (format == ImageFormat::icns) return framesOfIcon(file);
    if (format == ImageFormat::jpeg) {
        if (const auto header = jpegHeaderOf(file.span())) frames.push_back(frameOfJpeg(*header, turning));
        return frames;
    }
    if (format == ImageFormat::cameraRaw) {
        if (const auto frame = frameOfCameraRaw(file, turning)) frames.push_back(*frame);
        return frames;
    }
    const int count = most == 1 ? 1 : std::min(frameCount(file, format), most);
    for (int index = 0; index < count; ++index) {
        const auto frame = frameOfPicture(file, format, index, turning);
        if (!frame) break;
        frames.push_back(*frame);
    }
    return frames;
}

class VipsEngine final : public ImagesEngine {
public:
    [[nodiscard]] std::string version() const override {
        std::string tiff = TIFFGetVersion();
        tiff = tiff.substr(0, tiff.find('\n'));
        const std::string_view prefix = "LIBTIFF, Version ";
        if (tiff.starts_with(prefix)) tiff = "libtiff " + tiff.substr(prefix.size());
        return std::string("libvips ") + vips_version_string() + ", exiv2 " + Exiv2::versionString() + ", " + tiff;
    }

    [[nodiscard]] std::vector<ImageFrame> framesOf(const Data& file, ImageFormat format) const override {
        return readFrames(file, format, Turning::upright, kMostFrames);
    }

    [[nodiscard]] std::optional<ImageFrame> firstFrameOf(const Data& file, ImageFormat format,
                                                         Turning turning) const override {
        const auto frames = readFrames(file, format, turning, 1);
        return frames.empty() ? std::nullopt : std::optional(frames.front());
    }

    [[nodiscard]] std::optional<Bitmap> bitmapOf(const Data& file, ImageFormat format,
                                                 const BitmapRequest& request) const override {
        if (request.size.width <= 0 || request.size.height <= 0) return std::nullopt;
        if (format == ImageFormat::icns) return bitmapOfIcon(file, request);
        const bool isUpright = request.turning == Turning::upright;
        if (format != ImageFormat::cameraRaw) return scaledBitmap(file, format, request.frame, request.size, isUpright);
        const Data preview = previewOf(file, std::max(request.size.width, request.size.height));
        const ImageFormat previewFormat = imageFormatOf(preview.span());
        if (previewFormat != ImageFormat::jpeg && previewFormat != ImageFormat::tiff) return std::nullopt;
        return bitmapOfPreview(preview, previewFormat, isUpright ? Metadata(file).orientation() : 1, request.size);
    }

    [[nodiscard]] std::optional<Bitmap> embeddedThumbnailOf(const Data& file, ImageFormat format,
                                                            Turning turning) const override {
        if (format != ImageFormat::jpeg) return std::nullopt;
        const auto header = jpegHeaderOf(file.span());
        if (!header || header->thumbnail.empty()) return std::nullopt;
        auto thumbnail = bitmapFromSmallJpeg(header->thumbnail);
        if (!thumbnail) return std::nullopt;
        return turned(std::move(*thumbnail), turning == Turning::upright ? header->orientation : 1);
    }

    [[nodiscard]] std::optional<Dictionary> propertiesOf(const Data& file, ImageFormat format) const override {
        return images::propertiesOf(file, format);
    }

    [[nodiscard]] std::optional<Bitmap> resized(const Bitmap& bitmap, PixelSize size) const override {
        return bitmap.isEmpty() || size.width <= 0 || size.height <= 0 ? std::nullopt : scaledBitmap(bitmap, size);
    }

    [[nodiscard]] std::optional<Data> tiffFromBitmap(const Bitmap& bitmap) const override {
        return images::tiffFromBitmap(bitmap);
    }

private:
    static std::optional<Bitmap> bitmapOfIcon(const Data& file, const BitmapRequest& request) {
        const auto elements = icnsElementsOf(file);
        if (request.frame < 0 || static_cast<std::size_t>(request.frame) >= elements.size()) return std::nullopt;
        const IcnsElement& element = elements[request.frame];
        if (!element.isEncoded) {
            const auto bitmap = element.bitmap();
            return bitmap ? scaledBitmap(*bitmap, request.size) : std::nullopt;
        }
        const ImageFormat format = imageFormatOf(element.contents.span());
        if (format != ImageFormat::png && format != ImageFormat::jpeg2000) return std::nullopt;
        return scaledBitmap(element.contents, format, 0, request.size, false);
    }

    /// A preview takes the orientation of its parent, whatever it says itself.
    static std::optional<Bitmap> bitmapOfPreview(const Data& preview, ImageFormat format, int orientation,
                                                 PixelSize size) {
        if (orientation > 4) std::swap(size.width, size.height);
        auto bitmap = scaledBitmap(preview, format, 0, size, false);
        if (!bitmap) return std::nullopt;
        return turned(std::move(*bitmap), orientation);
    }
};

}  // namespace
}  // namespace halden::images

extern "C" __attribute__((visibility("default"))) const halden::ImagesEngine* quarry_images_module_1() {
    static const bool isRunning = halden::images::startVips();
    static const halden::images::VipsEngine engine;
    return isRunning ? &engine : nullptr;
}
