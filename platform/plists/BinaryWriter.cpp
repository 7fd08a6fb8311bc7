// The binary form, written. BinaryReader.cpp describes it.
#include "platform/plists/Forms.h"

#include <algorithm>
#include <bit>
#include <unordered_map>
#include <vector>

namespace halden {
namespace {

/// How many bytes `largest` needs: 1, 2, 4 or 8.
unsigned sizeFor(std::uint64_t largest) {
    if (largest <= 0xFF) return 1;
    if (largest <= 0xFFFF) return 2;
    return largest <= 0xFFFFFFFF ? 4 : 8;
}

/// The number when `dictionary` stands for a UID.
std::optional<std::uint64_t> uidOf(const Dictionary& dictionary) {
    if (dictionary.size() != 1 || dictionary.begin()->key != plists::kUidKey) return std::nullopt;
    const auto* uid = dictionary.begin()->value.as<std::int64_t>();
    if (uid == nullptr || *uid < 0) return std::nullopt;
    return static_cast<std::uint64_t>(*uid);
}

class Writer {
public:
    std::optional<Data> write(const Value& value) {
        if (!number(value, 0)) return std::nullopt;
        out_.assign({'b', 'p', 'l', 'i', 's', 't', '0', '0'});
        referenceSize_ = sizeFor(objects_.size() - 1);
        std::vector<std::size_t> offsets;
        offsets.reserve(objects_.size());
        for (const Object& object : objects_) {
            offsets.push_back(out_.size());
            writeObject(object);
        }
        writeTable(offsets);
        return Data(std::move(out_));
    }

private:
    /// What becomes one object: a string (a value or a key) or another value, with the numbers of its parts.
    struct Object {
        const Value* value = nullptr;
        const std::u16string* string = nullptr;
        std::vector<std::size_t> parts;
    };

    std::size_t numberString(const std::u16string& string) {
        if (string.size() > plists::kLongestSharedString) {
            objects_.push_back({nullptr, &string, {}});
            return objects_.size() - 1;
        }
        const auto [found, isNew] = strings_.try_emplace(string, objects_.size());
        if (isNew) objects_.push_back({nullptr, &string, {}});
        return found->second;
    }

    /// Gives `value` and all inside it their numbers; nullopt when it nests too deeply.
    std::optional<std::size_t> number(const Value& value, int depth) {
        if (const auto* string = value.as<std::u16string>()) return numberString(*string);
        const std::size_t index = objects_.size();
        objects_.push_back({&value, nullptr, {}});
        const auto* array = value.as<Array>();
        const auto* dictionary = value.as<Dictionary>();
        if (array == nullptr && dictionary == nullptr) return index;
        if (depth >= kPropertyListMaxDepth) return std::nullopt;
        std::vector<std::size_t> parts;
        if (array != nullptr) {
            if (!numberElements(*array, depth + 1, parts)) return std::nullopt;
        } else if (!uidOf(*dictionary) && !numberEntries(*dictionary, depth + 1, parts)) {
            return std::nullopt;
        }
        objects_[index].parts = std::move(parts);
        return index;
    }

    bool numberElements(const Array& array, int depth, std::vector<std::size_t>& parts) {
        parts.reserve(array.size());
        for (const Value& element : array) {
            const auto part = number(element, depth);
            if (!part) return false;
            parts.push_back(*part);
        }
        return true;
    }

    bool numberEntries(const Dictionary& dictionary, int depth, std::vector<std::size_t>& parts) {
        parts.reserve(2 * dictionary.size());
        for (const auto& entry : dictionary)
            parts.push_back(numberString(entry.key));
        for (const auto& entry : dictionary) {
            const auto part = number(entry.value, depth);
            if (!part) return false;
            parts.push_back(*part);
        }
        return true;
    }

    void writeObject(const Object& object) {
        if (object.string != nullptr) return writeString(*object.string);
        std::visit([this, &object](const auto& kind) { writeKind(kind, object.parts); }, object.value->variant());
    }

    using Parts = std::vector<std::size_t>;

    void writeKind(Null, const Parts&) { writeByte(0x00); }
    void writeKind(bool value, const Parts&) { writeByte(value ? 0x09 : 0x08); }

    void writeKind(std::int64_t value, const Parts&) {
        // Shorter integers are unsigned, so a negative one takes all eight bytes.
        writeInteger(static_cast<std::uint64_t>(value));
    }

    void writeKind(double value, const Parts&) {
        writeByte(0x23);
        writeNumber(std::bit_cast<std::uint64_t>(value), 8);
    }

    void writeKind(Date value, const Parts&) {
        writeByte(0x33);
        writeNumber(std::bit_cast<std::uint64_t>(value.secondsSinceReferenceDate), 8);
    }

    void writeKind(const std::u16string& value, const Parts&) { writeString(value); }

    void writeKind(const Data& value, const Parts&) {
        writeMarker(0x40, value.length());
        out_.insert(out_.end(), value.span().begin(), value.span().end());
    }

    void writeKind(const Array& value, const Parts& parts) {
        writeMarker(0xA0, value.size());
        writeReferences(parts);
    }

    void writeKind(const Dictionary& value, const Parts& parts) {
        if (const auto uid = uidOf(value)) {
            const unsigned size = sizeFor(*uid);
            writeByte(0x80 | (size - 1));
            return writeNumber(*uid, size);
        }
        writeMarker(0xD0, value.size());
        writeReferences(parts);
    }

    void writeString(std::u16string_view string) {
        const bool isAscii = std::all_of(string.begin(), string.end(), [](char16_t unit) { return unit < 0x80; });
        writeMarker(isAscii ? 0x50 : 0x60, string.size());
        for (const char16_t unit : string)
            writeNumber(unit, isAscii ? 1 : 2);
    }

    void writeMarker(unsigned kind, std::size_t count) {
        if (count < 0xF) return writeByte(kind | static_cast<unsigned>(count));
        writeByte(kind | 0xF);
        writeInteger(count);
    }

    void writeInteger(std::uint64_t value) {
        const unsigned size = sizeFor(value);
        writeByte(0x10 | static_cast<unsigned>(std::countr_zero(size)));
        writeNumber(value, size);
    }

    void writeReferences(const Parts& parts) {
        for (const std::size_t part : parts)
            writeNumber(part, referenceSize_);
    }

    void writeTable(const std::vector<std::size_t>& offsets) {
        const std::size_t table = out_.size();
        const unsigned offsetSize = sizeFor(table);
        for (const std::size_t offset : offsets)
            writeNumber(offset, offsetSize);
        out_.insert(out_.end(), 6, 0);
        writeByte(offsetSize);
        writeByte(referenceSize_);
        writeNumber(offsets.size(), 8);
        writeNumber(0, 8);
        writeNumber(table, 8);
    }

    void writeByte(unsigned byte) { out_.push_back(static_cast<std::uint8_t>(byte)); }

    void writeNumber(std::uint64_t value, unsigned size) {
        for (unsigned shift = 8 * size; shift > 0; shift -= 8)
            writeByte(static_cast<unsigned>(value >> (shift - 8)) & 0xFF);
    }

    std::vector<Object> objects_;
    std::unordered_map<std::u16string_view, std::size_t> strings_;
    std::vector<std::uint8_t> out_;
    unsigned referenceSize_ = 1;
};

}  // namespace

std::optional<Data> binaryPropertyList(const Value& value) {
    return Writer().write(value);
}

}  // namespace halden
