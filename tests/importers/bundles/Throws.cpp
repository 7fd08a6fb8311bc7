// Fills a title, opens an array and throws; the type .qthrows.
#include "tests/importers/bundles/TestImporter.h"

#include <stdexcept>

static std::uint8_t importData(quarry_importer*, quarry_attributes* attributes, const char*, const char*) {
    quarry::test::setTitle(attributes, "before the fault");
    attributes->functions->open_array(attributes, "kMDItemAuthors");
    throw std::runtime_error("an importer's fault");
}
QUARRY_TEST_FACTORY(importData)
