// What the tests of the single forms share.
#pragma once

#include "platform/plists/PropertyList.h"

#include <string_view>

namespace halden {

inline std::optional<Value> listFrom(std::string_view text) {
    return propertyListFromData(Data::copying(text));
}

/// What is said of `text`, which must not be a property list.
inline std::string complaintAbout(std::string_view text) {
    PropertyListError error;
    const auto value = propertyListFromData(Data::copying(text), &error);
    return value ? "it was accepted" : error.description();
}

/// `value` inside `depth` arrays.
inline Value nested(Value value, int depth) {
    for (int i = 0; i < depth; ++i) {
        Array outer;
        outer.push_back(std::move(value));
        value = Value(std::move(outer));
    }
    return value;
}

}  // namespace halden
