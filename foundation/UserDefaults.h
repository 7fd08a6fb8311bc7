// User defaults that live in memory only.
#pragma once

#include "foundation/Value.h"

#include <string>
#include <string_view>

namespace halden {

/// The standard user defaults of this process. They start empty, are never read from or written to disk, and die with
/// the process, so that no code in it can change the user's settings. Not thread-safe.
class UserDefaults {
public:
    [[nodiscard]] static UserDefaults& standardUserDefaults();

    /// The value of `key`, or a null pointer.
    [[nodiscard]] const Value* objectForKey(std::u16string_view key) const noexcept { return values_.find(key); }
    void setObject(std::u16string key, Value value) { values_.set(std::move(key), std::move(value)); }
    void removeObjectForKey(std::u16string_view key) { values_.remove(key); }

    /// Answers true and does nothing else: every caller is told that saving succeeded.
    bool synchronize() const noexcept { return true; }

private:
    Dictionary values_;
};

}  // namespace halden
