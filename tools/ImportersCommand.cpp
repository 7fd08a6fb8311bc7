#include "foundation/Exception.h"
#include "foundation/Json.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "importers/MetaDataImporter.h"
#include "tools/Commands.h"

#include <fmt/format.h>

namespace quarry::tools {

namespace {

/// A bundle and the content types it declares.
struct Importer {
    std::u16string path;
    MetaDataImporter::Types types;
};

std::vector<Importer> importerTable() {
    MetaDataImporter host;
    host.initMDImporters();
    std::vector<Importer> table;
    for (const std::u16string& path : host.MDImporterArray().value_or(MetaDataImporter::Types())) {
        const auto* types = host.contentTypesForMDImporter(path);
        table.push_back({path, types != nullptr ? *types : MetaDataImporter::Types()});
    }
    return table;
}

std::string asText(const std::vector<Importer>& table) {
    std::string text;
    for (const Importer& importer : table) {
        text += halden::pathBytesFromString(importer.path).value_or("") + "\n";
        for (const std::u16string& type : importer.types) {
            text += fmt::format("    {}\n", halden::utf8FromUtf16(type));
        }
    }
    return text;
}

std::string asJson(const std::vector<Importer>& table) {
    halden::Array importers;
    for (const Importer& importer : table) {
        importers.emplace_back(halden::Dictionary{
            {u"path", importer.path},
            {u"types", halden::Array(importer.types.begin(), importer.types.end())},
        });
    }
    return halden::jsonFromValue(std::move(importers), {.indent = 2}) + "\n";
}

}  // namespace

Status importersCommand(const Invocation& invocation) {
    keepStandardOutput();
    try {
        const std::vector<Importer> table = importerTable();
        print(invocation.json ? asJson(table) : asText(table));
        return table.empty() ? Status::none : Status::result;
    } catch (const halden::Exception& exception) {
        printError(fmt::format("the importers cannot be listed: {}", exception.reason()));
        return Status::none;
    }
}

}  // namespace quarry::tools
