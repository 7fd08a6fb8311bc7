// Characters of a page, as lines joined by line feeds.
#pragma once

#include <cstddef>
#include <string>
#include <utility>

namespace halden::pdf {

// No honest page has more; one that repeats itself without end is cut here.
constexpr std::size_t kMaxPageLength = std::size_t{16} * 1024 * 1024;

/// What the engine has no character for is left out, and so are lines of nothing else.
class LineText {
public:
    void beginLine() {
        dropEmptyLine();
        start_ = text_.size();
        if (!text_.empty() && !isFull()) text_.push_back(u'\n');
        first_ = text_.size();
    }

    /// Whether the character gave something.
    bool add(int character) {
        if (isFull() || !isKnown(character)) return false;
        if (character < 0x10000) {
            text_.push_back(static_cast<char16_t>(character));
        } else {
            text_.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
            text_.push_back(static_cast<char16_t>(0xDC00 + (character & 0x3FF)));
        }
        return true;
    }

    [[nodiscard]] std::size_t size() const noexcept { return text_.size(); }
    [[nodiscard]] bool isFull() const noexcept { return text_.size() >= kMaxPageLength; }

    [[nodiscard]] std::u16string take() {
        dropEmptyLine();
        return std::move(text_);
    }

private:
    [[nodiscard]] static bool isKnown(int character) noexcept {
        // U+FFFD stands for a glyph without a mapping.
        return character > 0 && character <= 0x10FFFF && character != 0xFFFD &&
               !(character >= 0xD800 && character <= 0xDFFF);
    }
    void dropEmptyLine() {
        if (text_.size() == first_) text_.resize(start_);
    }

    std::u16string text_;
    std::size_t start_ = 0;  // of the line, with the line feed before it
    std::size_t first_ = 0;  // of its characters
};

}  // namespace halden::pdf
