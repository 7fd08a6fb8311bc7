#include "platform/ipc/WireDecoder.h"

#include "foundation/Unicode.h"
#include "platform/ipc/ConnectionException.h"
#include "platform/ipc/WireEncoder.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <cstring>

namespace halden {
namespace {

// Smaller data are copied, so that a few bytes do not keep a large file mapped.
constexpr std::size_t kMinSharedData = std::size_t{64} << 10;
constexpr blkcnt_t kBlockSize = 512;

[[noreturn]] void throwBadMessage(const std::string& reason) {
    throw ConnectionException(ConnectionFailure::badMessage, reason);
}

bool hasType(GVariant* variant, const char* type) {
    return g_variant_is_of_type(variant, G_VARIANT_TYPE(type)) != FALSE;
}

// The memory file of a message, mapped when first needed.
class MemoryFile {
public:
    explicit MemoryFile(GUnixFDList* descriptors) noexcept : descriptors_(descriptors) {}

    struct Range {
        std::shared_ptr<const void> owner;
        const std::uint8_t* bytes;
        std::size_t length;
    };

    Range range(int handle, std::uint64_t offset, std::uint64_t length) {
        if (!mapping_) map(handle);
        if (handle != 0) throwBadMessage("There is one memory file a message");
        if (offset > size_ || length > size_ - offset) throwBadMessage("A range lies outside the memory file");
        // An honest sender's ranges do not overlap. Overlapping ones would let a small message ask for any amount of
        // memory.
        if (length > size_ - used_) throwBadMessage("The ranges are larger than the memory file");
        used_ += length;
        const auto* const start = static_cast<const std::uint8_t*>(mapping_.get());
        return {mapping_, start + offset, static_cast<std::size_t>(length)};
    }

private:
    void map(int handle) {
        int count = 0;
        const int* const files = descriptors_ != nullptr ? g_unix_fd_list_peek_fds(descriptors_, &count) : nullptr;
        if (count != 1 || handle != 0) throwBadMessage("There is one memory file a message");
        const std::size_t size = checkedSize(files[0]);
        void* const bytes = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, files[0], 0);
        if (bytes == MAP_FAILED) throwBadMessage("The memory file cannot be mapped");
        mapping_ =
            std::shared_ptr<const void>(bytes, [size](const void* start) { munmap(const_cast<void*>(start), size); });
        size_ = size;
    }

    // Once sealed, the file can neither change nor shrink under our eyes. It must lie in ordinary memory, since huge
    // pages may not be there when they are touched, and have no holes, since reading a hole takes memory that nobody
    // has paid.
    static std::size_t checkedSize(int file) {
        constexpr int kSeals = F_SEAL_WRITE | F_SEAL_SHRINK;
        const int seals = fcntl(file, F_GET_SEALS);
        if (seals < 0 || (seals & kSeals) != kSeals) throwBadMessage("The descriptor is no sealed memory file");
        struct statfs system {};
        struct stat status {};
        if (fstatfs(file, &system) != 0 || fstat(file, &status) != 0 || system.f_type != TMPFS_MAGIC ||
            status.st_size <= 0)
            throwBadMessage("The descriptor is no memory file");
        if (status.st_blocks < status.st_size / kBlockSize) throwBadMessage("The memory file has holes");
        return static_cast<std::size_t>(status.st_size);
    }

    GUnixFDList* descriptors_;
    std::shared_ptr<const void> mapping_;
    std::uint64_t size_ = 0;
    std::uint64_t used_ = 0;
};

class Decoder {
public:
    explicit Decoder(GUnixFDList* descriptors) noexcept : file_(descriptors) {}

    std::optional<Value> argument(const ProtocolArgument& type, GVariant* content) {
        std::optional<Value> value;
        if (type.type == ArgumentType::flag) {
            value = decoded(content, 0);
        } else if (!type.nullable) {
            value = variant(content, 0);
        } else if (const gsize count = g_variant_n_children(content); count == 1) {
            const GPointer<GVariant> element(g_variant_get_child_value(content, 0));
            value = variant(element.get(), 0);
        } else if (count > 1) {
            throwBadMessage("More than one value for \"" + type.name + "\"");
        }
        if (!type.accepts(value)) throwBadMessage("Wrong type of \"" + type.name + "\"");
        return value;
    }

private:
    // `depth` counts the containers around the value.
    Value variant(GVariant* boxed, int depth) {
        const GPointer<GVariant> content(g_variant_get_variant(boxed));
        return decoded(content.get(), depth);
    }

    Value decoded(GVariant* content, int depth) {
        switch (g_variant_classify(content)) {
            case G_VARIANT_CLASS_BOOLEAN:
                return g_variant_get_boolean(content) != FALSE;
            case G_VARIANT_CLASS_INT64:
                return static_cast<std::int64_t>(g_variant_get_int64(content));
            case G_VARIANT_CLASS_DOUBLE:
                return g_variant_get_double(content);
            case G_VARIANT_CLASS_STRING:
                return plainString(content);
            case G_VARIANT_CLASS_TUPLE:
                return tuple(content);
            case G_VARIANT_CLASS_ARRAY:
                return array(content, depth);
            default:
                throwBadType(content);
        }
    }

