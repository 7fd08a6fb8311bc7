// What documents say of themselves.
#include "foundation/Unicode.h"
#include "platform/pdf/PdfDocument.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

using test::documentWithPages;
using test::TinyPdf;

Dictionary attributesWith(const std::string& information) {
    const auto document = PdfDocument::documentWithData(documentWithPages({""}, information).data());
    return document ? document->documentAttributes() : Dictionary{{u"no document", Null()}};
}

TEST(PdfInformation, HasTheDocumentedKeysOnly) {
    const Dictionary expected = {
        {u"Title", u"A title"},      {u"Author", u"An author"},
        {u"Subject", u"A subject"},  {u"Creator", u"A program"},
        {u"Producer", u""},          {u"CreationDate", Date{0}},
        {u"ModDate", Date{86400.0}}, {u"Keywords", Array{u"one", u"two words"}},
    };
    EXPECT_EQ(attributesWith("/Title (A title) /Author (An author) /Subject (A subject) /Creator (A program) "
                             "/Producer () /CreationDate (D:20010101000000Z) /ModDate (D:20010102000000Z) "
                             "/Keywords (one, two words) /Trapped /False /Company (Nobody)"),
              expected);
    EXPECT_TRUE(attributesWith("").empty());
    EXPECT_TRUE(attributesWith("/Title 5 /Author [(a)] /CreationDate /Now /Keywords << >>").empty());
}

TEST(PdfInformation, NoInformationIsNoAttributes) {
    TinyPdf pdf = documentWithPages({""});
    for (const char* trailer :
         {"/Root 1 0 R", "/Root 1 0 R /Info 99 0 R", "/Root 1 0 R /Info 5", "/Root 1 0 R /Info 3 0 R"}) {
        pdf.setTrailer(trailer);
        const auto document = PdfDocument::documentWithData(pdf.data());
        ASSERT_TRUE(document) << trailer;
        EXPECT_TRUE(document->documentAttributes().empty()) << trailer;
    }
}

struct StringCase {
    const char* written;  ///< as in the file
    std::u16string text;
};

TEST(PdfInformation, StringsInAllTheirEncodings) {
    const StringCase cases[] = {
        {"(plain \\(text\\))", u"plain (text)"},
        {"(caf\\351 \\240 \\200)", u"caf\u00E9 \u20AC \u2022"},  // PDFDocEncoding
        {"(a\\177b)", u"ab"},                                    // a code that it leaves undefined
        {"<FEFF00630061006600650301>", u"cafe\u0301"},           // UTF-16
        {"<FFFE63006100>", u"ca"},                               // the other way round
        {"<FEFFD83DDE00>", u"\U0001F600"},                       // a pair
        {"<FEFFD83D0041>", std::u16string{0xD83D, u'A'}},        // half of one stays
        {"<FEFF004100>", u"A"},                                  // half a unit does not
        {"<EFBBBF636166C3A9>", u"caf\u00E9"},                    // UTF-8
        {"<FEFF001B0064006500440045001B0041>", u"A"},            // a language code
        {"<FEFF001B0041>",
         u"\x1B"
         u"A"},                                                           // an escape that never ends
        {"(with\\000zero\\000\\000)", std::u16string(u"with\0zero", 9)},  // zeros at the end do not count
        {"<FEFF>", u""},
    };
    for (const auto& row : cases) {
        const Dictionary attributes = attributesWith(std::string("/Title ") + row.written);
        const Value* title = attributes.find(u"Title");
        ASSERT_NE(title, nullptr) << row.written;
        EXPECT_EQ(*title, Value(row.text)) << row.written;
    }
}

