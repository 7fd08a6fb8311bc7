#include "importers/MetaDataImporter.h"

#include "documents/PackageText.h"
#include "foundation/Log.h"
#include "foundation/Path.h"
#include "foundation/Strings.h"
#include "foundation/Unicode.h"
#include "importers/ImporterDiscovery.h"
#include "importers/ImporterPlugIn.h"
#include "platform/bundles/Bundle.h"

#include <algorithm>

namespace quarry {
namespace {

using halden::Array;
using halden::Dictionary;
using halden::Value;

constexpr std::u16string_view kTextContent = u"kMDItemTextContent";

// Some importers declare compiled help files only under the identifier that an undeclared extension gets.
constexpr std::u16string_view kDynamicHelpType = u"dyn.ah62d4rv4ge80g4dr";
constexpr std::u16string_view kHelpType = u"com.microsoft.chm-archive";

/// Another vendor's importer that only adds tags to mail, and would hide the one that reads it.
bool isTagsMailImporter(const halden::Bundle& bundle) {
    const std::u16string_view name = halden::lastPathComponent(bundle.path());
    return bundle.bundleIdentifier() == u"org.tagsmail.importer" || name == u"TagsMail.mdimporter" ||
           name == u"_TagsMail.mdimporter";
}

const std::u16string* stringIn(const Dictionary& dictionary, std::u16string_view key) {
    const Value* value = dictionary.find(key);
    return value != nullptr ? value->as<std::u16string>() : nullptr;
}

/// The type list of a document type that an importer reads, or a null pointer.
const Array* importedTypes(const Value& documentType) {
    const auto* dictionary = documentType.as<Dictionary>();
    if (dictionary == nullptr) return nullptr;
    const auto* role = stringIn(*dictionary, u"CFBundleTypeRole");
    if (role == nullptr || *role != u"MDImporter") return nullptr;
    const Value* types = dictionary->find(u"LSItemContentTypes");
    return types != nullptr ? types->as<Array>() : nullptr;
}

std::shared_ptr<MetaDataImporter>& keptSharedImporter() {
    static std::shared_ptr<MetaDataImporter> shared;
    return shared;
}

}  // namespace

MetaDataImporter::MetaDataImporter(halden::ImporterLocations locations)
    : locations_(std::move(locations)), cleanUp_(cleanUpPackageAttributes), fallback_(textOfPackage) {}

std::shared_ptr<MetaDataImporter> MetaDataImporter::sharedImporter() {
    auto& shared = keptSharedImporter();
    if (!shared) shared = std::make_shared<MetaDataImporter>();
    return shared;
}

void MetaDataImporter::releaseSharedImporter() noexcept {
    keptSharedImporter().reset();
}

const MetaDataImporter::Types* MetaDataImporter::contentTypesForMDImporter(const std::u16string& path) const {
    if (!typesOfImporter_) return nullptr;
    const auto found = typesOfImporter_->find(path);
    return found != typesOfImporter_->end() ? &found->second : nullptr;
}

void MetaDataImporter::initMDImporters() {
    if (typesOfImporter_) return;
    typesOfImporter_.emplace();
    importers_.emplace();
    loadMDImporters();
}

void MetaDataImporter::loadMDImporters() {
    importers_ = discoverImporters(locations_);
    for (const auto& path : *importers_)
        readTypesOfImporter(path);
}

void MetaDataImporter::readTypesOfImporter(const std::u16string& path) {
    const auto bundle = halden::Bundle::bundleWithPath(path);
    if (!bundle || !bundle->preflight()) return;
    contentTypes_.addDeclarations(bundle->infoDictionary());

    const Value* value = bundle->objectForInfoDictionaryKey(u"CFBundleDocumentTypes");
    const auto* documentTypes = value != nullptr ? value->as<Array>() : nullptr;
    if (documentTypes == nullptr || documentTypes->empty() || isTagsMailImporter(*bundle)) {
        halden::logInfo("Skipped: " + halden::pathBytesFromString(path).value_or(std::string()));
        return;
    }
    for (const Value& documentType : *documentTypes) {
        const Array* declared = importedTypes(documentType);
        if (declared == nullptr) continue;
        Types& types = (*typesOfImporter_)[path];
        for (const Value& element : *declared) {
            const auto* identifier = element.as<std::u16string>();
            if (identifier == nullptr) continue;
            std::u16string type = halden::lowercaseString(*identifier);
            types.push_back(type == kDynamicHelpType ? std::u16string(kHelpType) : std::move(type));
        }
    }
}

std::optional<std::u16string> MetaDataImporter::contentTypeOfFile(std::u16string_view path) {
    // What is not there has no type, and does not cost the search for importers; what is there is asked for again
    // after the search, since the importers add their own types to what is known.
    if (!typesOfImporter_ && !contentTypes_.contentTypeOfFile(path)) return std::nullopt;
    initMDImporters();
    const auto type = contentTypes_.contentTypeOfFile(path);
    return type ? std::optional(halden::lowercaseString(*type)) : std::nullopt;
}

const std::u16string* MetaDataImporter::importerForType(const std::u16string& contentType) const {
    const auto declaresType = [&](const std::u16string& path) {
        const Types* types = contentTypesForMDImporter(path);
        return types != nullptr && std::find(types->begin(), types->end(), contentType) != types->end();
    };
    const auto found = std::find_if(importers_->begin(), importers_->end(), declaresType);
    return found != importers_->end() ? &*found : nullptr;
}

bool MetaDataImporter::supportsFileAtPath(std::optional<std::u16string_view> path) {
    const auto contentType = path ? contentTypeOfFile(*path) : std::nullopt;
    const std::u16string* bundlePath = contentType ? importerForType(*contentType) : nullptr;
    return bundlePath != nullptr && importerInterfaceOfBundle(*bundlePath) != nullptr;
}

std::optional<Dictionary> MetaDataImporter::metaDataOfFileAtPath(std::optional<std::u16string_view> path) {
    if (!path) return std::nullopt;
    if (auto attributes = resultOfImporter(*path)) {
        if (cleanUp_) cleanUp_(*attributes, *path);
        if (attributes->empty()) return std::nullopt;
        return attributes;
    }
    return fallback_ ? fallback_(*path) : std::nullopt;
}

std::optional<Dictionary> MetaDataImporter::resultOfImporter(std::u16string_view path) {
    const auto pathBytes = halden::pathBytesFromString(path);
    const auto contentType = pathBytes ? contentTypeOfFile(path) : std::nullopt;
    const std::u16string* bundlePath = contentType ? importerForType(*contentType) : nullptr;
    quarry_importer* importer = bundlePath != nullptr ? importerInterfaceOfBundle(*bundlePath) : nullptr;
    if (importer == nullptr) return std::nullopt;
    Dictionary attributes = attributesFromImporter(*importer, *contentType, *pathBytes);
    if (attributes.empty()) return std::nullopt;
    return attributes;
}

std::optional<std::u16string> MetaDataImporter::textContentOfFileAtPath(std::optional<std::u16string_view> path) {
    const auto attributes = metaDataOfFileAtPath(path);
    const Value* text = attributes ? attributes->find(kTextContent) : nullptr;
    const auto* string = text != nullptr ? text->as<std::u16string>() : nullptr;
    return string != nullptr ? std::optional(*string) : std::nullopt;
}

}  // namespace quarry
