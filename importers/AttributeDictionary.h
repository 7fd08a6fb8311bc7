// The dictionary that an importer fills, behind its C interface.
#pragma once

#include "foundation/Value.h"
#include "importers/sdk/quarry_importer.h"

#include <string_view>
#include <vector>

namespace quarry {

/// Takes the calls of one importer and builds a `halden::Dictionary` of them.
///
/// Misuse is answered with 0 and changes nothing; containers that the importer leaves open, because it forgot or
/// because an exception ended it, are closed when the dictionary is taken.
class AttributeDictionary : public quarry_attributes {
public:
    AttributeDictionary();
    AttributeDictionary(const AttributeDictionary&) = delete;
    AttributeDictionary& operator=(const AttributeDictionary&) = delete;

    /// What was filled. The dictionary is empty afterwards.
    [[nodiscard]] halden::Dictionary take();

    // What the C functions do; `key` null stands for no key. False when nothing was done.
    bool set(const char* key, halden::Value value);
    bool open(const char* key, halden::Value container);
    bool close();
    bool remove(const char* key);
    [[nodiscard]] const halden::Value* find(const char* key) const;
    [[nodiscard]] std::size_t count() const;

private:
    struct OpenContainer {
        std::u16string key;
        halden::Value container;
    };

    [[nodiscard]] halden::Value& innermost() noexcept;
    [[nodiscard]] const halden::Value& innermost() const noexcept;

    halden::Value root_ = halden::Dictionary();
    std::vector<OpenContainer> open_;
};

}  // namespace quarry
