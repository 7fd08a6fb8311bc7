#include "foundation/Characters.h"
#include "markup/Entities.h"
#include "markup/EntityTable.h"
#include "markup/UnitSearch.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace halden {
namespace {

/// Units after the "&", with the one that ends the reference.
constexpr std::size_t kLongestReference = 7;
/// Strings shorter than this hold no reference.
constexpr std::size_t kShortestString = 4;

struct Ampersand {
    static bool contains(char16_t unit) { return unit == u'&'; }
    static WideUnits members(WideUnits units) { return units == WideUnits::broadcast(u'&'); }
};

/// A character that a reference stands for, and the length of the reference with its "&".
struct Decoded {
    char16_t character;
    std::size_t length;
};

/// A form that counts without its ";", whatever follows.
std::optional<Decoded> decodeFixed(std::u16string_view rest, std::u16string_view form, char16_t character) {
    if (!rest.starts_with(form)) return std::nullopt;
    const std::size_t length = form.size();
    return Decoded{character, length + (length < rest.size() && rest[length] == u';' ? 1 : 0)};
}

std::optional<Decoded> decodeFixedForms(std::u16string_view rest, bool decodesSpecials) {
    const bool isLong = rest.size() > 4;  // below, forms of four letters are not looked for
    switch (rest[1]) {
        case u'a':
            if (const auto decoded = isLong ? decodeFixed(rest, u"&apos", u'\'') : std::nullopt) return decoded;
            return decodesSpecials ? decodeFixed(rest, u"&amp", u'&') : std::nullopt;
        case u'g':
            return decodesSpecials ? decodeFixed(rest, u"&gt", u'>') : std::nullopt;
        case u'l':
            return decodesSpecials ? decodeFixed(rest, u"&lt", u'<') : std::nullopt;
        case u'n':
            return isLong ? decodeFixed(rest, u"&nbsp", u'\u00A0') : std::nullopt;
        case u'q':
            return isLong && decodesSpecials ? decodeFixed(rest, u"&quot", u'"') : std::nullopt;
        default:
            return std::nullopt;
    }
}

/// The length of a reference of `bodyEnd` units, "&" included, when it is not too long.
std::optional<std::size_t> lengthOfReference(std::u16string_view rest, std::size_t bodyEnd) {
    const bool isCut = bodyEnd == rest.size();  // the last unit counts as the one that ends it
    const std::size_t counted = isCut ? bodyEnd - 1 : bodyEnd;
    if (counted > kLongestReference) return std::nullopt;
    return isCut || rest[bodyEnd] != u';' ? bodyEnd : bodyEnd + 1;
}

std::optional<unsigned> digitValue(char16_t unit, unsigned base) {
    unsigned value = base;
    if (unit >= u'0' && unit <= u'9') value = unit - u'0';
    if (unit >= u'a' && unit <= u'f') value = unit - u'a' + 10U;
    if (unit >= u'A' && unit <= u'F') value = unit - u'A' + 10U;
    if (value >= base) return std::nullopt;
    return value;
}

std::optional<Decoded> decodeNumber(std::u16string_view rest) {
    const bool isHexadecimal = rest.size() > 2 && (rest[2] == u'x' || rest[2] == u'X');
    const unsigned base = isHexadecimal ? 16 : 10;
    const std::size_t start = isHexadecimal ? 3 : 2;
    std::size_t at = start;
    unsigned value = 0;
    for (; at < rest.size() && at <= kLongestReference + 1; ++at) {
        const auto digit = digitValue(rest[at], base);
        if (!digit) break;
        value = (value * base + *digit) & 0xFFFF;
    }
    if (at == start) return std::nullopt;
    const auto length = lengthOfReference(rest, at);
    if (!length) return std::nullopt;
    return Decoded{static_cast<char16_t>(value), *length};
}

std::optional<Decoded> decodeName(std::u16string_view rest) {
    const CharacterBitmap& alphaNum = alphaNumCharacterSetRep();
    std::size_t at = 1;
    while (at < rest.size() && at <= kLongestReference + 1 && alphaNum.contains(rest[at]))
        ++at;
    if (at <= 2) return std::nullopt;
    const auto length = lengthOfReference(rest, at);
    if (!length) return std::nullopt;
    const auto character = characterOfEntity(rest.substr(1, at - 1));
    if (!character) return std::nullopt;
    return Decoded{*character, *length};
}

bool isSpecial(char16_t character) {
    return character == u'"' || character == u'&' || character == u'<' || character == u'>';
}

/// The reference that `rest` begins with. `rest` is at least two units long, and its first is "&".
std::optional<Decoded> decodeReference(std::u16string_view rest, const EntityDecoding& decoding) {
    if (const auto decoded = decodeFixedForms(rest, decoding.decodesSpecials)) return decoded;
    if (rest[1] != u'#') return decoding.onlyNumeric ? std::nullopt : decodeName(rest);
    const auto decoded = decodeNumber(rest);
    if (decoded && isSpecial(decoded->character) && !decoding.decodesSpecials) return std::nullopt;
    return decoded;
}

std::optional<Decoded> decodeStandardReference(std::u16string_view rest) {
    if (rest.size() >= 6 && rest[5] == u';') {
        if (rest.starts_with(u"&quot;")) return Decoded{u'"', 6};
        return std::nullopt;
    }
    if (rest.starts_with(u"&amp;")) return Decoded{u'&', 5};
    if (rest.starts_with(u"&gt;")) return Decoded{u'>', 4};
    if (rest.starts_with(u"&lt;")) return Decoded{u'<', 4};
    return std::nullopt;
}

/// Writes units as they are. Stretches may overlap what they are written over, when that lies before them.
struct PlainWriter {
    static char16_t converted(char16_t unit) { return unit; }
    static char16_t* copy(const char16_t* begin, const char16_t* end, char16_t* out) {
        const auto count = static_cast<std::size_t>(end - begin);
        if (begin != out) std::char_traits<char16_t>::move(out, begin, count);
        return out + count;
    }
};

/// Writes units without their diacritics.
class FoldingWriter {
public:
    [[nodiscard]] char16_t converted(char16_t unit) const { return plain_[unit]; }
    char16_t* copy(const char16_t* begin, const char16_t* end, char16_t* out) const {
        return std::transform(begin, end, out, [&](char16_t unit) { return plain_[unit]; });
    }

private:
    const ConversionTable& plain_ = initUmlautsCharsTable();
};

/// Writes what stands between references, and the characters of these.
template <class Decode, class Writer>
std::size_t convert(const char16_t* at, std::size_t length, char16_t* destination, Decode decode,
                    const Writer& writer) {
    const char16_t* const end = at + length;
    char16_t* out = destination;
    const char16_t* written = at;  // everything before is
    for (at = nextMember<Ampersand>(at, end); end - at > 1; at = nextMember<Ampersand>(at, end)) {
        const auto decoded = decode(std::u16string_view(at, static_cast<std::size_t>(end - at)));
        if (!decoded) {
            ++at;
            continue;
        }
        out = writer.copy(written, at, out);
        *out++ = writer.converted(decoded->character);
        at += decoded->length;
        written = at;
    }
    return static_cast<std::size_t>(writer.copy(written, end, out) - destination);
}

}  // namespace

