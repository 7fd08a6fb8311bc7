#include "tests/importers/system/SystemBundles.h"

namespace quarry::test {
namespace {

using halden::Array;
using halden::Dictionary;

using PostScriptImporterTest = SystemBundles;

TEST_F(PostScriptImporterTest, TheCommentsOfTheHeaderCount) {
    const Dictionary expected{{u"kMDItemTitle", u"A (good) title"},
                              {u"kMDItemCreator", u"A program"},
                              {u"kMDItemAuthors", Array{u"A Writer"}},
                              {u"kMDItemNumberOfPages", 3}};
    const std::string document =
        "%!PS-Adobe-3.0\r\n%%Title: (A \\(good\\) title)\r\n%%Creator: A program\r\n%%For: A Writer\r\n"
        "%%Pages: (atend)\r\n%%EndComments\r\n%%Title: another\r\nshowpage\r\n%%Trailer\r\n%%Pages: 3\r\n%%EOF\r\n";
    EXPECT_EQ(metaData("a.ps", document), expected);
    EXPECT_EQ(metaData("b.eps", std::string("\xC5\xD0\xD3\xC6") + std::string(26, '\0') + document), expected);
}

TEST_F(PostScriptImporterTest, WhatIsNoDocumentGivesNothing) {
    EXPECT_FALSE(metaData("a.ps", ""));
    EXPECT_FALSE(metaData("b.ps", "%!"));
    EXPECT_FALSE(metaData("c.eps", "\xC5\xD0\xD3\xC6"));
    EXPECT_FALSE(metaData("d.ps", "%!PS"));  // nothing is said
    EXPECT_EQ(metaData("e.ps", "%!PS\n%%Pages: 99999999999999999999\n%%Title: (\n%%For:"),
              (Dictionary{{u"kMDItemTitle", u"("}}));
}

}  // namespace
}  // namespace quarry::test
