// A folder of its own for a test, with files and folders that the test puts there.
#pragma once

#include "foundation/Path.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace halden {

class ItemFolder {
public:
    ItemFolder() {
        std::string name = testing::TempDir() + "types-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        folder_ = name;
    }
    ItemFolder(const ItemFolder&) = delete;
    ItemFolder& operator=(const ItemFolder&) = delete;
    ~ItemFolder() { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::string bytes(const std::string& name) const { return folder_ + "/" + name; }
    [[nodiscard]] std::u16string path(const std::string& name) const { return stringFromPathBytes(bytes(name)); }

    std::u16string file(const std::string& name, std::string_view contents = {}) {
        std::ofstream out(bytes(name), std::ios::binary);
        out << contents;
        out.close();
        EXPECT_TRUE(out) << name;
        return path(name);
    }

    std::u16string folder(const std::string& name) {
        EXPECT_TRUE(std::filesystem::create_directory(bytes(name))) << name;
        return path(name);
    }

    std::u16string link(const std::string& name, const std::string& target) {
        std::filesystem::create_symlink(target, bytes(name));
        return path(name);
    }

private:
    std::string folder_;
};

}  // namespace halden
