#include "foundation/Path.h"
#include "importers/MetaDataImporter.h"
#include "platform/types/ContentTypes.h"
#include "tests/importers/TestBundles.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <gtest/gtest.h>

namespace quarry {
namespace {

using halden::Array;
using halden::Date;
using halden::Dictionary;
using halden::Value;

/// The bundles that ship, found where the build puts them.
class SystemImportersTest : public ::testing::Test {
protected:
    SystemImportersTest() {
        locations_.userFolder = u"/nowhere";
        locations_.localFolder = u"/nowhere";
        locations_.systemFolder = halden::stringFromPathBytes(QUARRY_BUILD_PREFIX "/lib/quarry/Spotlight");
        locations_.lister = "/bin/true";
    }

    std::optional<Dictionary> metaData(const std::string& name, std::string_view bytes) {
        const auto path = folder_.write(name, std::string(bytes));
        return MetaDataImporter(locations_).metaDataOfFileAtPath(halden::stringFromPathBytes(path.string()));
    }

    test::TemporaryFolder folder_;
    halden::ImporterLocations locations_;
};

TEST_F(SystemImportersTest, APdfGivesItsAttributesUnderThePublishedKeys) {
    const auto pdf = halden::test::documentWithPages(
        {halden::test::showing("Page 1"), halden::test::showing("Page 2")},
        "/Title (T) /Author (A) /Subject (S) /Keywords (k, l) /Creator (C) /Producer (P) /ModDate (D:20260101)");
    const Dictionary expected{{u"kMDItemTitle", u"T"},
                              {u"kMDItemAuthors", Array{u"A"}},
                              {u"kMDItemDescription", u"S"},
                              {u"kMDItemKeywords", Array{u"k", u"l"}},
                              {u"kMDItemCreator", u"C"},
                              {u"kMDItemEncodingApplications", Array{u"P"}},
                              {u"kMDItemContentModificationDate", Date::fromUnixSeconds(1767225600)},
                              {u"kMDItemNumberOfPages", 2},
                              {u"kMDItemPageWidth", 200.0},
                              {u"kMDItemPageHeight", 100.0},
                              {u"kMDItemVersion", u"1.7"},
                              {u"kMDItemSecurityMethod", u"None"},
                              {u"kMDItemTextContent", u"Page 1\nPage 2\n"}};
    EXPECT_EQ(metaData("a.PDF", pdf.bytes()), expected);
}

TEST_F(SystemImportersTest, AFileThatIsNoPdfGivesNil) {
    EXPECT_FALSE(metaData("a.pdf", "no document"));
    EXPECT_FALSE(metaData("b.pdf", ""));
}

TEST_F(SystemImportersTest, TextAndMarkdownGiveTheirText) {
    EXPECT_EQ(metaData("a.txt", "caf\xE9"), (Dictionary{{u"kMDItemTextContent", u"caf\u00E9"}}));
    EXPECT_EQ(metaData("a.md", "# T\n"), (Dictionary{{u"kMDItemTextContent", u"# T\n"}, {u"kMDItemTitle", u"T"}}));
    EXPECT_EQ(metaData("a.c", "int x;"), (Dictionary{{u"kMDItemTextContent", u"int x;"}}));
    EXPECT_EQ(metaData("a.abw", "x"), (Dictionary{{u"kMDItemTextContent", u"x"}}));  // an extension nobody declares
    EXPECT_FALSE(metaData("b.txt", std::string_view("\0\1\2\3\4", 5)));
}

}  // namespace
}  // namespace quarry
