#include "tests/importers/system/SystemBundles.h"

namespace quarry::test {
namespace {

using halden::Array;
using halden::Dictionary;

using FictionBookTest = SystemBundles;

constexpr const char* kBook = R"(<?xml version="1.0" encoding="windows-1251"?>
<FictionBook xmlns="http://www.gribuser.ru/xml/fictionbook/2.0">
 <description><title-info>
  <genre>prose</genre>
  <author><first-name>Zo</first-name><last-name>Lef</last-name><nickname>z</nickname></author>
  <author><nickname>nick</nickname></author>
  <book-title> The
   orchard </book-title>
  <annotation><p>Of <emphasis>pears</emphasis>.</p></annotation>
  <keywords>pears, apples</keywords><lang>ru</lang>
 </title-info>
 <document-info><author><nickname>scanner</nickname></author></document-info>
 <publish-info><publisher>House</publisher><isbn>1-2-3</isbn></publish-info></description>
 <body><title><p>One</p></title>
  <section><p>A <strong>b</strong> <a>c</a></p><poem><stanza><v>)"
                              "\xCF\xF0"
                              R"(</v></stanza></poem><empty-line/></section></body>
 <binary id="x" content-type="image/png">AAAA</binary>
</FictionBook>)";

TEST_F(FictionBookTest, GivesWhatTheBookSaysAndItsWords) {
    EXPECT_EQ(metaData("a.fb2", kBook), (Dictionary{{u"kMDItemTitle", u"The orchard"},
                                                    {u"kMDItemAuthors", Array{u"Zo Lef", u"nick"}},
                                                    {u"kMDItemKeywords", Array{u"pears", u"apples"}},
                                                    {u"kMDItemLanguages", Array{u"ru"}},
                                                    {u"kMDItemPublishers", Array{u"House"}},
                                                    {u"kMDItemIdentifier", u"1-2-3"},
                                                    {u"kMDItemDescription", u"Of pears.\n"},
                                                    {u"kMDItemTextContent", u"One\nA b c\n\u041F\u0440\n"}}));
}

TEST_F(FictionBookTest, CellsAndLinesOfTheDocumentKeepTheirWordsApart) {
    const auto found = metaData("a.fb2", R"(<FictionBook><body><section><p>A line that the
        document <emphasis>breaks</emphasis> </p><table>
        <tr><th>Name</th><th>Price</th></tr>
        <tr>
          <td>Pear </td>
          <td/>
          <td>12</td>
        </tr></table><annotation><p>Of the section</p></annotation></section></body></FictionBook>)");
    EXPECT_EQ(stringOf(found, u"kMDItemTextContent"),
              u"A line that the document breaks\nName\tPrice\nPear\t\t12\nOf the section\n");
}

TEST_F(FictionBookTest, WhatIsCutGivesWhatStandsBeforeAndOthersNothing) {
    const std::string book = kBook;
    for (std::size_t length = 0; length < book.size(); length += 40)
        (void)metaData("a.fb2", book.substr(0, length));
    EXPECT_EQ(stringOf(metaData("b.fb2", book.substr(0, book.find("<poem"))), u"kMDItemTextContent"), u"One\nA b c\n");
    EXPECT_FALSE(metaData("c.fb2", "<html><body><p>x</p></body></html>"));
    EXPECT_FALSE(metaData("d.fb2", "no markup"));
    EXPECT_FALSE(
        metaData("e.fb2", "<!DOCTYPE a [<!ENTITY b \"bb\">]><FictionBook><body><p>&b;</p></body></FictionBook>"));
}

}  // namespace
}  // namespace quarry::test
