#include "importers/system/support/Attributes.h"

#include "importers/system/support/CleanText.h"

#include <cmath>
#include <cstring>

namespace quarry::support {
namespace {

constexpr quarry_uuid kTypeID = QUARRY_IMPORTER_TYPE_ID;
constexpr quarry_uuid kInterfaceID = QUARRY_IMPORTER_INTERFACE_ID;
constexpr quarry_uuid kUnknownID = QUARRY_UNKNOWN_INTERFACE_ID;

bool isSame(const quarry_uuid& a, const quarry_uuid& b) noexcept {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

std::uint32_t countReference(quarry_importer*) {
    return 1;
}

quarry_result queryInterface(quarry_importer* self, quarry_uuid id, void** interface) {
    const bool isKnown = isSame(id, kInterfaceID) || isSame(id, kUnknownID);
    *interface = isKnown ? self : nullptr;
    return isKnown ? QUARRY_OK : QUARRY_NO_INTERFACE;
}

ImportFunction theFunction = nullptr;

std::uint8_t import(quarry_importer*, quarry_attributes* dictionary, const char* contentType, const char* path) {
    Attributes attributes(dictionary);
    return theFunction(attributes, contentType, path) ? 1 : 0;
}

constexpr quarry_importer_functions kFunctions = {nullptr, queryInterface, countReference, countReference, import};
quarry_importer theImporter = {&kFunctions};

}  // namespace

void Attributes::setLine(const char* key, std::string_view line) {
    const std::string clean = cleanLine(line);
    if (!clean.empty()) functions_.set_string(attributes_, key, clean.data(), clean.size());
}

void Attributes::setLines(const char* key, const std::vector<std::string>& lines) {
    std::vector<std::string> clean;
    for (const std::string& line : lines) {
        if (std::string cleaned = cleanLine(line); !cleaned.empty()) clean.push_back(std::move(cleaned));
    }
    if (clean.empty()) return;
    functions_.open_array(attributes_, key);
    for (const std::string& line : clean)
        functions_.set_string(attributes_, nullptr, line.data(), line.size());
    functions_.close(attributes_);
}

void Attributes::setText(const char* key, std::string_view text) {
    const std::string clean = cleanText(text);
    if (clean.find_first_not_of(" \t\n") == std::string::npos) return;
    functions_.set_string(attributes_, key, clean.data(), clean.size());
}

void Attributes::setInteger(const char* key, std::int64_t number) {
    functions_.set_integer(attributes_, key, number);
}

void Attributes::setReal(const char* key, double number) {
    if (std::isfinite(number)) functions_.set_real(attributes_, key, number);
}

void Attributes::setBool(const char* key, bool value) {
    functions_.set_bool(attributes_, key, value ? 1 : 0);
}

void Attributes::setDate(const char* key, std::optional<double> unixSeconds) {
    if (unixSeconds && std::isfinite(*unixSeconds)) functions_.set_date(attributes_, key, *unixSeconds);
}

bool Attributes::has(const char* key) const {
    return functions_.kind_of(attributes_, key) != QUARRY_ABSENT;
}

void* importerInstance(quarry_uuid type, ImportFunction function) noexcept {
    if (!isSame(type, kTypeID)) return nullptr;
    theFunction = function;
    return &theImporter;
}

}  // namespace quarry::support
