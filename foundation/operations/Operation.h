// The library's operations as rows of a table: each has its documented name, the names of its arguments, and a function
// that takes property-list values and gives one. The conversions between values and the types of the C++ function are
// worked out from its signature, so that a row is one line:
//
//     method<stringByTrimmingQuotes>("stringByTrimmingQuotes", "string"),
//
// Forms that a plain signature does not say (several results, options) are small functions written beside the rows.
#pragma once

#include "foundation/Data.h"
#include "foundation/Range.h"
#include "foundation/Value.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace halden::operations {

/// What an argument may be, and what a result is.
enum class Kind { nothing, string, boolean, number, data, range, strings, date, any };

/// The word for it in lists and messages.
[[nodiscard]] std::string_view nameOfKind(Kind kind) noexcept;

struct Parameter {
    Kind kind = Kind::any;
    bool nullable = false;
};

/// An argument is not what the operation takes. The text says which one, and what is wanted.
class ArgumentError : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

/// A row of the table.
struct Operation {
    std::string_view name;            ///< with its colons
    std::string_view parameterNames;  ///< separated by blanks; a method's receiver comes first
    std::span<const Parameter> parameters;
    Parameter result;
    /// Whether the first argument is the receiver. Nothing happens when that is nil, and the result is nil, NO or 0,
    /// unless the parameter is nullable.
    bool hasReceiver = false;
    Value (*call)(std::span<const Value> arguments) = nullptr;
};

/// Calls with as many arguments as the operation has parameters; throws ArgumentError when they do not fit.
[[nodiscard]] Value perform(const Operation& operation, std::span<const Value> arguments);

// --- From values ---------------------------------------------------------------------------------------------------

[[noreturn]] void throwWrongKind(std::size_t index, Kind wanted);

/// How an argument of type T is made; `type` is what is kept while the operation runs.
template <class T>
struct Argument;

template <>
struct Argument<std::u16string_view> {
    static constexpr Parameter kParameter{Kind::string, false};
    static std::u16string_view from(const Value& value, std::size_t index) {
        const auto* string = value.as<std::u16string>();
        if (string == nullptr) throwWrongKind(index, Kind::string);
        return *string;
    }
};

template <>
struct Argument<std::u16string> {
    static constexpr Parameter kParameter{Kind::string, false};
    static std::u16string from(const Value& value, std::size_t index) {
        return std::u16string(Argument<std::u16string_view>::from(value, index));
    }
};

template <>
struct Argument<bool> {
    static constexpr Parameter kParameter{Kind::boolean, false};
    static bool from(const Value& value, std::size_t index) {
        const auto* flag = value.as<bool>();
        if (flag == nullptr) throwWrongKind(index, Kind::boolean);
        return *flag;
    }
};

/// A whole number within [low, high]; doubles without fraction count.
[[nodiscard]] std::int64_t integerFrom(const Value& value, std::size_t index, std::int64_t low, std::int64_t high);
[[nodiscard]] double doubleFrom(const Value& value, std::size_t index);

template <class T>
    requires((std::integral<T> && !std::same_as<T, bool>) || std::same_as<T, char16_t>)
struct Argument<T> {
    static constexpr Parameter kParameter{Kind::number, false};
    static T from(const Value& value, std::size_t index) {
        constexpr std::int64_t kHigh =
            sizeof(T) < 8 ? static_cast<std::int64_t>(std::numeric_limits<T>::max()) : INT64_MAX;
        return static_cast<T>(
            integerFrom(value, index, static_cast<std::int64_t>(std::numeric_limits<T>::min()), kHigh));
    }
};

template <>
struct Argument<double> {
    static constexpr Parameter kParameter{Kind::number, false};
    static double from(const Value& value, std::size_t index) { return doubleFrom(value, index); }
};

template <>
struct Argument<Data> {
    static constexpr Parameter kParameter{Kind::data, false};
    /// Data, or their form in JSON: {"base64": "..."}.
    static Data from(const Value& value, std::size_t index);
};

template <>
struct Argument<Range> {
    static constexpr Parameter kParameter{Kind::range, false};
    /// [location, length], the location null for none.
    static Range from(const Value& value, std::size_t index);
};

template <>
struct Argument<std::vector<std::u16string>> {
    static constexpr Parameter kParameter{Kind::strings, false};
    static std::vector<std::u16string> from(const Value& value, std::size_t index);
};

template <>
struct Argument<Date> {
    static constexpr Parameter kParameter{Kind::date, false};
    /// {"date": seconds since 1970}.
    static Date from(const Value& value, std::size_t index);
};

template <>
struct Argument<Value> {
    static constexpr Parameter kParameter{Kind::any, true};
    static Value from(const Value& value, std::size_t) { return value; }
};

template <class T>
struct Argument<std::optional<T>> {
    static constexpr Parameter kParameter{Argument<T>::kParameter.kind, true};
    static std::optional<T> from(const Value& value, std::size_t index) {
        if (value.isNull()) return std::nullopt;
        return Argument<T>::from(value, index);
    }
};

// --- To values -----------------------------------------------------------------------------------------------------

/// How a result of type T becomes a value; `kNil` is what a nil receiver answers.
template <class T>
struct Result {  // Value, Dictionary, Array and what else a Value is made of
    static constexpr Parameter kParameter{Kind::any, true};
    static Value nil() { return Value(); }
    static Value value(T result) { return Value(std::move(result)); }
};

