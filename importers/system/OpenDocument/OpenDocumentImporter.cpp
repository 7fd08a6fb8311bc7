// The importer of OpenDocument, packages and flat files.
#include "importers/system/packages/OpenDocumentText.h"
#include "importers/system/support/FileBytes.h"

namespace {

bool importOpenDocument(quarry::support::Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, quarry::packages::kMaxDocument);
    bool isEncrypted = false;
    const auto information = bytes ? quarry::packages::informationFromOpenDocument(*bytes, isEncrypted) : std::nullopt;
    if (isEncrypted) attributes.setLine("kMDItemSecurityMethod", "Password Encrypted");
    if (information) information->set(attributes);
    return information.has_value();
}

}  // namespace

QUARRY_IMPORTER(makeOpenDocumentImporter, importOpenDocument)
