#include "foundation/operations/Operation.h"

#include "foundation/Base64.h"
#include "foundation/Unicode.h"

#include <cmath>
#include <limits>

namespace halden::operations {
namespace {

/// The value of the only entry of a dictionary when its key is `key`, or a null pointer.
const Value* onlyEntry(const Value& value, std::u16string_view key) {
    const auto* dictionary = value.as<Dictionary>();
    return dictionary != nullptr && dictionary->size() == 1 ? dictionary->find(key) : nullptr;
}

std::size_t indexFrom(const Value& value, std::size_t index) {
    if (value.isNull()) return kNotFound;
    const auto* number = value.as<std::int64_t>();
    if (number == nullptr || *number < 0) throwWrongKind(index, Kind::range);
    return static_cast<std::size_t>(*number);
}

}  // namespace

std::string_view nameOfKind(Kind kind) noexcept {
    switch (kind) {
        case Kind::nothing:
            return "nothing";
        case Kind::string:
            return "string";
        case Kind::boolean:
            return "BOOL";
        case Kind::number:
            return "number";
        case Kind::data:
            return "data";
        case Kind::range:
            return "range";
        case Kind::strings:
            return "array of strings";
        case Kind::date:
            return "date";
        case Kind::any:
            return "value";
    }
    return "";
}

void throwWrongKind(std::size_t index, Kind wanted) {
    throw ArgumentError("argument " + std::to_string(index + 1) + " is no " + std::string(nameOfKind(wanted)));
}

Value perform(const Operation& operation, std::span<const Value> arguments) {
    const std::size_t wanted = operation.parameters.size();
    if (arguments.size() != wanted) {
        throw ArgumentError(std::to_string(wanted) + (wanted == 1 ? " argument is" : " arguments are") +
                            " needed, and there " + (arguments.size() == 1 ? "is " : "are ") +
                            std::to_string(arguments.size()));
    }
    return operation.call(arguments);
}

std::int64_t integerFrom(const Value& value, std::size_t index, std::int64_t low, std::int64_t high) {
    std::int64_t number = 0;
    if (const auto* integer = value.as<std::int64_t>()) {
        number = *integer;
    } else if (const auto* real = value.as<double>();
               real != nullptr && std::trunc(*real) == *real && std::abs(*real) <= 9007199254740992.0) {
        number = static_cast<std::int64_t>(*real);
    } else {
        throwWrongKind(index, Kind::number);
    }
    if (number < low || number > high) {
        throw ArgumentError("argument " + std::to_string(index + 1) + " is not within " + std::to_string(low) +
                            " and " + std::to_string(high));
    }
    return number;
}

double doubleFrom(const Value& value, std::size_t index) {
    if (const auto* real = value.as<double>()) return *real;
    if (const auto* integer = value.as<std::int64_t>()) return static_cast<double>(*integer);
    throwWrongKind(index, Kind::number);
}

Data Argument<Data>::from(const Value& value, std::size_t index) {
    if (const auto* data = value.as<Data>()) return *data;
    const Value* encoded = onlyEntry(value, u"base64");
    const auto* text = encoded != nullptr ? encoded->as<std::u16string>() : nullptr;
    auto bytes = text != nullptr ? bytesFromBase64(utf8FromUtf16(*text)) : std::nullopt;
    if (!bytes) throwWrongKind(index, Kind::data);
    return Data(*std::move(bytes));
}

Range Argument<Range>::from(const Value& value, std::size_t index) {
    const auto* pair = value.as<Array>();
    if (pair == nullptr || pair->size() != 2 || (*pair)[1].isNull()) throwWrongKind(index, Kind::range);
    return {indexFrom((*pair)[0], index), indexFrom((*pair)[1], index)};
}

std::vector<std::u16string> Argument<std::vector<std::u16string>>::from(const Value& value, std::size_t index) {
    const auto* array = value.as<Array>();
    if (array == nullptr) throwWrongKind(index, Kind::strings);
    std::vector<std::u16string> strings;
    strings.reserve(array->size());
    for (const Value& element : *array) {
        const auto* string = element.as<std::u16string>();
        if (string == nullptr) throwWrongKind(index, Kind::strings);
        strings.push_back(*string);
    }
    return strings;
}

Date Argument<Date>::from(const Value& value, std::size_t index) {
    if (const auto* date = value.as<Date>()) return *date;
    const Value* seconds = onlyEntry(value, u"date");
    if (seconds == nullptr) throwWrongKind(index, Kind::date);
    return Date::fromUnixSeconds(doubleFrom(*seconds, index));
}

Value Result<Range>::value(Range range) {
    return Value(Array{range.found() ? Value(static_cast<std::int64_t>(range.location)) : Value(),
                       Value(static_cast<std::int64_t>(range.length))});
}

}  // namespace halden::operations
