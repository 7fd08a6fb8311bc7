// The importer of electronic books.
#include "importers/system/packages/BookText.h"
#include "importers/system/support/FileBytes.h"

namespace {

bool importBook(quarry::support::Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, quarry::packages::kMaxDocument);
    const auto information = bytes ? quarry::packages::informationFromBook(*bytes) : std::nullopt;
    if (information) information->set(attributes);
    return information.has_value();
}

}  // namespace

QUARRY_IMPORTER(makeBookImporter, importBook)
