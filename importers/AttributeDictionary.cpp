#include "importers/AttributeDictionary.h"

#include "foundation/Exception.h"
#include "foundation/Unicode.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace quarry {
namespace {

using halden::Array;
using halden::Data;
using halden::Date;
using halden::Dictionary;
using halden::Null;
using halden::Value;

constexpr std::size_t kMaxDepth = 16;
// No object is longer; a negative number that was made a length is.
constexpr std::size_t kMaxLength = PTRDIFF_MAX;

AttributeDictionary& dictionaryOf(quarry_attributes* attributes) {
    return *static_cast<AttributeDictionary*>(attributes);
}

std::u16string textOf(const char* utf8, std::size_t length) {
    const std::string_view bytes(utf8, length == QUARRY_ZERO_TERMINATED ? std::strlen(utf8) : length);
    // The lenient reader keeps surrogates that are spelled in three bytes; to an importer they are ill-formed.
    std::u16string text = halden::utf16FromUtf8(bytes);
    if (!halden::isWellFormed(text)) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            const bool isPair =
                halden::isHighSurrogate(text[i]) && i + 1 < text.size() && halden::isLowSurrogate(text[i + 1]);
            if (isPair)
                ++i;
            else if (halden::isSurrogate(text[i]))
                text[i] = halden::kReplacementCharacter;
        }
    }
    return text;
}

/// Puts a value made by `make` under a key. An importer in C cannot be unwound: running out of memory is answered with
/// 0.
template <class Make>
int put(quarry_attributes* attributes, const char* key, Make make) noexcept {
    return halden::guarded([&] { return dictionaryOf(attributes).set(key, make()) ? 1 : 0; }, 0);
}

int setNull(quarry_attributes* self, const char* key) {
    return put(self, key, [] { return Value(Null()); });
}
int setBool(quarry_attributes* self, const char* key, int value) {
    return put(self, key, [=] { return Value(value != 0); });
}
int setInteger(quarry_attributes* self, const char* key, std::int64_t value) {
    return put(self, key, [=] { return Value(value); });
}
int setReal(quarry_attributes* self, const char* key, double value) {
    return put(self, key, [=] { return Value(value); });
}
int setDate(quarry_attributes* self, const char* key, double unixSeconds) {
    return put(self, key, [=] { return Value(Date::fromUnixSeconds(unixSeconds)); });
}
int setString(quarry_attributes* self, const char* key, const char* utf8, std::size_t length) {
    if (utf8 == nullptr || (length > kMaxLength && length != QUARRY_ZERO_TERMINATED)) return 0;
    return put(self, key, [=] { return Value(textOf(utf8, length)); });
}
int setData(quarry_attributes* self, const char* key, const void* bytes, std::size_t length) {
    if ((bytes == nullptr && length > 0) || length > kMaxLength) return 0;
    return put(self, key, [=] { return Value(Data::copying({static_cast<const std::uint8_t*>(bytes), length})); });
}

int openArray(quarry_attributes* self, const char* key) {
    return halden::guarded([=] { return dictionaryOf(self).open(key, Array()) ? 1 : 0; }, 0);
}
int openDictionary(quarry_attributes* self, const char* key) {
    return halden::guarded([=] { return dictionaryOf(self).open(key, Dictionary()) ? 1 : 0; }, 0);
}
int closeContainer(quarry_attributes* self) {
    return halden::guarded([=] { return dictionaryOf(self).close() ? 1 : 0; }, 0);
}
int removeKey(quarry_attributes* self, const char* key) {
    return halden::guarded([=] { return dictionaryOf(self).remove(key) ? 1 : 0; }, 0);
}

struct KindOf {
    quarry_kind operator()(const Null&) const { return QUARRY_NULL; }
    quarry_kind operator()(const bool&) const { return QUARRY_BOOL; }
    quarry_kind operator()(const std::int64_t&) const { return QUARRY_INTEGER; }
    quarry_kind operator()(const double&) const { return QUARRY_REAL; }
    quarry_kind operator()(const Date&) const { return QUARRY_DATE; }
    quarry_kind operator()(const std::u16string&) const { return QUARRY_STRING; }
    quarry_kind operator()(const Data&) const { return QUARRY_DATA; }
    quarry_kind operator()(const Array&) const { return QUARRY_ARRAY; }
    quarry_kind operator()(const Dictionary&) const { return QUARRY_DICTIONARY; }
};

