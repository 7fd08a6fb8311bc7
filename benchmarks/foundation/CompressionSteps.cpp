// Compresses or inflates one text, ours or by zlib called by hand, so that callgrind can count the instructions of
// each:
//
//     compression_steps (deflate|inflate) (ours|zlib)
//
// benchmarks/compare runs all four.
#include "foundation/CompressedData.h"

#include <zlib.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes sampleText() {
    Bytes bytes;
    for (unsigned i = 0; bytes.size() < (4U << 20); ++i) {
        const std::string line = "<item number=\"" + std::to_string(i * 2654435761U) + "\">some words of text</item>\n";
        bytes.insert(bytes.end(), line.begin(), line.end());
    }
    return bytes;
}

/// The loop that everybody writes: a buffer of 16 KB, appended to what there is.
template <class Step>
std::size_t runByHand(z_stream& stream, const Bytes& bytes, Step step) {
    Bytes out;
    Bytef buffer[16384];
    stream.next_in = const_cast<Bytef*>(bytes.data());
    stream.avail_in = static_cast<uInt>(bytes.size());
    int result = Z_OK;
    while (result == Z_OK) {
        stream.next_out = buffer;
        stream.avail_out = sizeof buffer;
        result = step(&stream);
        out.insert(out.end(), buffer, buffer + (sizeof buffer - stream.avail_out));
    }
    return out.size();
}

std::size_t deflatedByHand(const Bytes& bytes) {
    z_stream stream{};
    ::deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15, 8, Z_DEFAULT_STRATEGY);
    const std::size_t length = runByHand(stream, bytes, [](z_stream* s) { return ::deflate(s, Z_FINISH); });
    ::deflateEnd(&stream);
    return length;
}

std::size_t inflatedByHand(const Bytes& bytes) {
    z_stream stream{};
    ::inflateInit2(&stream, 15 + 32);
    const std::size_t length = runByHand(stream, bytes, [](z_stream* s) { return ::inflate(s, Z_NO_FLUSH); });
    ::inflateEnd(&stream);
    return length;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) return 2;
    const bool deflates = std::string_view(arguments[1]) == "deflate";
    const bool isOurs = std::string_view(arguments[2]) == "ours";
    const Bytes text = sampleText();
    if (deflates) {
        std::printf("%zu\n", isOurs ? halden::dataByDeflatingBytes(text)->length() : deflatedByHand(text));
        return 0;
    }
    // The lowest level makes the input quickly, so that inflating it is what is counted.
    const auto compressed = halden::dataByDeflatingBytes(text, 1);
    const Bytes bytes(compressed->span().begin(), compressed->span().end());
    for (int round = 0; round < 20; ++round) {
        const std::size_t length = isOurs ? halden::dataByInflatingBytes(bytes)->length() : inflatedByHand(bytes);
        if (length != text.size()) return 1;
    }
    return 0;
}
