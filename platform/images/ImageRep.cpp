#include "platform/images/ImageRep.h"

#include "platform/pdf/PdfDocument.h"
#include "platform/postscript/PostScript.h"

#include <utility>

namespace halden {
namespace {

constexpr double kPointsPerInch = 72;
// Seconds that a page may take.
constexpr double kLongestDrawing = 30;

Size sizeInPoints(const ImageFrame& frame) {
    return {frame.size.width * kPointsPerInch / frame.xResolution,
            frame.size.height * kPointsPerInch / frame.yResolution};
}

std::optional<Bitmap> bitmapOfFile(const Data& file, ImageFormat format, const BitmapRequest& request) {
    const ImagesEngine* engine = imagesEngineStatus().engine;
    return engine != nullptr ? engine->bitmapOf(file, format, request) : std::nullopt;
}

}  // namespace

BitmapImageRep::BitmapImageRep(Bitmap bitmap)
    : ImageRep({static_cast<double>(bitmap.width), static_cast<double>(bitmap.height)}, {bitmap.width, bitmap.height},
               bitmap.hasAlpha()),
      bitmap_(std::move(bitmap)) {}

BitmapImageRep::BitmapImageRep(Data file, ImageFormat format, int index, const ImageFrame& frame)
    : ImageRep(sizeInPoints(frame), frame.size, frame.hasAlpha),
      file_(std::move(file)),
      format_(format),
      index_(index) {}

std::optional<Bitmap> BitmapImageRep::draw(PixelSize size) {
    if (!bitmap_) return bitmapOfFile(file_, format_, {.frame = index_, .size = size});
    if (size == PixelSize{bitmap_->width, bitmap_->height}) return bitmap_;
    const ImagesEngine* engine = imagesEngineStatus().engine;
    return engine != nullptr ? engine->resized(*bitmap_, size) : std::nullopt;
}

SVGImageRep::SVGImageRep(Data file, const ImageFrame& frame)
    : ImageRep(sizeInPoints(frame), {}, true), file_(std::move(file)) {}

std::optional<Bitmap> SVGImageRep::draw(PixelSize size) {
    return bitmapOfFile(file_, ImageFormat::svg, {.frame = 0, .size = size});
}

PDFImageRep::PDFImageRep(Data data, std::unique_ptr<PdfDocument> document, Size size)
    : ImageRep(size, {}, true), data_(std::move(data)), document_(std::move(document)) {}

PDFImageRep::~PDFImageRep() = default;

std::unique_ptr<PDFImageRep> PDFImageRep::imageRepWithData(const Data& data) {
    auto document = PdfDocument::documentWithData(data, {.seconds = kLongestDrawing});
    if (!document || document->isLocked() || document->pageCount() == 0) return nullptr;
    const auto size = document->shownSizeOfPage(0);
    return size ? std::unique_ptr<PDFImageRep>(new PDFImageRep(data, std::move(document), *size)) : nullptr;
}

std::optional<Bitmap> PDFImageRep::draw(PixelSize size) {
    auto picture = document_->drawPage(0, size.width, size.height);
    if (!picture) return std::nullopt;
    return Bitmap{
        .width = picture->width, .height = picture->height, .channels = 3, .pixels = std::move(picture->pixels)};
}

std::unique_ptr<EPSImageRep> EPSImageRep::imageRepWithData(const Data& data) {
    if (postScriptProgramOf(data).empty()) return nullptr;
    if (const auto size = boundingBoxSizeOf(data)) return std::unique_ptr<EPSImageRep>(new EPSImageRep(data, *size));
    const auto pdf = pdfFromPostScript(data);
    // The analyzer loses sight of who owns the document.
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks)
    auto document = pdf ? PDFImageRep::imageRepWithData(*pdf) : nullptr;
    if (!document) return nullptr;
    std::unique_ptr<EPSImageRep> representation(new EPSImageRep(data, document->size()));
    representation->pdfImageRep_ = std::move(document);
    representation->wasRun_ = true;
    return representation;
}

std::optional<Bitmap> EPSImageRep::draw(PixelSize size) {
    halden::PDFImageRep* document = initializePDFImageRep();
    return document != nullptr ? document->draw(size) : std::nullopt;
}

halden::PDFImageRep* EPSImageRep::initializePDFImageRep() {
    if (!wasRun_) {
        wasRun_ = true;
        if (const auto pdf = pdfFromPostScript(data_)) pdfImageRep_ = halden::PDFImageRep::imageRepWithData(*pdf);
    }
    return pdfImageRep_.get();
}

std::optional<Data> EPSImageRep::PDFRepresentation() const {
    return pdfImageRep_ ? std::optional(pdfImageRep_->PDFRepresentation()) : std::nullopt;
}

}  // namespace halden
