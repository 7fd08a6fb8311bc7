#include "foundation/Base64.h"
#include "foundation/Json.h"
#include "foundation/Unicode.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

namespace halden {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

struct Signature {
    std::string_view prefix;
    std::string_view mediaType;
};

/// The types that results carry as data, told by their first bytes.
constexpr Signature kSignatures[] = {
    {std::string_view("II*\0", 4), "image/tiff"},
    {std::string_view("MM\0*", 4), "image/tiff"},
    {"%PDF-", "application/pdf"},
    {"\x89PNG\r\n\x1A\n", "image/png"},
    {"\xFF\xD8\xFF", "image/jpeg"},
    {"GIF8", "image/gif"},
    {"rtfd", "application/rtfd"},
    {"{\\rtf", "application/rtf"},
    {"bplist00", "application/x-plist"},
};

struct CivilTime {
    std::int64_t year;
    unsigned month, day, hour, minute, second, millisecond;
};

/// The proleptic Gregorian date of a count of milliseconds since 1970, by days in eras of 400 years that begin on 1
/// March.
CivilTime civilTime(std::int64_t unixMilliseconds) {
    constexpr std::int64_t kDayMilliseconds = 86'400'000;
    std::int64_t days = unixMilliseconds / kDayMilliseconds;
    std::int64_t rest = unixMilliseconds % kDayMilliseconds;
    if (rest < 0) {
        rest += kDayMilliseconds;
        --days;
    }
    constexpr std::int64_t kDaysToMarchOfYear0 = 719'468;
    constexpr std::int64_t kDaysPerEra = 146'097;
    const std::int64_t shifted = days + kDaysToMarchOfYear0;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - kDaysPerEra + 1) / kDaysPerEra;
    const std::int64_t dayOfEra = shifted - era * kDaysPerEra;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t marchMonth = (5 * dayOfYear + 2) / 153;
    CivilTime time{};
    time.day = static_cast<unsigned>(dayOfYear - (153 * marchMonth + 2) / 5 + 1);
    time.month = static_cast<unsigned>(marchMonth < 10 ? marchMonth + 3 : marchMonth - 9);
    time.year = yearOfEra + era * 400 + (time.month <= 2 ? 1 : 0);
    time.hour = static_cast<unsigned>(rest / 3'600'000);
    time.minute = static_cast<unsigned>(rest / 60'000 % 60);
    time.second = static_cast<unsigned>(rest / 1000 % 60);
    time.millisecond = static_cast<unsigned>(rest % 1000);
    return time;
}

class Writer {
public:
    explicit Writer(JsonWriteOptions options) : options_(options) {}

    void write(const Value& value) {
        std::visit([this](const auto& alternative) { write(alternative); }, value.variant());
    }
    [[nodiscard]] std::string take() { return std::move(out_); }

private:
    void write(Null) { out_ += "null"; }
    void write(bool value) { out_ += value ? "true" : "false"; }
    void write(std::int64_t value) { out_ += std::to_string(value); }

    void write(double value) {
        if (!std::isfinite(value)) {
            out_ += "null";
            return;
        }
        std::array<char, 32> text{};
        const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
        const std::string_view number(text.data(), static_cast<std::size_t>(end - text.data()));
        out_ += number;
        if (number.find_first_of(".e") == std::string_view::npos) out_ += ".0";
    }

    void write(const std::u16string& string) {
        out_ += '"';
        for (std::size_t i = 0; i < string.size(); ++i) {
            const char16_t unit = string[i];
            const bool isPair = isHighSurrogate(unit) && i + 1 < string.size() && isLowSurrogate(string[i + 1]);
            if (isPair) {
                out_ += utf8FromUtf16(std::u16string_view(string).substr(i++, 2));
            } else if (mustBeEscaped(unit)) {
                writeEscaped(unit);
            } else if (unit < 0x80) {
                out_ += static_cast<char>(unit);
            } else {
                out_ += utf8FromUtf16(std::u16string_view(&unit, 1));
            }
        }
        out_ += '"';
    }

