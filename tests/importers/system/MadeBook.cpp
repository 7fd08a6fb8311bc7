#include "tests/importers/system/MadeBook.h"

#include <algorithm>

namespace quarry::test {
namespace {

constexpr const char* kBefore = "<?xml version=\"1.0\"?><html><head><title>no</title></head><body><div>";
constexpr const char* kAfter = "</div><p>The end</p></body></html>";

std::string exth(const MadeBook::Tags& tags) {
    std::string entries;
    for (const auto& [number, bytes] : tags)
        entries += big(number, 4) + big(bytes.size() + 8, 4) + bytes;
    return "EXTH" + big(entries.size() + 12, 4) + big(tags.size(), 4) + entries;
}

/// A number of seven bits a byte, the last with the upper bit set.
std::string packed(std::size_t value) {
    std::string bytes(1, static_cast<char>(0x80 | (value & 0x7F)));
    while (value >>= 7)
        bytes.insert(bytes.begin(), static_cast<char>(value & 0x7F));
    return bytes;
}

}  // namespace

std::string big(std::size_t value, int length) {
    std::string bytes;
    while (length-- > 0)
        bytes.push_back(static_cast<char>(value >> (8 * length) & 0xFF));
    return bytes;
}

const std::string kFrameKinds("\1\1\3\0\6\2\x0C\0", 8);

std::vector<std::string> madeIndex(const std::string& kinds, const std::vector<std::string>& entries) {
    const auto header = [](std::size_t places, std::size_t count, std::size_t total) {
        std::string bytes = "INDX" + big(192, 4) + big(0, 4) + big(0, 4) + big(0, 4) + big(places, 4) + big(count, 4) +
                            big(65001, 4) + big(MadeBook::kNone, 4) + big(total, 4);
        bytes.resize(192, '\0');
        return bytes;
    };
    const std::string description = "TAGX" + big(12 + kinds.size() + 4, 4) + big(1, 4) + kinds + big(1, 4);
    std::string body, places = "IDXT";
    for (const std::string& entry : entries) {
        places += big(192 + body.size(), 2);
        body += entry;
    }
    return {header(192 + description.size(), 1, entries.size()) + description + "IDXT",
            header(192 + body.size(), entries.size(), 0) + body + places};
}

std::string indexEntry(const std::string& label, char control, const std::vector<std::size_t>& values) {
    std::string bytes = static_cast<char>(label.size()) + label + control;
    for (const std::size_t value : values)
        bytes += packed(value);
    return bytes;
}

std::string database(const std::vector<std::string>& records, const std::string& type) {
    std::string bytes = "Made_book";
    bytes.resize(60, '\0');
    bytes += type + big(0, 8) + big(records.size(), 2);
    std::size_t place = bytes.size() + 8 * records.size();
    for (std::size_t i = 0; i < records.size(); ++i) {
        bytes += big(place, 4) + big(2 * i, 4);
        place += records[i].size();
    }
    for (const std::string& record : records)
        bytes += record;
    return bytes;
}

std::vector<std::string> MadeBook::records() const {
    constexpr std::size_t kHeader = 264, kBefore = 16;
    std::string first = big(compression, 2) + big(0, 2) + big(text.size() * textSize, 4) + big(text.size(), 2) +
                        big(textSize, 2) + big(encryption, 2) + big(0, 2);
    if (type == "BOOKMOBI") {
        const std::string all = tags.empty() ? std::string() : exth(tags);
        first += "MOBI" + big(kHeader, 4) + big(2, 4) + big(encoding, 4) + big(7, 4) + big(version, 4);
        first.resize(kBefore + kHeader, '\xFF');
        const auto set = [&first](std::size_t at, const std::string& bytes) { first.replace(at, bytes.size(), bytes); };
        set(84, big(kBefore + kHeader + all.size(), 4) + big(name.size(), 4) + big(locale, 4) + big(0, 8));
        set(112, big(codes, 4) + big(codeRecords, 4));
        set(128, big(tags.empty() ? 0 : 0x40, 4));
        set(192, big(sections, 4) + big(sections == kNone ? 0 : 2, 4));
        set(240, big(0, 4));  // nothing behind the text of a record
        set(248, big(fragments, 4) + big(frames, 4));
        first += all + name + big(0, 4);
    }
    std::vector<std::string> records{first};
    records.insert(records.end(), text.begin(), text.end());
    records.insert(records.end(), more.begin(), more.end());
    return records;
}

std::string MadeBook::bytes() const {
    return database(records(), type);
}

std::string palmDoc(const std::string& text) {
    std::string packedText;
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const std::size_t before = i >= 4 ? text.substr(0, i).rfind(text.substr(i, 4)) : std::string::npos;
        if (before != std::string::npos && i - before < 2048 && i + 4 <= text.size()) {
            packedText += big(0x8000 | (i - before) << 3 | 1, 2);  // four bytes
            i += 4;
        } else if (byte == ' ' && i + 1 < text.size() && text[i + 1] >= 0x40 && text[i + 1] < 0x7F) {
            packedText.push_back(static_cast<char>(text[i + 1] ^ 0x80));
            i += 2;
        } else {
            if (byte >= 0x80 || (byte > 0 && byte < 9)) packedText.push_back('\1');
            packedText.push_back(text[i++]);
        }
    }
    return packedText;
}

