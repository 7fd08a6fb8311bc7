#include "platform/movies/module/MoviePictures.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>

namespace halden {
namespace {

struct FreeScaler {
    void operator()(SwsContext* context) const noexcept { sws_freeContext(context); }
};

/// How a picture is laid on the screen: its rows may become columns, and both may run backward.
struct Placement {
    bool isTransposed = false;
    bool isMirroredX = false;  // of the picture as it is shown
    bool isMirroredY = false;
};

Placement placementOf(const AVStream& stream) noexcept {
    constexpr int kEntries = 9;
    std::size_t length = 0;
    const auto* matrix =
        reinterpret_cast<const std::int32_t*>(av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &length));
    if (matrix == nullptr || length < kEntries * sizeof(std::int32_t)) return {};
    // The place on the screen is (a x + c y, b x + d y). What is turned by less than a right angle is shown upright.
    const std::int64_t a = matrix[0];
    const std::int64_t b = matrix[1];
    const std::int64_t c = matrix[3];
    const std::int64_t d = matrix[4];
    const bool isTransposed = std::abs(b) + std::abs(c) > std::abs(a) + std::abs(d);
    return {.isTransposed = isTransposed,
            .isMirroredX = (isTransposed ? c : a) < 0,
            .isMirroredY = (isTransposed ? b : d) < 0};
}

/// In square pixels, before it is turned.
PixelSize shownSize(int width, int height, AVRational aspect) noexcept {
    if (aspect.num <= 0 || aspect.den <= 0 || aspect.num == aspect.den) return {width, height};
    const double factor = av_q2d(aspect);
    if (factor < 0.05 || factor > 20) return {width, height};
    return {std::max(1, static_cast<int>(std::lround(width * factor))), height};
}

AVRational aspectOf(const AVStream& stream, AVRational ofFrame) noexcept {
    if (ofFrame.num > 0 && ofFrame.den > 0) return ofFrame;
    if (stream.sample_aspect_ratio.num > 0) return stream.sample_aspect_ratio;
    return stream.codecpar->sample_aspect_ratio;
}

Bitmap placed(Bitmap bitmap, Placement placement) {
    if (!placement.isTransposed && !placement.isMirroredX && !placement.isMirroredY) return bitmap;
    Bitmap result;
    result.channels = bitmap.channels;
    result.width = placement.isTransposed ? bitmap.height : bitmap.width;
    result.height = placement.isTransposed ? bitmap.width : bitmap.height;
    result.pixels.resize(bitmap.pixels.size());
    const auto step = static_cast<std::size_t>(bitmap.channels);
    std::uint8_t* to = result.pixels.data();
    for (int y = 0; y < result.height; ++y) {
        const int row = placement.isMirroredY ? result.height - 1 - y : y;
        for (int x = 0; x < result.width; ++x) {
            const int column = placement.isMirroredX ? result.width - 1 - x : x;
            const int fromX = placement.isTransposed ? row : column;
            const int fromY = placement.isTransposed ? column : row;
            const std::uint8_t* from = bitmap.pixels.data() + static_cast<std::size_t>(fromY) * bitmap.rowLength() +
                                       static_cast<std::size_t>(fromX) * step;
            to = std::copy_n(from, step, to);
        }
    }
    return result;
}

/// Files may give an enumeration of the libraries a value that is none of it.
template <class Enumeration>
int rawValue(const Enumeration& value) noexcept {
    static_assert(sizeof(value) == sizeof(int));
    int number = 0;
    std::memcpy(&number, &value, sizeof number);
    return number;
}

std::optional<Bitmap> scaled(const AVFrame& frame, PixelSize size, int method) {
    if (size.width <= 0 || size.height <= 0 || std::int64_t{size.width} * size.height > kMostPicturePixels) {
        return std::nullopt;
    }
    const std::unique_ptr<SwsContext, FreeScaler> scaler(
        sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), size.width, size.height,
                       AV_PIX_FMT_RGB24, method, nullptr, nullptr, nullptr));
    if (!scaler) return std::nullopt;
    // As the frame says of itself; the target is full RGB.
    const int* const colours = sws_getCoefficients(rawValue(frame.colorspace));
    constexpr int kOne = 1 << 16;
    sws_setColorspaceDetails(scaler.get(), colours, rawValue(frame.color_range) == AVCOL_RANGE_JPEG ? 1 : 0, colours, 1,
                             0, kOne, kOne);
    Bitmap bitmap{.width = size.width, .height = size.height, .channels = 3, .pixels = {}};
    // The scaler may write a little beyond the last row.
    constexpr std::size_t kSlack = 64;
    const std::size_t length = bitmap.rowLength() * static_cast<std::size_t>(bitmap.height);
    bitmap.pixels.resize(length + kSlack);
    std::uint8_t* const rows[4] = {bitmap.pixels.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {static_cast<int>(bitmap.rowLength()), 0, 0, 0};
    if (sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, rows, strides) <= 0) return std::nullopt;
    bitmap.pixels.resize(length);
    return bitmap;
}

}  // namespace

PixelSize naturalSizeOf(const AVStream& stream) noexcept {
    const AVCodecParameters& parameters = *stream.codecpar;
    const PixelSize size = shownSize(parameters.width, parameters.height, aspectOf(stream, {0, 0}));
    return placementOf(stream).isTransposed ? PixelSize{size.height, size.width} : size;
}

std::optional<Bitmap> bitmapOf(const AVFrame& frame, const AVStream& stream) {
    auto bitmap =
        scaled(frame, shownSize(frame.width, frame.height, aspectOf(stream, frame.sample_aspect_ratio)), SWS_BICUBIC);
    return bitmap ? std::optional(placed(std::move(*bitmap), placementOf(stream))) : std::nullopt;
}

bool isBlankPicture(const AVFrame& frame) {
    constexpr int kSide = 64;
    constexpr double kLeastDeviation = 6;
    const auto small = scaled(frame, {std::min(frame.width, kSide), std::min(frame.height, kSide)}, SWS_POINT);
    if (!small) return true;
    double sum = 0;
    double squares = 0;
    for (const double value : small->pixels) {
        sum += value;
        squares += value * value;
    }
    const auto count = static_cast<double>(small->pixels.size());
    const double mean = sum / count;
    return std::sqrt(std::max(0.0, squares / count - mean * mean)) < kLeastDeviation;
}

}  // namespace halden
