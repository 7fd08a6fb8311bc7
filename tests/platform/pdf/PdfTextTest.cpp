// What is on the pages.
#include "foundation/Unicode.h"
#include "platform/pdf/PdfDocument.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace halden {
namespace {

using test::documentWithPages;
using test::kFirstPage;
using test::kFont;
using test::kPageTree;
using test::showing;
using test::showingLines;
using test::TinyPdf;

/// What the pages of `pdf` show; "-" stands for a page that cannot be had.
std::vector<std::string> pagesOf(const TinyPdf& pdf, const PdfLimits& limits = {}) {
    const auto document = PdfDocument::documentWithData(pdf.data(), limits);
    if (!document) return {"no document"};
    std::vector<std::string> pages;
    for (int page = 0; page < document->pageCount(); ++page)
        pages.push_back(utf8FromUtf16(document->textOfPage(page).value_or(u"-")));
    return pages;
}

using testing::ElementsAre;

TEST(PdfText, LinesAreJoinedByLineFeedsInTheirOrder) {
    EXPECT_THAT(pagesOf(documentWithPages({showingLines({"One line", "and another"}), "", showing("Third page")})),
                ElementsAre("One line\nand another", "", "Third page"));
}

TEST(PdfText, KeepsAccentsLigaturesAndHyphens) {
    TinyPdf pdf = documentWithPages({showingLines({"caf\351 \2001", "of\001ce hyphen-", "ated"})});
    pdf.replace(kFont,
                "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding << /Type /Encoding /BaseEncoding "
                "/WinAnsiEncoding /Differences [1 /fi] >> >>");
    EXPECT_THAT(pagesOf(pdf), ElementsAre("café €1\nofﬁce hyphen-\nated"));
}

TEST(PdfText, LeavesOutGlyphsWithoutACharacter) {
    TinyPdf pdf = documentWithPages({showingLines({"a\001b", "\001\001", "c"})});
    const int map = pdf.addStream(
        "/CIDInit /ProcSet findresource begin 12 dict begin begincmap\n1 begincodespacerange <00> <FF> "
        "endcodespacerange\n2 beginbfchar <01> <FFFD> <61> <D83DDE00> endbfchar\nendcmap end end");
    pdf.replace(kFont, "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding /ToUnicode " +
                           TinyPdf::reference(map) + " >>");
    EXPECT_THAT(pagesOf(pdf), ElementsAre("😀b\nc"));
}

TEST(PdfText, AnnotationsAndFieldsFollowThePage) {
    TinyPdf pdf = documentWithPages({showing("Page")});
    const int look = pdf.addStream(
        showing("Note"), "/Type /XObject /Subtype /Form /BBox [0 0 200 100] /Resources << /Font << /F 3 0 R >> >>");
    const int note =
        pdf.add("<< /Type /Annot /Subtype /Stamp /Rect [0 0 200 50] /AP << /N " + TinyPdf::reference(look) + " >> >>");
    pdf.replace(kFirstPage,
                "<< /Type /Page /Parent 2 0 R /Contents 6 0 R /Annots [" + TinyPdf::reference(note) + " 99 0 R 7] >>");
    EXPECT_THAT(pagesOf(pdf), ElementsAre("Page\nNote"));
}

TEST(PdfText, WhatBreaksOffInTheMiddleCountsUpToThere) {
    const std::string broken = showing("Before") + " << /broken ]] (";
    EXPECT_THAT(pagesOf(documentWithPages({broken, showing("Next page")})), ElementsAre("Before", "Next page"));
}

TEST(PdfText, PagesThatAreNotThereAreNil) {
    const auto document = PdfDocument::documentWithData(documentWithPages({showing("Only")}).data());
    ASSERT_TRUE(document);
    EXPECT_EQ(document->textOfPage(-1), std::nullopt);
    EXPECT_EQ(document->textOfPage(1), std::nullopt);
    EXPECT_EQ(document->mediaBoxOfPage(1), std::nullopt);
    EXPECT_EQ(document->textOfPage(0), u"Only");
}

TEST(PdfText, PagesOfLargeDocumentsComeInOrder) {
    // More than one emptying of the store.
    std::vector<std::string> contents;
    std::vector<std::string> expected;
    for (int i = 0; i < 120; ++i) {
        expected.push_back("Page " + std::to_string(i));
        contents.push_back(showing(expected.back()));
    }
    EXPECT_EQ(pagesOf(documentWithPages(contents)), expected);
}

TEST(PdfText, MemoryBeyondTheLimitFailsAndLeavesTheRestUsable) {
    // An array is held whole until it is shown.
    std::string large = showing("Before") + "\n[";
    for (int number = 0; number < 1'000'000; ++number)
        large += "1 ";
    large += "] TJ\n" + showing("After");
    const TinyPdf pdf = documentWithPages({large, showing("Next page")});
    EXPECT_THAT(pagesOf(pdf), ElementsAre("Before\nAfter", "Next page"));
    EXPECT_THAT(pagesOf(pdf, {.memory = std::size_t{8} * 1024 * 1024}), ElementsAre("Before", "Next page"));
}

TEST(PdfText, TooLittleMemoryMakesNoDocument) {
    const TinyPdf pdf = documentWithPages({showing("Page")});
    EXPECT_EQ(PdfDocument::documentWithData(pdf.data(), {.memory = 350'000}), nullptr);
    EXPECT_NE(PdfDocument::documentWithData(pdf.data(), {.memory = 1'000'000}), nullptr);
}

TEST(PdfText, TimeBeyondTheLimitEndsAPage) {
    // Forms that show each other: 10 to the power of 12 lines, which would take days.
    TinyPdf pdf = documentWithPages({"/X Do", showing("Next page")});
    int inner = pdf.addStream(showing("Line"),
                              "/Type /XObject /Subtype /Form /BBox [0 0 200 100] /Resources << /Font "
                              "<< /F 3 0 R >> >>");
    for (int level = 0; level < 12; ++level) {
        inner = pdf.addStream("/X Do /X Do /X Do /X Do /X Do /X Do /X Do /X Do /X Do /X Do",
                              "/Type /XObject /Subtype /Form /BBox [0 0 200 100] /Resources << /XObject << /X " +
                                  TinyPdf::reference(inner) + " >> >>");
    }
    pdf.replace(kFirstPage, "<< /Type /Page /Parent 2 0 R /Contents 6 0 R /Resources << /XObject << /X " +
                                TinyPdf::reference(inner) + " >> >> >>");
    const auto pages = pagesOf(pdf, {.seconds = 0.2});
    ASSERT_EQ(pages.size(), 2U);
    EXPECT_EQ(pages[0].substr(0, 4), "Line");
    EXPECT_EQ(pages[1], "Next page");
}

TEST(PdfText, SharesTheBytesAndKeepsThemAlive) {
    const auto owner = std::make_shared<const std::string>(documentWithPages({showing("Page")}).bytes());
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(owner->data());
    auto document = PdfDocument::documentWithData(Data::sharing(owner, bytes, owner->size()));
    ASSERT_TRUE(document);
    EXPECT_GT(owner.use_count(), 1);
    EXPECT_EQ(document->textOfPage(0), u"Page");
    document.reset();
    EXPECT_EQ(owner.use_count(), 1);
}

struct BoxCase {
    std::string page;
    Size size;
};

TEST(PdfMediaBox, InheritedReversedOrMissing) {
    const BoxCase cases[] = {
        {"", {200, 100}},  // of the page tree
        {"/MediaBox [0 0 595.276 841.89]", {595.276, 841.89}},
        {"/MediaBox [100 700 20 10]", {80, 690}},
        {"/MediaBox [-10 -20 10 20]", {20, 40}},
        {"/MediaBox [0 0 300 400] /Rotate 90 /CropBox [10 10 20 20] /UserUnit 2", {300, 400}},
        {"/MediaBox [0 0 0 0]", {612, 792}},
        {"/MediaBox [0 0 10]", {612, 792}},
        {"/MediaBox [7 0 R 0 (a) /b]", {612, 792}},
        {"/MediaBox 5", {612, 792}},
    };
    for (const auto& row : cases) {
        TinyPdf pdf = documentWithPages({""});
        pdf.replace(kFirstPage, "<< /Type /Page /Parent 2 0 R " + row.page + " >>");
        const auto document = PdfDocument::documentWithData(pdf.data());
        ASSERT_TRUE(document) << row.page;
        EXPECT_EQ(document->mediaBoxOfPage(0), row.size) << row.page;
    }
    TinyPdf without = documentWithPages({""});
    without.replace(kPageTree, "<< /Type /Pages /Count 1 /Kids [5 0 R] >>");
    const auto document = PdfDocument::documentWithData(without.data());
    ASSERT_TRUE(document);
    EXPECT_EQ(document->mediaBoxOfPage(0), (Size{612, 792}));
}

}  // namespace
}  // namespace halden
