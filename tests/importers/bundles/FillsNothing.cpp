// Says yes and fills nothing; the type .qnothing.
#include "tests/importers/bundles/TestImporter.h"

static std::uint8_t importData(quarry_importer*, quarry_attributes*, const char*, const char*) {
    return 1;
}
QUARRY_TEST_FACTORY(importData)
