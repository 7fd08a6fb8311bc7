// The dictionary of books whose text is compressed by words, looked at before anything is unpacked with it.
#pragma once

#include <span>
#include <string_view>

namespace quarry::mobi {

/// Whether unpacking with the dictionary in these records (the codes, then the words) ends, and in a time that the text
/// is worth. Words are made of words: a few hundred bytes can stand for an endless amount of nothing.
[[nodiscard]] bool isHarmlessDictionary(std::span<const std::string_view> records);

}  // namespace quarry::mobi
