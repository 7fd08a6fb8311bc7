#include "richtext/RtfFields.h"

namespace halden {
namespace {

constexpr bool isSpace(char16_t unit) noexcept {
    return unit == u' ' || unit == u'\t' || unit == u'\n' || unit == 0xA0;
}

/// The words of an instruction one after the other. A word in quotation marks may hold spaces; in it a backslash takes
/// the next unit as it is. A switch is a word that begins with a backslash outside quotation marks.
class Words {
public:
    struct Word {
        std::u16string text;
        bool isSwitch = false;
    };

    explicit Words(std::u16string_view instruction) noexcept : rest_(instruction) {}

    std::optional<Word> next() {
        while (!rest_.empty() && isSpace(rest_.front()))
            rest_.remove_prefix(1);
        if (rest_.empty()) return std::nullopt;
        if (isQuote(rest_.front())) return quoted();
        Word word;
        word.isSwitch = rest_.front() == u'\\';
        while (!rest_.empty() && !isSpace(rest_.front()) && !isQuote(rest_.front())) {
            word.text += rest_.front();
            rest_.remove_prefix(1);
        }
        return word;
    }

private:
    static bool isQuote(char16_t unit) noexcept { return unit == u'"' || unit == 0x201C || unit == 0x201D; }

    Word quoted() {
        Word word;
        rest_.remove_prefix(1);
        while (!rest_.empty() && !isQuote(rest_.front())) {
            if (rest_.front() == u'\\' && rest_.size() > 1) rest_.remove_prefix(1);
            word.text += rest_.front();
            rest_.remove_prefix(1);
        }
        if (!rest_.empty()) rest_.remove_prefix(1);
        return word;
    }

    std::u16string_view rest_;
};

/// Whether `word` is `keyword` (capital ASCII letters) in any case.
bool isKeyword(std::u16string_view word, std::u16string_view keyword) noexcept {
    if (word.size() != keyword.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i) {
        const char16_t unit = word[i] >= u'a' && word[i] <= u'z' ? static_cast<char16_t>(word[i] - 0x20) : word[i];
        if (unit != keyword[i]) return false;
    }
    return true;
}

/// A decimal number, or a hexadecimal one after 0x, of a character; nullopt for anything else.
std::optional<char32_t> numberOf(std::u16string_view text) noexcept {
    const bool hexadecimal = text.starts_with(u"0x") || text.starts_with(u"0X");
    if (hexadecimal) text.remove_prefix(2);
    if (text.empty()) return std::nullopt;
    char32_t number = 0;
    for (const char16_t unit : text) {
        const char16_t lower = static_cast<char16_t>(unit | 0x20);
        char32_t digit = 0;
        if (unit >= u'0' && unit <= u'9') {
            digit = static_cast<char32_t>(unit - u'0');
        } else if (hexadecimal && lower >= u'a' && lower <= u'f') {
            digit = static_cast<char32_t>(lower - u'a' + 10);
        } else {
            return std::nullopt;
        }
        number = number * (hexadecimal ? 16 : 10) + digit;
        if (number > 0x10FFFF) return std::nullopt;
    }
    return number;
}

}  // namespace

std::optional<std::u16string> linkOfFieldInstruction(std::u16string_view instruction) {
    Words words(instruction);
    const auto keyword = words.next();
    if (!keyword || !isKeyword(keyword->text, u"HYPERLINK")) return std::nullopt;
    std::u16string address;
    std::u16string place;
    while (auto word = words.next()) {
        if (!word->isSwitch) {
            if (address.empty()) address = std::move(word->text);
            continue;
        }
        // \l, \o and \t are followed by a word of their own; \m and \n by none.
        if (isKeyword(word->text, u"\\L")) {
            if (auto value = words.next()) place = std::move(value->text);
        } else if (isKeyword(word->text, u"\\O") || isKeyword(word->text, u"\\T")) {
            (void)words.next();
        }
    }
    if (!place.empty()) address += u'#' + place;
    if (address.empty()) return std::nullopt;
    return address;
}

std::optional<RtfSymbolField> symbolOfFieldInstruction(std::u16string_view instruction) {
    Words words(instruction);
    const auto keyword = words.next();
    if (!keyword || !isKeyword(keyword->text, u"SYMBOL")) return std::nullopt;
    const auto number = words.next();
    if (!number) return std::nullopt;
    const auto value = numberOf(number->text);
    if (!value) return std::nullopt;
    RtfSymbolField field{.number = *value, .font = {}, .isUnicode = false};
    while (auto word = words.next()) {
        if (isKeyword(word->text, u"\\F")) {
            if (auto font = words.next()) field.font = std::move(font->text);
        } else if (isKeyword(word->text, u"\\U")) {
            field.isUnicode = true;
        }
    }
    return field;
}

}  // namespace halden
