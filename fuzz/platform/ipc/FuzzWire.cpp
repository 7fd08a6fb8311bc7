// What a peer sends, values and descriptors, must decode to a value or be refused; a value that decodes must travel on
// and come back the same.
//
// The first byte of the input says what comes with the message (which descriptors, which argument type is
// expected), the second how long the memory file is; the rest is the body, in GLib's serialised form. A byte of 0xFF
// at the front makes the rest a whole message of the transport instead.
#include "platform/ipc/ConnectionException.h"
#include "platform/ipc/FileDescriptor.h"
#include "platform/ipc/Protocol.h"
#include "platform/ipc/WireDecoder.h"
#include "platform/ipc/WireEncoder.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <string>

namespace {

using namespace halden;

constexpr std::uint8_t kWholeMessage = 0xFF;

const ProtocolArgument kTypes[] = {
    {"value", ArgumentType::value, false},   {"value", ArgumentType::value, true},
    {"string", ArgumentType::string, false}, {"data", ArgumentType::data, true},
    {"flag", ArgumentType::flag, false},     {"dictionary", ArgumentType::dictionary, true},
};

int memoryFile(std::size_t length, int seals) {
    const int file = memfd_create("fuzz", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    const std::string contents(length, 'x');
    if (file < 0 || write(file, contents.data(), length) != static_cast<ssize_t>(length)) abort();
    if (fcntl(file, F_ADD_SEALS, seals) != 0) abort();
    return file;
}

GPointer<GUnixFDList> descriptors(unsigned kind, std::size_t length) {
    constexpr int kGoodSeals = F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW;
    std::vector<int> files;
    if (kind == 1 || kind == 2) files.push_back(memoryFile(length, kGoodSeals));
    if (kind == 2) files.push_back(memoryFile(length, kGoodSeals));
    if (kind == 3) files.push_back(memoryFile(length, F_SEAL_GROW));
    if (files.empty()) return nullptr;
    return GPointer<GUnixFDList>(g_unix_fd_list_new_from_array(files.data(), static_cast<gint>(files.size())));
}

// NaN equals nothing, so values that hold one are compared no further.
bool holdsNaN(const Value& value) {
    if (const auto* real = value.as<double>()) return std::isnan(*real);
    if (const auto* date = value.as<Date>()) return std::isnan(date->secondsSinceReferenceDate);
    if (const auto* array = value.as<Array>()) {
        for (const auto& element : *array) {
            if (holdsNaN(element)) return true;
        }
    }
    if (const auto* dictionary = value.as<Dictionary>()) {
        for (const auto& entry : *dictionary) {
            if (holdsNaN(entry.value)) return true;
        }
    }
    return false;
}

void decode(const ProtocolArgument& type, GVariant* body, GUnixFDList* files) {
    std::optional<Value> value;
    try {
        value = decodeMessage({&type, 1}, body, files)[0];
    } catch (const ConnectionException& exception) {
        if (exception.failure() != ConnectionFailure::badMessage) abort();
        return;
    }
    const WireMessage again = encodeMessage({&type, 1}, {&value, 1});
    const auto back = decodeMessage({&type, 1}, again.body.get(), again.descriptors.get())[0];
    if (back != value && !(value && holdsNaN(*value))) abort();
}

void decodeWholeMessage(std::span<const std::uint8_t> input) {
    const GPointer<GDBusMessage> message(g_dbus_message_new_from_blob(
        const_cast<guchar*>(input.data()), input.size(), G_DBUS_CAPABILITY_FLAGS_UNIX_FD_PASSING, nullptr));
    if (!message) return;
    const GPointer<GUnixFDList> files = descriptors(1, 4096);
    for (const auto& type : kTypes)
        decode(type, g_dbus_message_get_body(message.get()), files.get());
}

void decodeBody(unsigned header, std::size_t length, std::span<const std::uint8_t> input) {
    const ProtocolArgument& type = kTypes[(header >> 2) % std::size(kTypes)];
    const char* const signature = type.nullable ? "(av)" : type.type == ArgumentType::flag ? "(b)" : "(v)";
    const GPointer<GBytes> bytes(g_bytes_new(input.data(), input.size()));
    const GPointer<GVariant> untrusted(
        g_variant_ref_sink(g_variant_new_from_bytes(G_VARIANT_TYPE(signature), bytes.get(), FALSE)));
    // The transport hands on nothing but normal forms.
    const GPointer<GVariant> body(g_variant_get_normal_form(untrusted.get()));
    const GPointer<GUnixFDList> files = descriptors(header & 3, length);
    decode(type, body.get(), files.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length) {
    const std::span input(bytes, length);
    if (input.size() < 2) return 0;
    if (input[0] == kWholeMessage) {
        decodeWholeMessage(input.subspan(1));
    } else {
        decodeBody(input[0], static_cast<std::size_t>(input[1]) * 64, input.subspan(2));
    }
    return 0;
}
