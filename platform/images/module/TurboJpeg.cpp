#include "platform/images/module/TurboJpeg.h"

#include <turbojpeg.h>

#include <memory>
#include <type_traits>

namespace halden::images {
namespace {

constexpr long kMostPixels = 16'000'000;

struct Destroy {
    void operator()(void* handle) const noexcept { tjDestroy(handle); }
};

}  // namespace

std::optional<Bitmap> bitmapFromSmallJpeg(std::span<const std::uint8_t> bytes) {
    const std::unique_ptr<std::remove_pointer_t<tjhandle>, Destroy> decoder(tjInitDecompress());
    if (!decoder) return std::nullopt;
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colours = 0;
    if (tjDecompressHeader3(decoder.get(), bytes.data(), bytes.size(), &width, &height, &subsampling, &colours) != 0 ||
        width <= 0 || height <= 0 || static_cast<long>(width) * height > kMostPixels || colours == TJCS_CMYK ||
        colours == TJCS_YCCK)
        return std::nullopt;
    Bitmap bitmap{.width = width, .height = height, .channels = 3, .pixels = {}};
    bitmap.pixels.resize(bitmap.rowLength() * height);
    const int status =
        tjDecompress2(decoder.get(), bytes.data(), bytes.size(), bitmap.pixels.data(), width, 0, height, TJPF_RGB, 0);
    if (status != 0 && tjGetErrorCode(decoder.get()) != TJERR_WARNING) return std::nullopt;
    return bitmap;
}

}  // namespace halden::images