std::size_t convertEntities2Characters(const char16_t* source, char16_t* destination, std::size_t location,
                                       std::size_t length, EntityDecoding decoding) {
    const auto decode = [&](std::u16string_view rest) { return decodeReference(rest, decoding); };
    if (decoding.nonUmlauted) return convert(source + location, length, destination, decode, FoldingWriter());
    return convert(source + location, length, destination, decode, PlainWriter());
}

std::size_t convertStdEntities2Characters(const char16_t* source, char16_t* destination, std::size_t location,
                                          std::size_t length) {
    return convert(source + location, length, destination, decodeStandardReference, PlainWriter());
}

std::u16string stringByConvertingEntitiesToCharacters(std::u16string string, EntityDecoding decoding) {
    if (string.size() < kShortestString) return string;
    if (!decoding.nonUmlauted) {
        string.resize(convertEntities2Characters(string.data(), string.data(), 0, string.size(), decoding));
        return string;
    }
    // What is decoded only to be dropped again must not reach the string itself.
    const char16_t* const end = string.data() + string.size();
    if (nextMember<Ampersand>(string.data(), end) == end) return string;
    std::u16string decoded(string.size(), u'\0');
    decoded.resize(convertEntities2Characters(string.data(), decoded.data(), 0, string.size(), decoding));
    if (decoded.size() == string.size()) return string;
    return decoded;
}

std::u16string stringByConvertingEntitiesToCharacters(std::u16string string) {
    return stringByConvertingEntitiesToCharacters(std::move(string), {.decodesSpecials = true});
}

std::u16string stringByConvertingEntitiesToCharactersNonUmlauted(std::u16string string, Umlauts umlauts) {
    return stringByConvertingEntitiesToCharacters(std::move(string),
                                                  {.decodesSpecials = true, .nonUmlauted = umlauts == Umlauts::drop});
}

std::u16string stringByConvertingStandardEntitiesToCharacters(std::u16string string) {
    if (string.size() < kShortestString) return string;
    string.resize(convertStdEntities2Characters(string.data(), string.data(), 0, string.size()));
    return string;
}

}  // namespace halden
