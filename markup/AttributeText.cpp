#include "markup/AttributeText.h"

#include "foundation/Characters.h"

#include <algorithm>
#include <cstddef>

namespace halden {
namespace {

class AttributeText {
public:
    AttributeText(std::u16string_view text, const AttributeTextOptions& options) : text_(text), options_(options) {}

    /// The place behind the "=" that follows a name ending at `i`, or npos when none does.
    [[nodiscard]] std::size_t behindEquals(std::size_t i) const {
        i = skipWhite(i);
        return i < text_.size() && text_[i] == u'=' ? i + 1 : std::u16string_view::npos;
    }

    /// The value that starts at `i`.
    [[nodiscard]] std::u16string_view valueAt(std::size_t i) const {
        if (options_.tolerant) i = skipWhite(i);
        if (i == text_.size()) return {};
        if (const char16_t first = text_[i]; opensValue(first)) {
            const std::u16string_view rest = text_.substr(i + 1);
            return rest.substr(0, rest.find(first));
        }
        const auto start = text_.begin() + static_cast<std::ptrdiff_t>(i);
        const auto end = std::find_if(start, text_.end(), [&](char16_t unit) { return endsValue(unit); });
        return text_.substr(i, static_cast<std::size_t>(end - start));
    }

private:
    [[nodiscard]] std::size_t skipWhite(std::size_t i) const {
        while (i < text_.size() && white_.contains(text_[i]))
            ++i;
        return i;
    }
    [[nodiscard]] bool opensValue(char16_t unit) const {
        return unit == options_.quote || (options_.tolerant && (unit == u'"' || unit == u'\''));
    }
    [[nodiscard]] bool endsValue(char16_t unit) const {
        if (options_.stopAtSemicolon && unit == u';') return true;
        return options_.tolerant && (unit == u'"' || unit == u'\'' || unit == u'>' || white_.contains(unit));
    }

    std::u16string_view text_;
    const AttributeTextOptions& options_;
    const CharacterBitmap& white_ = whiteCharacterSetRep();
};

}  // namespace

std::optional<std::u16string> _copyOfAttributeOfString(std::u16string_view string, std::u16string_view upperCaseName,
                                                       const AttributeTextOptions& options) {
    const std::size_t length = upperCaseName.size();
    if (string.size() <= length) return std::nullopt;
    const ConversionTable& upper = initUpperCharsTable();
    const AttributeText text(string, options);
    for (std::size_t i = 0; i + length < string.size(); ++i) {
        const bool named =
            std::ranges::equal(string.substr(i, length), upperCaseName,
                               [&](char16_t unit, char16_t wanted) { return upper[unit] == upper[wanted]; });
        if (!named) continue;
        const std::size_t start = text.behindEquals(i + length);
        if (start == std::u16string_view::npos) continue;
        const std::u16string_view value = text.valueAt(start);
        if (!value.empty()) return std::u16string(value);
    }
    return std::nullopt;
}

}  // namespace halden
