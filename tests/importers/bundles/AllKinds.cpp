// Fills every kind of value, misuses the table, and leaves containers open; the type .qkinds.
#include "tests/importers/bundles/TestImporter.h"

static std::uint8_t importData(quarry_importer*, quarry_attributes* attributes, const char*, const char*) {
    const auto* table = attributes->functions;
    table->set_null(attributes, "null");
    table->set_bool(attributes, "bool", 2);
    table->set_integer(attributes, "integer", -7);
    table->set_real(attributes, "real", 0.5);
    table->set_date(attributes, "date", 978307200.0);
    table->set_string(attributes, "string", "caf\xC3\xA9 \xFF", 7);
    table->set_string(attributes, "surrogate", "\xED\xA0\x80", 3);
    table->set_data(attributes, "data", "\0\1", 2);
    table->set_integer(attributes, "removed", 1);
    table->remove(attributes, "removed");
    table->set_integer(attributes, nullptr, 1);            // no key: nothing happens
    table->set_string(attributes, "nothing", nullptr, 3);  // no string: nothing happens
    table->close(attributes);                              // nothing to close: nothing happens
    table->open_array(attributes, "array");
    table->set_integer(attributes, "ignored", 1);
    table->open_dictionary(attributes, nullptr);
    table->set_bool(attributes, "inner", 0);
    table->close(attributes);
    int depth = 1;
    while (table->open_array(attributes, nullptr) != 0)
        ++depth;
    table->set_integer(attributes, nullptr, depth);
    return 1;  // containers stay open
}
QUARRY_TEST_FACTORY(importData)
