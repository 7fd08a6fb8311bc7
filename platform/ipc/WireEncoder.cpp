#include "platform/ipc/WireEncoder.h"

#include "foundation/Unicode.h"
#include "platform/ipc/ConnectionException.h"
#include "platform/ipc/FileDescriptor.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string>

#ifndef MFD_NOEXEC_SEAL
#define MFD_NOEXEC_SEAL 0x0008U
#endif

namespace halden {
namespace {

// Upper bounds of what surrounds a value and a key in a message: signature, length, alignment.
constexpr std::size_t kValueOverhead = 32;
constexpr std::size_t kKeyOverhead = 16;
constexpr std::size_t kBlobReference = 48;
constexpr std::size_t kMaxUtf8PerUnit = 3;
constexpr std::uint64_t kBlobAlignment = 8;

[[noreturn]] void throwTooLarge(const char* reason) {
    throw ConnectionException(ConnectionFailure::tooLarge, reason);
}

bool isPlainString(std::u16string_view string) {
    return string.find(u'\0') == std::u16string_view::npos && isWellFormed(string);
}

bool hasPlainKeys(const Dictionary& dictionary) {
    for (const auto& entry : dictionary) {
        if (!isPlainString(entry.key)) return false;
    }
    return true;
}

// First pass: is the message allowed, and does it need a memory file? Nothing is allocated, so nothing is lost when it
// throws.
class Measure {
public:
    void add(const Value& value) { add(value, 0); }

    [[nodiscard]] bool usesBlobs() const noexcept { return payload_ > kMaxInlinePayload; }

    void checkBody() const {
        if (fixed_ + (usesBlobs() ? shared_ : inline_) > kMaxWireBody)
            throwTooLarge("The values are too large to travel");
    }

private:
    void add(const Value& value, int depth) {
        fixed_ += kValueOverhead;
        if (const auto* string = value.as<std::u16string>()) {
            addBytes(string->size() * sizeof(char16_t), string->size() * kMaxUtf8PerUnit);
        } else if (const auto* data = value.as<Data>()) {
            addBytes(data->length(), data->length());
        } else if (const auto* array = value.as<Array>()) {
            checkDepth(depth);
            for (const auto& element : *array)
                add(element, depth + 1);
        } else if (const auto* dictionary = value.as<Dictionary>()) {
            checkDepth(depth);
            for (const auto& entry : *dictionary) {
                fixed_ += kKeyOverhead + entry.key.size() * kMaxUtf8PerUnit;
                add(entry.value, depth + 1);
            }
        }
        if (fixed_ > kMaxWireBody) throwTooLarge("The values are too many to travel");
    }

    void addBytes(std::size_t length, std::size_t inlineLength) {
        payload_ += length;
        inline_ += inlineLength;
        shared_ += length >= kMinBlob ? kBlobReference : inlineLength;
    }

    static void checkDepth(int depth) {
        if (depth >= kMaxWireDepth) throwTooLarge("The values are nested too deeply to travel");
    }

    std::size_t payload_ = 0;  // bytes of strings and data
    std::size_t fixed_ = 0;    // everything else
    std::size_t inline_ = 0;   // what strings and data take inline
    std::size_t shared_ = 0;   // what they take with a memory file
};

// Gathers the parts of the memory file, which are written at once when all are known.
class Blobs {
public:
    /// `bytes` must stay where they are until `write`.
    GVariant* add(std::uint8_t kind, const void* bytes, std::size_t length) {
        const std::uint64_t offset = size_;
        append(bytes, length);
        static constexpr std::array<std::uint8_t, kBlobAlignment> kZeros{};
        if (const auto rest = size_ % kBlobAlignment; rest != 0) append(kZeros.data(), kBlobAlignment - rest);
        return g_variant_new("(yhtt)", kind, 0, offset, static_cast<std::uint64_t>(length));
    }

    [[nodiscard]] bool empty() const noexcept { return parts_.empty(); }

    [[nodiscard]] FileDescriptor write() {
        FileDescriptor file = create();
        if (ftruncate(file.get(), static_cast<off_t>(size_)) != 0) fail();
        off_t offset = 0;
        for (std::size_t first = 0; first < parts_.size();) {
            const auto count = static_cast<int>(std::min<std::size_t>(parts_.size() - first, IOV_MAX));
            const ssize_t written = pwritev(file.get(), &parts_[first], count, offset);
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) fail();
            offset += written;
            first = skip(first, static_cast<std::size_t>(written));
        }
        if (fcntl(file.get(), F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) fail();
        return file;
    }

private:
    void append(const void* bytes, std::size_t length) {
        size_ += length;
        if (length > 0) parts_.push_back({const_cast<void*>(bytes), length});
    }

    // The first part that is not written whole, cut to its rest.
    std::size_t skip(std::size_t first, std::size_t written) {
        while (written > 0) {
            iovec& part = parts_[first];
            const std::size_t step = std::min(part.iov_len, written);
            part.iov_base = static_cast<std::uint8_t*>(part.iov_base) + step;
            part.iov_len -= step;
            written -= step;
            if (part.iov_len == 0) ++first;
        }
        return first;
    }

