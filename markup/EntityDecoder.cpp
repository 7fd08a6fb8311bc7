#include "foundation/Characters.h"
#include "foundation/WideUnits.h"
#include "markup/Entities.h"
#include "markup/EntityTable.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <utility>

namespace halden {
namespace {

/// Units after the "&", with the one that ends the reference.
constexpr std::size_t kLongestReference = 7;
/// Strings shorter than this hold no reference.
constexpr std::size_t kShortestString = 4;

const char16_t* nextAmpersand(const char16_t* at, const char16_t* end) {
    const WideUnits ampersand = WideUnits::broadcast(u'&');
    while (static_cast<std::size_t>(end - at) >= WideUnits::kCount) {
        const std::uint32_t bits = (WideUnits::load(at) == ampersand).bits();
        if (bits != 0) return at + std::countr_zero(bits);
        at += WideUnits::kCount;
    }
    return std::find(at, end, u'&');
}

/// A character that a reference stands for, and the length of the reference with its "&".
struct Decoded {
    char16_t character;
    std::size_t length;
};

struct FixedForm {
    std::u16string_view name;
    char16_t character;
    bool isSpecial;
};

/// A form that counts without its ";", whatever follows.
std::optional<Decoded> decodeFixed(std::u16string_view rest, const FixedForm& form) {
    if (!rest.substr(1).starts_with(form.name)) return std::nullopt;
    const std::size_t length = 1 + form.name.size();
    return Decoded{form.character, length + (length < rest.size() && rest[length] == u';' ? 1 : 0)};
}

std::optional<Decoded> decodeFixedForms(std::u16string_view rest, bool decodesSpecials) {
    static constexpr FixedForm kLong[] = {{u"apos", u'\'', false}, {u"nbsp", u'\u00A0', false}, {u"quot", u'"', true}};
    static constexpr FixedForm kShort[] = {{u"amp", u'&', true}, {u"gt", u'>', true}, {u"lt", u'<', true}};
    constexpr std::size_t kLongForm = 4;
    const auto tryForms = [&](const auto& forms) -> std::optional<Decoded> {
        for (const FixedForm& form : forms) {
            if (form.isSpecial && !decodesSpecials) continue;
            if (const auto decoded = decodeFixed(rest, form)) return decoded;
        }
        return std::nullopt;
    };
    if (rest.size() > kLongForm) {
        if (const auto decoded = tryForms(kLong)) return decoded;
    }
    return tryForms(kShort);
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

/// Copies what stands between references, and replaces these. `write` copies a stretch of units, which may overlap.
template <class Decode, class Write>
std::size_t convert(const char16_t* at, std::size_t length, char16_t* destination, Decode decode, Write write) {
    const char16_t* const end = at + length;
    char16_t* out = destination;
    const char16_t* copied = at;  // everything before is written
    for (at = nextAmpersand(at, end); end - at > 1; at = nextAmpersand(at, end)) {
        const auto decoded = decode(std::u16string_view(at, static_cast<std::size_t>(end - at)));
        if (!decoded) {
            ++at;
            continue;
        }
        out = write(copied, at, out);
        const char16_t character = decoded->character;
        out = write(&character, &character + 1, out);
        at += decoded->length;
        copied = at;
    }
    return static_cast<std::size_t>(write(copied, end, out) - destination);
}

char16_t* copyUnits(const char16_t* begin, const char16_t* end, char16_t* out) {
    const auto count = static_cast<std::size_t>(end - begin);
    if (begin != out) std::char_traits<char16_t>::move(out, begin, count);
    return out + count;
}

char16_t* copyWithoutUmlauts(const char16_t* begin, const char16_t* end, char16_t* out) {
    const ConversionTable& plain = initUmlautsCharsTable();
    return std::transform(begin, end, out, [&](char16_t unit) { return plain[unit]; });
}

}  // namespace

std::size_t convertEntities2Characters(const char16_t* source, char16_t* destination, std::size_t location,
                                       std::size_t length, EntityDecoding decoding) {
    const auto decode = [&](std::u16string_view rest) { return decodeReference(rest, decoding); };
    return convert(source + location, length, destination, decode,
                   decoding.nonUmlauted ? copyWithoutUmlauts : copyUnits);
}

std::size_t convertStdEntities2Characters(const char16_t* source, char16_t* destination, std::size_t location,
                                          std::size_t length) {
    return convert(source + location, length, destination, decodeStandardReference, copyUnits);
}

std::u16string stringByConvertingEntitiesToCharacters(std::u16string string, EntityDecoding decoding) {
    if (string.size() < kShortestString || string.find(u'&') == std::u16string::npos) return string;
    if (!decoding.nonUmlauted) {
        string.resize(convertEntities2Characters(string.data(), string.data(), 0, string.size(), decoding));
        return string;
    }
    std::u16string decoded(string.size(), u'\0');
    decoded.resize(convertEntities2Characters(string.data(), decoded.data(), 0, string.size(), decoding));
    return decoded.size() == string.size() ? string : decoded;
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