TEST(PdfInformation, LongStringsAreCut) {
    const Dictionary attributes = attributesWith("/Title (" + std::string(100'000, 'a') + ")");
    ASSERT_TRUE(attributes.contains(u"Title"));
    EXPECT_EQ(attributes.find(u"Title")->as<std::u16string>()->size(), 65536U);
}

TEST(PdfInformation, KeywordsAreSplitAndTrimmed) {
    const std::pair<const char*, Array> cases[] = {
        {"one", {u"one"}},
        {" one ,two,, three four ,", {u"one", u"two", u"three four"}},
        {"one; two", {u"one", u"two"}},
        {"one; two, three", {u"one; two", u"three"}},
    };
    for (const auto& [written, keywords] : cases) {
        const Dictionary attributes = attributesWith(std::string("/Keywords (") + written + ")");
        ASSERT_TRUE(attributes.contains(u"Keywords")) << written;
        EXPECT_EQ(*attributes.find(u"Keywords"), Value(keywords)) << written;
    }
    EXPECT_FALSE(attributesWith("/Keywords ( , ; )").contains(u"Keywords") &&
                 attributesWith("/Keywords ( , ,)").contains(u"Keywords"));
}

TEST(PdfInformation, DatesCountTheirZone) {
    const std::pair<const char*, double> cases[] = {
        {"D:20010101000000Z", 0},
        {"D:20010101000000", 0},
        {"20010101", 0},
        {"D:2001", 0},
        {"D:200102", 31 * 86400.0},
        {"D:2001010100", 0},
        {"D:200101010005", 300},
        {"D:20010101000005", 5},
        {"D:20010101010000+01'00'", 0},
        {"D:20010101010000+01'00", 0},
        {"D:20010101010000+0100", 0},
        {"D:20010101010000+01", 0},
        {"D:20001231193000-04'30'", 0},
        {"D:20010101053000+05'30'", 0},
        {"D:20010101000000Z00'00'", 0},
        {"D:20010101000000+00'00'", 0},
        {"D:20000229000000Z", -307 * 86400.0},
        {"D:19700101000000Z", -Date::kUnixEpochOffset},
        {"D:00010101000000Z", -63113904000.0},
        {"D:99991231235959Z", 252423993599.0},
        {"\\376\\377\\000D\\000:\\0002\\0000\\0000\\0001", 0},  // UTF-16
    };
    for (const auto& [written, seconds] : cases) {
        const Dictionary attributes = attributesWith(std::string("/ModDate (") + written + ")");
        ASSERT_TRUE(attributes.contains(u"ModDate")) << written;
        EXPECT_EQ(*attributes.find(u"ModDate"), Value(Date{seconds})) << written;
    }
}

TEST(PdfInformation, MalformedDatesAreLeftOut) {
    for (const char* written : {"",
                                "D:",
                                "D:200",
                                "yesterday",
                                "D:20011301",
                                "D:20010001",
                                "D:20010100",
                                "D:20010132",
                                "D:20010229",
                                "D:19000229",
                                "D:20010431",
                                "D:2001010124",
                                "D:200101010060",
                                "D:20010101000061",
                                "D:20010101000000X",
                                "D:20010101000000+",
                                "D:20010101000000+24'00'",
                                "D:20010101000000+01'60'",
                                "D:20010101000000+01'00'x",
                                "D:20010101000000Z.",
                                "D:00000101",
                                "2001-01-01",
                                "D:2001010",
                                "Mon Jan  1 2001"}) {
        EXPECT_FALSE(attributesWith(std::string("/ModDate (") + written + ")").contains(u"ModDate")) << written;
    }
}

TEST(PdfInformation, VersionOfHeaderAndCatalog) {
    struct Case {
        const char* header;
        const char* catalog;
        const char* version;
    };
    const Case cases[] = {
        {"%PDF-1.4\n", "", "1.4"},
        {"%PDF-1.4\n", "/Version /1.6", "1.6"},
        {"%PDF-2.0\n", "", "2.0"},
        {"junk before\n%PDF-1.3\n", "", "1.3"},
        {"%PDF-1.6\n", "/Version /1.4", "1.6"},
        {"%PDF-1.5\n", "/Version /99999999999", "1.5"},
        {"%PDF-x\n", "/Version (1.4)", ""},
        {"%!PS-Adobe-3.0\n", "/Version /-1.4", ""},
    };
    for (const auto& row : cases) {
        TinyPdf pdf = documentWithPages({""});
        pdf.setHeader(row.header);
        pdf.replace(test::kCatalog, std::string("<< /Type /Catalog /Pages 2 0 R ") + row.catalog + " >>");
        const auto document = PdfDocument::documentWithData(pdf.data());
        ASSERT_TRUE(document) << row.header << row.catalog;
        EXPECT_EQ(document->version(), row.version) << row.header << row.catalog;
    }
}

}  // namespace
}  // namespace halden
