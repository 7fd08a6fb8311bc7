#include "helper/ImageLoader.h"

#include "foundation/Exception.h"
#include "foundation/Path.h"
#include "helper/PdfFiles.h"
#include "platform/images/Thumbnails.h"

#include <utility>

namespace quarry {
namespace {

using halden::Data;
using halden::Dictionary;
using halden::Image;
using halden::Size;

constexpr int kThumbnailSide = 256;
constexpr Size kThumbnailSize{kThumbnailSide, kThumbnailSide};

/// The first shape. A list of values and keys ends at the first value that is missing: without properties there is
/// nothing in it.
Dictionary quickResult(std::optional<Dictionary> properties, std::optional<Data> thumbnail) {
    Dictionary result;
    if (!properties) return result;
    result.set(u"Properties", std::move(*properties));
    if (thumbnail) result.set(u"Thumbnail", std::move(*thumbnail));
    return result;
}

std::optional<Data> contentsOfFile(std::u16string_view path) {
    const auto bytes = halden::pathBytesFromString(path);
    return bytes ? Data::contentsOfFile(*bytes) : std::nullopt;
}

/// By reference, else from the data of the path itself, which for a PDF bundle is another one.
std::optional<Image> loadImage(std::u16string_view path) {
    std::optional<Image> image = Image::initByReferencingFile(pathToPDF(path));
    if (!image->isReallyValid()) image.reset();
    if (image) return image;
    const auto data = contentsOfFile(path);
    if (data) image = Image::initWithData(*data);
    return image && image->isReallyValid() ? std::move(image) : std::nullopt;
}

struct PdfOfImage {
    Data data;
    bool isFromPostScript = false;
};

std::optional<PdfOfImage> pdfOfImage(Image& image) {
    // A program that does not tell its size has run already, so that its PDF counts as the image's.
    auto* program = image.EPSImageRep();
    const auto* document = image.PDFImageRep();
    if (document == nullptr && program != nullptr) document = program->initializePDFImageRep();
    if (document == nullptr) return std::nullopt;
    return PdfOfImage{document->PDFRepresentation(), program != nullptr && document == program->PDFImageRep()};
}

/// The second shape.
Dictionary imageResult(Image& image, std::u16string_view path, ImageLoading loading,
                       const PdfInformation& information) {
    const Size size = image.size();
    const Size pixelSize = image.pixelSize();
    std::optional<Dictionary> ofPdf;
    if (loading.stringFromPDF) {
        if (const auto pdf = pdfOfImage(image)) {
            const bool mayAsk = loading.canUseSpotlight && !pdf->isFromPostScript;
            ofPdf = information(pdf->data, mayAsk ? std::optional(path) : std::nullopt, false);
        }
    }
    image.setScalesWhenResized(true);
    image.setSize(pixelSize);
    Dictionary result{
        {u"Size", NSStringFromSize(size)}, {u"PixelSize", NSStringFromSize(pixelSize)}, {u"Alpha", image.hasAlpha()}};
    auto thumbnail = image.TIFFRepresentationWithSize(
        image.thumbSize(kThumbnailSize),
        {.shouldAntialias = true, .interpolation = halden::ImageInterpolation::high, .cachedSeparately = false});
    if (thumbnail) result.set(u"Thumbnail", std::move(*thumbnail));
    if (ofPdf) {
        for (const auto& entry : *ofPdf)
            result.set(entry.key, entry.value);
    }
    return result;
}

std::optional<Dictionary> load(std::u16string_view path, ImageLoading loading, const PdfInformation& information) {
    if (!loading.stringFromPDF) {
        std::optional<Dictionary> properties;
        auto thumbnail =
            halden::thumbnailForFile(path, {.maxSize = kThumbnailSide, .withTransform = true}, &properties);
        if (thumbnail) return quickResult(std::move(properties), thumbnail->TIFFRepresentation());
    }
    if (auto image = loadImage(path)) return imageResult(*image, path, loading, information);
    if (!loading.stringFromPDF || !isRealPDFFile(path)) return std::nullopt;
    const auto data = contentsOfFile(path);
    if (!data) return std::nullopt;
    return information(*data, loading.canUseSpotlight ? std::optional(path) : std::nullopt, true);
}

}  // namespace

std::optional<Dictionary> imageWithContentsOfFile(std::u16string_view path, ImageLoading loading,
                                                  const PdfInformation& information) {
    return halden::guarded([&] { return load(path, loading, information); }, std::optional<Dictionary>());
}

std::optional<Data> PDFImageRepOfFile(std::u16string_view path) {
    return halden::guarded(
        [&]() -> std::optional<Data> {
            Image image = Image::initByReferencingFile(pathToPDF(path));
            if (!image.isReallyValid()) return std::nullopt;
            auto pdf = pdfOfImage(image);
            return pdf ? std::optional(std::move(pdf->data)) : std::nullopt;
        },
        std::optional<Data>());
}

}  // namespace quarry
