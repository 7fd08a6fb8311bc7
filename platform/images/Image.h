// Images: pictures of files, in one or several representations.
#pragma once

#include "foundation/Data.h"
#include "foundation/Geometry.h"
#include "platform/images/ImageRep.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// Straight, not multiplied by its alpha.
struct Color {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 0;
};

inline constexpr Color kClearColor{};
inline constexpr Color kWhiteColor{0xFF, 0xFF, 0xFF, 0xFF};

enum class ImageInterpolation { standard = 0, none = 1, low = 2, high = 3 };

struct TIFFDrawingOptions {
    bool shouldAntialias = true;
    /// The decoders scale in one way, the best: lower levels look no worse.
    ImageInterpolation interpolation = ImageInterpolation::high;
    bool cachedSeparately = false;  ///< changes nothing
};

/// A picture with a size in points.
///
/// Pictures with several sizes or pages have a representation for each, in the file's order. Pictures that are stored
/// turned or mirrored count as they are to be shown. Used by one thread at a time.
class Image {
public:
    /// Without representations.
    explicit Image(Size size) : size_(size), isSizeSet_(true) {}
    Image(Image&&) noexcept = default;
    Image& operator=(Image&&) noexcept = default;

    /// The image of a file, which is opened when something is first asked of it, and read only as far as that needs.
    [[nodiscard]] static Image initByReferencingFile(std::u16string_view path);
    /// nullopt when the data are no picture.
    [[nodiscard]] static std::optional<Image> initWithData(const Data& data);
    /// The image of one bitmap, as large in points as it is in pixels; nullopt when one side is zero.
    [[nodiscard]] static std::optional<Image> imageWithCGImageRef(std::optional<Bitmap> bitmap);

    /// In points: of the first representation until it is set.
    [[nodiscard]] Size size();
    void setSize(Size size);
    void setScalesWhenResized(bool scales) noexcept { scalesWhenResized_ = scales; }
    [[nodiscard]] bool scalesWhenResized() const noexcept { return scalesWhenResized_; }
    void setBackgroundColor(Color color) noexcept { backgroundColor_ = color; }
    [[nodiscard]] Color backgroundColor() const noexcept { return backgroundColor_; }

    [[nodiscard]] const std::vector<std::unique_ptr<ImageRep>>& representations();
    void addRepresentation(std::unique_ptr<ImageRep> representation);

    /// Whether both sides are greater than zero and there is a representation.
    [[nodiscard]] bool isReallyValid();
    /// Of the representation with the most pixels across, the first one among equals; the size in points when none
    /// counts its pixels.
    [[nodiscard]] Size pixelSize();
    /// Whether a representation has alpha; drawings count as having it.
    [[nodiscard]] bool hasAlpha();
    /// The first representation that is PDF; failing that, the PDF that was already made of the first PostScript one.
    [[nodiscard]] halden::PDFImageRep* PDFImageRep();
    /// The first representation that is PostScript.
    [[nodiscard]] halden::EPSImageRep* EPSImageRep();

    /// `thumbForSize` of `pixelSize`.
    [[nodiscard]] Size thumbSize(Size maximum);

    /// The representation to draw at that size: the smallest one with enough pixels across, else the largest one; of
    /// drawings, the first.
    [[nodiscard]] ImageRep* bestRepresentationForRect(Size size);

    /// The picture drawn into that many pixels: drawings on white, pictures with alpha on the background colour.
    /// nullopt when it cannot be drawn.
    [[nodiscard]] std::optional<Bitmap> drawInRect(PixelSize size);

    /// The picture drawn into `size`, one pixel a point, as a TIFF file; nullopt when it cannot be drawn or the size is
    /// empty or beyond 16,384.
    [[nodiscard]] std::optional<Data> TIFFRepresentationWithSize(Size size, TIFFDrawingOptions options = {});
    /// The first representation with all its pixels as a TIFF file.
    [[nodiscard]] std::optional<Data> TIFFRepresentation();

private:
    Image() = default;
    void load();

    std::u16string path_;  // of a file that was not opened yet
    std::vector<std::unique_ptr<ImageRep>> representations_;
    Size size_;
    bool isSizeSet_ = false;
    bool scalesWhenResized_ = false;
    Color backgroundColor_ = kClearColor;
};

/// How large the thumbnail of a picture is: never larger than it, else reduced to fit `maximum` with its sides rounded
/// down, but not below 1.
[[nodiscard]] Size thumbForSize(Size maximum, Size size);

}  // namespace halden
