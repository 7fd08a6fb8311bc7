// Never returns; the type .qhangs.
#include "tests/importers/bundles/TestImporter.h"

#include <unistd.h>

static std::uint8_t importData(quarry_importer*, quarry_attributes*, const char*, const char*) {
    for (;;)
        pause();
}
QUARRY_TEST_FACTORY(importData)
