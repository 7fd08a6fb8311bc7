// Thumbnails of large pictures, beside libvips called in the same process.
//
// Each format has two rows: `ours`, the quick thumbnail of a file with its properties, as TIFF data; and `libvips`, the
// thumbnail of the same bytes as LZW TIFF data. The pictures, 12 million pixels each, are made here.
#include "foundation/Path.h"
#include "platform/images/Thumbnails.h"

#include <benchmark/benchmark.h>
#include <unistd.h>
#include <vips/vips.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using halden::Data;

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;
constexpr int kThumbnail = 256;

struct Format {
    const char* name;
    const char* suffix;
};

constexpr Format kFormats[] = {
    {"jpeg", ".jpg[Q=85]"},  {"png", ".png"},  {"webp", ".webp[Q=80]"},
    {"heic", ".heic[Q=50]"}, {"tiff", ".tif"}, {"tiff-lzw", ".tif[compression=lzw]"},
};

/// A picture with large and small detail, as photographs have: soft noise under a gradient.
VipsImage* picture() {
    VipsImage* noise = nullptr;
    VipsImage* soft = nullptr;
    VipsImage* colours[3] = {};
    VipsImage* joined = nullptr;
    VipsImage* result = nullptr;
    for (int i = 0; i < 3; ++i) {
        vips_gaussnoise(&noise, kWidth, kHeight, "sigma", 60.0, "mean", 110.0 + 20 * i, "seed", i + 1, nullptr);
        vips_gaussblur(noise, &soft, 1.5, nullptr);
        vips_cast_uchar(soft, &colours[i], nullptr);
        g_object_unref(noise);
        g_object_unref(soft);
    }
    vips_bandjoin(colours, &joined, 3, nullptr);
    vips_copy(joined, &result, "interpretation", VIPS_INTERPRETATION_sRGB, nullptr);
    for (VipsImage* colour : colours)
        g_object_unref(colour);
    g_object_unref(joined);
    VipsImage* memory = vips_image_copy_memory(result);
    g_object_unref(result);
    return memory;
}

Data encoded(VipsImage* image, const char* suffix) {
    void* bytes = nullptr;
    std::size_t length = 0;
    if (vips_image_write_to_buffer(image, suffix, &bytes, &length, nullptr) != 0) {
        vips_error_clear();
        return {};
    }
    const Data data = Data::copying(std::span(static_cast<const std::uint8_t*>(bytes), length));
    g_free(bytes);
    return data;
}

void ours(benchmark::State& state, const std::string& path) {
    const std::u16string name = halden::stringFromPathBytes(path);
    for (auto _ : state) {
        std::optional<halden::Dictionary> properties;
        auto image = halden::thumbnailForFile(name, {.maxSize = kThumbnail, .withTransform = true}, &properties);
        auto tiff = image ? image->TIFFRepresentation() : std::nullopt;
        if (!tiff) return state.SkipWithError("no thumbnail");
        benchmark::DoNotOptimize(tiff);
    }
}

void libvips(benchmark::State& state, const std::string& path) {
    for (auto _ : state) {
        const auto data = Data::contentsOfFile(path);
        VipsImage* thumbnail = nullptr;
        void* bytes = nullptr;
        std::size_t length = 0;
        const bool isMade = vips_thumbnail_buffer(const_cast<std::uint8_t*>(data->bytes()), data->length(), &thumbnail,
                                                  kThumbnail, "height", kThumbnail, nullptr) == 0 &&
                            vips_tiffsave_buffer(thumbnail, &bytes, &length, "compression",
                                                 VIPS_FOREIGN_TIFF_COMPRESSION_LZW, nullptr) == 0;
        if (!isMade) return state.SkipWithError("no thumbnail");
        g_free(bytes);
        g_object_unref(thumbnail);
    }
}

/// A JPEG with a thumbnail of its own: the Exif segment, then the rest of the file.
std::string withThumbnail(const Data& jpeg, const Data& thumbnail) {
    std::string tiff("MM\0*\0\0\0\x08\0\0\0\0\0\x0E\0\2", 16);
    const auto put = [&tiff](std::uint32_t number, int bytes) {
        for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
            tiff.push_back(static_cast<char>(number >> shift));
    };
    for (const auto& [tag, value] :
         {std::pair(0x201U, 44U), std::pair(0x202U, static_cast<unsigned>(thumbnail.length()))}) {
        put(tag, 2);
        put(4, 2);
        put(1, 4);
        put(value, 4);
    }
    put(0, 4);
    tiff += thumbnail.view();
    std::string segment("\xFF\xE1", 2);
    const std::size_t length = tiff.size() + 8;
    segment.push_back(static_cast<char>(length >> 8));
    segment.push_back(static_cast<char>(length));
    const std::string file(jpeg.view());
    return file.substr(0, 2) + segment + std::string("Exif\0\0", 6) + tiff + file.substr(2);
}

void add(const fs::path& path) {
    const std::string name = path.filename().string();
    benchmark::RegisterBenchmark((name + "/ours").c_str(), [path](auto& state) { ours(state, path.string()); })
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime();
    benchmark::RegisterBenchmark((name + "/libvips").c_str(), [path](auto& state) { libvips(state, path.string()); })
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime();
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const auto start = std::chrono::steady_clock::now();
    const halden::ImagesEngineStatus& status = halden::imagesEngineStatus();
    const std::chrono::duration<double, std::milli> first = std::chrono::steady_clock::now() - start;
    if (status.engine == nullptr) {
        std::fprintf(stderr, "%s\n", status.reason.c_str());
        return 1;
    }
    benchmark::AddCustomContext("first use of the image library, ms", std::to_string(first.count()));
    const fs::path folder = fs::temp_directory_path() / ("quarry-images-" + std::to_string(getpid()));
    fs::create_directory(folder);
    VipsImage* image = picture();
    const auto write = [&folder](const std::string& name, std::string_view bytes) {
        std::ofstream(folder / name, std::ios::binary) << bytes;
        add(folder / name);
    };
    for (const Format& format : kFormats) {
        const Data data = encoded(image, format.suffix);
        if (!data.empty()) write(format.name, data.view());
    }
    VipsImage* small = nullptr;
    vips_thumbnail_image(image, &small, 160, nullptr);
    write("jpeg-with-thumbnail", withThumbnail(encoded(image, ".jpg[Q=85,strip]"), encoded(small, ".jpg[Q=75,strip]")));
    g_object_unref(small);
    g_object_unref(image);
    benchmark::RunSpecifiedBenchmarks();
    fs::remove_all(folder);
    return 0;
}
