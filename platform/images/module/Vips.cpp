#include "platform/images/module/Vips.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>

namespace halden::images {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLongestDecoding{30};
// Pixels of a picture that is decoded row by row, and bytes of one that is decoded as a whole.
constexpr double kMostStreamedPixels = 300e6;
constexpr double kMostBytesAtOnce = 400e6;

/// Ends an evaluation that takes too long.
void lookAtClock(VipsImage* image, VipsProgress*, gpointer end) {
    if (Clock::now() >= *static_cast<Clock::time_point*>(end)) vips_image_set_kill(image, TRUE);
}

/// The library keeps what went wrong until somebody takes it; nobody here prints it.
void forgetErrors() {
    vips_error_clear();
}

void ignoreMessage(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

bool isDecodedAtOnce(VipsImage* picture, ImageFormat format) {
    switch (format) {
        case ImageFormat::jpeg:
        case ImageFormat::png:
            return vips_image_get_typeof(picture, "interlaced") != 0;
        case ImageFormat::tiff:
            return false;
        default:
            return true;
    }
}

/// Loaders that are not found by first bytes are named.
VipsPicture openByMagick(const Data& file, int frame) {
    VipsImage* picture = nullptr;
    if (vips_magickload_buffer(const_cast<std::uint8_t*>(file.bytes()), file.length(), &picture, "page", frame, "n", 1,
                               nullptr) != 0) {
        forgetErrors();
        return nullptr;
    }
    return VipsPicture(picture);
}

bool needsMagick(ImageFormat format) {
    return format == ImageFormat::bmp || format == ImageFormat::ico || format == ImageFormat::psd;
}

/// Only these have several pictures; in the others the first one is the file's main picture wherever it lies.
std::string optionsFor(ImageFormat format, int frame) {
    std::string options;
    if (format == ImageFormat::tiff && frame > 0) options = "page=" + std::to_string(frame);
    return options.empty() ? options : "[" + options + "]";
}

VipsPicture take(int status, VipsImage* picture) {
    if (status == 0) return VipsPicture(picture);
    forgetErrors();
    return nullptr;
}

/// Null for a picture without a profile: its colours are taken for what they will be shown as, and asking for a
/// conversion would shift them.
const char* profileToExport(VipsImage* picture) {
    return vips_image_get_typeof(picture, VIPS_META_ICC_NAME) != 0 ? "srgb" : nullptr;
}

VipsPicture thumbnailOf(VipsImage* picture, PixelSize size, bool isTurned) {
    VipsImage* result = nullptr;
    const int status =
        vips_thumbnail_image(picture, &result, size.width, "height", size.height, "size", VIPS_SIZE_FORCE, "no_rotate",
                             isTurned ? FALSE : TRUE, "export_profile", profileToExport(picture), nullptr);
    return take(status, result);
}

VipsPicture inEightBitRgb(VipsImage* picture) {
    VipsImage* coloured = nullptr;
    if (vips_colourspace(picture, &coloured, VIPS_INTERPRETATION_sRGB, nullptr) != 0) {
        forgetErrors();
        return nullptr;
    }
    const VipsPicture owner(coloured);
    VipsImage* cast = nullptr;
    const int status = vips_cast_uchar(coloured, &cast, nullptr);
    return take(status, cast);
}

}  // namespace

bool startVips() {
    // The one loader that reads anything through another library is held to the same bounds as the others.
    setenv("MAGICK_THREAD_LIMIT", "1", 0);
    setenv("MAGICK_WIDTH_LIMIT", "32KP", 0);
    setenv("MAGICK_HEIGHT_LIMIT", "32KP", 0);
    setenv("MAGICK_AREA_LIMIT", "128MP", 0);
    setenv("MAGICK_MEMORY_LIMIT", "512MiB", 0);
    setenv("MAGICK_MAP_LIMIT", "0", 0);
    setenv("MAGICK_DISK_LIMIT", "0", 0);
    if (vips_init("quarry") != 0) {
        forgetErrors();
        return false;
    }
    g_log_set_handler("VIPS", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK | G_LOG_FLAG_RECURSION), ignoreMessage,
                      nullptr);
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    vips_operation_block_set("VipsForeignLoad", TRUE);
    constexpr std::array kLoaders = {"VipsForeignLoadJpeg",  "VipsForeignLoadPng",  "VipsForeignLoadNsgif",
                                     "VipsForeignLoadTiff",  "VipsForeignLoadWebp", "VipsForeignLoadHeif",
                                     "VipsForeignLoadJp2k",  "VipsForeignLoadJxl",  "VipsForeignLoadSvg",
                                     "VipsForeignLoadMagick"};
    for (const char* loader : kLoaders)
        vips_operation_block_set(loader, FALSE);
    return true;
}

VipsPicture openPicture(const Data& file, ImageFormat format, int frame) {
    if (needsMagick(format)) return openByMagick(file, frame);
    VipsImage* picture =
        vips_image_new_from_buffer(file.bytes(), file.length(), optionsFor(format, frame).c_str(), nullptr);
    if (picture == nullptr) forgetErrors();
    return VipsPicture(picture);
}

