// What is to be seen of an attributed string, as text: equal strings have equal descriptions, and different ones show
// where they differ. Lists and tables, which are the same by identity, are numbered in the order of their appearance.
#pragma once

#include "richtext/AttributedString.h"

#include <string>

namespace halden::testing {

[[nodiscard]] std::string describedCharacters(const CharacterAttributes& attributes);
/// A line for each run of characters, and for each paragraph and attachment.
[[nodiscard]] std::string described(const AttributedString& text);

}  // namespace halden::testing
