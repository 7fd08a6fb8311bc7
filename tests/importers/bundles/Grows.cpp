// Takes more and more memory, slowly enough to be watched; the type .qgrows.
#include "tests/importers/bundles/TestImporter.h"

#include <unistd.h>

#include <cstdlib>

static std::uint8_t importData(quarry_importer*, quarry_attributes*, const char*, const char*) {
    constexpr std::size_t kStep = 4 * 1024 * 1024;
    for (;;) {
        void* block = std::malloc(kStep);
        if (block != nullptr) std::memset(block, 1, kStep);
        usleep(5000);
    }
}
QUARRY_TEST_FACTORY(importData)