    Value tuple(GVariant* content) {
        if (hasType(content, "(yhtt)")) return blob(content);
        if (hasType(content, "(d)")) {
            double seconds = 0;
            g_variant_get(content, "(d)", &seconds);
            return Date{seconds};
        }
        if (hasType(content, "(y)")) {
            guint8 zero = 0;
            g_variant_get(content, "(y)", &zero);
            if (zero == 0) return Null{};
        }
        throwBadType(content);
    }

    Value array(GVariant* content, int depth) {
        if (hasType(content, "ay")) return data(content);
        if (hasType(content, "aq")) return units(content);
        if (depth >= kMaxWireDepth) throwBadMessage("The values are nested too deeply");
        if (hasType(content, "av")) return elements(content, depth);
        if (hasType(content, "a{sv}") || hasType(content, "a(vv)")) return dictionary(content, depth);
        throwBadType(content);
    }

    Array elements(GVariant* content, int depth) {
        Array result;
        result.reserve(g_variant_n_children(content));
        GVariantIter iterator;
        g_variant_iter_init(&iterator, content);
        while (const GPointer<GVariant> element{g_variant_iter_next_value(&iterator)})
            result.push_back(variant(element.get(), depth + 1));
        return result;
    }

    Dictionary dictionary(GVariant* content, int depth) {
        Dictionary result;
        GVariantIter iterator;
        g_variant_iter_init(&iterator, content);
        while (const GPointer<GVariant> entry{g_variant_iter_next_value(&iterator)}) {
            const GPointer<GVariant> entryKey(g_variant_get_child_value(entry.get(), 0));
            const GPointer<GVariant> entryValue(g_variant_get_child_value(entry.get(), 1));
            result.set(key(entryKey.get()), variant(entryValue.get(), depth + 1));
        }
        return result;
    }

    static std::u16string key(GVariant* content) {
        if (hasType(content, "s")) return plainString(content);
        const GPointer<GVariant> boxed(g_variant_get_variant(content));
        if (hasType(boxed.get(), "s")) return plainString(boxed.get());
        if (hasType(boxed.get(), "aq")) return units(boxed.get());
        throwBadType(boxed.get());
    }

    static std::u16string plainString(GVariant* content) {
        gsize length = 0;
        const char* const text = g_variant_get_string(content, &length);
        return utf16FromUtf8({text, length});
    }

    static std::u16string units(GVariant* content) {
        gsize count = 0;
        const auto* const first =
            static_cast<const guint16*>(g_variant_get_fixed_array(content, &count, sizeof(guint16)));
        return {first, first + count};
    }

    static Data data(GVariant* content) {
        gsize length = 0;
        const auto* const bytes = static_cast<const std::uint8_t*>(g_variant_get_fixed_array(content, &length, 1));
        return Data::copying({bytes, length});
    }

    Value blob(GVariant* content) {
        guint8 kind = 0;
        gint32 handle = 0;
        guint64 offset = 0;
        guint64 length = 0;
        g_variant_get(content, "(yhtt)", &kind, &handle, &offset, &length);
        if (kind != kBlobData && kind != kBlobString) throwBadMessage("Unknown kind of range");
        const MemoryFile::Range range = file_.range(handle, offset, length);
        if (kind == kBlobData) {
            if (range.length < kMinSharedData) return Data::copying({range.bytes, range.length});
            return Data::sharing(range.owner, range.bytes, range.length);
        }
        if (range.length % sizeof(char16_t) != 0) throwBadMessage("Half a UTF-16 unit");
        std::u16string string(range.length / sizeof(char16_t), u'\0');
        if (range.length > 0) std::memcpy(string.data(), range.bytes, range.length);
        return string;
    }

    [[noreturn]] static void throwBadType(GVariant* content) {
        throwBadMessage(std::string("No value has the type ") + g_variant_get_type_string(content));
    }

    MemoryFile file_;
};

std::string signatureOf(std::span<const ProtocolArgument> types) {
    std::string signature = "(";
    for (const auto& type : types)
        signature += type.nullable ? "av" : type.type == ArgumentType::flag ? "b" : "v";
    return signature + ')';
}

}  // namespace

Arguments decodeMessage(std::span<const ProtocolArgument> types, GVariant* body, GUnixFDList* descriptors) {
    const std::string signature = signatureOf(types);
    if (body == nullptr ? !types.empty() : !hasType(body, signature.c_str()))
        throwBadMessage("Expected " + signature + ", got " +
                        (body != nullptr ? g_variant_get_type_string(body) : "()"));
    Decoder decoder(descriptors);
    Arguments values;
    values.reserve(types.size());
    for (std::size_t i = 0; i < types.size(); ++i) {
        const GPointer<GVariant> content(g_variant_get_child_value(body, i));
        values.push_back(decoder.argument(types[i], content.get()));
    }
    return values;
}

}  // namespace halden
