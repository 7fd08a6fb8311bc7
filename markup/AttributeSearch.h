// The search behind all attribute accessors. The forms differ in a few traits, each told by a struct of its own.
#pragma once

#include "foundation/Characters.h"
#include "foundation/Range.h"
#include "foundation/WideUnits.h"

#include <bit>
#include <cstddef>
#include <string_view>

namespace halden {

/// Attributes of a tag in a buffer.
struct BufferForm {
    static constexpr std::size_t kMinimumExtra = 5;  ///< what a token has to have more units than the name
    static constexpr char16_t kSeparator = u'=';
    static constexpr char16_t kTerminator = u'>';
    static constexpr bool kUnderscoreJoins = true;    ///< "_" before the name makes it part of another
    static constexpr bool kSeparatorsRepeat = true;   ///< "==" is as good as "="
    static constexpr bool kValuesHoldMarkup = false;  ///< quoted values may hold whole tags
};

/// The content attribute of a meta tag in a buffer.
struct MetaContentForm : BufferForm {
    static constexpr bool kValuesHoldMarkup = true;
};

/// Attributes of a tag in a string.
struct StringForm : BufferForm {
    static constexpr bool kUnderscoreJoins = false;
    static constexpr bool kSeparatorsRepeat = false;
};

/// Properties of a style.
struct StyleForm : StringForm {
    static constexpr std::size_t kMinimumExtra = 1;
    static constexpr char16_t kSeparator = u':';
    static constexpr char16_t kTerminator = u';';
};

template <class Form>
class AttributeSearch {
public:
    explicit AttributeSearch(std::u16string_view token) : token_(token) {}

    /// The place of the value in the token; {kNotFound, 0} when there is none or it is empty. `Name` is a string view
    /// of either width.
    template <class Name>
    [[nodiscard]] Range find(Name name) const {
        const std::size_t length = name.size();
        if (length == 0 || length >= token_.size() || token_.size() - length <= Form::kMinimumExtra) return {};
        const auto starts = startsOf(upper(unitOf(name[0])));
        const std::size_t end = token_.size() - length;
        for (std::size_t i = firstOf(starts, 0); i < end; i = firstOf(starts, i + 1)) {
            const char16_t unit = token_[i];
            if (unit == u'"' || unit == u'\'') {
                i = firstOf(either(unit, unit), i + 1);
                if (i == token_.size()) return {};
            } else if (!(i > 0 && joins(token_[i - 1])) && isNamed(i, name)) {
                const std::size_t separator = skipWhite(i + length);
                if (separator < token_.size() && token_[separator] == Form::kSeparator) return value(separator + 1);
            }
        }
        return {};
    }

private:
    static char16_t unitOf(char16_t unit) noexcept { return unit; }
    static char16_t unitOf(char byte) noexcept { return static_cast<unsigned char>(byte); }

    // --- Units to look for, a block at a time --------------------------------------------------------------------

    /// Quotes, and what a name may start with: its letter in either case, and all that is no ASCII, since the upper
    /// case of that may be ASCII.
    static auto startsOf(char16_t first) noexcept {
        const bool isLetter = first >= u'A' && first <= u'Z';
        return [upper = WideUnits::broadcast(first),
                lower = WideUnits::broadcast(isLetter ? static_cast<char16_t>(first + 0x20) : first),
                doubleQuote = WideUnits::broadcast(u'"'),
                singleQuote = WideUnits::broadcast(u'\'')](WideUnits units) noexcept {
            const WideUnits quotes = (units == doubleQuote) | (units == singleQuote);
            return quotes | (units == upper) | (units == lower) | within(units, 0x80, 0xFFFF);
        };
    }

    static auto either(char16_t first, char16_t second) noexcept {
        return [a = WideUnits::broadcast(first), b = WideUnits::broadcast(second)](WideUnits units) noexcept {
            return (units == a) | (units == b);
        };
    }

