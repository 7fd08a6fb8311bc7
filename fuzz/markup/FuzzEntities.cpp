// The entity decoder beside the plain form of its rules, in place and not.
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
    if (stringByConvertingStandardEntitiesToCharacters(source).size() > source.size()) std::abort();
    for (const char16_t unit : stringByConvertingCharactersToEntities(source)) {
        if (unit >= 128) std::abort();
    }
    static_cast<void>(stringByConvertingCharactersToJSON(source));
    return 0;
}
