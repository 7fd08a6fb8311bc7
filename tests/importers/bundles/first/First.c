/* An importer as somebody built it with the first header, beside this file: it calls every function there was. Neither
 * file ever changes; should this importer stop working, the interface is broken for everybody. */
#include "quarry_importer.h"

#include <string.h>

static int is_same(const quarry_uuid* a, const quarry_uuid* b) {
    return memcmp(a, b, sizeof *a) == 0;
}

static uint8_t import_everything(quarry_importer* self, quarry_attributes* attributes, const char* content_type,
                                 const char* path) {
    const quarry_attributes_functions* call = attributes->functions;
    char buffer[16];
    (void)self;
    if (call->size < sizeof *call || call->version < 1) return 0;
    call->set_null(attributes, "null");
    call->set_bool(attributes, "bool", 1);
    call->set_integer(attributes, "integer", 42);
    call->set_real(attributes, "real", 1.5);
    call->set_date(attributes, "date", 86400);
    call->set_string(attributes, "type", content_type, QUARRY_ZERO_TERMINATED);
    call->set_string(attributes, "path", path, strlen(path));
    call->set_data(attributes, "data", "ab", 2);
    call->open_array(attributes, "array");
    call->set_integer(attributes, NULL, 1);
    call->set_integer(attributes, NULL, (int64_t)call->count(attributes));
    call->close(attributes);
    call->open_dictionary(attributes, "dictionary");
    call->set_string(attributes, "key", "value", 5);
    call->close(attributes);
    call->set_bool(attributes, "gone", 0);
    call->remove(attributes, "gone");
    call->set_integer(attributes, "length", (int64_t)call->get_string(attributes, "type", buffer, sizeof buffer));
    call->set_integer(attributes, "kind", call->kind_of(attributes, "date"));
    return 1;
}

static uint32_t keep(quarry_importer* self) {
    (void)self;
    return 1;
}

static quarry_result query_interface(quarry_importer* self, quarry_uuid id, void** interface_out) {
    const quarry_uuid importer = QUARRY_IMPORTER_INTERFACE_ID;
    const quarry_uuid unknown = QUARRY_UNKNOWN_INTERFACE_ID;
    const int is_known = is_same(&id, &importer) || is_same(&id, &unknown);
    *interface_out = is_known ? self : NULL;
    return is_known ? QUARRY_OK : QUARRY_NO_INTERFACE;
}

QUARRY_IMPORTER_EXPORT void* makeTestImporter(void* allocator, quarry_uuid type);

void* makeTestImporter(void* allocator, quarry_uuid type) {
    static const quarry_importer_functions functions = {NULL, query_interface, keep, keep, import_everything};
    static quarry_importer importer = {&functions};
    const quarry_uuid importer_type = QUARRY_IMPORTER_TYPE_ID;
    (void)allocator;
    return is_same(&type, &importer_type) ? &importer : NULL;
}
