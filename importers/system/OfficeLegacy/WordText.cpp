// Text of Word's binary format: the file's header names a table of pieces, which say where the text stands.
#include "importers/system/OfficeLegacy/BinaryBytes.h"
#include "importers/system/OfficeLegacy/BinaryText.h"

#include <algorithm>
#include <utility>

namespace quarry::legacy {
namespace {

constexpr std::uint32_t kSignature = 0xA5EC;
constexpr std::uint32_t kFirstWithPieces = 0xC1;  ///< the version of 1997
constexpr std::uint32_t kEncrypted = 0x0100;
constexpr std::uint32_t kTable1 = 0x0200;

/// The table of pieces among the properties before it; empty without.
std::string_view piecesOf(std::string_view table) {
    std::size_t i = 0;
    while (byteAt(table, i) == 1)  // properties that pieces refer to
        i += 3 + shortAt(table, i + 1);
    return byteAt(table, i) == 2 ? part(table, i + 5, longAt(table, i + 1)) : std::string_view();
}

std::string textOfPieces(std::string_view document, std::string_view pieces) {
    constexpr std::size_t kPiece = 12;  // a position, and eight bytes of description
    constexpr std::uint32_t kCompressed = 0x40000000;
    std::string text;
    const std::size_t count = pieces.size() < 4 ? 0 : (pieces.size() - 4) / kPiece;
    for (std::size_t i = 0; i < count && text.size() < kMaxText; ++i) {
        const std::size_t begin = longAt(pieces, i * 4);
        const std::size_t end = longAt(pieces, i * 4 + 4);
        if (end <= begin) continue;
        const std::size_t length = std::min(end - begin, kMaxText);
        const std::uint32_t place = longAt(pieces, (count + 1) * 4 + i * 8 + 2);
        if ((place & kCompressed) != 0)
            appendBytes(text, part(document, (place & ~kCompressed) / 2, length));
        else
            appendUnits(text, part(document, place, length * 2));
    }
    return text;
}

/// What the characters with a meaning of their own stand for: ends of cells and lines, and fields, of which the
/// instruction is left out.
std::string withoutMarks(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    std::size_t depth = 0;   // fields inside one another
    std::size_t hidden = 0;  // the outermost one whose instruction this is
    bool isAfterCell = false;
    for (const char letter : text) {
        const bool wasAfterCell = std::exchange(isAfterCell, false);
        if (letter == 0x13) {
            ++depth;
            if (hidden == 0) hidden = depth;
        } else if (letter == 0x14) {
            if (hidden == depth) hidden = 0;
        } else if (letter == 0x15) {
            if (hidden == depth) hidden = 0;
            if (depth > 0) --depth;
        } else if (hidden != 0) {
            continue;
        } else if (letter == 0x07) {
            plain.push_back(wasAfterCell ? '\n' : '\t');
            isAfterCell = !wasAfterCell;
        } else if (letter == 0x1E) {
            plain.push_back('-');  // one at which no line ends
        } else {
            plain.push_back(letter);
        }
    }
    return plain;
}

}  // namespace

BinaryText textOfWord(const WordStreams& streams) {
    BinaryText result;
    const std::string_view document = streams.document;
    if (shortAt(document, 0) != kSignature && shortAt(document, 0) != 0xA5DC) return result;
    const std::uint32_t flags = shortAt(document, 0x0A);
    result.isEncrypted = (flags & kEncrypted) != 0;
    if (result.isEncrypted) return result;
    if (shortAt(document, 2) < kFirstWithPieces) {
        const std::size_t begin = longAt(document, 0x18);
        const std::size_t end = longAt(document, 0x1C);
        std::string text;
        if (end > begin) appendBytes(text, part(document, begin, std::min(end - begin, kMaxText)));
        result.text = withoutMarks(text);
        return result;
    }
    const std::string_view table = (flags & kTable1) != 0 ? streams.table1 : streams.table0;
    const std::string_view pieces = piecesOf(part(table, longAt(document, 0x1A2), longAt(document, 0x1A6)));
    result.text = withoutMarks(textOfPieces(document, pieces));
    return result;
}

}  // namespace quarry::legacy
