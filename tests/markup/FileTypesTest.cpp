#include "foundation/Unicode.h"
#include "markup/FileTypes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace halden {
namespace {

TEST(FileTypes, ListsAreInTheirOrder) {
    EXPECT_EQ(HTMLFileTypes().size(), 36U);
    EXPECT_EQ(HTMLFileTypes().front(), u"xhtml");
    EXPECT_EQ(HTMLFileTypes()[20], u"JSP");
    EXPECT_EQ(HTMLFileTypes().back(), u"CGI");
    EXPECT_EQ(XMLFileTypes().size(), 28U);
    EXPECT_EQ(XMLFileTypes().front(), u"xml");
    EXPECT_EQ(XMLFileTypes()[22], u"idata");
    EXPECT_EQ(XMLFileTypes().back(), u"TBX");
    EXPECT_EQ(PropertyListFileTypes().size(), 8U);
    EXPECT_EQ(PropertyListFileTypes().back(), u"sdef");
    const auto all = MarkupFileTypes();
    ASSERT_EQ(all.size(), 72U);
    EXPECT_TRUE(std::ranges::equal(all.subspan(0, 28), XMLFileTypes()));
    EXPECT_TRUE(std::ranges::equal(all.subspan(28, 36), HTMLFileTypes()));
    EXPECT_TRUE(std::ranges::equal(all.subspan(64), PropertyListFileTypes()));
}

TEST(FileTypes, KindsOfExtensions) {
    struct Row {
        std::u16string_view extension;
        bool isHTML;
        bool isXML;
        bool isPropertyList;
    };
    const Row rows[] = {
        {u"html", true, false, false},    {u"HtM", true, false, false},
        {u"cgi", true, false, false},     {u"aspx?id=1", true, false, false},
        {u"php?a?b", true, false, false}, {u"php6", false, false, false},
        {u"shtm", true, true, false},  // both, although it is not in the list of XML types
        {u"xslt", false, true, false},    {u"XmlOutline", false, true, false},
        {u"xml?x", false, false, false},  {u"plist", false, false, true},
        {u"STRINGS", false, false, true}, {u"ScriptTerminology", false, false, true},
        {u"sdef", false, false, true},    {u"", false, false, false},
        {u"?html", false, false, false},  {u"txt", false, false, false},
    };
    for (const Row& row : rows) {
        const std::string name = utf8FromUtf16(row.extension);
        EXPECT_EQ(isHTMLExtension(row.extension), row.isHTML) << name;
        EXPECT_EQ(isXMLExtension(row.extension), row.isXML) << name;
        EXPECT_EQ(isPropertyListExtension(row.extension), row.isPropertyList) << name;
        EXPECT_EQ(isMarkupExtension(row.extension), row.isHTML || row.isXML || row.isPropertyList) << name;
    }
    // Every listed type is one of its kind, but for the two spellings that the tests of extensions lack.
    for (const auto type : HTMLFileTypes())
        EXPECT_TRUE(isHTMLExtension(type)) << utf8FromUtf16(type);
    for (const auto type : XMLFileTypes())
        EXPECT_TRUE(isXMLExtension(type)) << utf8FromUtf16(type);
    for (const auto type : PropertyListFileTypes())
        EXPECT_TRUE(isPropertyListExtension(type)) << utf8FromUtf16(type);
}

TEST(FileTypes, FilesCountByTheirExtension) {
    EXPECT_TRUE(isHTMLFile(u"/a/b.c/page.HTML"));
    EXPECT_FALSE(isHTMLFile(u"/a/b.html/page"));
    EXPECT_FALSE(isHTMLFile(u"html"));
    EXPECT_TRUE(isXMLFile(u"feed.rss"));
    EXPECT_TRUE(isPropertyListFile(u"Info.plist"));
    EXPECT_TRUE(isMarkupFile(u"x.opml"));
    EXPECT_FALSE(isMarkupFile(u""));
}

}  // namespace
}  // namespace halden
