#include "platform/movies/module/PosterTime.h"

#include <algorithm>
#include <array>

namespace halden {
namespace {

// Files in fragments have two atoms for each; the movie's own stands before those, or after a single one of media.
constexpr int kMostAtoms = 1000;

constexpr std::uint32_t typeOf(const char (&name)[5]) noexcept {
    std::uint32_t type = 0;
    for (int i = 0; i < 4; ++i)
        type = type << 8 | static_cast<std::uint8_t>(name[i]);
    return type;
}

/// Where an atom's contents are.
struct Atom {
    std::uint32_t type = 0;
    std::int64_t start = 0;
    std::int64_t end = 0;
};

std::uint64_t bigEndian(std::span<const std::uint8_t> bytes) noexcept {
    std::uint64_t number = 0;
    for (const std::uint8_t byte : bytes)
        number = number << 8 | byte;
    return number;
}

/// The atom at `offset` of a container that ends at `end`; nullopt when there is none, or it claims nonsense.
std::optional<Atom> atomAt(MovieBytes& bytes, std::int64_t offset, std::int64_t end) {
    std::array<std::uint8_t, 16> head{};
    if (offset < 0 || end - offset < 8) return std::nullopt;
    const std::size_t known = bytes.read(offset, head);
    if (known < 8) return std::nullopt;
    std::uint64_t length = bigEndian(std::span(head).first(4));
    std::int64_t headLength = 8;
    if (length == 1) {  // the true one follows
        if (known < 16) return std::nullopt;
        length = bigEndian(std::span(head).last(8));
        headLength = 16;
    } else if (length == 0) {  // to the end
        length = static_cast<std::uint64_t>(end - offset);
    }
    if (length < static_cast<std::uint64_t>(headLength)) return std::nullopt;
    const auto rest = static_cast<std::uint64_t>(end - offset);
    return Atom{.type = static_cast<std::uint32_t>(bigEndian(std::span(head).subspan(4, 4))),
                .start = offset + headLength,
                .end = length >= rest ? end : offset + static_cast<std::int64_t>(length)};
}

std::optional<Atom> atomOfType(MovieBytes& bytes, std::uint32_t type, std::int64_t offset, std::int64_t end) {
    for (int i = 0; i < kMostAtoms; ++i) {
        const auto atom = atomAt(bytes, offset, end);
        if (!atom || atom->type == type) return atom;
        offset = atom->end;
    }
    return std::nullopt;
}

}  // namespace

std::optional<double> posterTimeOf(MovieBytes& bytes) {
    const auto movie = atomOfType(bytes, typeOf("moov"), 0, bytes.length());
    if (!movie) return std::nullopt;
    const auto header = atomOfType(bytes, typeOf("mvhd"), movie->start, movie->end);
    if (!header) return std::nullopt;
    std::array<std::uint8_t, 112> fields{};
    const auto length = static_cast<std::size_t>(std::min<std::int64_t>(header->end - header->start, fields.size()));
    const std::size_t known = bytes.read(header->start, std::span(fields).first(length));
    // The first version has times of four bytes: made, changed, scale, duration. The second has the scale of four among
    // times of eight. Rate, volume and matrix follow, then the preview's time and duration, and the poster's time.
    const bool hasLongTimes = fields[0] == 1;
    const std::size_t scaleAt = hasLongTimes ? 20 : 12;
    const std::size_t posterAt = hasLongTimes ? 92 : 80;
    if (fields[0] > 1 || known < posterAt + 4) return std::nullopt;
    const std::uint64_t scale = bigEndian(std::span(fields).subspan(scaleAt, 4));
    const std::uint64_t duration = bigEndian(std::span(fields).subspan(scaleAt + 4, hasLongTimes ? 8 : 4));
    const std::uint64_t poster = bigEndian(std::span(fields).subspan(posterAt, 4));
    if (scale == 0 || poster == 0 || poster >= duration) return std::nullopt;
    return static_cast<double>(poster) / static_cast<double>(scale);
}

}  // namespace halden
