// A FictionBook, an electronic book in one XML document.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::fictionbook {

/// The text and the annotation of a book are never longer than this, in bytes of UTF-8; a few line ends aside.
inline constexpr std::size_t kMaxText = std::size_t{64} << 20;

/// What a book tells of itself, in UTF-8; empty where it says nothing.
struct Book {
    std::string title, isbn, annotation, text;
    std::vector<std::string> authors, keywords, languages, publishers;
};

/// nullopt for a document that is no FictionBook. Of one that is damaged, what stands before the damage.
[[nodiscard]] std::optional<Book> bookFromXml(std::string_view document);

}  // namespace quarry::fictionbook
