#include "tests/platform/ipc/ForgedMessages.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

namespace halden::testing {
namespace {

constexpr int kGoodSeals = F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;
constexpr std::size_t kFileLength = 8192;

GVariant* range(char kind, int handle, std::uint64_t offset, std::uint64_t length) {
    return g_variant_new("(yhtt)", static_cast<guint8>(kind), handle, offset, length);
}

// A parameter list with one value.
GPointer<GVariant> body(GVariant* value) {
    return GPointer<GVariant>(g_variant_ref_sink(g_variant_new("(v)", value)));
}

int regularFile() {
    char path[] = "/tmp/quarry-ipc-file-XXXXXX";
    const int file = mkstemp(path);
    unlink(path);
    if (ftruncate(file, kFileLength) != 0) abort();
    return file;
}

int readEnd() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) abort();
    close(ends[1]);
    return ends[0];
}

std::vector<ForgedMessage> wrongTypes() {
    static constexpr const char* kTexts[] = {"<uint32 7>",
                                             "<byte 0x07>",
                                             "<objectpath '/a'>",
                                             "<['a', 'b']>",
                                             "<{'a': 'b'}>",
                                             "<{1: <2>}>",
                                             "<(1.0, 2.0)>",
                                             "<(byte 0x01,)>",
                                             "<[<<1>>]>",
                                             "<@a(sv) []>",
                                             "<[(<1>, <2>)]>",
                                             "<@a(vvv) []>",
                                             "<[<uint16 1>]>",
                                             "<(byte 0x64, 1)>",
                                             "<handle 0>",
                                             "<[true]>",
                                             "<signature 'a'>",
                                             "<[@(y) (0,)]>",
                                             "<@a{vv} {<1>: <2>}>",
                                             "<{'a': <uint64 1>}>",
                                             "<[<@a{is} {1: ''}>]>",
                                             "<@(ysxb) (1, '', 2, true)>"};
    std::vector<ForgedMessage> messages;
    for (const char* text : kTexts) {
        GVariant* const boxed = g_variant_parse(nullptr, text, nullptr, nullptr, nullptr);
        // Some of these are no D-Bus types, and nothing that could be sent.
        if (boxed == nullptr || g_variant_is_of_type(boxed, G_VARIANT_TYPE("v")) == FALSE) continue;
        GVariant* const tuple = g_variant_new_tuple(&boxed, 1);
        messages.push_back({text, GPointer<GVariant>(g_variant_ref_sink(tuple)), nullptr});
    }
    return messages;
}

}  // namespace

int memoryFile(std::size_t length, int seals, bool sparse) {
    const int file = memfd_create("forged", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (file < 0 || ftruncate(file, static_cast<off_t>(length)) != 0) abort();
    const std::string contents(sparse ? 0 : length, 'x');
    if (write(file, contents.data(), contents.size()) != static_cast<ssize_t>(contents.size())) abort();
    if (seals != 0 && fcntl(file, F_ADD_SEALS, seals) != 0) abort();
    return file;
}

GPointer<GUnixFDList> descriptorList(std::vector<int> descriptors) {
    return GPointer<GUnixFDList>(
        g_unix_fd_list_new_from_array(descriptors.data(), static_cast<gint>(descriptors.size())));
}

std::vector<ForgedMessage> forgedMessages() {
    const auto good = [] { return memoryFile(kFileLength, kGoodSeals); };
    const auto all = [] { return body(range('d', 0, 0, kFileLength)); };
    std::vector<ForgedMessage> messages = wrongTypes();
    const auto add = [&messages](const char* name, GPointer<GVariant> forged, std::vector<int> descriptors) {
        messages.push_back({name, std::move(forged), descriptors.empty() ? nullptr : descriptorList(descriptors)});
    };
    add("no descriptor", all(), {});
    add("an unsealed memory file", all(), {memoryFile(kFileLength, 0)});
    add("sealed against shrinking only", all(), {memoryFile(kFileLength, F_SEAL_SHRINK)});
    add("sealed against writing only", all(), {memoryFile(kFileLength, F_SEAL_WRITE)});
    add("sealed against growing only", all(), {memoryFile(kFileLength, F_SEAL_GROW)});
    add("a regular file", all(), {regularFile()});
    add("a pipe", all(), {readEnd()});
    add("a folder", all(), {open("/tmp", O_RDONLY | O_CLOEXEC)});
    add("a device", all(), {open("/dev/zero", O_RDONLY | O_CLOEXEC)});
    add("a memory file with holes", body(range('d', 0, 0, 1 << 20)), {memoryFile(1 << 20, kGoodSeals, true)});
    add("an empty memory file", body(range('d', 0, 0, 0)), {memoryFile(0, kGoodSeals)});
    add("a negative handle", body(range('d', -1, 0, 1)), {good()});
    add("a handle beyond the list", body(range('d', 1, 0, 1)), {good()});
    add("the second of two descriptors", body(range('d', 1, 0, 1)), {good(), good()});
    add("two descriptors", all(), {good(), good()});
    add("an unknown kind", body(range('x', 0, 0, 1)), {good()});
    add("half a unit", body(range('u', 0, 0, 3)), {good()});
    add("a range one byte too long", body(range('d', 0, 1, kFileLength)), {good()});
    add("a range behind the end", body(range('d', 0, kFileLength + 1, 0)), {good()});
    add("a range that wraps around", body(range('d', 0, 16, UINT64_MAX - 8)), {good()});
    add("an offset that wraps around", body(range('u', 0, UINT64_MAX - 1, 4)), {good()});
    add("overlapping ranges",
        body(g_variant_new("av",
                           [] {
                               auto* const builder = g_variant_builder_new(G_VARIANT_TYPE("av"));
                               for (int i = 0; i < 3; ++i)
                                   g_variant_builder_add(builder, "v", range('u', 0, 0, kFileLength / 2));
                               return builder;
                           }())),
        {good()});
    GVariant* nest = g_variant_new_int64(1);
    for (int i = 0; i < 19; ++i) {
        GVariant* const boxed = g_variant_new_variant(nest);
        nest = g_variant_new_array(G_VARIANT_TYPE_VARIANT, &boxed, 1);
    }
    add("one level too deep", body(nest), {});
    return messages;
}

}  // namespace halden::testing
