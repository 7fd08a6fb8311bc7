// Telling the forms apart, and the old text's way from bytes to characters.
#include "platform/plists/PropertyList.h"

#include "foundation/Unicode.h"
#include "platform/plists/Forms.h"

#include <algorithm>
#include <array>

namespace halden {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16BigMark = "\xFE\xFF";
constexpr std::string_view kUtf16LittleMark = "\xFF\xFE";

enum class ByteOrder { big, little };

bool isSpace(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// The 7-bit characters at the start of `bytes`, whatever Unicode form they are in; enough to tell the forms apart.
std::string asciiStart(std::string_view bytes) {
    constexpr std::size_t kEnough = 4096;
    bytes = bytes.substr(0, kEnough);
    if (bytes.starts_with(kUtf8Mark)) bytes.remove_prefix(kUtf8Mark.size());
    if (bytes.starts_with(kUtf16BigMark) || bytes.starts_with(kUtf16LittleMark)) bytes.remove_prefix(2);
    std::string ascii;
    std::copy_if(bytes.begin(), bytes.end(), std::back_inserter(ascii), [](char c) { return c != '\0'; });
    ascii.erase(ascii.begin(), std::find_if_not(ascii.begin(), ascii.end(), isSpace));
    return ascii;
}

/// The old form has data in angle brackets, so not everything that begins with one is XML: none of the names below
/// could be hexadecimal digits.
bool isXml(std::string_view start) {
    if (start.starts_with("<?") || start.starts_with("<!")) return true;
    if (!start.starts_with('<')) return false;
    start.remove_prefix(1);
    constexpr std::array<std::string_view, 10> kNames{"plist", "dict", "array", "string",  "key",
                                                      "data",  "date", "true",  "integer", "real"};
    const auto startsWith = [start](std::string_view name) { return start.starts_with(name); };
    return std::any_of(kNames.begin(), kNames.end(), startsWith) || start.starts_with("false");
}

std::u16string decodedUtf16(std::string_view bytes, ByteOrder order) {
    std::u16string text(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto first = static_cast<unsigned char>(bytes[2 * i]);
        const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
        text[i] = static_cast<char16_t>(order == ByteOrder::big ? first << 8 | second : second << 8 | first);
    }
    return text;
}

std::optional<Value> readUtf16Text(std::string_view bytes, ByteOrder order, PropertyListError& error) {
    if (bytes.size() % 2 != 0) {
        error = {"the UTF-16 text ends inside a unit", bytes.size(), 0};
        return std::nullopt;
    }
    auto value = plists::readOldText(decodedUtf16(bytes.substr(2), order), error);
    if (!value) error.offset = 2 + 2 * error.offset;
    return value;
}

std::optional<Value> readUtf8Text(std::string_view bytes, PropertyListError& error) {
    const std::size_t mark = bytes.starts_with(kUtf8Mark) ? kUtf8Mark.size() : 0;
    const auto text = strictUtf16FromUtf8(bytes.substr(mark));
    if (!text) {
        error = {"neither XML nor binary, and no UTF-8 text", 0, 0};
        return std::nullopt;
    }
    auto value = plists::readOldText(*text, error);
    if (!value) error.offset = mark + utf8FromUtf16(std::u16string_view(*text).substr(0, error.offset)).size();
    return value;
}

std::optional<Value> readAnyForm(const Data& data, PropertyListError& error) {
    const std::string_view bytes = data.view();
    if (bytes.starts_with("bplist")) return plists::readBinary(data, error);
    if (isXml(asciiStart(bytes))) return plists::readXml(data, error);
    if (bytes.starts_with(kUtf16BigMark)) return readUtf16Text(bytes, ByteOrder::big, error);
    if (bytes.starts_with(kUtf16LittleMark)) return readUtf16Text(bytes, ByteOrder::little, error);
    return readUtf8Text(bytes, error);
}

}  // namespace

std::string PropertyListError::description() const {
    std::string place = "offset " + std::to_string(offset);
    if (line != 0) place = "line " + std::to_string(line) + ", " + place;
    return message + " (" + place + ")";
}

std::optional<Value> propertyListFromData(const Data& data, PropertyListError* error) {
    PropertyListError reason;
    std::optional<Value> value = readAnyForm(data, reason);
    if (!value && error != nullptr) *error = std::move(reason);
    return value;
}

}  // namespace halden
