#include "tests/documents/MadeFiles.h"

#include <zlib.h>

namespace quarry::test {
namespace {

void put(std::string& bytes, std::uint64_t number, int width) {
    for (int i = 0; i < width; ++i)
        bytes.push_back(i < 8 ? static_cast<char>(number >> (8 * i)) : '\0');
}

std::string deflatedRaw(const std::string& text) {
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

std::string directoryEntry(const std::string& name, char kind) {
    std::string entry;
    for (const char unit : name)
        put(entry, static_cast<std::uint8_t>(unit), 2);
    entry.resize(64);
    put(entry, 2 * (name.size() + 1), 2);
    entry.push_back(kind);
    entry.resize(128);
    return entry;
}

}  // namespace

std::string compoundFile(const std::vector<std::string>& streams) {
    std::string directory = directoryEntry("Root Entry", 5);
    for (const std::string& name : streams)
        directory += directoryEntry(name, 2);
    directory.resize((directory.size() + 511) / 512 * 512);
    const std::size_t sectors = directory.size() / 512;

    std::string header = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
    header.resize(24);
    put(header, 0x3E, 2);
    put(header, 3, 2);
    put(header, 0xFFFE, 2);
    put(header, 9, 2);
    put(header, 6, 2);
    header.resize(44);
    put(header, 1, 4);  // one sector of the table
    put(header, kDirectorySector, 4);
    header.resize(68);
    put(header, 0xFFFFFFFE, 4);
    put(header, 0, 4);
    put(header, 0, 4);  // where the table is
    while (header.size() < 512)
        header.push_back('\xFF');

    std::string table;
    put(table, 0xFFFFFFFD, 4);
    for (std::size_t i = 1; i <= sectors; ++i)
        put(table, i == sectors ? 0xFFFFFFFE : i + 1, 4);
    while (table.size() < 512)
        table.push_back('\xFF');
    return header + table + directory;
}

std::string zipArchive(const std::vector<std::pair<std::string, std::string>>& members, bool deflated) {
    std::string bytes;
    std::string directory;
    for (const auto& [name, contents] : members) {
        const std::string packed = deflated ? deflatedRaw(contents) : contents;
        std::string common;  // of local header and directory entry: from the version to the extra field's length
        put(common, 20, 2);
        put(common, 0, 2);
        put(common, deflated ? 8 : 0, 2);
        put(common, 0, 4);
        put(common, crc32(0, reinterpret_cast<const Bytef*>(contents.data()), static_cast<uInt>(contents.size())), 4);
        put(common, packed.size(), 4);
        put(common, contents.size(), 4);
        put(common, name.size(), 2);
        put(common, 0, 2);
        directory += "PK\1\2";
        put(directory, 20, 2);
        directory += common;
        put(directory, 0, 2 + 2 + 2 + 4);
        put(directory, bytes.size(), 4);
        directory += name;
        bytes += "PK\3\4" + common + name + packed;
    }
    const std::size_t start = bytes.size();
    bytes += directory + "PK\5\6";
    put(bytes, 0, 4);
    put(bytes, members.size(), 2);
    put(bytes, members.size(), 2);
    put(bytes, directory.size(), 4);
    put(bytes, start, 4);
    put(bytes, 0, 2);
    return bytes;
}

}  // namespace quarry::test
