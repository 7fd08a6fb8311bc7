// RTF as it is put together: control words, groups and text, with delimiters only where they are needed.
#pragma once

#include "foundation/Data.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace halden {

class RtfOutput {
public:
    /// Which characters beyond ASCII are written by their byte in Windows Latin 1, and which by their number in
    /// Unicode.
    enum class Bytes : std::uint8_t { latin, none };

    void word(std::string_view name) {
        text_ += '\\';
        text_ += name;
        needsDelimiter_ = true;
    }
    void word(std::string_view name, std::int64_t parameter);
    void open() { sign('{'); }
    void close() { sign('}'); }
    /// `{\*\name`
    void openStarred(std::string_view name) {
        text_ += "{\\*";
        word(name);
    }
    /// A line end: it delimits, and means nothing else.
    void newLine() { sign('\n'); }
    /// A blank that delimits the word before it.
    void blank() { sign(' '); }
    /// A blank, where the last thing is a word that nothing delimits yet.
    void delimit() {
        if (needsDelimiter_) blank();
    }
    /// Text in the format's own characters, written as it is.
    void raw(std::string_view ascii) {
        delimit();
        text_ += ascii;
    }
    /// A mark of the format that begins with a backslash, or ends a word by itself.
    void mark(std::string_view ascii) {
        text_ += ascii;
        needsDelimiter_ = false;
    }
    /// Text of the document. Line feeds do not belong to it, and U+0000 is left out.
    void text(std::u16string_view units, Bytes bytes = Bytes::latin);

    /// Bytes as hexadecimal digits, in lines.
    void hexadecimal(const Data& data);

    [[nodiscard]] const std::string& string() const noexcept { return text_; }
    [[nodiscard]] std::string take() noexcept { return std::move(text_); }
    void reserve(std::size_t size) { text_.reserve(size); }

private:
    void sign(char c) {
        text_ += c;
        needsDelimiter_ = false;
    }
    void unit(char16_t unit, Bytes bytes);
    void hexByte(unsigned value);
    void unicode(char16_t unit);

    std::string text_;
    bool needsDelimiter_ = false;  // after a control word
    bool noFallback_ = false;      // just after \u: the characters that follow it have none either
};

/// Points in twentieths, and other numbers in `units` of one: rounded, and cut to what readers take.
[[nodiscard]] std::int32_t rtfNumber(double value, double units = 20) noexcept;

}  // namespace halden
