#include "foundation/CompressedData.h"

#include <zlib.h>

#include <algorithm>
#include <array>

namespace halden {
namespace {

constexpr std::size_t kStep = 16384;

// Window sizes carry the format: 15 bits, plus 16 for gzip, or plus 32 to recognise either.
constexpr int kZlibWindow = 15;
constexpr int kGzipWindow = 15 + 16;
constexpr int kAnyWindow = 15 + 32;
constexpr int kMemoryLevel = 8;

int levelFor(int wanted) {
    if (wanted == kDefaultCompressionLevel) return Z_DEFAULT_COMPRESSION;
    return wanted > 0 ? std::min(wanted, 9) : 1;
}

bool isTooLong(std::span<const std::uint8_t> bytes) {
    return bytes.size() > kCompressedInputLimit;
}

/// A zlib stream over the whole input, which it does not change.
class Stream {
public:
    using End = int (*)(z_stream*);

    Stream(std::span<const std::uint8_t> input, End end) : end_(end) {
        stream_.next_in = const_cast<Bytef*>(input.data());
        stream_.avail_in = static_cast<uInt>(input.size());
    }
    ~Stream() { end_(&stream_); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    [[nodiscard]] z_stream* get() noexcept { return &stream_; }
    [[nodiscard]] bool isInputConsumed() const noexcept { return stream_.avail_in == 0; }

    /// Runs `step` once and appends what it produced; returns the step's result.
    template <class Step>
    int produce(std::vector<std::uint8_t>& output, Step step) {
        std::array<Bytef, kStep> buffer;
        stream_.next_out = buffer.data();
        stream_.avail_out = kStep;
        const int result = step(&stream_);
        output.insert(output.end(), buffer.data(), buffer.data() + (kStep - stream_.avail_out));
        return result;
    }

private:
    z_stream stream_{};
    End end_;
};

}  // namespace

std::optional<Data> dataByCompressingBytes(std::span<const std::uint8_t> bytes, int compressionLevel,
                                           CompressionFormat format) {
    if (bytes.empty() || isTooLong(bytes)) return std::nullopt;
    Stream stream(bytes, deflateEnd);
    const int window = format == CompressionFormat::gzip ? kGzipWindow : kZlibWindow;
    if (deflateInit2(stream.get(), levelFor(compressionLevel), Z_DEFLATED, window, kMemoryLevel, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> output;
    output.reserve(bytes.size() / 4);
    int result = Z_OK;
    while (result == Z_OK) {
        result = stream.produce(output, [](z_stream* s) { return deflate(s, Z_FINISH); });
    }
    if (result != Z_STREAM_END) return std::nullopt;
    return Data(std::move(output));
}

std::optional<Data> dataByGzippingBytes(std::span<const std::uint8_t> bytes, int compressionLevel) {
    return dataByCompressingBytes(bytes, compressionLevel, CompressionFormat::gzip);
}

std::optional<Data> dataByGzippingData(const Data& data, int compressionLevel) {
    return dataByGzippingBytes(data.span(), compressionLevel);
}

std::optional<Data> dataByDeflatingBytes(std::span<const std::uint8_t> bytes, int compressionLevel) {
    return dataByCompressingBytes(bytes, compressionLevel, CompressionFormat::zlib);
}

std::optional<Data> dataByDeflatingData(const Data& data, int compressionLevel) {
    return dataByDeflatingBytes(data.span(), compressionLevel);
}

bool setDataByInflatingBytes(std::vector<std::uint8_t>& receiver, std::span<const std::uint8_t> bytes,
                             std::size_t limit) {
    if (bytes.empty() || isTooLong(bytes)) return false;
    Stream stream(bytes, inflateEnd);
    if (inflateInit2(stream.get(), kAnyWindow) != Z_OK) return false;
    receiver.clear();
    int result = Z_OK;
    while (result == Z_OK) {
        result = stream.produce(receiver, [](z_stream* s) { return inflate(s, Z_NO_FLUSH); });
        if (receiver.size() > limit) return false;
    }
    return result == Z_STREAM_END && stream.isInputConsumed();
}

bool setDataByInflating(std::vector<std::uint8_t>& receiver, const Data& data, std::size_t limit) {
    return setDataByInflatingBytes(receiver, data.span(), limit);
}

std::optional<Data> dataByInflatingBytes(std::span<const std::uint8_t> bytes, std::size_t limit) {
    std::vector<std::uint8_t> inflated;
    if (!setDataByInflatingBytes(inflated, bytes, limit)) return std::nullopt;
    return Data(std::move(inflated));
}

std::optional<Data> dataByInflatingData(const Data& data, std::size_t limit) {
    return dataByInflatingBytes(data.span(), limit);
}

}  // namespace halden
