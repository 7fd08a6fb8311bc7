// What a PostScript document says of itself, in the comments of its header.
#pragma once

#include <string>
#include <string_view>

namespace quarry::postscript {

struct Comments {
    std::string title, creator, author;  ///< cleaned of parentheses; empty without
    long pages = 0;                      ///< 0: not known
};

/// Whether the bytes begin a document, a program for a printer, or one with a preview in front of it.
[[nodiscard]] bool isPostScript(std::string_view bytes);

/// `begin` and `end` are the first and the last bytes of a file. Some entries of the header say that they stand at the
/// end.
[[nodiscard]] Comments commentsOf(std::string_view begin, std::string_view end);

}  // namespace quarry::postscript
