#include "documents/ZipArchive.h"

#include <zlib.h>

#include <algorithm>

namespace quarry {
namespace {

constexpr std::string_view kLocalHeader("PK\3\4", 4);
constexpr std::string_view kDirectoryEntry("PK\1\2", 4);
constexpr std::string_view kEndRecord("PK\5\6", 4);
constexpr std::size_t kLongestEnd = 22 + 65535;

std::string_view viewOf(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::uint32_t number(std::string_view bytes, std::size_t offset, std::size_t width) {
    std::uint32_t value = 0;
    for (std::size_t i = width; i-- > 0;)
        value = value << 8 | static_cast<std::uint8_t>(bytes[offset + i]);
    return value;
}

struct Member {
    std::uint32_t method = 0;
    std::uint32_t flags = 0;
    std::string_view packed;
};

/// The bytes of a member whose directory entry is `entry`.
std::optional<Member> memberOf(std::string_view archive, std::string_view entry) {
    const std::size_t header = number(entry, 42, 4);
    if (header > archive.size() || archive.size() - header < 30 || !archive.substr(header).starts_with(kLocalHeader))
        return std::nullopt;
    const std::size_t start = header + 30 + number(archive, header + 26, 2) + number(archive, header + 28, 2);
    const std::size_t length = number(entry, 20, 4);
    if (start > archive.size()) return std::nullopt;
    return Member{number(entry, 10, 2), number(entry, 8, 2), archive.substr(start, length)};
}

std::optional<Member> findMember(std::string_view archive, std::string_view name) {
    const std::size_t end = archive.rfind(kEndRecord);
    if (end == std::string_view::npos || archive.size() - end > kLongestEnd || archive.size() - end < 22)
        return std::nullopt;
    std::size_t place = number(archive, end + 16, 4);
    while (place <= end && end - place >= 46 && archive.substr(place).starts_with(kDirectoryEntry)) {
        const std::size_t nameLength = number(archive, place + 28, 2);
        const std::size_t next =
            place + 46 + nameLength + number(archive, place + 30, 2) + number(archive, place + 32, 2);
        if (archive.substr(place + 46, nameLength) == name) return memberOf(archive, archive.substr(place, 46));
        place = next;
    }
    return std::nullopt;
}

/// The beginning of what raw deflate data hold.
std::optional<std::string> inflated(std::string_view packed, std::size_t limit) {
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) return std::nullopt;
    std::string text;
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    int status = Z_OK;
    char buffer[16384];
    while (status == Z_OK && text.size() < limit) {
        stream.next_out = reinterpret_cast<Bytef*>(buffer);
        stream.avail_out = sizeof buffer;
        status = inflate(&stream, Z_NO_FLUSH);
        text.append(buffer, sizeof buffer - stream.avail_out);
    }
    inflateEnd(&stream);
    if (text.size() < limit && status != Z_STREAM_END) return std::nullopt;
    text.resize(std::min(text.size(), limit));
    return text;
}

}  // namespace

bool isZipArchive(std::span<const std::uint8_t> bytes) noexcept {
    return viewOf(bytes).starts_with(kLocalHeader);
}

std::optional<std::string> contentsOfZipMember(std::span<const std::uint8_t> bytes, std::string_view name,
                                               std::size_t limit) {
    const auto member = findMember(viewOf(bytes), name);
    if (!member || (member->flags & 1) != 0) return std::nullopt;
    if (member->method == 0) return std::string(member->packed.substr(0, limit));
    if (member->method == 8) return inflated(member->packed, limit);
    return std::nullopt;
}

}  // namespace quarry
