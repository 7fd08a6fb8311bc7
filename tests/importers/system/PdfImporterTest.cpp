// The PDF importer, as the bundle that is shipped.
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "importers/ImporterPlugIn.h"
#include "tests/importers/TestBundles.h"
#include "tests/platform/pdf/PdfEncryption.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <gtest/gtest.h>

namespace quarry {
namespace {

using halden::Array;
using halden::Date;
using halden::Dictionary;
using halden::Value;
using halden::test::documentWithPages;
using halden::test::showing;
using halden::test::TinyPdf;

constexpr const char* kBundle = QUARRY_BUILD_PREFIX "/lib/quarry/Spotlight/PDF.mdimporter";

Dictionary attributesOfFile(const std::string& path) {
    quarry_importer* importer = importerInterfaceOfBundle(halden::utf16FromUtf8(kBundle));
    if (importer == nullptr) return {{u"no importer", halden::Null()}};
    return attributesFromImporter(*importer, u"com.adobe.pdf", path);
}

Dictionary attributesOfBytes(const std::string& bytes) {
    const test::TemporaryFolder folder;
    return attributesOfFile(folder.write("document.pdf", bytes).native());
}

TEST(PdfImporter, ReadsTheExample) {
    Dictionary attributes = attributesOfFile(QUARRY_SOURCE_DIR "/examples/report.pdf");
    const Value* text = attributes.find(u"kMDItemTextContent");
    ASSERT_NE(text, nullptr);
    const auto& content = *text->as<std::u16string>();
    EXPECT_TRUE(
        content.starts_with(u"Relevé annuel du verger de Saint-Aubin\nExercice 2025, présenté par Zoë Lefèvre\n"));
    EXPECT_NE(content.find(u"\n1 / 3\nHarvest\n"), std::u16string::npos);
    EXPECT_NE(content.find(u"receipts 9 842,50 €"), std::u16string::npos);
    EXPECT_TRUE(content.ends_with(u"\n3 / 3\n"));
    attributes.remove(u"kMDItemTextContent");
    const Dictionary expected = {
        {u"kMDItemTitle", u"Relevé annuel du verger de Saint-Aubin – 2025"},
        {u"kMDItemAuthors", Array{u"Zoë Lefèvre"}},
        {u"kMDItemDescription", u"What the orchard bore, what it cost, and what we plant next"},
        {u"kMDItemKeywords", Array{u"verger", u"récolte", u"cidre", u"Körnerobst", u"apples"}},
        {u"kMDItemCreator", u"make_report.py"},
        {u"kMDItemEncodingApplications", Array{u"Quarry examples"}},
        {u"kMDItemContentCreationDate", Date::fromUnixSeconds(1768378500)},
        {u"kMDItemContentModificationDate", Date::fromUnixSeconds(1770136930)},
        {u"kMDItemNumberOfPages", 3},
        {u"kMDItemPageWidth", 595.276},
        {u"kMDItemPageHeight", 841.89},
        {u"kMDItemVersion", u"1.7"},
        {u"kMDItemSecurityMethod", u"None"},
    };
    EXPECT_EQ(attributes, expected);
}

TEST(PdfImporter, PagesWithTextEndInALineFeed) {
    const Dictionary attributes = attributesOfBytes(documentWithPages({showing("One"), "", showing("Three")}).bytes());
    ASSERT_TRUE(attributes.contains(u"kMDItemTextContent"));
    EXPECT_EQ(*attributes.find(u"kMDItemTextContent"), Value(u"One\nThree\n"));
    EXPECT_EQ(*attributes.find(u"kMDItemNumberOfPages"), Value(3));
}

TEST(PdfImporter, WhatSaysNothingIsLeftOut) {
    const Dictionary expected = {
        {u"kMDItemNumberOfPages", 1}, {u"kMDItemPageWidth", 200.0},        {u"kMDItemPageHeight", 100.0},
        {u"kMDItemVersion", u"1.7"},  {u"kMDItemSecurityMethod", u"None"},
    };
    EXPECT_EQ(attributesOfBytes(
                  documentWithPages({""}, "/Title () /Author ( \\000) /Keywords (,) /Creator (\\t\\n) /ModDate (soon)")
                      .bytes()),
              expected);
}

TEST(PdfImporter, TextsAreClean) {
    TinyPdf pdf = documentWithPages({showing("a\001b\002c")}, "/Title ( A\\000 \\rtitle\\n) /Author (A\\007B)");
    const int map = pdf.addStream(
        "/CIDInit /ProcSet findresource begin 12 dict begin begincmap\n1 begincodespacerange <00> <FF> "
        "endcodespacerange\n2 beginbfchar <01> <0007> <02> <0085> endbfchar\nendcmap end end");
    pdf.replace(halden::test::kFont,
                "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /ToUnicode " + TinyPdf::reference(map) + " >>");
    const Dictionary attributes = attributesOfBytes(pdf.bytes());
    ASSERT_TRUE(attributes.contains(u"kMDItemTextContent") && attributes.contains(u"kMDItemTitle"));
    for (const char16_t unit : *attributes.find(u"kMDItemTextContent")->as<std::u16string>())
        EXPECT_TRUE(unit >= 0x20 && (unit < 0x7F || unit >= 0xA0) ? true : unit == u'\n') << static_cast<int>(unit);
    EXPECT_EQ(*attributes.find(u"kMDItemTitle"), Value(u"A title"));
    EXPECT_EQ(*attributes.find(u"kMDItemAuthors"), Value(Array{u"AB"}));
}

TEST(PdfImporter, LockedDocumentsSayWhatCanBeSaid) {
    const Dictionary expected = {
        {u"kMDItemNumberOfPages", 1},
        {u"kMDItemPageWidth", 200.0},
        {u"kMDItemPageHeight", 100.0},
        {u"kMDItemVersion", u"1.7"},
        {u"kMDItemSecurityMethod", u"Password Encrypted"},
    };
    EXPECT_EQ(attributesOfBytes(halden::test::encryptedDocument("open sesame").bytes()), expected);
    const Dictionary open = attributesOfBytes(halden::test::encryptedDocument("").bytes());
    ASSERT_TRUE(open.contains(u"kMDItemTextContent"));
    EXPECT_EQ(*open.find(u"kMDItemTextContent"), Value(u"Secret\n"));
    EXPECT_EQ(*open.find(u"kMDItemSecurityMethod"), Value(u"Password Encrypted"));
}

TEST(PdfImporter, FilesThatAreNoDocumentGiveNothing) {
    EXPECT_TRUE(attributesOfBytes("").empty());
    EXPECT_TRUE(attributesOfBytes("not a document").empty());
    EXPECT_TRUE(attributesOfFile("/no/such/file.pdf").empty());
    EXPECT_TRUE(attributesOfFile("/").empty());
}

}  // namespace
}  // namespace quarry
