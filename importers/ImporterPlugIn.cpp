#include "importers/ImporterPlugIn.h"

#include "foundation/Exception.h"
#include "foundation/Unicode.h"
#include "importers/AttributeDictionary.h"
#include "platform/bundles/PlugIn.h"

namespace quarry {
namespace {

constexpr quarry_uuid kMDImporterTypeID = QUARRY_IMPORTER_TYPE_ID;
constexpr quarry_uuid kMDImporterInterfaceID = QUARRY_IMPORTER_INTERFACE_ID;

constexpr halden::Uuid uuidFrom(const quarry_uuid& identifier) {
    halden::Uuid uuid;
    for (std::size_t i = 0; i < uuid.bytes.size(); ++i)
        uuid.bytes[i] = identifier.bytes[i];
    return uuid;
}

static_assert(uuidFrom(kMDImporterTypeID) == halden::Uuid::fromString(u"8B08C4BF-415B-11D8-B3F9-0003936726FC"));
static_assert(uuidFrom(kMDImporterInterfaceID) == halden::Uuid::fromString(u"6EBC27C4-899C-11D8-84AE-0003936726FC"));

}  // namespace

quarry_importer* importerInterfaceOfBundle(std::u16string_view bundlePath) {
    const auto plugIn = halden::PlugIn::plugInWithPath(bundlePath);
    if (!plugIn) return nullptr;
    const halden::Uuid type = uuidFrom(kMDImporterTypeID);
    for (const halden::Uuid& factory : plugIn->factoriesForPlugInType(type)) {
        auto* instance = static_cast<quarry_importer*>(plugIn->createInstance(factory, type));
        if (instance == nullptr) continue;
        void* interface = nullptr;
        if (instance->functions->QueryInterface(instance, kMDImporterInterfaceID, &interface) != QUARRY_OK) {
            interface = nullptr;
        }
        instance->functions->Release(instance);
        return static_cast<quarry_importer*>(interface);
    }
    return nullptr;
}

halden::Dictionary attributesFromImporter(quarry_importer& importer, std::u16string_view contentType,
                                          const std::string& path) {
    AttributeDictionary attributes;
    const std::string type = halden::utf8FromUtf16(contentType);
    const auto import = [&] {
        return importer.functions->ImporterImportData(&importer, &attributes, type.c_str(), path.c_str());
    };
    halden::guarded(import, std::uint8_t{0});
    return attributes.take();
}

}  // namespace quarry