    /// The first place from `i` on that `in` finds in a block, the token's end when there is none.
    template <class In>
    [[nodiscard]] std::size_t firstOf(In in, std::size_t i) const noexcept {
        constexpr std::size_t kCount = WideUnits::kCount;
        const char16_t* start = token_.data();
        const std::size_t size = token_.size();
        for (; size - i >= kCount; i += kCount) {
            const std::uint32_t bits = in(WideUnits::load(start + i)).bits();
            if (bits != 0) return i + static_cast<std::size_t>(std::countr_zero(bits));
        }
        if (i == size) return size;
        // The rest as the end of a block: of the token where that is long enough, else of a copy.
        char16_t copy[kCount] = {};
        const char16_t* last = start + size - kCount;
        if (size < kCount) {
            token_.copy(copy + kCount - size, size);
            last = copy;
        }
        const std::uint64_t bits = std::uint64_t{in(WideUnits::load(last)).bits()} >> (kCount - (size - i));
        return bits != 0 ? i + static_cast<std::size_t>(std::countr_zero(bits)) : size;
    }

    // --- Names -------------------------------------------------------------------------------------------------------

    [[nodiscard]] char16_t upper(char16_t unit) const noexcept {
        if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
        return upper_[unit];
    }

    [[nodiscard]] bool joins(char16_t before) const noexcept {
        return alphanumeric_.contains(before) || before == u'-' || (Form::kUnderscoreJoins && before == u'_');
    }

    template <class Name>
    [[nodiscard]] bool isNamed(std::size_t i, Name name) const noexcept {
        for (std::size_t k = 0; k < name.size(); ++k) {
            if (upper(token_[i + k]) != upper(unitOf(name[k]))) return false;
        }
        return true;
    }

    [[nodiscard]] std::size_t skipWhite(std::size_t i) const noexcept {
        while (i < token_.size() && white_.contains(token_[i]))
            ++i;
        return i;
    }

    // --- Values ------------------------------------------------------------------------------------------------------

    /// The value behind the separator before `i`.
    [[nodiscard]] Range value(std::size_t i) const noexcept {
        if constexpr (Form::kSeparatorsRepeat) {
            while (i < token_.size() && token_[i] == Form::kSeparator)
                ++i;
        }
        i = skipWhite(i);
        if (i == token_.size()) return {};
        const char16_t quote = token_[i];
        if (quote != u'"' && quote != u'\'') return trimmed(i, plainEnd(i));
        ++i;
        if constexpr (Form::kValuesHoldMarkup) return trimmed(i, markupEnd(i, quote));
        return trimmed(i, quotedEnd(i, quote));
    }

    [[nodiscard]] std::size_t plainEnd(std::size_t i) const noexcept {
        while (i < token_.size() && token_[i] != Form::kTerminator && !white_.contains(token_[i]))
            ++i;
        return i;
    }

    [[nodiscard]] std::size_t quotedEnd(std::size_t i, char16_t quote) const noexcept {
        return firstOf(either(quote, Form::kTerminator), i);
    }

    /// The end of a quoted value that starts at `start` and may hold tags.
    [[nodiscard]] std::size_t markupEnd(std::size_t start, char16_t quote) const noexcept {
        std::size_t depth = 0;
        for (std::size_t i = start; i < token_.size(); ++i) {
            const char16_t unit = token_[i];
            if (unit == quote) {
                const std::u16string_view text = token_.substr(start, i - start);
                if (depth != 1) return i;
                return i - (text.ends_with(u"</") ? 2 : text.ends_with(u'<') ? 1 : 0);
            }
            if (unit == u'<') {
                if (token_.size() - i > 4 && isNamed(i, std::u16string_view(u"<META"))) return i;
                ++depth;
            } else if (unit == Form::kTerminator) {
                if (depth == 0) return i;
                --depth;
            }
        }
        return token_.size();
    }

    [[nodiscard]] Range trimmed(std::size_t start, std::size_t end) const noexcept {
        while (end > start && white_.contains(token_[end - 1]))
            --end;
        return end > start ? Range{start, end - start} : Range{};
    }

    std::u16string_view token_;
    const CharacterBitmap& white_ = whiteCharacterSetRep();
    const CharacterBitmap& alphanumeric_ = alphaNumCharacterSetRep();
    const ConversionTable& upper_ = initUpperCharsTable();
};

}  // namespace halden
