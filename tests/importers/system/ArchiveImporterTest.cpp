#include "tests/importers/system/SystemBundles.h"

#include <archive.h>
#include <archive_entry.h>

namespace quarry::test {
namespace {

using halden::Dictionary;

/// Archives made by the library that reads them, since what matters here is the importer.
class ArchiveImporterTest : public SystemBundles {
protected:
    using Setting = int (*)(archive*);

    std::filesystem::path make(const std::string& name, Setting format, Setting filter,
                               const std::vector<std::string>& entries, std::size_t length = 3,
                               const char* password = nullptr) {
        const auto path = folder_ / name;
        archive* writer = archive_write_new();
        format(writer);
        if (filter != nullptr) filter(writer);
        archive_write_set_options(writer, "hdrcharset=UTF-8");
        if (password != nullptr) {
            archive_write_set_options(writer, "zip:encryption=aes256");
            archive_write_set_passphrase(writer, password);
        }
        EXPECT_EQ(archive_write_open_filename(writer, path.c_str()), ARCHIVE_OK);
        const std::string contents(length, 'x');
        for (const std::string& entryName : entries) {
            archive_entry* entry = archive_entry_new();
            archive_entry_set_pathname_utf8(entry, entryName.c_str());
            archive_entry_set_size(entry, static_cast<la_int64_t>(length));
            archive_entry_set_filetype(entry, AE_IFREG);
            archive_entry_set_perm(entry, 0644);
            archive_write_header(writer, entry);
            archive_write_data(writer, contents.data(), contents.size());
            archive_entry_free(entry);
        }
        archive_write_free(writer);
        return path;
    }
};

TEST_F(ArchiveImporterTest, TheNamesOfTheEntriesAreTheText) {
    const std::vector<std::string> names{"a.txt", "folder/b\n.txt"};
    const Dictionary expected{{u"kMDItemTextContent", u"a.txt\nfolder/b .txt\n"}};
    EXPECT_EQ(metaDataOf(make("a.zip", archive_write_set_format_zip, nullptr, names)), expected);
    EXPECT_EQ(metaDataOf(make("a.tar", archive_write_set_format_pax_restricted, nullptr, names)), expected);
    EXPECT_EQ(metaDataOf(make("a.tgz", archive_write_set_format_ustar, archive_write_add_filter_gzip, names)),
              expected);
    EXPECT_EQ(metaDataOf(make("a.txz", archive_write_set_format_ustar, archive_write_add_filter_xz, names)), expected);
    EXPECT_EQ(metaDataOf(make("a.7z", archive_write_set_format_7zip, nullptr, names)), expected);
    EXPECT_EQ(metaDataOf(make("a.cpio", archive_write_set_format_cpio, nullptr, names)), expected);
}

TEST_F(ArchiveImporterTest, EncryptedEntriesAreSaidToBe) {
    EXPECT_EQ(metaDataOf(make("a.zip", archive_write_set_format_zip, nullptr, {"a"}, 3, "secret")),
              (Dictionary{{u"kMDItemSecurityMethod", u"Password Encrypted"}, {u"kMDItemTextContent", u"a\n"}}));
}

TEST_F(ArchiveImporterTest, WhatIsCompressedAloneOrBrokenGivesNothing) {
    EXPECT_FALSE(metaData("a.zip", "no archive"));
    EXPECT_FALSE(metaData("b.7z", ""));
    EXPECT_FALSE(metaData("c.tar", "./a type=file content=/etc/passwd\n"));
}

TEST_F(ArchiveImporterTest, ATruncatedArchiveGivesTheNamesBeforeTheEnd) {
    const auto path = make("a.tar", archive_write_set_format_ustar, nullptr, {"a", "b"}, 10000);
    std::filesystem::resize_file(path, 5000);
    EXPECT_EQ(stringOf(metaDataOf(path), u"kMDItemTextContent"), u"a\n");
}

}  // namespace
}  // namespace quarry::test
