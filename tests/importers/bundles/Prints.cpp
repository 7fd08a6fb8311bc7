// Writes noise to whatever outputs it finds, as careless libraries do; the type .qprints.
#include "tests/importers/bundles/TestImporter.h"

#include <unistd.h>

#include <string>

static std::uint8_t importData(quarry_importer*, quarry_attributes* attributes, const char*, const char* path) {
    std::string noise;
    for (int i = 0; i < 40'000; ++i)
        noise += "{\"id\": 1, \"status\": \"ok\", \"path\": \"noise\"}\n\0\xFF";
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
        if (write(output, noise.data(), noise.size()) < 0) continue;
    quarry::test::setTitle(attributes, path);
    return 0;
}
QUARRY_TEST_FACTORY(importData)
