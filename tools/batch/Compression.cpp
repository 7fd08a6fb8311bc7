#include "tools/batch/Compression.h"

#include <zlib.h>
#include <zstd.h>

#include <memory>
#include <new>

namespace quarry::tools {

std::string gzipMember(std::string_view bytes) {
    constexpr int kGzip = 15 + 16;  // the largest window, and the header of gzip
    constexpr int kMemoryLevel = 8;
    z_stream stream{};
    if (::deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzip, kMemoryLevel, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
    std::string member(::deflateBound(&stream, static_cast<uLong>(bytes.size())), '\0');
    // The library takes its input through a pointer that is not constant, and does not write to it.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(member.data());
    stream.avail_out = static_cast<uInt>(member.size());
    const int result = ::deflate(&stream, Z_FINISH);
    member.resize(stream.total_out);
    ::deflateEnd(&stream);
    if (result != Z_STREAM_END) {
        throw std::bad_alloc();
    }
    return member;
}

std::string zstdFrame(std::string_view bytes) {
    const std::unique_ptr<ZSTD_CCtx, decltype(&::ZSTD_freeCCtx)> context(::ZSTD_createCCtx(), &::ZSTD_freeCCtx);
    if (!context) {
        throw std::bad_alloc();
    }
    ::ZSTD_CCtx_setParameter(context.get(), ZSTD_c_checksumFlag, 1);
    std::string frame(::ZSTD_compressBound(bytes.size()), '\0');
    const std::size_t size = ::ZSTD_compress2(context.get(), frame.data(), frame.size(), bytes.data(), bytes.size());
    if (::ZSTD_isError(size) != 0) {
        throw std::bad_alloc();
    }
    frame.resize(size);
    return frame;
}

}  // namespace quarry::tools
