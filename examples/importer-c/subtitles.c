/* SPDX-License-Identifier: 0BSD
 *
 * An importer in C: the spoken text and the length of SubRip subtitles (.srt).
 *
 * A file is a list of cues: a number, a line with two times, the lines that are shown, an empty line.
 *
 *     1
 *     00:00:01,000 --> 00:00:03,500
 *     Good evening.
 */
#include <quarry_importer.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { max_line = 4096, max_text = 16 * 1024 * 1024 };

typedef struct text {
    char* bytes;
    size_t length;
} text;

static int append_line(text* spoken, const char* line) {
    size_t length = strlen(line);
    if (length + 1 > max_text - spoken->length) return 0;
    char* grown = realloc(spoken->bytes, spoken->length + length + 1);
    if (grown == NULL) return 0;
    memcpy(grown + spoken->length, line, length);
    grown[spoken->length + length] = '\n';
    spoken->bytes = grown;
    spoken->length += length + 1;
    return 1;
}

/* The second time of a line of times, in seconds; a negative number for any other line. */
static double end_of_cue(const char* line) {
    int from[4], hours, minutes, seconds, milliseconds;
    if (sscanf(line, "%d:%d:%d%*[,.]%d --> %d:%d:%d%*[,.]%d", &from[0], &from[1], &from[2], &from[3], &hours, &minutes,
               &seconds, &milliseconds) != 8) {
        return -1;
    }
    return hours * 3600.0 + minutes * 60.0 + seconds + milliseconds / 1000.0;
}

static void read_cues(FILE* file, text* spoken, double* duration) {
    char line[max_line];
    int is_in_cue = 0;
    while (fgets(line, sizeof line, file) != NULL) {
        line[strcspn(line, "\r\n")] = '\0';
        double end = end_of_cue(line);
        if (end >= 0) {
            is_in_cue = 1;
            if (end > *duration) *duration = end;
        } else if (line[0] == '\0') {
            is_in_cue = 0;
        } else if (is_in_cue && !append_line(spoken, line)) {
            return;
        }
    }
}

static uint8_t import_subtitles(quarry_importer* self, quarry_attributes* attributes, const char* content_type,
                                const char* path) {
    (void)self;
    (void)content_type;
    FILE* file = fopen(path, "rb");
    if (file == NULL) return 0;
    text spoken = {NULL, 0};
    double duration = 0;
    read_cues(file, &spoken, &duration);
    fclose(file);

    if (duration > 0) attributes->functions->set_real(attributes, "kMDItemDurationSeconds", duration);
    if (spoken.length > 0) {
        attributes->functions->set_string(attributes, "kMDItemTextContent", spoken.bytes, spoken.length);
    }
    free(spoken.bytes);
    return 1;
}

/* One instance without state serves every file, so that counting references has nothing to do. */
static uint32_t keep(quarry_importer* self) {
    (void)self;
    return 1;
}

static quarry_result query_interface(quarry_importer* self, quarry_uuid id, void** interface_out) {
    const quarry_uuid importer = QUARRY_IMPORTER_INTERFACE_ID;
    const quarry_uuid unknown = QUARRY_UNKNOWN_INTERFACE_ID;
    int is_known = memcmp(&id, &importer, sizeof id) == 0 || memcmp(&id, &unknown, sizeof id) == 0;
    *interface_out = is_known ? self : NULL;
    return is_known ? QUARRY_OK : QUARRY_NO_INTERFACE;
}

QUARRY_IMPORTER_EXPORT void* make_subtitles_importer(void* allocator, quarry_uuid type) {
    static const quarry_importer_functions functions = {NULL, query_interface, keep, keep, import_subtitles};
    static quarry_importer importer = {&functions};
    const quarry_uuid importer_type = QUARRY_IMPORTER_TYPE_ID;
    (void)allocator;
    return memcmp(&type, &importer_type, sizeof type) == 0 ? &importer : NULL;
}
