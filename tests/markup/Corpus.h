// Real pages, when there is a folder of them: $QUARRY_CORPUS, else shared/corpus beside the source tree.
#pragma once

#include "foundation/Unicode.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace halden {

inline std::filesystem::path corpusFolder(const std::string& name) {
    const char* folder = std::getenv("QUARRY_CORPUS");
    return std::filesystem::path(folder != nullptr ? folder : QUARRY_SOURCE_DIR "/../shared/corpus") / name;
}

/// All files under `folder`, in order; none when there is no such folder.
inline std::vector<std::filesystem::path> filesUnder(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    if (!std::filesystem::is_directory(folder)) return files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::ranges::sort(files);
    return files;
}

inline std::string bytesOfFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The file read as UTF-8, whatever it is.
inline std::u16string textOfFile(const std::filesystem::path& path) {
    return utf16FromUtf8(bytesOfFile(path));
}

}  // namespace halden