std::size_t lengthOfFrame() {
    return std::string(kBefore).size() + std::string(kAfter).size();
}

MadeBook newerBook() {
    const std::string before = kBefore, after = kAfter;
    const std::string one = "<p>First &amp; one</p>", two = "<p>Second \xC3\xA9</p>", style = "p { color: red }";
    const std::string flow = before + after + one + two;

    MadeBook book;
    book.version = 8;
    book.text = {palmDoc(flow + style)};
    const auto at = [](std::size_t place) {
        const std::string digits = std::to_string(place);
        return std::string(10 - digits.size(), '0') + digits;
    };
    const auto frames = madeIndex(kFrameKinds, {indexEntry("SKEL0", 0x5, {2, 0, lengthOfFrame()})});
    const auto fragments =
        madeIndex(std::string("\2\1\1\0\3\1\2\0\4\1\4\0\6\2\x08\0", 16),
                  {indexEntry(at(before.size()), 0xF, {0, 0, 0, 0, one.size()}),
                   indexEntry(at(before.size() + one.size()), 0xF, {0, 0, 1, one.size(), two.size()})});
    const std::string sections = "FDST" + big(12, 4) + big(2, 4) + big(0, 4) + big(flow.size(), 4) +
                                 big(flow.size(), 4) + big(flow.size() + style.size(), 4);
    book.more = {frames[0], frames[1], fragments[0], fragments[1], sections};
    book.frames = 2;
    book.fragments = 4;
    book.sections = 6;
    return book;
}

MadeBook bookOfWords(const std::string& codes, const std::vector<std::pair<std::string, bool>>& words) {
    std::string huffman = "HUFF" + big(24, 4) + big(24, 4) + big(24 + 1024, 4) + big(0, 8);
    for (int byte = 0; byte < 256; ++byte)
        huffman += big(0xFF88, 4);  // eight bits, no more to come, the greatest such code is 255
    huffman.resize(24 + 2 * (1024 + 256),
                   '\0');  // no longer codes; everything once more for processors of another kind
    std::string places, bodies;
    for (const auto& [bytes, isPlain] : words) {
        places += big(2 * words.size() + bodies.size(), 2);
        bodies += big((isPlain ? 0x8000U : 0U) | bytes.size(), 2) + bytes;
    }
    MadeBook book;
    book.compression = 17480;
    book.text = {codes};
    book.codes = 2;
    book.codeRecords = 2;
    book.more = {huffman, "CDIC" + big(16, 4) + big(words.size(), 4) + big(8, 4) + places + bodies};
    return book;
}

}  // namespace quarry::test
