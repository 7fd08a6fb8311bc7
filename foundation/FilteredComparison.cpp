#include "foundation/FilteredComparison.h"

#include <optional>

namespace halden {
namespace {

/// The units of a string that count, in upper case, one after the other.
class FilteredUnits {
public:
    FilteredUnits(std::u16string_view string, const CharacterBitmap& set) : rest_(string), set_(set) {}

    [[nodiscard]] std::optional<char16_t> next() {
        while (!rest_.empty()) {
            const char16_t unit = rest_.front();
            rest_.remove_prefix(1);
            if (set_.contains(unit)) return upper_[unit];
        }
        return std::nullopt;
    }

private:
    std::u16string_view rest_;
    const CharacterBitmap& set_;
    const ConversionTable& upper_ = initUpperCharsTable();
};

}  // namespace

bool equalStringsNoCaseUsingCharacterSetRep(std::u16string_view a, std::u16string_view b, const CharacterBitmap& set) {
    FilteredUnits first(a, set);
    FilteredUnits second(b, set);
    for (;;) {
        const std::optional<char16_t> unit = first.next();
        if (unit != second.next()) return false;
        if (!unit) return true;
    }
}

bool hasPrefixNoCaseUsingCharacterSetRep(std::u16string_view string, std::u16string_view prefix,
                                         const CharacterBitmap& set) {
    FilteredUnits units(string, set);
    FilteredUnits wanted(prefix, set);
    while (const std::optional<char16_t> unit = wanted.next()) {
        if (units.next() != unit) return false;
    }
    return true;
}

std::size_t numberOfWordsOfCharacters(std::u16string_view characters) {
    const CharacterBitmap& alphaNum = alphaNumCharacterSetRep();
    std::size_t words = 0;
    bool inWord = false;
    for (const char16_t unit : characters) {
        const bool isLetter = alphaNum.contains(unit);
        words += isLetter && !inWord ? 1 : 0;
        inWord = isLetter;
    }
    return words;
}

}  // namespace halden
