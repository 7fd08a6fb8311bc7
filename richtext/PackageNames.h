// The names of files in packages: looking them up as the text gives them, and making ones that files can have.
#pragma once

#include "richtext/AttributedString.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace halden {

/// `name` in the composed form of Unicode (NFC).
[[nodiscard]] std::u16string composedName(std::u16string_view name);

/// Names that differ from one another, made of names that need not.
class DistinctNames {
public:
    /// `fileNameFrom(name)` (see RtfdPackage.h), with a number before its extension where it has been given before.
    [[nodiscard]] std::u16string nameFor(std::u16string_view name);
    /// Keeps `name` from being given.
    void reserve(std::u16string_view name) { counts_.try_emplace(std::u16string(name), 1); }

private:
    std::unordered_map<std::u16string, std::size_t> counts_;  // how often a name was asked for; all that were given
};

/// What belongs to the names of a package. Where no name is exactly the one that is looked for, one is taken that
/// differs by how its accents are written: file systems have changed that in packages on their way.
template <class Item>
class PackageNames {
public:
    void add(std::u16string name, Item item) {
        byComposedName_.try_emplace(composedName(name), item);
        byName_.try_emplace(std::move(name), std::move(item));
    }
    /// A null pointer where there is nothing of that name.
    [[nodiscard]] const Item* find(std::u16string_view name) const {
        if (const auto found = byName_.find(std::u16string(name)); found != byName_.end()) return &found->second;
        const auto found = byComposedName_.find(composedName(name));
        return found == byComposedName_.end() ? nullptr : &found->second;
    }

private:
    std::unordered_map<std::u16string, Item> byName_;
    std::unordered_map<std::u16string, Item> byComposedName_;
};

/// How many files and folders the attachments of one text may have together: a text may name a folder of many files as
/// often as it likes.
class AttachmentBudget {
public:
    /// Whether there is room for `file` and what is in it; takes it.
    [[nodiscard]] bool take(const FileNode& file) noexcept;
    [[nodiscard]] bool isSpent() const noexcept { return left_ == 0; }

private:
    std::size_t left_ = 65536;
};

}  // namespace halden