bool isReasonable(VipsImage* picture, ImageFormat format) {
    const double pixels = static_cast<double>(vips_image_get_width(picture)) * vips_image_get_height(picture);
    if (pixels > kMostStreamedPixels) return false;
    return !isDecodedAtOnce(picture, format) ||
           pixels * static_cast<double>(VIPS_IMAGE_SIZEOF_PEL(picture)) <= kMostBytesAtOnce;
}

std::optional<Bitmap> bitmapFromPicture(VipsImage* picture) {
    const VipsPicture plain = inEightBitRgb(picture);
    if (!plain) return std::nullopt;
    auto end = Clock::now() + kLongestDecoding;
    vips_image_set_progress(plain.get(), TRUE);
    const gulong handler = g_signal_connect(plain.get(), "eval", G_CALLBACK(lookAtClock), &end);
    std::size_t length = 0;
    auto* memory = static_cast<std::uint8_t*>(vips_image_write_to_memory(plain.get(), &length));
    g_signal_handler_disconnect(plain.get(), handler);
    if (memory == nullptr) {
        forgetErrors();
        return std::nullopt;
    }
    const int bands = vips_image_get_bands(plain.get());
    Bitmap bitmap{.width = vips_image_get_width(plain.get()),
                  .height = vips_image_get_height(plain.get()),
                  .channels = bands >= 4 ? 4 : 3,
                  .pixels = {}};
    const std::size_t count = static_cast<std::size_t>(bitmap.width) * bitmap.height;
    if (bands < 3 || length < count * bands) {
        g_free(memory);
        return std::nullopt;
    }
    bitmap.pixels.resize(count * bitmap.channels);
    if (bands == bitmap.channels) {
        std::memcpy(bitmap.pixels.data(), memory, bitmap.pixels.size());
    } else {  // further bands have no meaning here
        for (std::size_t i = 0; i < count; ++i)
            std::memcpy(&bitmap.pixels[i * bitmap.channels], memory + i * bands, bitmap.channels);
    }
    g_free(memory);
    return bitmap;
}

std::optional<Bitmap> scaledBitmap(const Data& file, ImageFormat format, int frame, PixelSize size, bool isTurned) {
    const VipsPicture header = openPicture(file, format, frame);
    if (!header || !isReasonable(header.get(), format)) return std::nullopt;
    VipsPicture scaled;
    if (needsMagick(format)) {
        scaled = thumbnailOf(header.get(), size, isTurned);
    } else {
        // HEIF pictures come upright from their library, whatever their Exif data say.
        const bool turns = isTurned && format != ImageFormat::heif;
        VipsImage* result = nullptr;
        const int status = vips_thumbnail_buffer(
            const_cast<std::uint8_t*>(file.bytes()), file.length(), &result, size.width, "height", size.height, "size",
            VIPS_SIZE_FORCE, "no_rotate", turns ? FALSE : TRUE, "export_profile", profileToExport(header.get()),
            "option_string", optionsFor(format, frame).c_str(), nullptr);
        scaled = take(status, result);
    }
    return scaled ? bitmapFromPicture(scaled.get()) : std::nullopt;
}

std::optional<Bitmap> scaledBitmap(const Bitmap& bitmap, PixelSize size) {
    if (bitmap.width == size.width && bitmap.height == size.height) return bitmap;
    const VipsPicture picture(vips_image_new_from_memory(bitmap.pixels.data(), bitmap.pixels.size(), bitmap.width,
                                                         bitmap.height, bitmap.channels, VIPS_FORMAT_UCHAR));
    if (!picture) {
        forgetErrors();
        return std::nullopt;
    }
    picture->Type = VIPS_INTERPRETATION_sRGB;
    const VipsPicture scaled = thumbnailOf(picture.get(), size, false);
    return scaled ? bitmapFromPicture(scaled.get()) : std::nullopt;
}

Bitmap turned(Bitmap bitmap, int orientation) {
    if (orientation < 2 || orientation > 8) return bitmap;
    const bool swaps = orientation > 4;
    const int width = bitmap.width;
    const int height = bitmap.height;
    const int channels = bitmap.channels;
    Bitmap result{
        .width = swaps ? height : width, .height = swaps ? width : height, .channels = channels, .pixels = {}};
    result.pixels.resize(bitmap.pixels.size());
    // Where the pixel (x, y) of the stored picture appears.
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int right = width - 1 - x;
            const int below = height - 1 - y;
            const std::array<std::array<int, 2>, 9> places = {{{x, y},
                                                               {x, y},
                                                               {right, y},
                                                               {right, below},
                                                               {x, below},
                                                               {y, x},
                                                               {below, x},
                                                               {below, right},
                                                               {y, right}}};
            const auto [column, row] = places[orientation];
            std::memcpy(&result.pixels[(static_cast<std::size_t>(row) * result.width + column) * channels],
                        &bitmap.pixels[(static_cast<std::size_t>(y) * width + x) * channels], channels);
        }
    }
    return result;
}

}  // namespace halden::images
