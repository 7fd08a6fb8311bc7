#include "platform/bundles/SharedObject.h"

#include <elf.h>

#include <cstring>
#include <optional>
#include <string_view>

namespace halden {
namespace {

constexpr std::size_t kMaxProgramHeaders = 4096;
constexpr std::size_t kMaxDynamicEntries = 65536;
constexpr std::size_t kMaxNeeded = 1024;

#if defined(__x86_64__)
constexpr Elf64_Half kMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr Elf64_Half kMachine = EM_AARCH64;
#elif defined(__riscv)
constexpr Elf64_Half kMachine = EM_RISCV;
#elif defined(__powerpc64__)
constexpr Elf64_Half kMachine = EM_PPC64;
#elif defined(__s390x__)
constexpr Elf64_Half kMachine = EM_S390;
#else
#error "The machine type of importers is not known for this processor."
#endif
constexpr unsigned char kByteOrder = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ELFDATA2LSB : ELFDATA2MSB;

class Reader {
public:
    Reader(const Data& bytes, SharedObject& object, std::string& reason)
        : bytes_(bytes), object_(object), reason_(reason) {}

    bool read() { return readHeader() && readProgramHeaders() && readDynamicEntries() && collectStrings(); }

private:
    bool refuse(const char* reason) {
        reason_ = reason;
        return false;
    }

    /// Copies a record out of the file: its place may not be aligned.
    template <class Record>
    [[nodiscard]] std::optional<Record> recordAt(std::uint64_t offset) const {
        if (!contains(offset, sizeof(Record))) return std::nullopt;
        Record record;
        std::memcpy(&record, bytes_.bytes() + offset, sizeof record);
        return record;
    }

    [[nodiscard]] bool contains(std::uint64_t offset, std::uint64_t length) const {
        return offset <= bytes_.length() && length <= bytes_.length() - offset;
    }

    bool readHeader() {
        const auto header = recordAt<Elf64_Ehdr>(0);
        if (!header) return refuse("too short for a shared object");
        if (std::memcmp(header->e_ident, ELFMAG, SELFMAG) != 0) return refuse("no shared object");
        if (header->e_ident[EI_CLASS] != ELFCLASS64) return refuse("not 64-bit");
        if (header->e_ident[EI_DATA] != kByteOrder) return refuse("of another byte order");
        if (header->e_machine != kMachine) return refuse("for another architecture");
        const unsigned char system = header->e_ident[EI_OSABI];
        if (system != ELFOSABI_SYSV && system != ELFOSABI_GNU) return refuse("for another system");
        if (header->e_type != ET_DYN) return refuse("not a shared object");
        header_ = *header;
        return true;
    }

    bool readProgramHeaders() {
        if (header_.e_phentsize != sizeof(Elf64_Phdr) || header_.e_phnum == 0 || header_.e_phnum > kMaxProgramHeaders) {
            return refuse("its program headers are damaged");
        }
        bool isLoadable = false;
        for (std::size_t i = 0; i < header_.e_phnum; ++i) {
            if (header_.e_phoff > bytes_.length()) return refuse("truncated");
            const auto segment = recordAt<Elf64_Phdr>(header_.e_phoff + i * sizeof(Elf64_Phdr));
            if (!segment) return refuse("truncated");
            if (segment->p_type != PT_LOAD && segment->p_type != PT_DYNAMIC) continue;
            if (!contains(segment->p_offset, segment->p_filesz)) return refuse("truncated");
            if (segment->p_type == PT_LOAD) {
                if (segment->p_filesz > segment->p_memsz) return refuse("its program headers are damaged");
                isLoadable = true;
                loaded_.push_back(*segment);
            } else {
                dynamic_ = *segment;
            }
        }
        if (!isLoadable || !dynamic_) return refuse("nothing in it can be loaded");
        return true;
    }

    bool readDynamicEntries() {
        const std::uint64_t count = dynamic_->p_filesz / sizeof(Elf64_Dyn);
        if (count > kMaxDynamicEntries) return refuse("its dynamic segment is damaged");
        Elf64_Xword flags = 0;
        for (std::uint64_t i = 0; i < count; ++i) {
            const auto entry = recordAt<Elf64_Dyn>(dynamic_->p_offset + i * sizeof(Elf64_Dyn));
            if (!entry || entry->d_tag == DT_NULL) break;
            if (entry->d_tag == DT_FLAGS_1) flags = entry->d_un.d_val;
            entries_.push_back(*entry);
        }
        if ((flags & DF_1_PIE) != 0) return refuse("a program, not a library");
        if ((flags & DF_1_NOOPEN) != 0) return refuse("marked as not to be opened");
        return true;
    }

    [[nodiscard]] std::optional<Elf64_Xword> valueOf(Elf64_Sxword tag) const {
        for (const Elf64_Dyn& entry : entries_) {
            if (entry.d_tag == tag) return entry.d_un.d_val;
        }
        return std::nullopt;
    }

    /// The place in the file of an address of the loaded object.
    [[nodiscard]] std::optional<std::uint64_t> offsetOf(Elf64_Addr address) const {
        for (const Elf64_Phdr& segment : loaded_) {
            if (address >= segment.p_vaddr && address - segment.p_vaddr < segment.p_filesz) {
                return segment.p_offset + (address - segment.p_vaddr);
            }
        }
        return std::nullopt;
    }

    bool collectStrings() {
        const auto address = valueOf(DT_STRTAB);
        const auto size = valueOf(DT_STRSZ);
        const auto offset = address ? offsetOf(*address) : std::nullopt;
        if (!size || !offset || !contains(*offset, *size)) return refuse("its string table is damaged");
        const std::string_view strings = bytes_.view().substr(*offset, *size);
        std::string_view runPath;
        std::string_view oldPath;
        for (const Elf64_Dyn& entry : entries_) {
            if (entry.d_tag != DT_NEEDED && entry.d_tag != DT_RUNPATH && entry.d_tag != DT_RPATH) continue;
            const std::size_t start = entry.d_un.d_val;
            const std::size_t end = start < strings.size() ? strings.find('\0', start) : std::string_view::npos;
            if (end == std::string_view::npos) return refuse("its string table is damaged");
            const std::string_view string = strings.substr(start, end - start);
            if (entry.d_tag == DT_RUNPATH) runPath = string;
            if (entry.d_tag == DT_RPATH) oldPath = string;
            if (entry.d_tag == DT_NEEDED) object_.needed.emplace_back(string);
        }
        if (object_.needed.size() > kMaxNeeded) return refuse("it needs too many libraries");
        object_.runPath = foldersOf(runPath);
        if (object_.runPath.empty()) object_.rPath = foldersOf(oldPath);
        return true;
    }

    static std::vector<std::string> foldersOf(std::string_view list) {
        std::vector<std::string> folders;
        while (!list.empty()) {
            const std::size_t colon = list.find(':');
            if (const auto folder = list.substr(0, colon); !folder.empty()) folders.emplace_back(folder);
            list = colon == std::string_view::npos ? std::string_view() : list.substr(colon + 1);
        }
        return folders;
    }

    const Data& bytes_;
    SharedObject& object_;
    std::string& reason_;
    Elf64_Ehdr header_{};
    std::vector<Elf64_Phdr> loaded_;
    std::optional<Elf64_Phdr> dynamic_;
    std::vector<Elf64_Dyn> entries_;
};

}  // namespace

bool readSharedObject(const Data& bytes, SharedObject& object, std::string& reason) {
    return Reader(bytes, object, reason).read();
}

}  // namespace halden
