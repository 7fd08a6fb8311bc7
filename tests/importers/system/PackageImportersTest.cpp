#include "tests/importers/system/SystemBundles.h"
#include "tests/importers/system/ZipPackage.h"

namespace quarry::test {
namespace {

using halden::Array;
using halden::Date;
using halden::Dictionary;

class PackageImportersTest : public SystemBundles {
protected:
    std::filesystem::path make(const std::string& name, const Members& members, const char* password = nullptr) {
        return writeZipPackage(folder_ / name, members, password);
    }
};

const std::pair<std::string, std::string> kCore{
    "docProps/core.xml",
    "<p xmlns:dc='d' xmlns:t='t'><dc:title>T</dc:title><dc:creator>A;B</dc:creator><dc:subject>S</dc:subject>"
    "<dc:description>D</dc:description><keywords>k, l</keywords><lastModifiedBy>E</lastModifiedBy>"
    "<t:created>2026-01-01T00:00:00Z</t:created></p>"};

TEST_F(PackageImportersTest, ATextGivesItsPropertiesAndParagraphs) {
    const Members members{
        kCore,
        {"docProps/app.xml", "<P><Application>W</Application><Company>C</Company><Pages>3</Pages></P>"},
        {"word/document.xml",
         "<w:d xmlns:w='w' xmlns:m='m'><w:p><w:r><w:t>One</w:t><w:tab/><w:t>two</w:t><w:br/><w:t>x</w:t></w:r></w:p>"
         "<w:p><w:pPr><w:tabs><w:tab/></w:tabs></w:pPr><w:del><w:r><w:delText>no</w:delText></w:r></w:del>"
         "<m:Fallback><w:r><w:t>no</w:t></w:r></m:Fallback><w:r><w:instrText>no</w:instrText><w:t>&lt;b&gt;</w:t></w:r>"
         "</w:p></w:d>"},
        {"word/header2.xml", "<w:h xmlns:w='w'><w:p><w:r><w:t>Head</w:t></w:r></w:p></w:h>"},
        {"word/footer1.xml", "<w:f xmlns:w='w'><w:p><w:r><w:t>Foot</w:t></w:r></w:p></w:f>"},
        {"word/comments.xml", "<w:c xmlns:w='w'><w:comment><w:p><w:r><w:t>Remark</w:t></w:r></w:p></w:comment></w:c>"},
        {"word/footnotes.xml", "<w:f xmlns:w='w'><w:p><w:r><w:t>Note</w:t></w:r></w:p></w:f>"}};
    EXPECT_EQ(metaDataOf(make("a.docx", members)),
              (Dictionary{{u"kMDItemTitle", u"T"},
                          {u"kMDItemSubject", u"S"},
                          {u"kMDItemDescription", u"D"},
                          {u"kMDItemCreator", u"W"},
                          {u"kMDItemAuthors", Array{u"A", u"B"}},
                          {u"kMDItemEditors", Array{u"E"}},
                          {u"kMDItemKeywords", Array{u"k", u"l"}},
                          {u"kMDItemOrganizations", Array{u"C"}},
                          {u"kMDItemContentCreationDate", Date::fromUnixSeconds(1767225600)},
                          {u"kMDItemNumberOfPages", 3},
                          {u"kMDItemTextContent", u"One\ttwo\nx\n<b>\nNote\nRemark\nHead\nFoot\n"}}));
    EXPECT_TRUE(metaDataOf(make("a.dotm", members)));
}

TEST_F(PackageImportersTest, SlidesComeInTheOrderOfTheirNumbersAndWorkbooksGiveTheirStrings) {
    const auto slide = [](const char* text) {
        return std::string("<s xmlns:a='a'><a:p><a:r><a:t>") + text + "</a:t></a:r></a:p></s>";
    };
    const auto slides = make("a.pptx", {{"ppt/presentation.xml", "<p/>"},
                                        {"ppt/slides/slide10.xml", slide("ten")},
                                        {"ppt/slides/slide2.xml", slide("two")},
                                        {"ppt/notesSlides/notesSlide2.xml", slide("note")}});
    EXPECT_EQ(stringOf(metaDataOf(slides), u"kMDItemTextContent"), u"two\nten\nnote\n");
    const auto book = make(
        "a.xlsx", {{"xl/workbook.xml", "<w/>"},
                   {"xl/sharedStrings.xml", "<sst><si><t>a</t><rPh><t>no</t></rPh></si><si><r><t>b</t></r></si></sst>"},
                   {"xl/worksheets/sheet1.xml", "<s><c><v>1</v></c><c><is><t>c</t></is></c></s>"}});
    EXPECT_EQ(stringOf(metaDataOf(book), u"kMDItemTextContent"), u"a\nb\nc\n");
}

const std::string kSpaces =
    " xmlns:office='urn:oasis:names:tc:opendocument:xmlns:office:1.0' "
    "xmlns:text='urn:oasis:names:tc:opendocument:xmlns:"
    "text:1.0' xmlns:meta='urn:oasis:names:tc:opendocument:xmlns:meta:1.0' xmlns:dc='http://purl.org/dc/elements/1.1/'";
const std::string kMeta =
    "<office:meta><dc:title>T</dc:title><meta:initial-creator>A</meta:initial-creator><dc:creator>E</dc:creator>"
    "<meta:keyword>k</meta:keyword><meta:keyword>l</meta:keyword><dc:language>de</dc:language>"
    "<dc:date>2026-01-01T00:00:00Z</dc:date><meta:document-statistic meta:page-count='2'/></office:meta>";
const std::string kBody =
    "<office:body><text:tracked-changes><text:p>no</text:p></text:tracked-changes><text:h>H</text:h>"
    "<text:p>a<text:s text:c='2'/>b<text:tab/>c<text:line-break/><text:span>d</text:span></text:p></office:body>";

TEST_F(PackageImportersTest, AnOpenDocumentGivesTheSameAsAPackageAndAsOneFile) {
    const Dictionary expected{{u"kMDItemTitle", u"T"},
                              {u"kMDItemAuthors", Array{u"A"}},
                              {u"kMDItemEditors", Array{u"E"}},
                              {u"kMDItemKeywords", Array{u"k", u"l"}},
                              {u"kMDItemLanguages", Array{u"de"}},
                              {u"kMDItemContentModificationDate", Date::fromUnixSeconds(1767225600)},
                              {u"kMDItemNumberOfPages", 2},
                              {u"kMDItemTextContent", u"H\na  b\tc\nd\n"}};
    EXPECT_EQ(metaDataOf(make(
                  "a.odt", {{"meta.xml", "<office:document-meta" + kSpaces + ">" + kMeta + "</office:document-meta>"},
                            {"content.xml",
                             "<office:document-content" + kSpaces + ">" + kBody + "</office:document-content>"}})),
              expected);
    EXPECT_EQ(metaData("a.fodt", "<office:document" + kSpaces + ">" + kMeta + kBody + "</office:document>"), expected);
}

TEST_F(PackageImportersTest, ABookGivesItsChaptersInTheirOrder) {
    const Members members{
        {"META-INF/container.xml", "<c><rootfile full-path='OPS/a.opf'/></c>"},
        {"META-INF/encryption.xml", "<e><CipherReference URI='OPS/hidden.xhtml'/></e>"},
        {"OPS/a.opf",
         "<p xmlns:dc='http://purl.org/dc/elements/1.1/'><dc:title>T</dc:title><dc:title>Sub</dc:title><dc:creator>A"
         "</dc:creator><dc:publisher>P</dc:publisher><dc:language>en</dc:language><dc:identifier>urn:1</dc:identifier>"
         "<dc:rights>R</dc:rights><dc:description>&lt;p&gt;D&lt;/p&gt;</dc:description><dc:date>2026-01-01</dc:date>"
         "<item id='a' href='one%20a.xhtml'/><item id='b' href='../two.xhtml'/><item id='h' href='hidden.xhtml'/>"
         "<itemref idref='b'/><itemref idref='a'/><itemref idref='h'/><itemref idref='gone'/></p>"},
        {"OPS/one a.xhtml", "<html><body><p>One</p></body></html>"},
        {"OPS/hidden.xhtml", "<html><body><p>Hidden</p></body></html>"},
        {"two.xhtml", "<html><head><title>no</title></head><body><p>Two</p></body></html>"}};
    EXPECT_EQ(metaDataOf(make("a.epub", members)),
              (Dictionary{{u"kMDItemTitle", u"T"},
                          {u"kMDItemDescription", u"D"},
                          {u"kMDItemIdentifier", u"urn:1"},
                          {u"kMDItemRights", u"R"},
                          {u"kMDItemAuthors", Array{u"A"}},
                          {u"kMDItemPublishers", Array{u"P"}},
                          {u"kMDItemLanguages", Array{u"en"}},
                          {u"kMDItemContentCreationDate", Date::fromUnixSeconds(1767225600)},
                          {u"kMDItemTextContent", u"Two\n\nOne"}}));
}

TEST_F(PackageImportersTest, PasswordsAreSaidAndNothingElse) {
    const Dictionary encrypted{{u"kMDItemSecurityMethod", u"Password Encrypted"}};
    EXPECT_EQ(
        metaDataOf(make("a.odt", {{"META-INF/manifest.xml", "<m><encryption-data/></m>"}, {"content.xml", "bytes"}})),
        encrypted);
    std::string container = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
    EXPECT_FALSE(metaData("b.docx", container));
    for (const char letter : std::string("EncryptedPackage"))
        container += {letter, '\0'};
    EXPECT_EQ(metaData("a.docx", container), encrypted);
}

TEST_F(PackageImportersTest, BombsAndEntitiesEnd) {
    const std::string bomb = "<d><p><r><t>" + std::string(std::size_t{80} << 20, ' ') + "</t></r></p></d>";
    EXPECT_EQ(stringOf(metaDataOf(make("a.docx", {kCore, {"word/document.xml", bomb}})), u"kMDItemTextContent"),
              u"(none)");
    const std::string entities =
        "<!DOCTYPE d [<!ENTITY a SYSTEM 'file:///etc/passwd'><!ENTITY b '&a;&a;'>]><d><p><r><t>&b;</t></r></p></d>";
    EXPECT_EQ(stringOf(metaDataOf(make("b.docx", {kCore, {"word/document.xml", entities}})), u"kMDItemTextContent"),
              u"(none)");
    const auto cut = make("c.docx", {kCore, {"word/document.xml", "<d/>"}});
    std::filesystem::resize_file(cut, 100);
    EXPECT_FALSE(metaDataOf(cut));
    for (const char* name : {"d.docx", "d.odt", "d.epub", "d.fodt"}) {
        EXPECT_FALSE(metaData(name, "")) << name;
        EXPECT_FALSE(metaData(name, "PK\3\4")) << name;
    }
}

}  // namespace
}  // namespace quarry::test