template <class T>
    requires(std::same_as<T, std::u16string> || std::same_as<T, std::u16string_view>)
struct Result<T> {
    static constexpr Parameter kParameter{Kind::string, false};
    static Value nil() { return Value(); }
    static Value value(T result) { return Value(std::move(result)); }
};

template <>
struct Result<bool> {
    static constexpr Parameter kParameter{Kind::boolean, false};
    static Value nil() { return Value(false); }
    static Value value(bool result) { return Value(result); }
};

template <class T>
    requires((std::integral<T> && !std::same_as<T, bool>) || std::same_as<T, char16_t>)
struct Result<T> {
    static constexpr Parameter kParameter{Kind::number, false};
    static Value nil() { return Value(0); }
    static Value value(T result) { return Value(static_cast<std::int64_t>(result)); }
};

template <>
struct Result<double> {
    static constexpr Parameter kParameter{Kind::number, false};
    static Value nil() { return Value(0); }
    static Value value(double result) { return Value(result); }
};

template <>
struct Result<Data> {
    static constexpr Parameter kParameter{Kind::data, false};
    static Value nil() { return Value(); }
    static Value value(Data result) { return Value(std::move(result)); }
};

template <>
struct Result<std::vector<std::uint8_t>> {
    static constexpr Parameter kParameter{Kind::data, false};
    static Value nil() { return Value(); }
    static Value value(std::vector<std::uint8_t> result) { return Value(Data(std::move(result))); }
};

template <>
struct Result<Range> {
    static constexpr Parameter kParameter{Kind::range, false};
    static Value nil() { return value(Range{0, 0}); }
    static Value value(Range range);
};

template <class T>
    requires(!std::same_as<T, std::uint8_t> && !std::same_as<T, Value>)
struct Result<std::vector<T>> {
    static constexpr Parameter kParameter{Result<T>::kParameter.kind == Kind::string ? Kind::strings : Kind::any,
                                          false};
    static Value nil() { return Value(); }
    static Value value(std::vector<T> results) {
        Array array;
        array.reserve(results.size());
        for (T& result : results)
            array.push_back(Result<T>::value(std::move(result)));
        return Value(std::move(array));
    }
};

template <class T>
struct Result<std::optional<T>> {
    static constexpr Parameter kParameter{Result<T>::kParameter.kind, true};
    static Value nil() { return Value(); }
    static Value value(std::optional<T> result) { return result ? Result<T>::value(*std::move(result)) : Value(); }
};

// --- Rows ----------------------------------------------------------------------------------------------------------

namespace detail {

template <class F>
struct Signature;

/// `first...` are the types of the parameters; a first parameter that is a mutable string is edited in place, and the
/// edited string is the result.
template <class R, class... A>
struct Signature<R (*)(A...)> {
    static constexpr bool kInPlace =
        sizeof...(A) > 0 && std::same_as<std::tuple_element_t<0, std::tuple<A..., void>>, std::u16string&>;
    using ResultType = std::conditional_t<kInPlace, std::u16string, std::remove_cvref_t<R>>;

    static constexpr std::array<Parameter, sizeof...(A)> kParameters{Argument<std::remove_cvref_t<A>>::kParameter...};

    template <auto function, std::size_t... I>
    static Value call([[maybe_unused]] std::span<const Value> values, std::index_sequence<I...>) {
        [[maybe_unused]] std::tuple<std::remove_cvref_t<A>...> arguments{
            Argument<std::remove_cvref_t<A>>::from(values[I], I)...};
        if constexpr (kInPlace) {
            static_cast<void>(function(std::get<I>(arguments)...));
            return Result<ResultType>::value(std::move(std::get<0>(arguments)));
        } else {
            return Result<ResultType>::value(function(std::forward<A>(std::get<I>(arguments))...));
        }
    }

    template <auto function>
    static Value call(std::span<const Value> values) {
        return call<function>(values, std::index_sequence_for<A...>());
    }

    template <auto function>
    static Value callMethod(std::span<const Value> values) {
        if (values[0].isNull() && !kParameters[0].nullable) return Result<ResultType>::nil();
        return call<function>(values);
    }
};

template <class R, class... A>
struct Signature<R (*)(A...) noexcept> : Signature<R (*)(A...)> {};

}  // namespace detail

/// The row of a free function or class method. `Function` is a function, or a lambda without captures.
template <auto Function>
[[nodiscard]] constexpr Operation function(std::string_view name, std::string_view parameterNames) {
    using Signature = detail::Signature<decltype(+Function)>;
    return {.name = name,
            .parameterNames = parameterNames,
            .parameters = Signature::kParameters,
            .result = Result<typename Signature::ResultType>::kParameter,
            .hasReceiver = false,
            .call = Signature::template call<+Function>};
}

/// The row of a method: its first parameter is the receiver.
template <auto Function>
[[nodiscard]] constexpr Operation method(std::string_view name, std::string_view parameterNames) {
    using Signature = detail::Signature<decltype(+Function)>;
    return {.name = name,
            .parameterNames = parameterNames,
            .parameters = Signature::kParameters,
            .result = Result<typename Signature::ResultType>::kParameter,
            .hasReceiver = true,
            .call = Signature::template callMethod<+Function>};
}

}  // namespace halden::operations
