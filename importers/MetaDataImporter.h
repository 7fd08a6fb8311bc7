// The host of the metadata importers: finds them, chooses one for a file, and runs it in this process.
#pragma once

#include "foundation/Value.h"
#include "platform/bundles/Paths.h"
#include "platform/types/ContentTypes.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quarry {

/// Attributes and text of files, through the importer plug-ins of this machine.
///
/// Which importers there are is found out once, at the first request for a file that exists, and kept for the life of
/// the object: importers installed or removed later are not seen. An importer that crashes or hangs takes this process
/// with it. One thread at a time.
class MetaDataImporter {
public:
    using Types = std::vector<std::u16string>;

    explicit MetaDataImporter(halden::ImporterLocations locations = halden::ImporterLocations::standard());

    /// The shared instance, made when there is none and kept. Not thread-safe.
    [[nodiscard]] static std::shared_ptr<MetaDataImporter> sharedImporter();

    /// Keeps the shared instance no longer: it goes when nobody else holds it, and the next call makes another.
    static void releaseSharedImporter() noexcept;

    /// Whether the importer of the file's type can be loaded and answers the importer interface. False for nil.
    [[nodiscard]] bool supportsFileAtPath(std::optional<std::u16string_view> path);

    /// What the importer of the file's type says of it, null values included; nullopt when there is none, when it says
    /// nothing, and for nil. Never an empty dictionary.
    [[nodiscard]] std::optional<halden::Dictionary> metaDataOfFileAtPath(std::optional<std::u16string_view> path);

    /// The string under kMDItemTextContent of `metaDataOfFileAtPath`.
    [[nodiscard]] std::optional<std::u16string> textContentOfFileAtPath(std::optional<std::u16string_view> path);

    /// Finds the importers and reads their types, unless that was done before (or begun: after an exception the table
    /// stays as empty as it was). Throws `halden::Exception` when the lister cannot be started.
    void initMDImporters();

    /// Paths of importer bundles in priority order; nullopt before the first load.
    [[nodiscard]] const std::optional<Types>& MDImporterArray() const noexcept { return importers_; }

    /// The content types that the importer at `path` declares, in lower case, or a null pointer.
    [[nodiscard]] const Types* contentTypesForMDImporter(const std::u16string& path) const;

    /// Changes the attributes that an importer gave for a path, before they are returned; `cleanUpPackageAttributes`
    /// unless another is set.
    using ResultCleanUp = std::function<void(halden::Dictionary& attributes, std::u16string_view path)>;
    /// Stands in for an importer when none gave a result; `textOfPackage` unless another is set.
    using Fallback = std::function<std::optional<halden::Dictionary>(std::u16string_view path)>;
    void setResultCleanUp(ResultCleanUp cleanUp) { cleanUp_ = std::move(cleanUp); }
    void setFallback(Fallback fallback) { fallback_ = std::move(fallback); }

private:
    void loadMDImporters();
    void readTypesOfImporter(const std::u16string& path);
    [[nodiscard]] std::optional<std::u16string> contentTypeOfFile(std::u16string_view path);
    [[nodiscard]] const std::u16string* importerForType(const std::u16string& contentType) const;
    [[nodiscard]] std::optional<halden::Dictionary> resultOfImporter(std::u16string_view path);

    halden::ImporterLocations locations_;
    halden::ContentTypes contentTypes_;
    std::optional<Types> importers_;
    std::optional<std::unordered_map<std::u16string, Types>> typesOfImporter_;
    ResultCleanUp cleanUp_;
    Fallback fallback_;
};

}  // namespace quarry
