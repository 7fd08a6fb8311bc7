// The importer of Mobipocket books, which Kindle readers took over.
#include "importers/system/Mobi/BookInformation.h"
#include "importers/system/support/FileBytes.h"

namespace {

bool importBook(quarry::support::Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, quarry::packages::kMaxDocument);
    const auto information = bytes ? quarry::mobi::informationFromBook(*bytes) : std::nullopt;
    if (!information) return false;
    information->document.set(attributes);
    attributes.setLines("kMDItemContributors", information->contributors);
    if (information->isEncrypted) attributes.setLine("kMDItemSecurityMethod", "DRM Encrypted");
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeMobiImporter, importBook)
