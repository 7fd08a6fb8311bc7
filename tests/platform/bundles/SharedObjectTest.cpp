#include "platform/bundles/SharedObject.h"
#include "tests/importers/TestBundles.h"

#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>

namespace halden {
namespace {

std::string bytesOf(const std::string& executable) {
    return std::string(Data::contentsOfFile(quarry::test::testExecutable(executable))->view());
}

std::string refusalOf(const std::string& bytes) {
    SharedObject object;
    std::string reason;
    return readSharedObject(Data::copying(bytes), object, reason) ? "" : reason;
}

/// Changes the headers of a shared object in place.
struct Change {
    const char* what;
    std::function<void(Elf64_Ehdr&, Elf64_Phdr*)> apply;
    const char* reason;
};

Elf64_Phdr& segment(Elf64_Ehdr& header, Elf64_Phdr* segments, Elf64_Word type) {
    for (int i = 0; i < header.e_phnum; ++i) {
        if (segments[i].p_type == type) return segments[i];
    }
    return segments[0];
}

const Change kChanges[] = {
    {"nothing", [](Elf64_Ehdr&, Elf64_Phdr*) {}, ""},
    {"magic", [](Elf64_Ehdr& h, Elf64_Phdr*) { h.e_ident[0] = 0; }, "no shared object"},
    {"class", [](Elf64_Ehdr& h, Elf64_Phdr*) { h.e_ident[EI_CLASS] = ELFCLASS32; }, "not 64-bit"},
    {"byte order", [](Elf64_Ehdr& h, Elf64_Phdr*) { h.e_ident[EI_DATA] ^= 3; }, "of another byte order"},
    {"machine", [](Elf64_Ehdr& h, Elf64_Phdr*) { h.e_machine = EM_PDP11; }, "for another architecture"},
    {"system", [](Elf64_Ehdr& h, Elf64_Phdr*) { h.e_ident[EI_OSABI] = ELFOSABI_FREEBSD; }, "for another system"},
    {"type", [](Elf64_Ehdr& h, Elf64_Phdr*) { h.e_type = ET_EXEC; }, "not a shared object"},
    {"no headers", [](Elf64_Ehdr& h, Elf64_Phdr*) { h.e_phnum = 0; }, "its program headers are damaged"},
    {"header place", [](Elf64_Ehdr& h, Elf64_Phdr*) { h.e_phoff = UINT64_MAX - 8; }, "truncated"},
    {"segment size", [](Elf64_Ehdr& h, Elf64_Phdr* s) { segment(h, s, PT_LOAD).p_filesz = UINT64_MAX; }, "truncated"},
    {"segment place", [](Elf64_Ehdr& h, Elf64_Phdr* s) { segment(h, s, PT_LOAD).p_offset = UINT64_MAX; }, "truncated"},
    {"memory", [](Elf64_Ehdr& h, Elf64_Phdr* s) { segment(h, s, PT_LOAD).p_memsz = 0; },
     "its program headers are damaged"},
    {"no dynamic segment", [](Elf64_Ehdr& h, Elf64_Phdr* s) { segment(h, s, PT_DYNAMIC).p_type = PT_NULL; },
     "nothing in it can be loaded"},
    {"empty dynamic segment", [](Elf64_Ehdr& h, Elf64_Phdr* s) { segment(h, s, PT_DYNAMIC).p_filesz = 0; },
     "its string table is damaged"},
};

TEST(SharedObject, EachDamageIsRefusedWithItsReason) {
    const std::string whole = bytesOf("Good");
    for (const auto& change : kChanges) {
        std::vector<std::uint64_t> aligned((whole.size() + 7) / 8);
        std::memcpy(aligned.data(), whole.data(), whole.size());
        auto* bytes = reinterpret_cast<char*>(aligned.data());
        auto& header = *reinterpret_cast<Elf64_Ehdr*>(bytes);
        change.apply(header, reinterpret_cast<Elf64_Phdr*>(bytes + sizeof(Elf64_Ehdr)));
        EXPECT_EQ(refusalOf(std::string(bytes, whole.size())), change.reason) << change.what;
    }
    EXPECT_EQ(refusalOf(""), "too short for a shared object");
    EXPECT_EQ(refusalOf(bytesOf("Program")), "a program, not a library");
}

TEST(SharedObject, ATruncatedOneIsRefusedWhereverItIsCut) {
    const std::string whole = bytesOf("Good");
    SharedObject object;
    std::string reason;
    ASSERT_TRUE(readSharedObject(Data::copying(whole), object, reason));
    // What follows the last loaded segment (symbols, section headers) may be missing; nothing before it.
    const auto* header = reinterpret_cast<const Elf64_Ehdr*>(whole.data());
    std::size_t needed = 0;
    for (int i = 0; i < header->e_phnum; ++i) {
        Elf64_Phdr segment;
        std::memcpy(&segment, whole.data() + header->e_phoff + static_cast<std::size_t>(i) * sizeof segment,
                    sizeof segment);
        if (segment.p_type == PT_LOAD) needed = std::max(needed, segment.p_offset + segment.p_filesz);
    }
    for (std::size_t length = 0; length < needed; length += 97) {
        EXPECT_NE(refusalOf(whole.substr(0, length)), "") << length;
    }
}

TEST(SharedObject, WhatItNeedsIsSearchedAsTheLoaderDoes) {
    std::string reason;
    EXPECT_TRUE(canLoadSharedObject(quarry::test::testExecutable("Good"), reason)) << reason;
    EXPECT_FALSE(canLoadSharedObject("/nowhere/at/all", reason));
    EXPECT_EQ(reason, "/nowhere/at/all: missing or unreadable");

    // The name of a library that it needs, spelled differently.
    std::string bytes = bytesOf("Good");
    const std::size_t name = bytes.find("libc.so.6");
    ASSERT_NE(name, std::string::npos);
    bytes.replace(name, 9, "libQ.so.6");
    const quarry::test::TemporaryFolder folder;
    const auto path = folder.write("wanting.so", bytes);
    EXPECT_FALSE(canLoadSharedObject(path, reason));
    EXPECT_EQ(reason, path.string() + ": needs libQ.so.6, which is not there");
}

}  // namespace
}  // namespace halden
