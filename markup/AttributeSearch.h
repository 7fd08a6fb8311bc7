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
        const std::size_t last = token_.size() - 1 - length;
        const char16_t first = upper(unitOf(name[0]));
        for (std::size_t i = 0; i <= last; ++i) {
            const char16_t unit = token_[i];
            if (unit == u'"' || unit == u'\'') {
                i = place(unit, i + 1);
                continue;
            }
            if (upper(unit) != first || (i > 0 && joins(token_[i - 1])) || !isNamed(i, name)) continue;
            const std::size_t separator = skipWhite(i + length);
            if (separator < token_.size() && token_[separator] == Form::kSeparator) return value(separator + 1);
        }
        return {};
    }

private:
    static char16_t unitOf(char16_t unit) noexcept { return unit; }
    static char16_t unitOf(char byte) noexcept { return static_cast<unsigned char>(byte); }

    /// The first place of `wanted` from `i` on, the token's end when there is none.
    [[nodiscard]] std::size_t place(char16_t wanted, std::size_t i) const noexcept {
        const WideUnits all = WideUnits::broadcast(wanted);
        for (; token_.size() - i >= WideUnits::kCount; i += WideUnits::kCount) {
            const std::uint32_t bits = (WideUnits::load(token_.data() + i) == all).bits();
            if (bits != 0) return i + static_cast<std::size_t>(std::countr_zero(bits));
        }
        while (i < token_.size() && token_[i] != wanted)
            ++i;
        return i;
    }

    [[nodiscard]] char16_t upper(char16_t unit) const noexcept {
        if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
        return upper_[unit];
    }

    [[nodiscard]] bool joins(char16_t before) const noexcept {
        return alphanumeric_.contains(before) || before == u'-' || (Form::kUnderscoreJoins && before == u'_');
    }

    template <class Name>
    [[nodiscard]] bool isNamed(std::size_t i, Name name) const noexcept {
        for (std::size_t k = 1; k < name.size(); ++k) {
            if (upper(token_[i + k]) != upper(unitOf(name[k]))) return false;
        }
        return true;
    }

    [[nodiscard]] std::size_t skipWhite(std::size_t i) const noexcept {
        while (i < token_.size() && white_.contains(token_[i]))
            ++i;
        return i;
    }

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
        const WideUnits allQuotes = WideUnits::broadcast(quote);
        const WideUnits allTerminators = WideUnits::broadcast(Form::kTerminator);
        for (; token_.size() - i >= WideUnits::kCount; i += WideUnits::kCount) {
            const WideUnits units = WideUnits::load(token_.data() + i);
            const std::uint32_t bits = ((units == allQuotes) | (units == allTerminators)).bits();
            if (bits != 0) return i + static_cast<std::size_t>(std::countr_zero(bits));
        }
        while (i < token_.size() && token_[i] != quote && token_[i] != Form::kTerminator)
            ++i;
        return i;
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
