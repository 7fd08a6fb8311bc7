#include "foundation/TextEncoding.h"
#include "foundation/UnicodeConverters.h"
#include "foundation/operations/Operations.h"

#include <array>

namespace halden::operations {
namespace {

/// No buffer that a caller describes may be larger.
constexpr std::uint32_t kLargestCapacity = 1U << 28;

std::size_t checkedCapacity(std::uint32_t capacity) {
    if (capacity > kLargestCapacity) throw ArgumentError("the capacity is too large");
    return capacity;
}

/// The service says how much it has written only of some conversions. Written units are told from others by a second
/// conversion with other filling: where the two buffers agree up to, that was written.
template <class Buffer, class Convert>
Buffer writtenPart(std::size_t capacity, Convert convert) {
    Buffer first(capacity, 0x00);
    Buffer second(capacity, 0x7F);
    convert(first);
    convert(second);
    std::size_t length = 0;
    while (length < capacity && first[length] == second[length])
        ++length;
    first.resize(length);
    return first;
}

Dictionary utf8ToUnicode(const Data& data, std::uint32_t capacity) {
    int status = 0;
    auto units = writtenPart<std::u16string>(
        checkedCapacity(capacity), [&](std::u16string& buffer) { status = convertUTF8ToUnicode(data.view(), buffer); });
    return {{u"result", status}, {u"string", std::move(units)}};
}

Dictionary unicodeToUtf8(std::u16string_view string, std::uint32_t capacity) {
    int status = 0;
    const auto bytes = writtenPart<std::string>(
        checkedCapacity(capacity), [&](std::string& buffer) { status = convertUnicodeToUTF8(string, buffer); });
    return {{u"result", status}, {u"data", Data::copying(bytes)}};
}

Dictionary encodingToUnicode(const Data& data, CFStringEncoding encoding, std::uint32_t capacity) {
    std::u16string units(checkedCapacity(capacity), u'\0');
    std::size_t written = 0;
    const int result = convertEncodingToUnicode(data.view(), encoding, units, written);
    units.resize(written);
    return {{u"result", result}, {u"string", std::move(units)}};
}

Value initConverters() {
    initUnicodeConverters();
    return Value();
}

constexpr auto kOperations = std::to_array<Operation>({
    function<CFStringConvertEncodingToNSStringEncoding>("CFStringConvertEncodingToNSStringEncoding", "encoding"),
    function<CFStringConvertNSStringEncodingToEncoding>("CFStringConvertNSStringEncodingToEncoding", "encoding"),
    function<CFStringIsEncodingAvailable>("CFStringIsEncodingAvailable", "encoding"),
    function<initConverters>("initUnicodeConverters", ""),
    function<utf8ToUnicode>("convertUTF8ToUnicode", "data capacity"),
    function<unicodeToUtf8>("convertUnicodeToUTF8", "string capacity"),
    function<encodingToUnicode>("convertEncodingToUnicode", "data encoding capacity"),
});

}  // namespace

std::span<const Operation> encodingOperations() {
    return kOperations;
}

}  // namespace halden::operations
