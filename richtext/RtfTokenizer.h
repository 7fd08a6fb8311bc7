// The lexical level of RTF: groups, control words with their parameters, bytes of text, binary runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace halden {

enum class RtfTokenKind : std::uint8_t {
    end,         // no bytes are left
    groupBegin,  // {
    groupEnd,    // }
    word,        // \name, \nameN: `text` is the name, `parameter` the number
    symbol,      // \c with any other character: `text` is that one byte (a line end after \ gives "\n")
    hexByte,     // \'hh: `parameter` is the byte
    text,        // bytes of text without \ { } and line ends
    binary,      // \binN and its N bytes: `text` is those bytes
};

/// One token. `text` refers to the tokenizer's input.
struct RtfToken {
    RtfTokenKind kind = RtfTokenKind::end;
    bool hasParameter = false;
    /// Held to the range of the type where the file's number exceeds it.
    std::int32_t parameter = 0;
    /// For words: `rtfWordHash` of the name.
    std::uint32_t hash = 0;
    std::string_view text{};
};

inline constexpr std::uint32_t kRtfHashSeed = 0x811C9DC5;
[[nodiscard]] constexpr std::uint32_t rtfHashStep(std::uint32_t hash, char letter) noexcept {
    return (hash ^ static_cast<std::uint8_t>(letter)) * 0x01000193;
}
[[nodiscard]] constexpr std::uint32_t rtfWordHash(std::string_view name) noexcept {
    std::uint32_t hash = kRtfHashSeed;
    for (const char letter : name)
        hash = rtfHashStep(hash, letter);
    return hash;
}

/// Splits bytes into tokens, in one pass, without allocating.
///
/// A word is a backslash, ASCII letters of either case, an optional decimal number with an optional minus sign, and one
/// optional space that belongs to the word. Line ends outside words separate nothing and are no text. NUL bytes are
/// passed over likewise. `\'` without two hexadecimal digits yields nothing. A \bin that announces more bytes than
/// there are takes what is there. Every input is accepted: there is no lexical error.
class RtfTokenizer {
public:
    /// `input` must outlive the tokenizer and its tokens.
    explicit RtfTokenizer(std::string_view input) noexcept
        : cursor_(input.data()), begin_(input.data()), end_(input.data() + input.size()) {}

    /// The next token; of kind `end` at the end, again and again.
    [[nodiscard]] RtfToken next() noexcept;

    /// Where the next token starts: the number of bytes taken so far.
    [[nodiscard]] std::size_t offset() const noexcept { return static_cast<std::size_t>(cursor_ - begin_); }

    /// Takes the next byte as it is when it is \ { or }, and does not escape a byte or a sign; empty otherwise.
    [[nodiscard]] std::string_view takeSign() noexcept;

    /// Passes over everything up to the brace that ends the innermost open group, and that brace too. Groups inside and
    /// binary runs are recognised. At the end of the input when the group never ends.
    void skipGroup() noexcept;

private:
    RtfToken escape() noexcept;
    RtfToken word() noexcept;
    RtfToken textRun() noexcept;

    const char* cursor_;
    const char* begin_;
    const char* end_;
};

}  // namespace halden
