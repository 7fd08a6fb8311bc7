// The bundles that ship, found where the build puts them, on files of a test's own.
#pragma once

#include "foundation/Path.h"
#include "importers/MetaDataImporter.h"
#include "tests/importers/TestBundles.h"

#include <gtest/gtest.h>

namespace quarry::test {

class SystemBundles : public ::testing::Test {
protected:
    SystemBundles() {
        locations_.userFolder = u"/nowhere";
        locations_.localFolder = u"/nowhere";
        locations_.systemFolder = halden::stringFromPathBytes(QUARRY_BUILD_PREFIX "/lib/quarry/Spotlight");
        locations_.lister = "/bin/true";
    }

    [[nodiscard]] std::optional<halden::Dictionary> metaDataOf(const std::filesystem::path& path) const {
        return MetaDataImporter(locations_).metaDataOfFileAtPath(halden::stringFromPathBytes(path.string()));
    }
    [[nodiscard]] std::optional<halden::Dictionary> metaData(const std::string& name, std::string_view bytes) const {
        return metaDataOf(folder_.write(name, std::string(bytes)));
    }
    /// The string under a key; "(none)" without.
    [[nodiscard]] static std::u16string stringOf(const std::optional<halden::Dictionary>& dictionary,
                                                 std::u16string_view key) {
        const auto* value = dictionary ? dictionary->find(key) : nullptr;
        const auto* string = value != nullptr ? value->as<std::u16string>() : nullptr;
        return string != nullptr ? *string : u"(none)";
    }

    TemporaryFolder folder_;
    halden::ImporterLocations locations_;
};

}  // namespace quarry::test
