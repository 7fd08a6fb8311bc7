// Info dictionaries and identifiers come from bundles that nobody vouches for.
#include "foundation/Path.h"
#include "foundation/Strings.h"
#include "foundation/Unicode.h"
#include "platform/plists/PropertyList.h"
#include "platform/types/ContentTypes.h"

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

/// An extension that a file can have must come back from its dynamic identifier.
void checkExtension(const std::u16string& extension) {
    const std::u16string lower = halden::lowercaseString(extension);
    const auto bytes = halden::pathBytesFromString(lower);
    if (!bytes || halden::stringFromPathBytes(*bytes) != lower || lower.find(u'/') != std::u16string::npos) return;
    const auto identifier = halden::dynamicIdentifierForExtension(extension);
    require(halden::extensionOfDynamicIdentifier(identifier) == lower);
}

void checkString(const halden::ContentTypes& types, const std::u16string& string) {
    if (const auto extension = halden::extensionOfDynamicIdentifier(string)) checkExtension(*extension);
    checkExtension(string);
    const std::u16string type = types.contentTypeOfExtension(string);
    require(types.conformsTo(type, type));
    (void)types.conformsTo(string, u"public.data");
    (void)types.preferredExtension(string);
    (void)types.contentTypeOfMimeType(halden::utf8FromUtf16(string));
}

void checkStringsIn(const halden::ContentTypes& types, const halden::Value& value) {
    if (const auto* string = value.as<std::u16string>()) {
        checkString(types, *string);
    } else if (const auto* array = value.as<halden::Array>()) {
        for (const auto& element : *array)
            checkStringsIn(types, element);
    } else if (const auto* dictionary = value.as<halden::Dictionary>()) {
        for (const auto& entry : *dictionary)
            checkStringsIn(types, entry.value);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    halden::ContentTypes types;
    const auto list = halden::propertyListFromData(halden::Data::copying({bytes, size}));
    if (list && list->is<halden::Dictionary>()) {
        types.addDeclarations(*list->as<halden::Dictionary>());
        checkStringsIn(types, *list);
    } else {
        checkString(types, halden::utf16FromUtf8({reinterpret_cast<const char*>(bytes), size}));
    }
    return 0;
}
