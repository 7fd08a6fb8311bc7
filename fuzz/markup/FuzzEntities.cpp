// Entities decoded and written, beside the plain form of the rules; decoding in place and not.
#include "foundation/Unicode.h"
#include "markup/Entities.h"
#include "tests/markup/ReferenceEntities.h"

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace halden;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size < 1) return 0;
    const EntityDecoding decoding{
        .decodesSpecials = (bytes[0] & 1) != 0, .onlyNumeric = (bytes[0] & 2) != 0, .nonUmlauted = (bytes[0] & 4) != 0};
    const std::u16string source = utf16FromUtf8({reinterpret_cast<const char*>(bytes) + 1, size - 1});
    std::u16string decoded(source.size(), u'\0');
    decoded.resize(convertEntities2Characters(source.data(), decoded.data(), 0, source.size(), decoding));
    if (decoded != reference::convertEntities(source, decoding)) std::abort();
    std::u16string inPlace = source;
    inPlace.resize(convertEntities2Characters(inPlace.data(), inPlace.data(), 0, inPlace.size(), decoding));
    if (inPlace != decoded) std::abort();
    std::u16string standard = source;
    standard.resize(convertStdEntities2Characters(standard.data(), standard.data(), 0, standard.size()));
    if (standard != reference::convertStandardEntities(source)) std::abort();
    using namespace reference;
    if (stringByConvertingCharactersToEntities(source) != convertUnits(source, entityOf)) std::abort();
    if (stringByConvertingHighCharactersToEntities(source) != convertUnits(source, numberOf)) std::abort();
    if (stringByConvertingCharactersToStandardEntities(source) != convertUnits(source, standardEntityOf)) std::abort();
    if (stringByConvertingCharactersToJSON(source) != convertUnits(source, jsonEscapeOf)) std::abort();
    return 0;
}
