#include "platform/images/Image.h"

#include "platform/images/FileContents.h"
#include "platform/images/PackedDrawing.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace halden {
namespace {

constexpr double kLargestSide = 16384;

std::vector<std::unique_ptr<ImageRep>> representationsOfPixels(const Data& data, ImageFormat format) {
    std::vector<std::unique_ptr<ImageRep>> representations;
    const ImagesEngine* engine = imagesEngineStatus().engine;
    if (engine == nullptr) return representations;
    const auto frames = engine->framesOf(data, format);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (format == ImageFormat::svg)
            representations.push_back(std::make_unique<SVGImageRep>(data, frames[i]));
        else
            representations.push_back(std::make_unique<BitmapImageRep>(data, format, static_cast<int>(i), frames[i]));
    }
    return representations;
}

std::vector<std::unique_ptr<ImageRep>> representationsOfData(const Data& file) {
    std::vector<std::unique_ptr<ImageRep>> representations;
    const Data data = unpackedDrawing(file);
    const ImageFormat format = imageFormatOf(data.span());
    std::unique_ptr<ImageRep> drawing;
    switch (format) {
        case ImageFormat::unknown:
            return representations;
        case ImageFormat::pdf:
            drawing = PDFImageRep::imageRepWithData(data);
            break;
        case ImageFormat::postScript:
            drawing = EPSImageRep::imageRepWithData(data);
            break;
        default:
            return representationsOfPixels(data, format);
    }
    if (drawing) representations.push_back(std::move(drawing));
    return representations;
}

std::uint8_t blended(std::uint8_t above, std::uint8_t below, double share) {
    return static_cast<std::uint8_t>(std::lround(above * share + below * (1 - share)));
}

/// `bitmap` over a colour; a clear one changes nothing.
Bitmap over(Bitmap bitmap, Color background) {
    if (!bitmap.hasAlpha() || background.alpha == 0) return bitmap;
    const double below = background.alpha / 255.0;
    for (std::size_t at = 0; at + 3 < bitmap.pixels.size(); at += 4) {
        std::uint8_t* pixel = &bitmap.pixels[at];
        const double above = pixel[3] / 255.0;
        const double alpha = above + below * (1 - above);
        const double share = alpha > 0 ? above / alpha : 0;
        pixel[0] = blended(pixel[0], background.red, share);
        pixel[1] = blended(pixel[1], background.green, share);
        pixel[2] = blended(pixel[2], background.blue, share);
        pixel[3] = static_cast<std::uint8_t>(std::lround(alpha * 255));
    }
    if (background.alpha != 0xFF) return bitmap;
    Bitmap opaque{.width = bitmap.width, .height = bitmap.height, .channels = 3, .pixels = {}};
    opaque.pixels.reserve(bitmap.pixels.size() / 4 * 3);
    for (std::size_t at = 0; at + 3 < bitmap.pixels.size(); at += 4)
        opaque.pixels.insert(opaque.pixels.end(), {bitmap.pixels[at], bitmap.pixels[at + 1], bitmap.pixels[at + 2]});
    return opaque;
}

std::optional<Data> tiffOf(const std::optional<Bitmap>& bitmap) {
    const ImagesEngine* engine = bitmap ? imagesEngineStatus().engine : nullptr;
    return engine != nullptr ? engine->tiffFromBitmap(*bitmap) : std::nullopt;
}

}  // namespace

Size thumbForSize(Size maximum, Size size) {
    if (size.width <= maximum.width && size.height <= maximum.height) return size;
    const double height = maximum.width / size.width * size.height;
    Size thumb = height > maximum.height
                     ? Size{std::floor(maximum.height / size.height * size.width), std::floor(maximum.height)}
                     : Size{std::floor(maximum.width), std::floor(height)};
    // Written so that what is no number counts as too small.
    if (!(thumb.width > 0)) thumb.width = 1;
    if (!(thumb.height > 0)) thumb.height = 1;
    return thumb;
}

Image Image::initByReferencingFile(std::u16string_view path) {
    Image image;
    image.path_ = path;
    return image;
}

std::optional<Image> Image::initWithData(const Data& data) {
    Image image;
    image.representations_ = representationsOfData(data);
    if (image.representations_.empty()) return std::nullopt;
    return image;
}

std::optional<Image> Image::imageWithCGImageRef(std::optional<Bitmap> bitmap) {
    if (!bitmap || bitmap->isEmpty()) return std::nullopt;
    Image image({static_cast<double>(bitmap->width), static_cast<double>(bitmap->height)});
    image.addRepresentation(std::make_unique<BitmapImageRep>(std::move(*bitmap)));
    return image;
}

