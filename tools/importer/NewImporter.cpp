#include "tools/importer/Importer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace quarry::tools {
namespace {

constexpr std::string_view kBuild = R"(# The importer @NAME@. With Quarry installed in PREFIX:
#
#     cmake -B build -DCMAKE_PREFIX_PATH=PREFIX && cmake --build build
#     quarry importer check build/@NAME@.mdimporter sample.@EXTENSION@
#     cp -r build/@NAME@.mdimporter ~/.local/share/quarry/Spotlight/
cmake_minimum_required(VERSION 3.20)
project(@EXTENSION@_importer LANGUAGES C)

find_package(quarry REQUIRED COMPONENTS sdk)

set(contents ${CMAKE_BINARY_DIR}/@NAME@.mdimporter/Contents)
add_library(@NAME@ MODULE importer.c)
target_link_libraries(@NAME@ PRIVATE quarry::sdk)
set_target_properties(@NAME@ PROPERTIES C_STANDARD 99 C_VISIBILITY_PRESET hidden PREFIX "" SUFFIX ""
                      LIBRARY_OUTPUT_DIRECTORY ${contents}/Linux)
configure_file(Info.plist ${contents}/Info.plist COPYONLY)
)";

constexpr std::string_view kInfo = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
    <key>CFBundleIdentifier</key>
    <string>org.example.importer.@EXTENSION@</string>
    <key>CFBundleName</key>
    <string>@NAME@</string>
    <key>CFBundleExecutable</key>
    <string>@NAME@</string>

    <!-- A type for an extension that nobody else declares. Leave this out for types that there are: `quarry importers`
         shows the common ones. -->
    <key>UTExportedTypeDeclarations</key>
    <array>
        <dict>
            <key>UTTypeIdentifier</key>
            <string>org.example.@EXTENSION@</string>
            <key>UTTypeConformsTo</key>
            <string>public.data</string>
            <key>UTTypeTagSpecification</key>
            <dict>
                <key>public.filename-extension</key>
                <string>@EXTENSION@</string>
            </dict>
        </dict>
    </array>

    <!-- The types that the importer reads. They are matched exactly: list every one. -->
    <key>CFBundleDocumentTypes</key>
    <array>
        <dict>
            <key>CFBundleTypeRole</key>
            <string>MDImporter</string>
            <key>LSItemContentTypes</key>
            <array>
                <string>org.example.@EXTENSION@</string>
            </array>
        </dict>
    </array>

    <!-- Which function makes the importer. -->
    <key>CFPlugInFactories</key>
    <dict>
        <key>@UUID@</key>
        <string>make_importer</string>
    </dict>
    <key>CFPlugInTypes</key>
    <dict>
        <key>8B08C4BF-415B-11D8-B3F9-0003936726FC</key>
        <array>
            <string>@UUID@</string>
        </array>
    </dict>
    <key>CFPlugInDynamicRegistration</key>
    <false/>
</dict>
</plist>
)";

constexpr std::string_view kSource =
    R"(/* The importer @NAME@: the first line of a file is its title, all of it its text. */
#include <quarry_importer.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { max_length = 16 * 1024 * 1024 };

/* The beginning of a file, to be freed; null when it cannot be read. */
static char* contents_of(const char* path, size_t* length) {
    FILE* file = fopen(path, "rb");
    if (file == NULL) return NULL;
    char* bytes = malloc(max_length);
    *length = bytes != NULL ? fread(bytes, 1, max_length, file) : 0;
    fclose(file);
    return bytes;
}

static uint8_t import_data(quarry_importer* self, quarry_attributes* attributes, const char* content_type,
                           const char* path) {
    (void)self;
    (void)content_type;
    size_t length = 0;
    char* bytes = contents_of(path, &length);
    if (bytes == NULL) return 0;

    /* Leave out what the document does not say; an empty string says nothing. */
    const char* line_end = memchr(bytes, '\n', length);
    size_t title_length = line_end != NULL ? (size_t)(line_end - bytes) : length;
    if (title_length > 0) attributes->functions->set_string(attributes, "kMDItemTitle", bytes, title_length);
    if (length > 0) attributes->functions->set_string(attributes, "kMDItemTextContent", bytes, length);
    free(bytes);
    return 1;
}

/* One instance without state serves every file, so that references need no counting. */
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

QUARRY_IMPORTER_EXPORT void* make_importer(void* allocator, quarry_uuid type) {
    static const quarry_importer_functions functions = {NULL, query_interface, keep, keep, import_data};
    static quarry_importer importer = {&functions};
    const quarry_uuid importer_type = QUARRY_IMPORTER_TYPE_ID;
    (void)allocator;
    return memcmp(&type, &importer_type, sizeof type) == 0 ? &importer : NULL;
}
)";

bool isName(std::string_view name) {
    const auto isLetter = [](unsigned char c) { return c < 0x80 && std::isalpha(c) != 0; };
    const auto isPart = [&](unsigned char c) { return isLetter(c) || (c >= '0' && c <= '9'); };
    return !name.empty() && name.size() <= 64 && isLetter(static_cast<unsigned char>(name.front())) &&
           std::ranges::all_of(name, isPart);
}

std::string newUuid() {
    std::string uuid;
    std::getline(std::ifstream("/proc/sys/kernel/random/uuid"), uuid);
    std::ranges::transform(uuid, uuid.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return uuid;
}

std::string replacing(std::string text, std::string_view what, std::string_view by) {
    for (std::size_t place = 0; (place = text.find(what, place)) != std::string::npos; place += by.size())
        text.replace(place, what.size(), by);
    return text;
}

}  // namespace

std::optional<std::string> writeImporterProject(std::string_view name) {
    if (!isName(name)) return fmt::format("'{}' is no name: letters and digits, a letter first, at most 64", name);
    std::string extension(name);
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const std::string uuid = newUuid();
    if (uuid.empty()) return "the system gives no random identifier";
    const std::filesystem::path folder(name);
    std::error_code error;
    if (!std::filesystem::create_directory(folder, error)) {
        return fmt::format("{}: {}", name, error ? error.message() : std::strerror(EEXIST));
    }
    const std::pair<const char*, std::string_view> files[] = {
        {"CMakeLists.txt", kBuild}, {"Info.plist", kInfo}, {"importer.c", kSource}};
    for (const auto& [file, contents] : files) {
        std::string text = replacing(std::string(contents), "@NAME@", name);
        text = replacing(replacing(std::move(text), "@EXTENSION@", extension), "@UUID@", uuid);
        std::ofstream stream(folder / file, std::ios::binary);
        stream << text;
        if (!stream.flush()) return fmt::format("{} cannot be written", (folder / file).string());
    }
    return std::nullopt;
}

}  // namespace quarry::tools
