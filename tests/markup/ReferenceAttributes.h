// The rules of attribute look-up once more, unit by unit: what the accessors are compared with.
#pragma once

#include "foundation/Characters.h"
#include "foundation/Range.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace halden::reference {

enum class AttributeForm { buffer, metaContent, string, style };

/// The place of the value of `name` in `token`, or {kNotFound, 0}.
[[nodiscard]] inline Range attribute(std::u16string_view token, std::u16string_view name, AttributeForm form) {
    const auto white = [](char16_t unit) { return whiteCharacterSetRep().contains(unit); };
    const bool ofBuffer = form == AttributeForm::buffer || form == AttributeForm::metaContent;
    const std::size_t extra = form == AttributeForm::style ? 1 : 5;
    const char16_t separator = form == AttributeForm::style ? u':' : u'=';
    const char16_t terminator = form == AttributeForm::style ? u';' : u'>';
    const std::size_t size = token.size();
    if (name.empty() || name.size() + extra >= size) return {};
    for (std::size_t i = 0; i + name.size() < size; ++i) {
        if (token[i] == u'"' || token[i] == u'\'') {
            i = token.find(token[i], i + 1);
            if (i == std::u16string_view::npos) return {};
            continue;
        }
        std::size_t matching = 0;
        while (matching < name.size() && toUpper(token[i + matching]) == toUpper(name[matching]))
            ++matching;
        if (matching < name.size()) continue;
        if (i > 0) {
            const char16_t before = token[i - 1];
            if (alphaNumCharacterSetRep().contains(before) || before == u'-' || (ofBuffer && before == u'_')) continue;
        }
        std::size_t k = i + name.size();
        while (k < size && white(token[k]))
            ++k;
        if (k == size || token[k] != separator) continue;
        ++k;
        while (ofBuffer && k < size && token[k] == separator)
            ++k;
        while (k < size && white(token[k]))
            ++k;
        if (k == size) return {};
        std::size_t start = k;
        std::size_t end = k;
        if (token[k] != u'"' && token[k] != u'\'') {
            while (end < size && !white(token[end]) && token[end] != terminator)
                ++end;
        } else if (form != AttributeForm::metaContent) {
            start = end = k + 1;
            while (end < size && token[end] != token[k] && token[end] != terminator)
                ++end;
        } else {
            start = end = k + 1;
            std::size_t open = 0;
            for (; end < size && token[end] != token[k]; ++end) {
                if (token[end] == u'<') {
                    std::u16string next;
                    for (const char16_t unit : token.substr(end + 1, 4))
                        next += toUpper(unit);
                    if (next == u"META") break;
                    ++open;
                } else if (token[end] == u'>') {
                    if (open == 0) break;
                    --open;
                }
            }
            if (end < size && token[end] == token[k] && open == 1) {
                const std::u16string_view text = token.substr(start, end - start);
                if (text.ends_with(u"<")) end -= 1;
                if (text.ends_with(u"</")) end -= 2;
            }
        }
        while (end > start && white(token[end - 1]))
            --end;
        return end > start ? Range{start, end - start} : Range{};
    }
    return {};
}

}  // namespace halden::reference
