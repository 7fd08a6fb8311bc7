// The old bracketed form.
//
//   "text" or 'text'         a string; escapes below
//   word                     a string of letters, digits and _ $ / : . -
//   <0fbd 777>               data, two hexadecimal digits a byte, white space between digits allowed
//   (value, value)           an array; a comma after the last value is allowed
//   {key = value; key;}      a dictionary; a key alone has itself as value
//   key = value; ...         at the top level: a dictionary without its braces, as a .strings file has it
//   // to the end of the line, and /* to */, are comments.
//
// Escapes: \a \b \f \n \r \t \v, up to three octal digits (a byte of the NEXTSTEP character set), \U and up to four
// hexadecimal digits (a UTF-16 unit); any other character stands for itself, a line feed included.
#include "foundation/Unicode.h"
#include "platform/plists/Forms.h"

#include <algorithm>
#include <array>

namespace halden::plists {
namespace {

// The upper half of the NEXTSTEP character set, as published by the Unicode consortium; two places are unassigned.
constexpr std::array<char16_t, 128> kNextStep{
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC,
    0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9, 0x00DA, 0x00DB,
    0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7, 0x00F7, 0x00A9, 0x00A1, 0x00A2, 0x00A3, 0x2044, 0x00A5, 0x0192,
    0x00A7, 0x00A4, 0x2019, 0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x00AE, 0x2013, 0x2020, 0x2021,
    0x00B7, 0x00A6, 0x00B6, 0x2022, 0x201A, 0x201E, 0x201D, 0x00BB, 0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9,
    0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9, 0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD,
    0x02DB, 0x02C7, 0x2014, 0x00B1, 0x00BC, 0x00BD, 0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5,
    0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB, 0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1,
    0x0141, 0x00D8, 0x0152, 0x00BA, 0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB,
    0x0131, 0x00FC, 0x00FD, 0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, 0xFFFD, 0xFFFD,
};

bool isSpace(char16_t unit) {
    return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == u'\u2028' || unit == u'\u2029';
}

bool isWordCharacter(char16_t unit) {
    if ((unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') || (unit >= u'0' && unit <= u'9')) return true;
    return std::u16string_view(u"_$/:.-").find(unit) != std::u16string_view::npos;
}

/// The value of a digit of bases up to 16, or -1.
int digitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
    if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10;
    return -1;
}

class Reader {
public:
    Reader(std::u16string_view text, PropertyListError& error) : text_(text), error_(error) {}

    std::optional<Value> read() {
        if (!skipSpace()) return std::nullopt;
        if (atEnd()) return fail("nothing but white space");
        const bool mayBeKey = startsString();
        std::optional<Value> value = readValue(0);
        if (!value || !skipSpace()) return std::nullopt;
        if (atEnd()) return value;
        if (!mayBeKey || (peek() != u'=' && peek() != u';')) return fail("text after the end of the value");
        Dictionary pairs;
        if (!readPair(pairs, std::move(*value->as<std::u16string>()), 0) || !readPairs(pairs, 0)) return std::nullopt;
        if (!atEnd()) return fail("a key that is no string");
        return Value(std::move(pairs));
    }

private:
    std::nullopt_t fail(const char* message) { return fail(message, at_); }

    std::nullopt_t fail(const char* message, std::size_t at) {
        if (!error_.message.empty()) return std::nullopt;
        const auto before = text_.substr(0, at);
        error_ = {message, at, 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), u'\n'))};
        return std::nullopt;
    }

    bool refuse(const char* message) {
        fail(message);
        return false;
    }

    [[nodiscard]] bool atEnd() const { return at_ >= text_.size(); }
    [[nodiscard]] char16_t peek() const { return atEnd() ? u'\0' : text_[at_]; }

    bool accept(char16_t expected) {
        if (peek() != expected) return false;
        ++at_;
        return true;
    }

    /// Skips white space and comments; false when a comment does not end.
    bool skipSpace() {
        while (!atEnd()) {
            if (isSpace(peek())) {
                ++at_;
            } else if (text_.substr(at_, 2) == u"//") {
                at_ = std::min(text_.find_first_of(u"\n\r\u2028\u2029", at_), text_.size());
            } else if (text_.substr(at_, 2) == u"/*") {
                const std::size_t end = text_.find(u"*/", at_ + 2);
                if (end == std::u16string_view::npos) return refuse("a comment that does not end");
                at_ = end + 2;
            } else {
                return true;
            }
        }
        return true;
    }

    [[nodiscard]] bool startsString() const { return peek() == u'"' || peek() == u'\'' || isWordCharacter(peek()); }

    std::optional<Value> readValue(int depth) {
        switch (peek()) {
            case u'(':
                return readArray(depth);
            case u'{':
                return readDictionary(depth);
            case u'<':
                return readData();
            default:
                break;
        }
        std::optional<std::u16string> string = readString();
        if (!string) return std::nullopt;
        return Value(*std::move(string));
    }