quarry_kind kindOf(quarry_attributes* self, const char* key) {
    const auto look = [=] {
        const Value* value = dictionaryOf(self).find(key);
        return value != nullptr ? std::visit(KindOf(), value->variant()) : QUARRY_ABSENT;
    };
    return halden::guarded(look, QUARRY_ABSENT);
}

std::size_t countEntries(quarry_attributes* self) {
    return dictionaryOf(self).count();
}

std::size_t getString(quarry_attributes* self, const char* key, char* buffer, std::size_t capacity) {
    const auto look = [=]() -> std::size_t {
        const Value* value = dictionaryOf(self).find(key);
        const auto* text = value != nullptr ? value->as<std::u16string>() : nullptr;
        if (text == nullptr) return SIZE_MAX;
        const std::string utf8 = halden::utf8FromUtf16(*text);
        if (buffer != nullptr && capacity > 0) {
            std::size_t length = std::min(utf8.size(), capacity - 1);
            // Step back out of a character that does not fit whole.
            while (length < utf8.size() && length > 0 && (utf8[length] & 0xC0) == 0x80)
                --length;
            std::memcpy(buffer, utf8.data(), length);
            buffer[length] = '\0';
        }
        return utf8.size();
    };
    return halden::guarded(look, SIZE_MAX);
}

constexpr quarry_attributes_functions kFunctions = {
    sizeof(quarry_attributes_functions),
    QUARRY_IMPORTER_VERSION,
    setNull,
    setBool,
    setInteger,
    setReal,
    setDate,
    setString,
    setData,
    openArray,
    openDictionary,
    closeContainer,
    removeKey,
    kindOf,
    countEntries,
    getString,
};

}  // namespace

AttributeDictionary::AttributeDictionary() : quarry_attributes{&kFunctions} {}

Value& AttributeDictionary::innermost() noexcept {
    return open_.empty() ? root_ : open_.back().container;
}
const Value& AttributeDictionary::innermost() const noexcept {
    return open_.empty() ? root_ : open_.back().container;
}

bool AttributeDictionary::set(const char* key, Value value) {
    if (auto* array = innermost().as<Array>()) {
        array->push_back(std::move(value));
        return true;
    }
    if (key == nullptr) return false;
    innermost().as<Dictionary>()->set(textOf(key, QUARRY_ZERO_TERMINATED), std::move(value));
    return true;
}

bool AttributeDictionary::open(const char* key, Value container) {
    const bool isInArray = innermost().is<Array>();
    if ((key == nullptr && !isInArray) || open_.size() >= kMaxDepth) return false;
    open_.push_back({isInArray ? std::u16string() : textOf(key, QUARRY_ZERO_TERMINATED), std::move(container)});
    return true;
}

bool AttributeDictionary::close() {
    if (open_.empty()) return false;
    OpenContainer closed = std::move(open_.back());
    open_.pop_back();
    if (auto* array = innermost().as<Array>()) {
        array->push_back(std::move(closed.container));
    } else {
        innermost().as<Dictionary>()->set(std::move(closed.key), std::move(closed.container));
    }
    return true;
}

bool AttributeDictionary::remove(const char* key) {
    auto* dictionary = innermost().as<Dictionary>();
    return dictionary != nullptr && key != nullptr && dictionary->remove(textOf(key, QUARRY_ZERO_TERMINATED));
}

const Value* AttributeDictionary::find(const char* key) const {
    const auto* dictionary = innermost().as<Dictionary>();
    return dictionary != nullptr && key != nullptr ? dictionary->find(textOf(key, QUARRY_ZERO_TERMINATED)) : nullptr;
}

std::size_t AttributeDictionary::count() const {
    if (const auto* array = innermost().as<Array>()) return array->size();
    return innermost().as<Dictionary>()->size();
}

Dictionary AttributeDictionary::take() {
    while (close()) {
    }
    return std::exchange(*root_.as<Dictionary>(), Dictionary());
}

}  // namespace quarry
