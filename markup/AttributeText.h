// NAME=value inside a free text, such as a header "text/html; charset=utf-8" or the content of a meta tag.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace halden {

struct AttributeTextOptions {
    /// Opens and closes a quoted value.
    char16_t quote = u'\'';
    /// White space may follow the "="; both kinds of quotes open a value; one without quotes ends at a quote, a ">" or
    /// white space.
    bool tolerant = false;
    /// A value without quotes ends at ";".
    bool stopAtSemicolon = false;
};

/// The value of the first `upperCaseName` that stands, through the upper-case table, before a "=" with only white space
/// between. Nothing is asked of what stands before the name: CHARSET is also found in "xcharset=a". A quoted value goes
/// up to the next such quote, or to the end; with neither flag any other value is the whole rest of the string. An
/// empty value does not count, and the search goes on. nullopt when there is none, and when the string is not longer
/// than the name.
[[nodiscard]] std::optional<std::u16string> _copyOfAttributeOfString(std::u16string_view string,
                                                                     std::u16string_view upperCaseName,
                                                                     const AttributeTextOptions& options);

}  // namespace halden
