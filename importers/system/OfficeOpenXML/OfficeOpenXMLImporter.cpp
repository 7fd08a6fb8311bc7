// The importer of Office Open XML: texts, workbooks, presentations, their templates and those with macros.
#include "importers/system/packages/OpenXmlText.h"
#include "importers/system/support/FileBytes.h"

namespace {

bool importOpenXml(quarry::support::Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, quarry::packages::kMaxDocument);
    if (!bytes) return false;
    if (quarry::packages::isEncryptedDocument(*bytes)) {
        attributes.setLine("kMDItemSecurityMethod", "Password Encrypted");
        return true;
    }
    const auto information = quarry::packages::informationFromOpenXml(*bytes);
    if (information) information->set(attributes);
    return information.has_value();
}

}  // namespace

QUARRY_IMPORTER(makeOpenXmlImporter, importOpenXml)
