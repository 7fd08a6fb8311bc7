// Three factories: one without a function, one that makes nothing, one that makes an instance without the importer
// interface, and one that would have it but is never asked; the type .qfactories.
#include "tests/importers/bundles/TestImporter.h"

static std::uint8_t importData(quarry_importer*, quarry_attributes* attributes, const char*, const char*) {
    quarry::test::setTitle(attributes, "asked although an earlier instance decided");
    return 1;
}
QUARRY_TEST_FACTORY(importData)

extern "C" QUARRY_IMPORTER_EXPORT void* makeNothing(void*, quarry_uuid) {
    return nullptr;
}

static quarry_result refuse(quarry_importer*, quarry_uuid, void** interface) {
    *interface = nullptr;
    return QUARRY_NO_INTERFACE;
}
static std::uint32_t count(quarry_importer*) {
    return 1;
}

extern "C" QUARRY_IMPORTER_EXPORT void* makeStranger(void*, quarry_uuid) {
    static const quarry_importer_functions table = {nullptr, refuse, count, count, nullptr};
    static quarry_importer stranger = {&table};
    return &stranger;
}
