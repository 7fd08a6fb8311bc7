#include "richtext/RtfTokenizer.h"

#include <array>
#include <limits>

namespace halden {
namespace {

constexpr bool isLetter(char c) noexcept {
    const auto lower = static_cast<unsigned char>(c | 0x20);
    return lower >= 'a' && lower <= 'z';
}

constexpr bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

/// The value of a hexadecimal digit, or -1.
constexpr int hexValue(char c) noexcept {
    if (isDigit(c)) return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The bytes that end a run of text.
constexpr std::array<bool, 256> kEndsText = [] {
    std::array<bool, 256> table{};
    for (const char c : {'\\', '{', '}', '\r', '\n', '\0'})
        table[static_cast<unsigned char>(c)] = true;
    return table;
}();

constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();

}  // namespace

RtfToken RtfTokenizer::next() noexcept {
    while (cursor_ != end_) {
        switch (*cursor_) {
            case '{':
                ++cursor_;
                return {.kind = RtfTokenKind::groupBegin};
            case '}':
                ++cursor_;
                return {.kind = RtfTokenKind::groupEnd};
            case '\\':
                ++cursor_;
                if (const RtfToken token = escape(); token.kind != RtfTokenKind::end) return token;
                break;
            case '\r':
            case '\n':
            case '\0':
                ++cursor_;
                break;
            default:
                return textRun();
        }
    }
    return {};
}

/// What follows a backslash; of kind `end` where that is nothing.
RtfToken RtfTokenizer::escape() noexcept {
    if (cursor_ == end_) return {};
    const char c = *cursor_;
    if (isLetter(c)) return word();
    if (c == '\'') {
        ++cursor_;
        if (end_ - cursor_ < 2) return {};
        const int high = hexValue(cursor_[0]);
        const int low = hexValue(cursor_[1]);
        if (high < 0 || low < 0) return {};
        cursor_ += 2;
        return {.kind = RtfTokenKind::hexByte, .hasParameter = true, .parameter = high * 16 + low};
    }
    const std::string_view symbol(cursor_, 1);
    ++cursor_;
    if (c == '\r') {
        if (cursor_ != end_ && *cursor_ == '\n') ++cursor_;
        return {.kind = RtfTokenKind::symbol, .text = "\n"};
    }
    return {.kind = RtfTokenKind::symbol, .text = symbol};
}

RtfToken RtfTokenizer::word() noexcept {
    RtfToken token{.kind = RtfTokenKind::word};
    const char* const name = cursor_;
    std::uint32_t hash = kRtfHashSeed;
    do {
        hash = rtfHashStep(hash, *cursor_++);
    } while (cursor_ != end_ && isLetter(*cursor_));
    token.text = std::string_view(name, static_cast<std::size_t>(cursor_ - name));
    token.hash = hash;

    const bool negative = end_ - cursor_ >= 2 && cursor_[0] == '-' && isDigit(cursor_[1]);
    if (negative) ++cursor_;
    if (cursor_ != end_ && isDigit(*cursor_)) {
        std::int64_t number = 0;
        do {
            if (number <= kLargest) number = number * 10 + (*cursor_ - '0');
        } while (++cursor_ != end_ && isDigit(*cursor_));
        if (number > kLargest) number = kLargest;
        token.hasParameter = true;
        token.parameter = static_cast<std::int32_t>(negative ? -number : number);
    }
    if (cursor_ != end_ && *cursor_ == ' ') ++cursor_;

    if (hash == rtfWordHash("bin") && token.text == "bin") {
        const auto left = static_cast<std::size_t>(end_ - cursor_);
        const std::size_t wanted = token.parameter > 0 ? static_cast<std::size_t>(token.parameter) : 0;
        token.kind = RtfTokenKind::binary;
        token.text = std::string_view(cursor_, wanted < left ? wanted : left);
        cursor_ += token.text.size();
    }
    return token;
}

RtfToken RtfTokenizer::textRun() noexcept {
    const char* const start = cursor_;
    while (cursor_ != end_ && !kEndsText[static_cast<unsigned char>(*cursor_)])
        ++cursor_;
    return {.kind = RtfTokenKind::text, .text = std::string_view(start, static_cast<std::size_t>(cursor_ - start))};
}

std::string_view RtfTokenizer::takeSign() noexcept {
    if (cursor_ == end_ || (*cursor_ != '\\' && *cursor_ != '{' && *cursor_ != '}')) return {};
    const std::string_view rest(cursor_, static_cast<std::size_t>(end_ - cursor_));
    for (const std::string_view escape : {"\\'", "\\\\", "\\{", "\\}"}) {
        if (rest.starts_with(escape)) return {};
    }
    return {cursor_++, 1};
}

void RtfTokenizer::skipGroup() noexcept {
    std::size_t open = 1;
    while (open != 0) {
        const RtfToken token = next();
        if (token.kind == RtfTokenKind::groupBegin) ++open;
        if (token.kind == RtfTokenKind::groupEnd) --open;
        if (token.kind == RtfTokenKind::end) return;
    }
}

}  // namespace halden
