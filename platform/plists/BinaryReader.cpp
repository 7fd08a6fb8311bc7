// The binary form.
//
//   "bplist00"
//   objects, one after the other
//   offset table: for each object its place in the file, big-endian, a fixed number of bytes each
//   trailer, 32 bytes: 5 unused, 1 sort version, 1 bytes per offset, 1 bytes per reference,
//                      8 number of objects, 8 the top object, 8 place of the offset table
//
// An object is a marker byte and what belongs to it. In the low half n of a marker with a length, 15 says that an
// integer object with the length follows.
//   00 null   08 false   09 true
//   1n integer of 2^n bytes: up to 4 bytes unsigned, 8 and 16 signed
//   22 float, 23 double      33 date: a double, seconds since 2001-01-01T00:00:00Z
//   4n n bytes of data   5n n ASCII characters   6n n UTF-16 units, big-endian   7n n bytes of UTF-8
//   8n UID of n + 1 bytes
//   An array: n references   Dn dictionary: n references to keys, then n to values
// All numbers are big-endian. A reference is the number of an object in the offset table.
#include "foundation/Unicode.h"
#include "platform/plists/Forms.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

namespace halden::plists {
namespace {

constexpr std::size_t kHeaderLength = 8;
constexpr std::size_t kTrailerLength = 32;

// Objects that are referred to many times are copied each time, so a small file can unfold to any size. What a file
// needs whose containers and long strings are not shared is less than this many times its length: a reference of one
// byte to a string of kLongestSharedString units.
constexpr std::size_t kFreeExpansion = std::size_t{16} << 20;
constexpr std::size_t kMaxExpansion = 160;
constexpr std::size_t kMostExpansion = std::size_t{1} << 30;
static_assert(sizeof(Value) + 2 * kLongestSharedString <= kMaxExpansion);
static_assert(sizeof(DictionaryEntry) + 4 * kLongestSharedString <= 2 * kMaxExpansion);

enum Kind : unsigned {
    kSimple = 0x0,
    kInteger = 0x1,
    kReal = 0x2,
    kDate = 0x3,
    kData = 0x4,
    kAscii = 0x5,
    kUtf16 = 0x6,
    kUtf8 = 0x7,
    kUid = 0x8,
    kArray = 0xA,
    kDictionary = 0xD,
};

class Reader {
public:
    Reader(const Data& data, PropertyListError& error)
        : data_(data),
          error_(error),
          budget_(std::min(kMostExpansion, kFreeExpansion + kMaxExpansion * std::min(data.length(), kMostExpansion))) {}

    std::optional<Value> read() {
        if (!data_.view().starts_with("bplist00")) return fail("a version of the binary form that is unknown", 6);
        if (!readTrailer()) return std::nullopt;
        isOpen_.resize(objectCount_);
        return readObject(topObject_, 0);
    }

private:
    /// Where an object's contents lie.
    struct Object {
        std::size_t marker;
        unsigned kind;
        unsigned low;
        std::size_t contents;
    };

    std::nullopt_t fail(const char* message, std::size_t offset) {
        error_ = {message, offset, 0};
        return std::nullopt;
    }

    bool refuse(const char* message, std::size_t offset) {
        fail(message, offset);
        return false;
    }

    /// `length` is at most 8 and the range lies in the file.
    [[nodiscard]] std::uint64_t number(std::size_t offset, std::size_t length) const {
        std::uint64_t result = 0;
        for (std::size_t i = 0; i < length; ++i)
            result = result << 8 | data_.bytes()[offset + i];
        return result;
    }

    bool readTrailer() {
        const std::size_t length = data_.length();
        if (length < kHeaderLength + kTrailerLength) return refuse("too short for a trailer", length);
        const std::size_t trailer = length - kTrailerLength;
        offsetSize_ = data_.bytes()[trailer + 6];
        referenceSize_ = data_.bytes()[trailer + 7];
        if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8) {
            return refuse("a size in the trailer that is impossible", trailer + 6);
        }
        const std::uint64_t count = number(trailer + 8, 8);
        const std::uint64_t top = number(trailer + 16, 8);
        const std::uint64_t table = number(trailer + 24, 8);
        if (table <= kHeaderLength || table > trailer) {
            return refuse("an offset table outside the file", trailer + 24);
        }
        if (count > (trailer - table) / offsetSize_) {
            return refuse("more objects than the offset table holds", trailer + 8);
        }
        if (top >= count) return refuse("a top object that does not exist", trailer + 16);
        objectCount_ = static_cast<std::size_t>(count);
        topObject_ = static_cast<std::size_t>(top);
        tableOffset_ = static_cast<std::size_t>(table);
        return true;
    }

