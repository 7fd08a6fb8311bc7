// Ends its process; the type .qaborts.
#include "tests/importers/bundles/TestImporter.h"

#include <cstdlib>

static std::uint8_t importData(quarry_importer*, quarry_attributes*, const char*, const char*) {
    std::abort();
}
QUARRY_TEST_FACTORY(importData)
