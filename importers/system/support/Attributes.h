// Setting attributes, and being an importer.
#pragma once

#include "importers/sdk/quarry_importer.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::support {

/// The dictionary that the host has handed in. Strings are cleaned on their way in; what says nothing (an empty string,
/// an empty list, a number or a date that is no finite number) is not set.
class Attributes {
public:
    explicit Attributes(quarry_attributes* attributes) : attributes_(attributes), functions_(*attributes->functions) {}

    /// One line: a title, a name.
    void setLine(const char* key, std::string_view line);
    void setLines(const char* key, const std::vector<std::string>& lines);
    /// A text of many lines.
    void setText(const char* key, std::string_view text);
    void setInteger(const char* key, std::int64_t number);
    void setReal(const char* key, double number);
    void setBool(const char* key, bool value);
    /// Seconds since 1970.
    void setDate(const char* key, std::optional<double> unixSeconds);

    [[nodiscard]] bool has(const char* key) const;

private:
    quarry_attributes* attributes_;
    const quarry_attributes_functions& functions_;
};

/// Reads a file into the attributes; false when it is not of the type.
using ImportFunction = bool (*)(Attributes& attributes, std::string_view contentType, const char* path);

/// The importer that QUARRY_IMPORTER defines. It has no state: one instance serves everybody and is never freed.
[[nodiscard]] void* importerInstance(quarry_uuid type, ImportFunction function) noexcept;

}  // namespace quarry::support

/// Defines the factory `factory` of a bundle whose importer is `function`, an ImportFunction.
#define QUARRY_IMPORTER(factory, function)                                            \
    extern "C" QUARRY_IMPORTER_EXPORT void* factory(void* allocator, quarry_uuid id); \
    void* factory(void*, quarry_uuid id) {                                            \
        return quarry::support::importerInstance(id, function);                       \
    }
