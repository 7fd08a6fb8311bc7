// The importer of archives: the names of their entries are their text.
#include "importers/system/support/Attributes.h"
#include "importers/system/support/CleanText.h"
#include "importers/system/support/FileBytes.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <clocale>
#include <memory>

namespace {

using quarry::support::Attributes;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxEntries = 200000;
constexpr std::size_t kMaxTextLength = std::size_t{16} << 20;

// What is compressed as a whole must be unpacked to find the next name: as much as this, and for so long.
constexpr std::uint64_t kMaxUnpacked = std::uint64_t{4} << 30;
constexpr std::chrono::seconds kMaxTime{10};

struct Free {
    void operator()(archive* reader) const noexcept { archive_read_free(reader); }
};
using Reader = std::unique_ptr<archive, Free>;

/// Names are converted by the thread's locale, which is that of no language unless somebody says otherwise.
class Utf8Locale {
public:
    Utf8Locale() : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
        if (locale_ != nullptr) previous_ = uselocale(locale_);
    }
    ~Utf8Locale() {
        if (locale_ == nullptr) return;
        uselocale(previous_);
        freelocale(locale_);
    }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    locale_t locale_;
    locale_t previous_ = nullptr;
};

/// The formats that hold everything in the file: none that names files elsewhere, none that another program reads.
Reader readerOf(int file) {
    Reader reader(archive_read_new());
    if (!reader) return nullptr;
    for (const auto support :
         {archive_read_support_filter_bzip2, archive_read_support_filter_compress, archive_read_support_filter_gzip,
          archive_read_support_filter_lz4, archive_read_support_filter_lzma, archive_read_support_filter_rpm,
          archive_read_support_filter_xz, archive_read_support_filter_zstd, archive_read_support_format_7zip,
          archive_read_support_format_ar, archive_read_support_format_cab, archive_read_support_format_cpio,
          archive_read_support_format_lha, archive_read_support_format_rar, archive_read_support_format_rar5,
          archive_read_support_format_tar, archive_read_support_format_xar, archive_read_support_format_zip})
        support(reader.get());
    constexpr std::size_t kBlock = 65536;
    return archive_read_open_fd(reader.get(), file, kBlock) == ARCHIVE_OK ? std::move(reader) : nullptr;
}

std::string nameOf(archive_entry* entry) {
    if (const char* name = archive_entry_pathname_utf8(entry)) return name;
    const char* name = archive_entry_pathname(entry);
    return name != nullptr ? name : std::string();
}

/// Whether the names stand apart from what they name, so that nothing need be unpacked between them.
bool hasNamesApart(archive* reader) {
    const int format = archive_format(reader) & ARCHIVE_FORMAT_BASE_MASK;
    if (format == ARCHIVE_FORMAT_ZIP || format == ARCHIVE_FORMAT_7ZIP) return true;
    const bool isPlain = archive_filter_code(reader, 0) == ARCHIVE_FILTER_NONE;
    return isPlain && (format == ARCHIVE_FORMAT_TAR || format == ARCHIVE_FORMAT_CPIO || format == ARCHIVE_FORMAT_AR);
}

/// Passes over the contents of an entry; false when there is no end to them.
bool skipContents(archive* reader, std::uint64_t& unpacked, Clock::time_point end) {
    const void* block = nullptr;
    std::size_t length = 0;
    la_int64_t offset = 0;
    while (archive_read_data_block(reader, &block, &length, &offset) == ARCHIVE_OK) {
        unpacked += length;
        if (unpacked > kMaxUnpacked || Clock::now() > end) return false;
    }
    return true;
}

struct Listing {
    std::string names;
    std::size_t count = 0;
    bool isEncrypted = false;
};

Listing listingOf(archive* reader) {
    Listing listing;
    const auto end = Clock::now() + kMaxTime;
    std::uint64_t unpacked = 0;
    archive_entry* entry = nullptr;
    for (;;) {
        const int status = archive_read_next_header(reader, &entry);
        if (status != ARCHIVE_OK && status != ARCHIVE_WARN) break;
        if (archive_entry_is_encrypted(entry) == 1) listing.isEncrypted = true;
        const std::string name = quarry::support::cleanLine(nameOf(entry));
        if (++listing.count > kMaxEntries || listing.names.size() + name.size() > kMaxTextLength) break;
        if (!name.empty()) listing.names.append(name).push_back('\n');
        if (Clock::now() > end) break;
        if (!hasNamesApart(reader) && !skipContents(reader, unpacked, end)) break;
    }
    // The names themselves may be hidden.
    if (archive_read_has_encrypted_entries(reader) > 0) listing.isEncrypted = true;
    return listing;
}

bool importArchive(Attributes& attributes, std::string_view, const char* path) {
    const Utf8Locale locale;
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return false;
    struct stat status {};
    Reader reader = fstat(file, &status) == 0 && S_ISREG(status.st_mode) ? readerOf(file) : nullptr;
    const Listing listing = reader ? listingOf(reader.get()) : Listing{};
    reader.reset();
    close(file);
    if (listing.isEncrypted) attributes.setLine("kMDItemSecurityMethod", "Password Encrypted");
    attributes.setText("kMDItemTextContent", listing.names);
    return listing.count > 0 || listing.isEncrypted;
}

}  // namespace

QUARRY_IMPORTER(makeArchiveImporter, importArchive)
