// The chapters of books in the newer form: each is kept as a frame, followed by the fragments that go into it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::mobi {

inline constexpr std::size_t kMaxChapters = 50000;

struct Chapters {
    std::vector<std::string> markup;
    std::size_t end = 0;  ///< the bytes that went into them
};

/// Puts chapters together from `flow` by the indexes that begin at the records `frames` and `fragments`. Every byte is
/// used once at most: chapters end with the first whose places do not follow those before it.
[[nodiscard]] Chapters chaptersOf(std::string_view flow, const std::vector<std::string_view>& records,
                                  std::size_t frames, std::size_t fragments);

}  // namespace quarry::mobi
