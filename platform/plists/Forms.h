// The readers of the single forms, for PropertyList.cpp. Each gets data that was recognised as its own form.
#pragma once

#include "platform/plists/PropertyList.h"

#include <string_view>

namespace halden::plists {

[[nodiscard]] std::optional<Value> readXml(const Data& data, PropertyListError& error);
[[nodiscard]] std::optional<Value> readBinary(const Data& data, PropertyListError& error);

/// `text` is what the bytes decode to. The offset of an error is in UTF-16 units of `text`.
[[nodiscard]] std::optional<Value> readOldText(std::u16string_view text, PropertyListError& error);

/// The name under which a UID appears where the form has none.
inline constexpr std::u16string_view kUidKey = u"CF$UID";

/// Longer strings are written anew each time, so that the reader's bound on what sharing unfolds to never strikes at
/// what the writer made.
inline constexpr std::size_t kLongestSharedString = 32;

}  // namespace halden::plists
