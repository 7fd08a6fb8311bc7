// Importers that were built with the first header work for ever.
#include "foundation/Path.h"
#include "importers/MetaDataImporter.h"
#include "tests/importers/TestBundles.h"

#include <gtest/gtest.h>

namespace quarry {
namespace {

using halden::Array;
using halden::Dictionary;

TEST(FirstHeader, AnImporterBuiltWithItIsCalledAsItExpects) {
    const test::TemporaryFolder folder;
    static_cast<void>(test::makeBundle(folder / "local", "First", "First", test::infoForExtension("first")));
    halden::ImporterLocations locations;
    locations.localFolder = halden::stringFromPathBytes((folder / "local").string());
    locations.userFolder = locations.systemFolder = u"/nowhere";
    locations.lister = "/bin/true";
    const std::u16string path = halden::stringFromPathBytes(folder.write("a.first", "x").string());
    EXPECT_EQ(MetaDataImporter(locations).metaDataOfFileAtPath(path),
              (Dictionary{{u"null", halden::Value()},
                          {u"bool", true},
                          {u"integer", 42},
                          {u"real", 1.5},
                          {u"date", halden::Date::fromUnixSeconds(86400)},
                          {u"type", u"org.quarry.test.first"},
                          {u"path", path},
                          {u"data", halden::Data::copying(std::string_view("ab"))},
                          {u"array", Array{1, 1}},
                          {u"dictionary", Dictionary{{u"key", u"value"}}},
                          {u"length", 21},
                          {u"kind", 5}}));
}

}  // namespace
}  // namespace quarry