    std::optional<Value> readArray(int depth) {
        if (depth >= kPropertyListMaxDepth) return fail("nested too deeply");
        ++at_;
        Array array;
        for (;;) {
            if (!skipSpace()) return std::nullopt;
            if (accept(u')')) return Value(std::move(array));
            if (atEnd()) return fail("an array that does not end");
            std::optional<Value> value = readValue(depth + 1);
            if (!value || !skipSpace()) return std::nullopt;
            array.push_back(*std::move(value));
            if (!accept(u',') && peek() != u')') return fail("a comma or a closing parenthesis is missing");
        }
    }

    std::optional<Value> readDictionary(int depth) {
        if (depth >= kPropertyListMaxDepth) return fail("nested too deeply");
        ++at_;
        Dictionary dictionary;
        if (!readPairs(dictionary, depth)) return std::nullopt;
        if (!accept(u'}')) return fail("a key or a closing brace is missing");
        return Value(std::move(dictionary));
    }

    /// Pairs as long as there is a key; leaves the place behind the white space that follows them.
    bool readPairs(Dictionary& dictionary, int depth) {
        for (;;) {
            if (!skipSpace()) return false;
            if (!startsString()) return true;
            std::optional<std::u16string> key = readString();
            if (!key || !skipSpace() || !readPair(dictionary, *std::move(key), depth)) return false;
        }
    }

    /// What follows a key, to the semicolon.
    bool readPair(Dictionary& dictionary, std::u16string key, int depth) {
        Value value(key);
        if (accept(u'=')) {
            if (!skipSpace()) return false;
            std::optional<Value> given = readValue(depth + 1);
            if (!given || !skipSpace()) return false;
            value = *std::move(given);
        }
        if (!accept(u';')) return refuse("a semicolon is missing");
        dictionary.set(std::move(key), std::move(value));
        return true;
    }

    std::optional<Value> readData() {
        ++at_;
        std::vector<std::uint8_t> bytes;
        int high = -1;
        for (;; ++at_) {
            if (atEnd()) return fail("data that do not end");
            if (peek() == u'>') break;
            if (isSpace(peek())) continue;
            const int digit = digitValue(peek());
            if (digit < 0) return fail("a character in data that is no hexadecimal digit");
            if (high < 0) {
                high = digit;
            } else {
                bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit));
                high = -1;
            }
        }
        if (high >= 0) return fail("data with half a byte");
        ++at_;
        return Value(Data(std::move(bytes)));
    }

    std::optional<std::u16string> readString() {
        if (peek() == u'"' || peek() == u'\'') return readQuoted();
        const std::size_t start = at_;
        while (!atEnd() && isWordCharacter(peek()))
            ++at_;
        if (at_ == start) return fail(atEnd() ? "a value is missing" : "an unexpected character");
        return std::u16string(text_.substr(start, at_ - start));
    }

    std::optional<std::u16string> readQuoted() {
        const std::size_t start = at_;
        const char16_t stops[] = {text_[at_++], u'\\'};
        std::u16string string;
        for (;;) {
            const std::size_t stop = text_.find_first_of(std::u16string_view(stops, 2), at_);
            if (stop == std::u16string_view::npos) return fail("a string that does not end", start);
            string += text_.substr(at_, stop - at_);
            at_ = stop + 1;
            if (text_[stop] != u'\\') return string;
            if (atEnd()) return fail("a string that does not end", start);
            const std::optional<char16_t> unit = readEscape();
            if (!unit) return std::nullopt;
            string += *unit;
        }
    }

    std::optional<char16_t> readEscape() {
        if (peek() >= u'0' && peek() <= u'7') {
            const unsigned byte = readNumber(3, 8);
            if (byte > 0xFF) return fail("an octal escape that is larger than a byte");
            return byte < 0x80 ? static_cast<char16_t>(byte) : kNextStep[byte - 0x80];
        }
        const char16_t unit = text_[at_++];
        constexpr std::u16string_view kLetters = u"abfnrtv";
        constexpr std::u16string_view kControls = u"\a\b\f\n\r\t\v";
        if (const std::size_t place = kLetters.find(unit); place != std::u16string_view::npos) return kControls[place];
        if (unit != u'U' || digitValue(peek()) < 0) return unit;
        return static_cast<char16_t>(readNumber(4, 16));
    }

    unsigned readNumber(int maxDigits, int base) {
        unsigned number = 0;
        for (int i = 0; i < maxDigits; ++i) {
            const int digit = digitValue(peek());
            if (digit < 0 || digit >= base) break;
            number = number * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
            ++at_;
        }
        return number;
    }

    std::u16string_view text_;
    PropertyListError& error_;
    std::size_t at_ = 0;
};

}  // namespace

std::optional<Value> readOldText(std::u16string_view text, PropertyListError& error) {
    return Reader(text, error).read();
}

}  // namespace halden::plists
