// Damaged documents, and what is no document.
#include "foundation/Unicode.h"
#include "platform/pdf/PdfDocument.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace halden {
namespace {

using test::documentWithPages;
using test::kCatalog;
using test::kPageTree;
using test::showing;
using test::TinyPdf;
using testing::ElementsAre;

std::vector<std::string> pagesOf(std::string_view bytes) {
    const auto document = PdfDocument::documentWithData(Data::copying(bytes));
    if (!document) return {"no document"};
    std::vector<std::string> pages;
    for (int page = 0; page < document->pageCount(); ++page)
        pages.push_back(utf8FromUtf16(document->textOfPage(page).value_or(u"-")));
    return pages;
}

TinyPdf threePages() {
    return documentWithPages({showing("One"), showing("Two"), showing("Three")});
}

TEST(PdfRebuild, TheTableIsMissing) {
    EXPECT_THAT(pagesOf(threePages().bytesWithoutTable()), ElementsAre("One", "Two", "Three"));
}

TEST(PdfRebuild, TheTableIsWrong) {
    std::string bytes = threePages().bytes();
    bytes.insert(bytes.find("2 0 obj"), "% a line that moves everything\n");
    EXPECT_THAT(pagesOf(bytes), ElementsAre("One", "Two", "Three"));
}

TEST(PdfRebuild, JunkAroundTheDocument) {
    EXPECT_THAT(pagesOf("From somebody\r\n\r\n" + threePages().bytes() + std::string(2000, '\0')),
                ElementsAre("One", "Two", "Three"));
}

TEST(PdfRebuild, TheEndIsCutOff) {
    const std::string bytes = threePages().bytes();
    EXPECT_THAT(pagesOf(bytes.substr(0, bytes.find("10 0 obj"))), ElementsAre("One", "Two", ""));
}

struct TreeCase {
    const char* fault;
    int object;
    const char* body;
};

// Each of these loses the page tree; the pages are found without it, in the order of their numbers.
TEST(PdfRebuild, ThePageTreeIsLost) {
    const TreeCase cases[] = {
        {"count 0", kPageTree, "<< /Type /Pages /Count 0 /Kids [] /Resources << /Font << /F 3 0 R >> >> >>"},
        {"negative count", kPageTree, "<< /Type /Pages /Count -1 /Kids [9 0 R 7 0 R 5 0 R] >>"},
        {"enormous count", kPageTree, "<< /Type /Pages /Count 2000000 /Kids [9 0 R 7 0 R 5 0 R] >>"},
        {"no count", kPageTree, "<< /Type /Pages /Kids [9 0 R 7 0 R 5 0 R] >>"},
        {"kids that are not there", kPageTree, "<< /Type /Pages /Count 3 /Kids [77 0 R 78 0 R 79 0 R] >>"},
        {"no kids", kPageTree, "<< /Type /Pages /Count 3 >>"},
        {"its own kid", kPageTree, "<< /Type /Pages /Count 3 /Kids [2 0 R] >>"},
        {"no dictionary", kPageTree, "(pages)"},
        {"no page tree", kCatalog, "<< /Type /Catalog >>"},
        {"tree elsewhere", kCatalog, "<< /Type /Catalog /Pages 99 0 R >>"},
        {"tree without end", kCatalog, "<< /Type /Catalog /Pages 1 0 R >>"},
        {"no catalog", kCatalog, "null"},
    };
    for (const auto& row : cases) {
        TinyPdf pdf = threePages();
        pdf.replace(row.object, row.body);
        const auto document = PdfDocument::documentWithData(pdf.data());
        ASSERT_TRUE(document) << row.fault;
        EXPECT_EQ(document->pageCount(), 3) << row.fault;
        for (int page = 0; page < document->pageCount(); ++page)
            EXPECT_TRUE(document->textOfPage(page)) << row.fault << " " << page;
    }
}

TEST(PdfRebuild, FoundPagesKeepTheirText) {
    TinyPdf pdf = threePages();
    for (const int page : {5, 7, 9}) {
        pdf.replace(page, "<< /Type /Page /Resources << /Font << /F 3 0 R >> >> /Contents " +
                              TinyPdf::reference(page + 1) + " >>");
    }
    pdf.replace(kPageTree, "<< /Type /Pages /Count 0 /Kids [9 0 R 7 0 R 5 0 R] >>");
    EXPECT_THAT(pagesOf(pdf.bytes()), ElementsAre("One", "Two", "Three"));
}

TEST(PdfRebuild, GoodTreesKeepTheirOrder) {
    TinyPdf pdf = threePages();
    pdf.replace(kPageTree,
                "<< /Type /Pages /Count 3 /Kids [9 0 R 7 0 R 5 0 R] /Resources << /Font << /F 3 0 R >> >> >>");
    EXPECT_THAT(pagesOf(pdf.bytes()), ElementsAre("Three", "Two", "One"));
}

TEST(PdfRebuild, PagesThatAreMissingAmongOthersAreEmpty) {
    TinyPdf pdf = threePages();
    pdf.replace(kPageTree,
                "<< /Type /Pages /Count 3 /Kids [5 0 R 99 0 R 9 0 R] /Resources << /Font << /F 3 0 R >> >> >>");
    EXPECT_THAT(pagesOf(pdf.bytes()), ElementsAre("One", "", "Three"));
}

TEST(PdfRebuild, PagesThatOnlyTheCountKnowsAreNil) {
    TinyPdf pdf = threePages();
    pdf.replace(kPageTree,
                "<< /Type /Pages /Count 5 /Kids [5 0 R 7 0 R 9 0 R] /Resources << /Font << /F 3 0 R >> >> >>");
    EXPECT_THAT(pagesOf(pdf.bytes()), ElementsAre("One", "Two", "Three", "-", "-"));
}

TEST(PdfRebuild, DocumentsWithoutPagesHaveNone) {
    TinyPdf pdf;
    pdf.add("<< /Type /Catalog /Pages 2 0 R >>");
    pdf.add("<< /Type /Pages /Count 0 /Kids [] >>");
    pdf.add("<< /Title (Empty) >>");
    pdf.setTrailer("/Root 1 0 R /Info 3 0 R");
    const auto document = PdfDocument::documentWithData(pdf.data());
    ASSERT_TRUE(document);
    EXPECT_EQ(document->pageCount(), 0);
    EXPECT_EQ(document->mediaBoxOfPage(0), std::nullopt);
    EXPECT_EQ(document->textOfPage(0), std::nullopt);
    EXPECT_EQ(document->documentAttributes(), (Dictionary{{u"Title", u"Empty"}}));
}

TEST(PdfRebuild, OtherBytesAreNoDocument) {
    for (const std::string& bytes :
         {std::string(), std::string("%PDF-1.7\n"), std::string("Hello"), std::string("\x89PNG\r\n\x1a\n"),
          std::string(100'000, '\0'), std::string(100'000, '('), std::string(100'000, '['), std::string("1 0 obj"),
          std::string("%PDF-1.4\ntrailer << /Root 1 0 R >>\nstartxref\n0\n%%EOF")}) {
        EXPECT_EQ(PdfDocument::documentWithData(Data::copying(bytes)), nullptr) << bytes.substr(0, 20);
    }
}

// Whatever is cut off or overwritten, there is an answer.
TEST(PdfRebuild, EveryCutAndEveryLostByteIsSurvived) {
    const std::string bytes = documentWithPages({showing("Text")}, "/Title (Title) /ModDate (D:2001)").bytes();
    int readable = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::string damaged = bytes;
        damaged[i] = '#';
        for (const std::string& variant : {bytes.substr(0, i), damaged}) {
            const auto document = PdfDocument::documentWithData(Data::copying(variant));
            if (!document) continue;
            (void)document->documentAttributes();
            for (int page = 0; page < std::min(document->pageCount(), 3); ++page)
                readable += document->textOfPage(page) == u"Text" ? 1 : 0;
        }
    }
    EXPECT_GT(readable, static_cast<int>(bytes.size()) / 2);
}

}  // namespace
}  // namespace halden
