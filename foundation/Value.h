// Property-list values: what documents say of themselves, and what crosses the connection.
#pragma once

#include "foundation/Data.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

namespace halden {

class Value;
struct DictionaryEntry;

/// The null object: a value that stands for no value inside an array or a dictionary.
struct Null {
    friend bool operator==(Null, Null) noexcept { return true; }
};

/// A point in time, in seconds since 2001-01-01T00:00:00Z (leap seconds not counted).
struct Date {
    /// Seconds from 1970-01-01T00:00:00Z to the reference date.
    static constexpr double kUnixEpochOffset = 978307200.0;

    double secondsSinceReferenceDate = 0;

    [[nodiscard]] static Date fromUnixSeconds(double seconds) noexcept { return {seconds - kUnixEpochOffset}; }
    [[nodiscard]] double unixSeconds() const noexcept { return secondsSinceReferenceDate + kUnixEpochOffset; }
    friend bool operator==(Date, Date) noexcept = default;
};

using Array = std::vector<Value>;

/// Keys (UTF-16) with their values, in the order in which the keys were first set.
///
/// Setting a key that exists replaces its value and keeps its place. Look-up is by exact units; it is linear for small
/// dictionaries and hashed for large ones. References and iterators are valid until the next change.
class Dictionary {
public:
    using Entry = DictionaryEntry;
    using const_iterator = const DictionaryEntry*;

    Dictionary();
    /// Later entries replace earlier ones with the same key.
    Dictionary(std::initializer_list<DictionaryEntry> entries);
    Dictionary(const Dictionary&);
    Dictionary(Dictionary&&) noexcept;
    Dictionary& operator=(const Dictionary&);
    Dictionary& operator=(Dictionary&&) noexcept;
    ~Dictionary();

    [[nodiscard]] std::size_t size() const noexcept;
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    void set(std::u16string key, Value value);
    /// Returns whether the key was there.
    bool remove(std::u16string_view key);
    /// Drops every entry whose value `shouldRemove` accepts; the others keep their order.
    void removeIf(bool (*shouldRemove)(const Value&));
    void clear();

    /// The value of `key`, or a null pointer.
    [[nodiscard]] const Value* find(std::u16string_view key) const noexcept;
    [[nodiscard]] Value* find(std::u16string_view key) noexcept;
    [[nodiscard]] bool contains(std::u16string_view key) const noexcept { return find(key) != nullptr; }

    [[nodiscard]] const_iterator begin() const noexcept;
    [[nodiscard]] const_iterator end() const noexcept;

    /// Equal keys with equal values; the order does not count.
    friend bool operator==(const Dictionary& a, const Dictionary& b);

private:
    [[nodiscard]] std::size_t indexOf(std::u16string_view key) const noexcept;
    void rebuildIndex();

    std::vector<DictionaryEntry> entries_;
    // Hash of the key to its place in entries_; only kept once there are many entries.
    std::unordered_multimap<std::size_t, std::size_t> index_;
};

/// One property-list value: null, bool, integer, double, string, data, date, array or dictionary.
///
/// A documented float is a double rounded to single precision. A value type: a copy is independent (data bytes are
/// shared, since they never change).
class Value {
public:
    using Variant = std::variant<Null, bool, std::int64_t, double, std::u16string, Data, Date, Array, Dictionary>;

    Value() noexcept = default;
    Value(Null) noexcept {}
    Value(bool value) noexcept : variant_(value) {}
    Value(std::int64_t value) noexcept : variant_(value) {}
    Value(int value) noexcept : variant_(static_cast<std::int64_t>(value)) {}
    Value(double value) noexcept : variant_(value) {}
    Value(std::u16string value) noexcept : variant_(std::move(value)) {}
    Value(std::u16string_view value) : variant_(std::u16string(value)) {}
    Value(const char16_t* value) : variant_(std::u16string(value)) {}
    Value(Data value) noexcept : variant_(std::move(value)) {}
    Value(Date value) noexcept : variant_(value) {}
    Value(Array value) noexcept : variant_(std::move(value)) {}
    Value(Dictionary value) noexcept : variant_(std::move(value)) {}
    /// Any other pointer would silently become a bool.
    template <class T>
    Value(const T*) = delete;

    /// The alternative `T`, or a null pointer when the value is of another kind.
    template <class T>
    [[nodiscard]] const T* as() const noexcept {
        return std::get_if<T>(&variant_);
    }
    template <class T>
    [[nodiscard]] T* as() noexcept {
        return std::get_if<T>(&variant_);
    }
    template <class T>
    [[nodiscard]] bool is() const noexcept {
        return std::holds_alternative<T>(variant_);
    }
    [[nodiscard]] bool isNull() const noexcept { return is<Null>(); }

    [[nodiscard]] const Variant& variant() const noexcept { return variant_; }
    [[nodiscard]] Variant& variant() noexcept { return variant_; }

    /// Same kind and equal contents: an integer never equals a double or a bool. NaN equals nothing.
    friend bool operator==(const Value& a, const Value& b) { return a.variant_ == b.variant_; }

private:
    Variant variant_;
};

struct DictionaryEntry {
    std::u16string key;
    Value value;
};

}  // namespace halden
