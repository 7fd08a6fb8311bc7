// A recursive-descent reader of RFC 8259 with one liberty: an escaped lone surrogate is a UTF-16 unit like any other.
#include "foundation/Json.h"
#include "foundation/Unicode.h"

#include <charconv>
#include <cstdlib>

namespace halden {
namespace {

constexpr int kMaxDepth = 512;

class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    std::optional<Value> readWhole() {
        std::optional<Value> value = readValue(0);
        if (!value) return std::nullopt;
        skipSpace();
        if (at_ != text_.size()) return fail("text after the end of the value");
        return value;
    }

    [[nodiscard]] JsonError error() const { return error_; }

private:
    std::nullopt_t fail(const char* message) {
        if (error_.message.empty()) error_ = {message, at_};
        return std::nullopt;
    }

    [[nodiscard]] bool atEnd() const { return at_ >= text_.size(); }
    [[nodiscard]] char peek() const { return atEnd() ? '\0' : text_[at_]; }

    void skipSpace() {
        while (!atEnd() && (peek() == ' ' || peek() == '\t' || peek() == '\n' || peek() == '\r'))
            ++at_;
    }

    bool accept(char expected) {
        if (atEnd() || peek() != expected) return false;
        ++at_;
        return true;
    }

    std::optional<Value> readValue(int depth) {
        if (depth > kMaxDepth) return fail("nested too deeply");
        skipSpace();
        if (atEnd()) return fail("a value is missing");
        switch (peek()) {
            case '{':
                return readObject(depth);
            case '[':
                return readArray(depth);
            case '"':
                return readStringValue();
            case 't':
                return readLiteral("true", Value(true));
            case 'f':
                return readLiteral("false", Value(false));
            case 'n':
                return readLiteral("null", Value());
            default:
                return readNumber();
        }
    }

    std::optional<Value> readLiteral(std::string_view literal, Value value) {
        if (text_.substr(at_, literal.size()) != literal) return fail("an unknown word");
        at_ += literal.size();
        return value;
    }

    std::optional<Value> readStringValue() {
        std::optional<std::u16string> string = readString();
        if (!string) return std::nullopt;
        return Value(*std::move(string));
    }

    std::optional<Value> readObject(int depth) {
        ++at_;
        Dictionary object;
        skipSpace();
        if (accept('}')) return Value(std::move(object));
        for (;;) {
            skipSpace();
            if (peek() != '"') return fail("a name in quotes is missing");
            std::optional<std::u16string> name = readString();
            if (!name) return std::nullopt;
            skipSpace();
            if (!accept(':')) return fail("a colon is missing");
            std::optional<Value> value = readValue(depth + 1);
            if (!value) return std::nullopt;
            object.set(*std::move(name), *std::move(value));
            skipSpace();
            if (accept('}')) return Value(std::move(object));
            if (!accept(',')) return fail("a comma or a closing brace is missing");
        }
    }

    std::optional<Value> readArray(int depth) {
        ++at_;
        Array array;
        skipSpace();
        if (accept(']')) return Value(std::move(array));
        for (;;) {
            std::optional<Value> value = readValue(depth + 1);
            if (!value) return std::nullopt;
            array.push_back(*std::move(value));
            skipSpace();
            if (accept(']')) return Value(std::move(array));
            if (!accept(',')) return fail("a comma or a closing bracket is missing");
        }
    }

    std::optional<std::u16string> readString() {
        ++at_;
        std::u16string string;
        for (;;) {
            const std::size_t end = text_.find_first_of("\"\\", at_);
            if (end == std::string_view::npos) return fail("the string does not end");
            if (!appendPlain(string, text_.substr(at_, end - at_))) return std::nullopt;
            at_ = end + 1;
            if (text_[end] == '"') return string;
            const std::optional<char16_t> unit = readEscape();
            if (!unit) return std::nullopt;
            string.push_back(*unit);
        }
    }

    bool appendPlain(std::u16string& string, std::string_view plain) {
        for (const char character : plain) {
            if (static_cast<unsigned char>(character) < 0x20) {
                fail("a control character stands in a string");
                return false;
            }
        }
        std::optional<std::u16string> decoded = strictUtf16FromUtf8(plain);
        if (!decoded) {
            fail("a string is not UTF-8");
            return false;
        }
        string += *decoded;
        return true;
    }

    std::optional<char16_t> readEscape() {
        if (atEnd()) return fail("the string does not end");
        const char kind = text_[at_++];
        switch (kind) {
            case '"':
                return u'"';
            case '\\':
                return u'\\';
            case '/':
                return u'/';
            case 'b':
                return u'\b';
            case 'f':
                return u'\f';
            case 'n':
                return u'\n';
            case 'r':
                return u'\r';
            case 't':
                return u'\t';
            case 'u':
                return readHexUnit();
            default:
                --at_;
                return fail("an unknown escape");
        }
    }

    std::optional<char16_t> readHexUnit() {
        unsigned unit = 0;
        if (text_.size() - at_ < 4) return fail("four hexadecimal digits are missing");
        const auto [end, status] = std::from_chars(text_.data() + at_, text_.data() + at_ + 4, unit, 16);
        if (status != std::errc() || end != text_.data() + at_ + 4) return fail("four hexadecimal digits are missing");
        at_ += 4;
        return static_cast<char16_t>(unit);
    }

    bool skipDigits() {
        const std::size_t start = at_;
        while (!atEnd() && peek() >= '0' && peek() <= '9')
            ++at_;
        return at_ > start;
    }

    std::optional<Value> readNumber() {
        const std::size_t start = at_;
        accept('-');
        if (accept('0')) {
            // No digit may follow a leading zero.
        } else if (!skipDigits()) {
            return fail("an unexpected character");
        }
        bool isInteger = true;
        if (accept('.')) {
            isInteger = false;
            if (!skipDigits()) return fail("digits are missing after the decimal point");
        }
        if (peek() == 'e' || peek() == 'E') {
            isInteger = false;
            ++at_;
            if (peek() == '+' || peek() == '-') ++at_;
            if (!skipDigits()) return fail("digits are missing in the exponent");
        }
        return numberFrom(text_.substr(start, at_ - start), isInteger);
    }

    static Value numberFrom(std::string_view digits, bool isInteger) {
        const char* const end = digits.data() + digits.size();
        std::int64_t integer = 0;
        if (isInteger && digits != "-0" && std::from_chars(digits.data(), end, integer).ec == std::errc()) {
            return Value(integer);
        }
        double number = 0;
        if (std::from_chars(digits.data(), end, number).ec == std::errc::result_out_of_range) {
            // from_chars leaves the value alone there; the C function gives the infinity or the zero that is meant.
            number = std::strtod(std::string(digits).c_str(), nullptr);
        }
        return Value(number);
    }

    std::string_view text_;
    std::size_t at_ = 0;
    JsonError error_;
};

}  // namespace

std::optional<Value> valueFromJson(std::string_view text, JsonError* error) {
    Reader reader(text);
    std::optional<Value> value = reader.readWhole();
    if (!value && error != nullptr) *error = reader.error();
    return value;
}

}  // namespace halden
