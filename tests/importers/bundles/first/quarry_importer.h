/* SPDX-License-Identifier: 0BSD
 *
 * quarry_importer.h - the interface between Quarry's helper and its metadata importers.
 *
 * An importer is a shared object inside a bundle:
 *
 *     Name.mdimporter/Contents/Info.plist          which types it reads, which function makes it
 *     Name.mdimporter/Contents/Linux/Name          the shared object (libName.so is found as well)
 *
 * The helper loads it, calls the factory function that Info.plist names, asks the instance for the importer interface,
 * and lets that fill a dictionary with the attributes of one file after the other. An importer needs this header and
 * nothing else of the helper: all the dictionary's functions come with the dictionary.
 *
 * Rules
 *   - C99, and C++ as well. Strings are UTF-8; ill-formed bytes in them become U+FFFD. Paths are the system's bytes.
 *   - Calls come from one thread, one at a time.
 *   - A crash ends the helper, which is started again for the next file. An exception that leaves ImporterImportData
 *     is caught, and what was filled until then counts.
 *   - This header only ever grows: tables get new functions at their end, and say their size.
 */
#ifndef QUARRY_IMPORTER_H
#define QUARRY_IMPORTER_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The version of this interface. */
#define QUARRY_IMPORTER_VERSION 1

/* Put this before the factory function, so that it is found although everything else is hidden. */
#define QUARRY_IMPORTER_EXPORT __attribute__((visibility("default")))

/* A 128-bit identifier, its bytes in the order of the text form. Passed by value. */
typedef struct quarry_uuid {
    uint8_t bytes[16];
} quarry_uuid;

/* The type that factories are asked for: 8B08C4BF-415B-11D8-B3F9-0003936726FC (the key in CFPlugInTypes). */
#define QUARRY_IMPORTER_TYPE_ID                                                                            \
    {                                                                                                      \
        { 0x8B, 0x08, 0xC4, 0xBF, 0x41, 0x5B, 0x11, 0xD8, 0xB3, 0xF9, 0x00, 0x03, 0x93, 0x67, 0x26, 0xFC } \
    }

/* The interface that instances are asked for: 6EBC27C4-899C-11D8-84AE-0003936726FC. */
#define QUARRY_IMPORTER_INTERFACE_ID                                                                       \
    {                                                                                                      \
        { 0x6E, 0xBC, 0x27, 0xC4, 0x89, 0x9C, 0x11, 0xD8, 0x84, 0xAE, 0x00, 0x03, 0x93, 0x67, 0x26, 0xFC } \
    }

/* The interface that every instance has: 00000000-0000-0000-C000-000000000046. */
#define QUARRY_UNKNOWN_INTERFACE_ID                                                                        \
    {                                                                                                      \
        { 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46 } \
    }

/* What QueryInterface answers. */
typedef int32_t quarry_result;
#define QUARRY_OK ((quarry_result)0)
#define QUARRY_NO_INTERFACE ((quarry_result)0x80000004)

/* The length to give for a string that ends with a zero byte. */
#define QUARRY_ZERO_TERMINATED ((size_t)-1)

/* The kinds of values in a dictionary. */
typedef enum quarry_kind {
    QUARRY_ABSENT = 0, /* no such key */
    QUARRY_NULL,
    QUARRY_BOOL,
    QUARRY_INTEGER,
    QUARRY_REAL,
    QUARRY_DATE,
    QUARRY_STRING,
    QUARRY_DATA,
    QUARRY_ARRAY,
    QUARRY_DICTIONARY
} quarry_kind;

typedef struct quarry_attributes quarry_attributes;

/* What can be done with a dictionary of attributes.
 *
 * Setting a key that exists replaces its value. Between open_array or open_dictionary and the matching close,
 * everything is put into that container: in an array the key is ignored and may be null, and each call appends. The
 * functions return 1, or 0 when nothing was done: a key is null where one is needed, containers are nested deeper than
 * 16, close has nothing to close.
 */
typedef struct quarry_attributes_functions {
    uint32_t size;    /* of this table in bytes; a function whose place lies beyond is not there */
    uint32_t version; /* QUARRY_IMPORTER_VERSION of the helper */

    int (*set_null)(quarry_attributes* attributes, const char* key);
    int (*set_bool)(quarry_attributes* attributes, const char* key, int value);
    int (*set_integer)(quarry_attributes* attributes, const char* key, int64_t value);
    int (*set_real)(quarry_attributes* attributes, const char* key, double value);
    /* Seconds since 1970-01-01T00:00:00Z. */
    int (*set_date)(quarry_attributes* attributes, const char* key, double unix_seconds);
    /* `length` bytes, or QUARRY_ZERO_TERMINATED. */
    int (*set_string)(quarry_attributes* attributes, const char* key, const char* utf8, size_t length);
    int (*set_data)(quarry_attributes* attributes, const char* key, const void* bytes, size_t length);
    int (*open_array)(quarry_attributes* attributes, const char* key);
    int (*open_dictionary)(quarry_attributes* attributes, const char* key);
    int (*close)(quarry_attributes* attributes);

    /* These look at the innermost open dictionary; in an array they find nothing. */
    int (*remove)(quarry_attributes* attributes, const char* key);
    quarry_kind (*kind_of)(quarry_attributes* attributes, const char* key);
    /* The number of entries of the innermost open container. */
    size_t (*count)(quarry_attributes* attributes);
    /* Copies the string under `key` and a zero byte into `buffer` as far as `capacity` bytes reach, never cutting a
     * character, and returns the length that the whole string has without the zero byte; (size_t)-1 when there is no
     * string. */
    size_t (*get_string)(quarry_attributes* attributes, const char* key, char* buffer, size_t capacity);
} quarry_attributes_functions;

/* The dictionary to be filled. The helper keeps more behind it. */
struct quarry_attributes {
    const quarry_attributes_functions* functions;
};

typedef struct quarry_importer quarry_importer;

/* The importer's table of functions, in the published order of slots. */
typedef struct quarry_importer_functions {
    void* reserved; /* null */

    /* Stores the instance, with one more reference, in *interface_out when it has the interface `id`, else null. */
    quarry_result (*QueryInterface)(quarry_importer* self, quarry_uuid id, void** interface_out);
    /* Both return the number of references there are now. The last Release may free the instance. */
    uint32_t (*AddRef)(quarry_importer* self);
    uint32_t (*Release)(quarry_importer* self);

    /* Fills `attributes` for the file at `path`, which is of the type `content_type` (in lower case). The result is not
     * looked at: what was filled counts. */
    uint8_t (*ImporterImportData)(quarry_importer* self, quarry_attributes* attributes, const char* content_type,
                                  const char* path);
} quarry_importer_functions;

/* An instance: its first word points to the table. */
struct quarry_importer {
    const quarry_importer_functions* functions;
};

/* What CFPlugInFactories names: makes an instance of `type` with one reference, or returns null. `allocator` is null.
 */
typedef void* (*quarry_importer_factory)(void* allocator, quarry_uuid type);

#ifdef __cplusplus
}
#endif

#endif
