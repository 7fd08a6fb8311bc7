// Strings, each once, in the order in which they first came.
#pragma once

#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace halden {

class UniqueStrings {
public:
    /// Returns whether it is new.
    bool insert(std::u16string string) {
        if (!seen_.insert(string).second) return false;
        strings_.push_back(std::move(string));
        return true;
    }
    [[nodiscard]] std::vector<std::u16string> take() { return std::move(strings_); }

private:
    std::vector<std::u16string> strings_;
    std::unordered_set<std::u16string> seen_;
};

}  // namespace halden
