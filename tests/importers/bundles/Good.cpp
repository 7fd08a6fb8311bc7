// Says which type it was asked for and which file; the type .qgood.
#include "tests/importers/bundles/TestImporter.h"

static std::uint8_t importData(quarry_importer*, quarry_attributes* attributes, const char* contentType,
                               const char* path) {
    quarry::test::setTitle(attributes, path);
    attributes->functions->set_string(attributes, "kMDItemTextContent", contentType, QUARRY_ZERO_TERMINATED);
    return 0;  // not looked at
}
QUARRY_TEST_FACTORY(importData)
