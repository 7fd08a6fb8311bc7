// Bundles: folders with an Info.plist and an executable.
#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// A bundle, opened for its Info dictionary; no code of it is loaded. A value type.
///
/// NAME.mdimporter/Contents/Info.plist names the executable (CFBundleExecutable, by default NAME), which is the shared
/// object Contents/Linux/EXECUTABLE, or libEXECUTABLE.so there.
class Bundle {
public:
    /// The bundle at `path`; nullopt when no folder is there. A missing or unreadable Info.plist is an empty
    /// dictionary.
    [[nodiscard]] static std::optional<Bundle> bundleWithPath(std::u16string_view path);

    [[nodiscard]] const std::u16string& path() const noexcept { return path_; }
    [[nodiscard]] const Dictionary& infoDictionary() const noexcept { return infoDictionary_; }

    /// The value of `key` in the Info dictionary, or a null pointer.
    [[nodiscard]] const Value* objectForInfoDictionaryKey(std::u16string_view key) const noexcept {
        return infoDictionary_.find(key);
    }

    /// The value of `key` as a boolean: a boolean, a number other than 0, or a string that begins, after spaces, a sign
    /// and zeros, with Y, T (in either case) or a digit from 1. Everything else, and an absent key, is false.
    [[nodiscard]] bool boolForInfoDictionaryKey(std::u16string_view key) const;

    /// CFBundleIdentifier; empty when there is none.
    [[nodiscard]] std::u16string_view bundleIdentifier() const noexcept;

    /// The executable as bytes of a path; nullopt when there is none.
    [[nodiscard]] std::optional<std::string> executablePath() const;

    /// Whether the executable can be loaded into this process, told without running any of its code. With `reason`, why
    /// not.
    [[nodiscard]] bool preflight(std::string* reason = nullptr) const;

private:
    Bundle(std::u16string_view path, Dictionary infoDictionary);

    std::u16string path_;
    Dictionary infoDictionary_;
};

}  // namespace halden
