// Packages as office programs make them: a ZIP file of members.
#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace quarry::test {

using Members = std::vector<std::pair<std::string, std::string>>;  // names and contents

inline std::filesystem::path writeZipPackage(const std::filesystem::path& path, const Members& members,
                                             const char* password = nullptr) {
    archive* writer = archive_write_new();
    archive_write_set_format_zip(writer);
    if (password != nullptr) {
        archive_write_set_options(writer, "zip:encryption=aes256");
        archive_write_set_passphrase(writer, password);
    }
    EXPECT_EQ(archive_write_open_filename(writer, path.c_str()), ARCHIVE_OK);
    for (const auto& [name, contents] : members) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, name.c_str());
        archive_entry_set_size(entry, static_cast<la_int64_t>(contents.size()));
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_write_header(writer, entry);
        archive_write_data(writer, contents.data(), contents.size());
        archive_entry_free(entry);
    }
    archive_write_free(writer);
    return path;
}

}  // namespace quarry::test
