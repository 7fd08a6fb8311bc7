// Representations: the forms in which an image has its picture.
#pragma once

#include "foundation/Data.h"
#include "foundation/Geometry.h"
#include "platform/images/Bitmap.h"
#include "platform/images/ImageFormat.h"
#include "platform/images/ImagesEngine.h"

#include <memory>
#include <optional>
#include <string_view>

namespace halden {

class PdfDocument;

/// One form of an image's picture. Nothing is decoded before it is drawn. Used by one thread at a time.
class ImageRep {
public:
    virtual ~ImageRep() = default;
    ImageRep(const ImageRep&) = delete;
    ImageRep& operator=(const ImageRep&) = delete;

    /// "NSBitmapImageRep", "NSPDFImageRep", "NSEPSImageRep" or "NSSVGImageRep".
    [[nodiscard]] virtual std::string_view className() const noexcept = 0;
    /// Whether it consists of pixels, and not of drawing operations.
    [[nodiscard]] virtual bool isBitmap() const noexcept { return false; }

    /// In points.
    [[nodiscard]] Size size() const noexcept { return size_; }
    /// 0 where the picture fits any number of pixels.
    [[nodiscard]] int pixelsWide() const noexcept { return pixels_.width; }
    [[nodiscard]] int pixelsHigh() const noexcept { return pixels_.height; }
    [[nodiscard]] bool hasAlpha() const noexcept { return hasAlpha_; }

    /// The whole picture in exactly `size`, drawing operations on whatever they leave transparent or white; nullopt
    /// when it cannot be drawn.
    [[nodiscard]] virtual std::optional<Bitmap> draw(PixelSize size) = 0;

protected:
    ImageRep(Size size, PixelSize pixels, bool hasAlpha) : size_(size), pixels_(pixels), hasAlpha_(hasAlpha) {}

private:
    Size size_;
    PixelSize pixels_;
    bool hasAlpha_;
};

/// Pixels, in memory or in a file.
class BitmapImageRep final : public ImageRep {
public:
    /// As many points as pixels.
    explicit BitmapImageRep(Bitmap bitmap);
    /// The picture number `index` of the file.
    BitmapImageRep(Data file, ImageFormat format, int index, const ImageFrame& frame);

    [[nodiscard]] std::string_view className() const noexcept override { return "NSBitmapImageRep"; }
    [[nodiscard]] bool isBitmap() const noexcept override { return true; }
    [[nodiscard]] std::optional<Bitmap> draw(PixelSize size) override;

private:
    std::optional<Bitmap> bitmap_;
    Data file_;
    ImageFormat format_ = ImageFormat::unknown;
    int index_ = 0;
};

/// A drawing in SVG, with nothing from outside its file.
class SVGImageRep final : public ImageRep {
public:
    SVGImageRep(Data file, const ImageFrame& frame);

    [[nodiscard]] std::string_view className() const noexcept override { return "NSSVGImageRep"; }
    [[nodiscard]] std::optional<Bitmap> draw(PixelSize size) override;

private:
    Data file_;
};

/// A PDF document, shown by its first page.
class PDFImageRep final : public ImageRep {
public:
    ~PDFImageRep() override;

    /// Null for data that are no PDF, for a locked document, and for one without pages.
    [[nodiscard]] static std::unique_ptr<PDFImageRep> imageRepWithData(const Data& data);

    [[nodiscard]] std::string_view className() const noexcept override { return "NSPDFImageRep"; }
    [[nodiscard]] std::optional<Bitmap> draw(PixelSize size) override;

    /// The document.
    [[nodiscard]] const Data& PDFRepresentation() const noexcept { return data_; }

private:
    PDFImageRep(Data data, std::unique_ptr<PdfDocument> document, Size size);

    Data data_;
    std::unique_ptr<PdfDocument> document_;
};

/// A PostScript program. It is run only when it is drawn; what comes of it is kept.
class EPSImageRep final : public ImageRep {
public:
    /// Null for data without a program. A program that does not tell its size is run to learn it.
    [[nodiscard]] static std::unique_ptr<EPSImageRep> imageRepWithData(const Data& data);

    [[nodiscard]] std::string_view className() const noexcept override { return "NSEPSImageRep"; }
    [[nodiscard]] std::optional<Bitmap> draw(PixelSize size) override;

    /// The PDF that was made of the program; null when it was not drawn yet, or could not be.
    [[nodiscard]] halden::PDFImageRep* PDFImageRep() noexcept { return pdfImageRep_.get(); }
    /// The same; draws the program for it, once, when it was not yet.
    halden::PDFImageRep* initializePDFImageRep();
    /// The data of `PDFImageRep`.
    [[nodiscard]] std::optional<Data> PDFRepresentation() const;

private:
    EPSImageRep(Data data, Size size) : ImageRep(size, {}, true), data_(std::move(data)) {}

    Data data_;
    bool wasRun_ = false;
    std::unique_ptr<halden::PDFImageRep> pdfImageRep_;
};

}  // namespace halden
