#include "markup/Entities.h"
#include "markup/operations/Operations.h"

#include <array>

namespace halden::operations {
namespace {

std::u16string convert(std::u16string string, bool entities, bool onlyNumeric, bool nonUmlauted) {
    return stringByConvertingEntitiesToCharacters(
        std::move(string), {.decodesSpecials = entities, .onlyNumeric = onlyNumeric, .nonUmlauted = nonUmlauted});
}

std::u16string convertAll(std::u16string string) {
    return convert(std::move(string), true, false, false);
}

std::u16string convertNonUmlauted(std::u16string string, bool nonUmlauted) {
    return convert(std::move(string), true, false, nonUmlauted);
}

/// The decoder itself: what it drops diacritics from does not depend on whether anything was decoded.
std::u16string decode(std::u16string string, bool specials, bool onlyNumeric, bool nonUmlauted) {
    string.resize(convertEntities2Characters(
        string.data(), string.data(), 0, string.size(),
        {.decodesSpecials = specials, .onlyNumeric = onlyNumeric, .nonUmlauted = nonUmlauted}));
    return string;
}

std::u16string decodeStandard(std::u16string string) {
    string.resize(convertStdEntities2Characters(string.data(), string.data(), 0, string.size()));
    return string;
}

std::optional<std::u16string> initTables() {
    initConversionTables();
    return std::nullopt;
}

constexpr auto kOperations = std::to_array<Operation>({
    method<convert>("stringByConvertingEntitiesToCharacters:onlyNumericEntities:nonUmlauted:",
                    "string entities onlyNumericEntities nonUmlauted"),
    method<convertAll>("stringByConvertingEntitiesToCharacters", "string"),
    method<convertNonUmlauted>("stringByConvertingEntitiesToCharactersNonUmlauted:", "string nonUmlauted"),
    method<stringByConvertingStandardEntitiesToCharacters>("stringByConvertingStandardEntitiesToCharacters", "string"),
    function<decode>("convertEntities2Characters", "string specials onlyNumeric nonUmlauted"),
    function<decodeStandard>("convertStdEntities2Characters", "string"),
    method<stringByConvertingCharactersToEntities>("stringByConvertingCharactersToEntities", "string"),
    method<stringByConvertingHighCharactersToEntities>("stringByConvertingHighCharactersToEntities", "string"),
    method<stringByConvertingCharactersToStandardEntities>("stringByConvertingCharactersToStandardEntities", "string"),
    method<stringByConvertingCharactersToJSON>("stringByConvertingCharactersToJSON", "string"),
    function<initTables>("initConversionTables", ""),
});

}  // namespace

std::span<const Operation> entityOperations() {
    return kOperations;
}

}  // namespace halden::operations