    static FileDescriptor create() {
        // Kernels before 6.3 do not know the flag that forbids execution.
        int file = memfd_create("quarry", MFD_CLOEXEC | MFD_ALLOW_SEALING | MFD_NOEXEC_SEAL);
        if (file < 0) file = memfd_create("quarry", MFD_CLOEXEC | MFD_ALLOW_SEALING);
        if (file < 0) fail();
        return FileDescriptor(file);
    }

    [[noreturn]] static void fail() {
        throwTooLarge((std::string("No memory file for the values: ") + std::strerror(errno)).c_str());
    }

    std::vector<iovec> parts_;
    std::uint64_t size_ = 0;
};

// Second pass: builds the message, whose size is known to be allowed.
class Encoder {
public:
    explicit Encoder(bool usesBlobs) noexcept : usesBlobs_(usesBlobs) {}

    GVariant* argument(const ProtocolArgument& type, const std::optional<Value>& value) {
        if (!type.nullable) {
            return type.type == ArgumentType::flag ? variant(*value) : g_variant_new_variant(variant(*value));
        }
        GVariant* const content = value ? g_variant_new_variant(variant(*value)) : nullptr;
        return g_variant_new_array(G_VARIANT_TYPE_VARIANT, &content, content != nullptr ? 1 : 0);
    }

    [[nodiscard]] Blobs& blobs() noexcept { return blobs_; }

private:
    GVariant* variant(const Value& value) {
        return std::visit([this](const auto& content) { return this->encoded(content); }, value.variant());
    }

    static GVariant* encoded(Null) { return g_variant_new("(y)", 0); }
    static GVariant* encoded(bool flag) { return g_variant_new_boolean(flag ? TRUE : FALSE); }
    static GVariant* encoded(std::int64_t integer) { return g_variant_new_int64(integer); }
    static GVariant* encoded(double real) { return g_variant_new_double(real); }
    static GVariant* encoded(Date date) { return g_variant_new("(d)", date.secondsSinceReferenceDate); }

    GVariant* encoded(const std::u16string& string) {
        const std::size_t length = string.size() * sizeof(char16_t);
        return usesBlobs_ && length >= kMinBlob ? blobs_.add(kBlobString, string.data(), length) : inlineString(string);
    }

    GVariant* encoded(const Data& data) {
        if (usesBlobs_ && data.length() >= kMinBlob) return blobs_.add(kBlobData, data.bytes(), data.length());
        return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, data.bytes(), data.length(), 1);
    }

    GVariant* encoded(const Array& array) {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("av"));
        for (const auto& element : array)
            g_variant_builder_add_value(&builder, g_variant_new_variant(variant(element)));
        return g_variant_builder_end(&builder);
    }

    GVariant* encoded(const Dictionary& dictionary) {
        const bool plain = hasPlainKeys(dictionary);
        GVariantBuilder builder;
        g_variant_builder_init(&builder, plain ? G_VARIANT_TYPE("a{sv}") : G_VARIANT_TYPE("a(vv)"));
        for (const auto& entry : dictionary) {
            GVariant* const key = inlineString(entry.key);
            GVariant* const content = g_variant_new_variant(variant(entry.value));
            if (plain) {
                g_variant_builder_add_value(&builder, g_variant_new_dict_entry(key, content));
            } else {
                const std::array pair = {g_variant_new_variant(key), content};
                g_variant_builder_add_value(&builder, g_variant_new_tuple(pair.data(), pair.size()));
            }
        }
        return g_variant_builder_end(&builder);
    }

    static GVariant* inlineString(const std::u16string& string) {
        if (string.find(u'\0') == std::u16string::npos) {
            if (const auto text = strictUtf8FromUtf16(string)) return g_variant_new_string(text->c_str());
        }
        return g_variant_new_fixed_array(G_VARIANT_TYPE_UINT16, string.data(), string.size(), sizeof(char16_t));
    }

    bool usesBlobs_;
    Blobs blobs_;
};

void checkTypes(std::span<const ProtocolArgument> types, std::span<const std::optional<Value>> values) {
    if (types.size() != values.size()) {
        throw ConnectionException(
            ConnectionFailure::badMessage,
            "Expected " + std::to_string(types.size()) + " arguments, got " + std::to_string(values.size()));
    }
    for (std::size_t i = 0; i < types.size(); ++i) {
        if (!types[i].accepts(values[i]))
            throw ConnectionException(ConnectionFailure::badMessage, "Wrong type of \"" + types[i].name + "\"");
    }
}

}  // namespace

WireMessage encodeMessage(std::span<const ProtocolArgument> types, std::span<const std::optional<Value>> values) {
    checkTypes(types, values);
    Measure measure;
    for (const auto& value : values) {
        if (value) measure.add(*value);
    }
    measure.checkBody();

    Encoder encoder(measure.usesBlobs());
    std::vector<GVariant*> children;
    children.reserve(values.size());
    for (std::size_t i = 0; i < values.size(); ++i)
        children.push_back(encoder.argument(types[i], values[i]));
    WireMessage message;
    message.body.reset(g_variant_ref_sink(g_variant_new_tuple(children.data(), children.size())));
    if (!encoder.blobs().empty()) {
        FileDescriptor file = encoder.blobs().write();
        const int descriptor = file.release();
        message.descriptors.reset(g_unix_fd_list_new_from_array(&descriptor, 1));
    }
    return message;
}

}  // namespace halden
