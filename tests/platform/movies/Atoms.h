// QuickTime files, atom by atom.
#pragma once

#include <cstdint>
#include <string>

namespace halden::testing {

inline std::string number(std::uint64_t value, int length) {
    std::string bytes;
    for (int i = length - 1; i >= 0; --i)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

inline std::string atom(const std::string& type, const std::string& contents) {
    return number(8 + contents.size(), 4) + type + contents;
}

/// With its length in eight bytes.
inline std::string longAtom(const std::string& type, const std::string& contents) {
    return number(1, 4) + type + number(16 + contents.size(), 8) + contents;
}

/// Of a movie; what is no number of it is 0x7F.
inline std::string movieHeader(std::uint64_t scale, std::uint64_t duration, std::uint64_t poster,
                               bool hasLongTimes = false) {
    const int length = hasLongTimes ? 8 : 4;
    return number(hasLongTimes ? 1U << 24 : 0, 4) + number(1, length) + number(2, length) + number(scale, 4) +
           number(duration, length) + std::string(4 + 2 + 10 + 36, '\x7F') + number(9, 4) + number(9, 4) +
           number(poster, 4) + std::string(16, '\x7F');
}

/// A track that claims `count` pictures without saying where each is, and without having any.
inline std::string emptyTrack(std::uint64_t count) {
    const auto matrix =
        number(0x10000, 4) + std::string(12, 0) + number(0x10000, 4) + std::string(12, 0) + number(0x40000000, 4);
    const auto times = std::string(8, 0) + number(600, 4) + number(20 * count, 4);
    const auto description = atom(
        "jpeg", std::string(7, 0) + "\1" + std::string(16, 0) + number(64, 2) + number(48, 2) + std::string(50, 0));
    const auto one = number(0, 4) + number(1, 4);
    const auto table = atom("stsd", one + description) + atom("stts", one + number(count, 4) + number(20, 4)) +
                       atom("ctts", one + number(count, 4) + number(5, 4)) +
                       atom("stsc", one + number(1, 4) + number(count, 4) + number(1, 4)) +
                       atom("stsz", number(0, 4) + number(100, 4) + number(count, 4)) +
                       atom("stco", one + number(1000, 4));
    const auto data = atom("dinf", atom("dref", one + atom("url ", number(1, 4))));
    return atom(
        "trak",
        atom("tkhd", number(7, 4) + std::string(8, 0) + number(1, 4) + std::string(4, 0) + number(20 * count, 4) +
                         std::string(16, 0) + matrix + number(64 << 16, 4) + number(48 << 16, 4)) +
            atom("mdia", atom("mdhd", number(0, 4) + times + number(0, 4)) +
                             atom("hdlr", number(0, 4) + "mhlrvide" + std::string(13, 0)) +
                             atom("minf", atom("vmhd", std::string(12, 0)) + data + atom("stbl", table))));
}

}  // namespace halden::testing