    /// Whether `count` items of `size` bytes from `offset` end before the offset table.
    bool requireRoom(std::size_t offset, std::uint64_t count, std::size_t size) {
        if (offset <= tableOffset_ && count <= (tableOffset_ - offset) / size) return true;
        fail("an object that is longer than the file", offset);
        return false;
    }

    bool charge(std::size_t bytes, std::size_t offset) {
        if (bytes > budget_) return refuse("shared objects that unfold to too much", offset);
        budget_ -= bytes;
        return true;
    }

    std::optional<Value> readObject(std::size_t index, int depth) {
        const std::uint64_t offset = number(tableOffset_ + index * offsetSize_, offsetSize_);
        if (offset < kHeaderLength || offset >= tableOffset_) {
            return fail("an object outside the file", tableOffset_ + index * offsetSize_);
        }
        const auto marker = static_cast<std::size_t>(offset);
        const unsigned byte = data_.bytes()[marker];
        Object object{marker, byte >> 4, byte & 0xF, marker + 1};
        switch (object.kind) {
            case kSimple:
                return readSimple(object);
            case kInteger:
                return readInteger(object);
            case kReal:
                return readReal(object);
            case kDate:
                if (object.low != 3) break;
                if (!requireRoom(object.contents, 1, 8)) return std::nullopt;
                return Value(Date{std::bit_cast<double>(number(object.contents, 8))});
            case kUid:
                return readUid(object);
            case kData:
            case kAscii:
            case kUtf16:
            case kUtf8:
                return readBlock(object);
            case kArray:
            case kDictionary:
                return readContainer(object, index, depth);
            default:
                break;
        }
        return fail("an object of an unknown kind", marker);
    }

    std::optional<Value> readSimple(const Object& object) {
        switch (object.low) {
            case 0:
                return Value();
            case 8:
                return Value(false);
            case 9:
                return Value(true);
            default:
                return fail("an object of an unknown kind", object.marker);
        }
    }

    std::optional<Value> readInteger(const Object& object) {
        if (object.low > 4) return fail("an integer of an unknown size", object.marker);
        const std::size_t length = std::size_t{1} << object.low;
        if (!requireRoom(object.contents, 1, length)) return std::nullopt;
        // Eight bytes and less fit: the shorter ones are unsigned, eight bytes are signed.
        if (length <= 8) return Value(static_cast<std::int64_t>(number(object.contents, length)));
        const auto high = static_cast<std::int64_t>(number(object.contents, 8));
        const std::uint64_t low = number(object.contents + 8, 8);
        const auto lowSigned = static_cast<std::int64_t>(low);
        if (high == (lowSigned < 0 ? -1 : 0)) return Value(lowSigned);
        return Value(std::ldexp(static_cast<double>(high), 64) + static_cast<double>(low));
    }