    static bool mustBeEscaped(char16_t unit) noexcept {
        return unit < 0x20 || unit == u'"' || unit == u'\\' || unit == 0x7F || unit == 0x2028 || unit == 0x2029 ||
               isSurrogate(unit);
    }

    void writeEscaped(char16_t unit) {
        switch (unit) {
            case u'"':
                out_ += "\\\"";
                return;
            case u'\\':
                out_ += "\\\\";
                return;
            case u'\n':
                out_ += "\\n";
                return;
            case u'\t':
                out_ += "\\t";
                return;
            case u'\r':
                out_ += "\\r";
                return;
            case u'\b':
                out_ += "\\b";
                return;
            case u'\f':
                out_ += "\\f";
                return;
            default:
                break;
        }
        out_ += "\\u";
        for (int shift = 12; shift >= 0; shift -= 4)
            out_ += kHexDigits[(unit >> shift) & 0xF];
    }

    void write(const Data& data) {
        if (options_.data == JsonData::base64) {
            out_ += "{\"base64\": \"" + base64FromBytes(data.span()) + "\"}";
        } else {
            out_ += "{\"bytes\": " + std::to_string(data.length()) + ", \"type\": \"";
            out_.append(mediaTypeOfData(data)).append("\"}");
        }
    }

    void write(Date date) {
        // Beyond the years that four digits hold, and for what is no time at all, the plain number says more.
        constexpr double kFirstYear = -62'135'596'800.0;
        constexpr double kLastYear = 253'402'300'800.0;
        const double seconds = date.unixSeconds();
        if (options_.date == JsonDate::unixSeconds || !(seconds >= kFirstYear && seconds < kLastYear)) {
            out_ += "{\"date\": ";
            write(seconds);
            out_ += '}';
            return;
        }
        const CivilTime time = civilTime(static_cast<std::int64_t>(std::floor(seconds * 1000 + 0.5)));
        out_ += '"';
        writePadded(static_cast<unsigned>(time.year), 4);
        const std::pair<char, unsigned> parts[] = {
            {'-', time.month}, {'-', time.day}, {'T', time.hour}, {':', time.minute}, {':', time.second}};
        for (const auto& [separator, number] : parts) {
            out_ += separator;
            writePadded(number, 2);
        }
        if (time.millisecond != 0) {
            out_ += '.';
            writePadded(time.millisecond, 3);
        }
        out_ += "Z\"";
    }

    void writePadded(unsigned number, std::size_t digits) {
        const std::string text = std::to_string(number);
        if (text.size() < digits) out_.append(digits - text.size(), '0');
        out_ += text;
    }

    void write(const Array& array) {
        writeContainer('[', ']', array, [this](const Value& value) { write(value); });
    }

    void write(const Dictionary& dictionary) {
        writeContainer('{', '}', dictionary, [this](const DictionaryEntry& entry) {
            write(entry.key);
            out_ += ": ";
            write(entry.value);
        });
    }

    template <class Container, class WriteElement>
    void writeContainer(char open, char close, const Container& elements, WriteElement writeElement) {
        out_ += open;
        ++level_;
        bool first = true;
        for (const auto& element : elements) {
            if (!first) out_ += options_.indent > 0 ? "," : ", ";
            first = false;
            breakLine();
            writeElement(element);
        }
        --level_;
        if (!first) breakLine();
        out_ += close;
    }

    void breakLine() {
        if (options_.indent <= 0) return;
        out_ += '\n';
        out_.append(static_cast<std::size_t>(level_) * static_cast<std::size_t>(options_.indent), ' ');
    }

    JsonWriteOptions options_;
    std::string out_;
    int level_ = 0;
};

}  // namespace

std::string_view mediaTypeOfData(const Data& data) noexcept {
    for (const auto& signature : kSignatures) {
        if (data.view().substr(0, signature.prefix.size()) == signature.prefix) return signature.mediaType;
    }
    return "application/octet-stream";
}

std::string jsonFromValue(const Value& value, JsonWriteOptions options) {
    Writer writer(options);
    writer.write(value);
    return writer.take();
}

}  // namespace halden
