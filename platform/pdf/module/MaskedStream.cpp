#include "platform/pdf/module/MaskedStream.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace halden::pdf {
namespace {

constexpr std::string_view kName = "/Encrypt";
constexpr std::size_t kBufferSize = 4096;

struct MaskedBytes {
    const unsigned char* bytes;
    std::size_t length;
    std::size_t position;  // of what comes after the buffer
    unsigned char buffer[kBufferSize];
};

/// Changes the second byte of each name that begins in the buffer or shortly before it.
void maskBuffer(MaskedBytes& masked, std::size_t start, std::size_t count) {
    const std::string_view all(reinterpret_cast<const char*>(masked.bytes), masked.length);
    const std::size_t from = start - std::min(start, kName.size());
    const std::string_view window = all.substr(from, count + 2 * kName.size());
    for (std::size_t at = window.find(kName); at != std::string_view::npos; at = window.find(kName, at + 1)) {
        // /EncryptMetadata and the like are masked too, which hurts nobody.
        const std::size_t letter = from + at + 1;
        if (letter >= start && letter < start + count) masked.buffer[letter - start] = 'X';
    }
}

int nextByte(fz_context*, fz_stream* stream, std::size_t) {
    auto& masked = *static_cast<MaskedBytes*>(stream->state);
    const std::size_t count = std::min(kBufferSize, masked.length - masked.position);
    if (count == 0) return EOF;
    std::memcpy(masked.buffer, masked.bytes + masked.position, count);
    maskBuffer(masked, masked.position, count);
    masked.position += count;
    stream->rp = masked.buffer;
    stream->wp = masked.buffer + count;
    stream->pos = static_cast<std::int64_t>(masked.position);
    return *stream->rp++;
}

void seekTo(fz_context*, fz_stream* stream, std::int64_t offset, int whence) {
    auto& masked = *static_cast<MaskedBytes*>(stream->state);
    const auto length = static_cast<std::int64_t>(masked.length);
    const std::int64_t base = whence == SEEK_END ? length : whence == SEEK_CUR ? stream->pos : 0;
    const std::int64_t target = offset > length - base ? length : std::max<std::int64_t>(base + offset, 0);
    masked.position = static_cast<std::size_t>(target);
    stream->rp = stream->wp = masked.buffer;
    stream->pos = target;
}

void dropBytes(fz_context* engine, void* state) {
    fz_free(engine, state);
}

}  // namespace

bool mentionsEncryption(const Data& data) noexcept {
    return data.view().find(kName) != std::string_view::npos;
}

fz_stream* newMaskedStream(fz_context* engine, const Data& data) {
    auto* masked = static_cast<MaskedBytes*>(fz_malloc(engine, sizeof(MaskedBytes)));
    masked->bytes = data.bytes();
    masked->length = data.length();
    masked->position = 0;
    // Frees the state itself when there is no memory for the stream.
    fz_stream* stream = fz_new_stream(engine, masked, nextByte, dropBytes);
    stream->seek = seekTo;
    return stream;
}

}  // namespace halden::pdf