void Image::load() {
    if (path_.empty()) return;
    const auto data = contentsOfImageFile(std::exchange(path_, {}));
    if (!data) return;
    auto found = representationsOfData(*data);
    std::move(representations_.begin(), representations_.end(), std::back_inserter(found));
    representations_ = std::move(found);
}

Size Image::size() {
    if (isSizeSet_) return size_;
    load();
    return representations_.empty() ? Size{} : representations_.front()->size();
}

void Image::setSize(Size size) {
    size_ = size;
    isSizeSet_ = true;
}

const std::vector<std::unique_ptr<ImageRep>>& Image::representations() {
    load();
    return representations_;
}

void Image::addRepresentation(std::unique_ptr<ImageRep> representation) {
    if (representation) representations_.push_back(std::move(representation));
}

bool Image::isReallyValid() {
    const Size points = size();
    return points.width > 0 && points.height > 0 && !representations().empty();
}

Size Image::pixelSize() {
    Size largest;
    for (const auto& representation : representations()) {
        if (representation->pixelsWide() > largest.width) {
            largest = {static_cast<double>(representation->pixelsWide()),
                       static_cast<double>(representation->pixelsHigh())};
        }
    }
    return largest == Size{} ? size() : largest;
}

bool Image::hasAlpha() {
    return std::ranges::any_of(representations(), [](const auto& representation) {
        return !representation->isBitmap() || representation->hasAlpha();
    });
}

halden::PDFImageRep* Image::PDFImageRep() {
    for (const auto& representation : representations()) {
        if (auto* document = dynamic_cast<halden::PDFImageRep*>(representation.get())) return document;
    }
    auto* program = EPSImageRep();
    return program != nullptr ? program->PDFImageRep() : nullptr;
}

halden::EPSImageRep* Image::EPSImageRep() {
    for (const auto& representation : representations()) {
        if (auto* program = dynamic_cast<halden::EPSImageRep*>(representation.get())) return program;
    }
    return nullptr;
}

Size Image::thumbSize(Size maximum) {
    return thumbForSize(maximum, pixelSize());
}

ImageRep* Image::bestRepresentationForRect(Size size) {
    ImageRep* best = nullptr;
    for (const auto& candidate : representations()) {
        if (!candidate->isBitmap()) return candidate.get();
        if (best == nullptr) {
            best = candidate.get();
            continue;
        }
        const bool bestIsEnough = best->pixelsWide() >= size.width;
        const bool candidateIsEnough = candidate->pixelsWide() >= size.width;
        const bool isBetter = candidateIsEnough == bestIsEnough
                                  ? (candidate->pixelsWide() < best->pixelsWide()) == bestIsEnough &&
                                        candidate->pixelsWide() != best->pixelsWide()
                                  : candidateIsEnough;
        if (isBetter) best = candidate.get();
    }
    return best;
}

std::optional<Bitmap> Image::drawInRect(PixelSize size) {
    ImageRep* representation =
        bestRepresentationForRect({static_cast<double>(size.width), static_cast<double>(size.height)});
    if (representation == nullptr) return std::nullopt;
    const bool isIcon =
        representation->className() == "NSIconRefImageRep" || representation->className() == "NSCoreUIImageRep";
    if (!representation->isBitmap() && !isIcon) {
        const Color kept = std::exchange(backgroundColor_, kWhiteColor);
        auto drawn = representation->draw(size);
        if (drawn) drawn = over(std::move(*drawn), backgroundColor_);
        backgroundColor_ = kept;
        return drawn;
    }
    auto drawn = representation->draw(size);
    if (drawn && representation->hasAlpha()) drawn = over(std::move(*drawn), backgroundColor_);
    return drawn;
}

std::optional<Data> Image::TIFFRepresentationWithSize(Size size, TIFFDrawingOptions) {
    if (!(size.width > 0 && size.height > 0 && size.width <= kLargestSide && size.height <= kLargestSide))
        return std::nullopt;
    return tiffOf(drawInRect({static_cast<int>(std::ceil(size.width)), static_cast<int>(std::ceil(size.height))}));
}

std::optional<Data> Image::TIFFRepresentation() {
    if (representations().empty()) return std::nullopt;
    ImageRep& first = *representations_.front();
    if (first.isBitmap()) return tiffOf(first.draw({first.pixelsWide(), first.pixelsHigh()}));
    return TIFFRepresentationWithSize(first.size());
}

}  // namespace halden
