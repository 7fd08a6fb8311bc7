#include "importers/system/Text/PlainText.h"

#include "importers/system/Text/GuessedEncoding.h"

#include <utility>

namespace quarry::text {
namespace {

/// Takes characters one after the other and keeps those of clean text.
class CleanText {
public:
    explicit CleanText(std::size_t expectedLength) { text_.reserve(expectedLength); }

    void append(char32_t character) {
        const bool isAfterReturn = std::exchange(afterReturn_, character == U'\r');
        if (character == U'\n' && isAfterReturn) return;
        if (character == U'\r' || character == U'\f' || character == U'\v' || character == 0x85) character = U'\n';
        const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
        if (isControl && character != U'\n' && character != U'\t') return;
        appendUtf8(character);
    }
    [[nodiscard]] std::string take() { return std::move(text_); }

private:
    void appendUtf8(char32_t character) {
        const auto put = [this](char32_t byte) { text_.push_back(static_cast<char>(byte)); };
        if (character < 0x80) {
            put(character);
        } else if (character < 0x800) {
            put(0xC0 | character >> 6);
            put(0x80 | (character & 0x3F));
        } else if (character < 0x10000) {
            put(0xE0 | character >> 12);
            put(0x80 | (character >> 6 & 0x3F));
            put(0x80 | (character & 0x3F));
        } else {
            put(0xF0 | character >> 18);
            put(0x80 | (character >> 12 & 0x3F));
            put(0x80 | (character >> 6 & 0x3F));
            put(0x80 | (character & 0x3F));
        }
    }

    std::string text_;
    bool afterReturn_ = false;
};

unsigned byteAt(std::string_view bytes, std::size_t i) {
    return static_cast<unsigned char>(bytes[i]);
}

/// The character at `i`, which is moved behind it; nullopt when the bytes there are ill-formed. `isCut` tells that a
/// well-formed beginning reaches the end.
std::optional<char32_t> nextUtf8(std::string_view bytes, std::size_t& i, bool& isCut) {
    constexpr char32_t kFirstOfLength[] = {0, 0, 0x80, 0x800, 0x10000};
    const unsigned lead = byteAt(bytes, i);
    if (lead < 0x80) {
        ++i;
        return lead;
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4) return std::nullopt;
    char32_t character = lead & (0x7FU >> length);
    for (std::size_t k = 1; k < length; ++k) {
        if (i + k == bytes.size()) {
            isCut = true;
            return std::nullopt;
        }
        const unsigned next = byteAt(bytes, i + k);
        if ((next & 0xC0) != 0x80) return std::nullopt;
        character = character << 6 | (next & 0x3F);
    }
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    if (character < kFirstOfLength[length] || character > 0x10FFFF || isSurrogate) return std::nullopt;
    i += length;
    return character;
}

std::optional<std::string> fromUtf8(std::string_view bytes, Extent extent) {
    CleanText text(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        bool isCut = false;
        const auto character = nextUtf8(bytes, i, isCut);
        if (isCut && extent == Extent::beginning) break;
        if (!character) return std::nullopt;
        text.append(*character);
    }
    return text.take();
}

std::string fromLatin1(std::string_view bytes) {
    CleanText text(bytes.size() + bytes.size() / 8);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        text.append(byteAt(bytes, i));
    return text.take();
}

enum class ByteOrder { littleEndian, bigEndian };

struct Utf16Text {
    std::string text;
    std::size_t oddities = 0;  ///< lone surrogates, noncharacters and controls that text does not have
    std::size_t familiar = 0;  ///< ASCII letters, spaces and line ends: what every text has some of
};

Utf16Text fromUtf16(std::string_view bytes, ByteOrder order) {
    const auto unitAt = [&](std::size_t i) -> char32_t {
        const unsigned first = byteAt(bytes, i);
        const unsigned second = byteAt(bytes, i + 1);
        return order == ByteOrder::littleEndian ? second << 8 | first : first << 8 | second;
    };
    Utf16Text result;
    CleanText text(bytes.size());
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        char32_t character = unitAt(i);
        if (character >= 0xD800 && character < 0xE000) {
            const char32_t low = character < 0xDC00 && i + 3 < bytes.size() ? unitAt(i + 2) : 0;
            if (low < 0xDC00 || low >= 0xE000) {
                ++result.oddities;
                continue;
            }
            character = 0x10000 + ((character & 0x3FF) << 10) + (low & 0x3FF);
            i += 2;
        }
        const bool isWhite = character == U' ' || (character >= U'\t' && character <= U'\r');
        const bool isLetter = (character | 0x20) >= U'a' && (character | 0x20) <= U'z';
        if ((character < 0x20 && !isWhite) || (character & 0xFFFE) == 0xFFFE) ++result.oddities;
        if (isWhite || isLetter) ++result.familiar;
        text.append(character);
    }
    result.text = text.take();
    return result;
}

std::optional<std::string> fromUnmarkedUtf16(std::string_view bytes) {
    if (bytes.size() % 2 != 0) return std::nullopt;
    Utf16Text little = fromUtf16(bytes, ByteOrder::littleEndian);
    Utf16Text big = fromUtf16(bytes, ByteOrder::bigEndian);
    const bool isLittle = little.oddities == 0 && little.familiar > 0;
    const bool isBig = big.oddities == 0 && big.familiar > 0;
    if (isLittle && (!isBig || little.familiar >= big.familiar)) return std::move(little.text);
    if (isBig) return std::move(big.text);
    return std::nullopt;
}

}  // namespace

std::optional<std::string> cleanTextOfBytes(std::string_view bytes, Extent extent) {
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        bytes.remove_prefix(3);
    } else if (bytes.starts_with("\xFF\xFE")) {
        return fromUtf16(bytes.substr(2), ByteOrder::littleEndian).text;
    } else if (bytes.starts_with("\xFE\xFF")) {
        return fromUtf16(bytes.substr(2), ByteOrder::bigEndian).text;
    }
    if (bytes.find('\0') != std::string_view::npos) return fromUnmarkedUtf16(bytes);
    if (auto text = fromUtf8(bytes, extent)) return text;
    const auto guessed = fromGuessedEncoding(bytes, extent == Extent::beginning);
    return guessed ? fromUtf8(*guessed, Extent::whole) : fromLatin1(bytes);
}

}  // namespace quarry::text