    std::optional<Value> readReal(const Object& object) {
        if (object.low != 2 && object.low != 3) return fail("a real number of an unknown size", object.marker);
        const std::size_t length = std::size_t{1} << object.low;
        if (!requireRoom(object.contents, 1, length)) return std::nullopt;
        const std::uint64_t bits = number(object.contents, length);
        if (length == 8) return Value(std::bit_cast<double>(bits));
        return Value(static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits))));
    }

    std::optional<Value> readUid(const Object& object) {
        const std::size_t length = object.low + 1;
        if (!requireRoom(object.contents, 1, length)) return std::nullopt;
        const std::uint64_t uid = length <= 8 ? number(object.contents, length) : UINT64_MAX;
        if (uid > static_cast<std::uint64_t>(INT64_MAX)) return fail("a UID that is too large", object.marker);
        if (!charge(2 * sizeof(Value), object.marker)) return std::nullopt;
        return Value(Dictionary{{std::u16string(kUidKey), Value(static_cast<std::int64_t>(uid))}});
    }

    /// The count of a marker; moves `object.contents` behind it.
    std::optional<std::uint64_t> readCount(Object& object) {
        if (object.low != 0xF) return object.low;
        if (!requireRoom(object.contents, 1, 1)) return std::nullopt;
        const unsigned marker = data_.bytes()[object.contents];
        if (marker >> 4 != kInteger || (marker & 0xF) > 3) return fail("a length that is no integer", object.contents);
        const std::size_t length = std::size_t{1} << (marker & 0xF);
        if (!requireRoom(object.contents + 1, 1, length)) return std::nullopt;
        const std::uint64_t count = number(object.contents + 1, length);
        object.contents += 1 + length;
        return count;
    }

    std::optional<Value> readBlock(Object object) {
        const auto count = readCount(object);
        const std::size_t unit = object.kind == kUtf16 ? 2 : 1;
        if (!count || !requireRoom(object.contents, *count, unit)) return std::nullopt;
        const auto length = static_cast<std::size_t>(*count);
        if (object.kind == kData) return Value(data_.subdata(object.contents, length));
        if (!charge(length * 2, object.marker)) return std::nullopt;
        const std::string_view bytes = data_.view().substr(object.contents, length * unit);
        if (object.kind == kUtf16) return Value(utf16From(bytes));
        if (object.kind == kAscii && std::any_of(bytes.begin(), bytes.end(), [](char c) { return (c & 0x80) != 0; })) {
            return fail("a string that should be ASCII and is not", object.marker);
        }
        auto string = strictUtf16FromUtf8(bytes);
        if (!string) return fail("a string that should be UTF-8 and is not", object.marker);
        return Value(*std::move(string));
    }

    static std::u16string utf16From(std::string_view bytes) {
        std::u16string string(bytes.size() / 2, u'\0');
        for (std::size_t i = 0; i < string.size(); ++i) {
            const unsigned high = static_cast<unsigned char>(bytes[2 * i]);
            const unsigned low = static_cast<unsigned char>(bytes[2 * i + 1]);
            string[i] = static_cast<char16_t>(high << 8 | low);
        }
        return string;
    }

    std::optional<Value> readContainer(Object object, std::size_t index, int depth) {
        if (isOpen_[index]) return fail("an object that contains itself", object.marker);
        if (depth >= kPropertyListMaxDepth) return fail("nested too deeply", object.marker);
        const auto count = readCount(object);
        const bool isDictionary = object.kind == kDictionary;
        // The count cannot overflow the product: what is larger than the file was refused before.
        if (!count || !requireRoom(object.contents, *count, referenceSize_ * (isDictionary ? 2 : 1))) {
            return std::nullopt;
        }
        const auto size = static_cast<std::size_t>(*count);
        if (!charge(size * (isDictionary ? sizeof(DictionaryEntry) : sizeof(Value)), object.marker)) {
            return std::nullopt;
        }
        isOpen_[index] = true;
        auto value = isDictionary ? readEntries(object, size, depth) : readElements(object, size, depth);
        isOpen_[index] = false;
        return value;
    }

    std::optional<Value> readReference(std::size_t offset, int depth) {
        const std::uint64_t index = number(offset, referenceSize_);
        if (index >= objectCount_) return fail("a reference to no object", offset);
        return readObject(static_cast<std::size_t>(index), depth);
    }

    std::optional<Value> readElements(const Object& object, std::size_t size, int depth) {
        Array array;
        array.reserve(size);
        for (std::size_t i = 0; i < size; ++i) {
            auto element = readReference(object.contents + i * referenceSize_, depth + 1);
            if (!element) return std::nullopt;
            array.push_back(*std::move(element));
        }
        return Value(std::move(array));
    }

    std::optional<Value> readEntries(const Object& object, std::size_t size, int depth) {
        Dictionary dictionary;
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t keyOffset = object.contents + i * referenceSize_;
            auto key = readReference(keyOffset, depth + 1);
            if (!key) return std::nullopt;
            if (!key->is<std::u16string>()) return fail("a key that is no string", keyOffset);
            auto value = readReference(keyOffset + size * referenceSize_, depth + 1);
            if (!value) return std::nullopt;
            dictionary.set(std::move(*key->as<std::u16string>()), *std::move(value));
        }
        return Value(std::move(dictionary));
    }

    const Data& data_;
    PropertyListError& error_;
    std::size_t budget_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::size_t objectCount_ = 0;
    std::size_t topObject_ = 0;
    std::size_t tableOffset_ = 0;
    std::vector<bool> isOpen_;
};

}  // namespace

std::optional<Value> readBinary(const Data& data, PropertyListError& error) {
    return Reader(data, error).read();
}

}  // namespace halden::plists
