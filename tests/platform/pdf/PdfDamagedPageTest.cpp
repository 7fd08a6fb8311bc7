// A damaged page among good ones: the others are read, and nothing is left behind.
#include "foundation/Unicode.h"
#include "platform/pdf/PdfDocument.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace halden {
namespace {

using test::documentWithPages;
using test::kFirstPage;
using test::showing;
using test::TinyPdf;
using testing::ElementsAre;

constexpr int kDamagedPage = kFirstPage + 2;

/// What becomes of the page, its contents, and the font of all pages.
struct Damage {
    const char* name;
    const char* page;
    const char* contents;
    const char* expected;  // "-" for a page that cannot be had
};

constexpr const char* kPage = "<< /Type /Page /Parent 2 0 R /Contents 8 0 R >>";

constexpr Damage kDamages[] = {
    {"the page is a number", "7", "null", ""},
    {"its object is missing", "null", "null", ""},
    {"it is its own parent", "<< /Type /Page /Parent 7 0 R /Contents 8 0 R >>", "<< /Length 0 >>\nstream\n\nendstream",
     "-"},
    {"its contents are missing", "<< /Type /Page /Parent 2 0 R /Contents 99 0 R >>", "null", ""},
    {"its contents are no stream", kPage, "[1 2 3]", ""},
    {"nobody knows the filter", kPage, "<< /Length 3 /Filter /Nothing >>\nstream\nabc\nendstream", ""},
    {"the packed bytes are wrong", kPage, "<< /Length 9 /Filter /FlateDecode >>\nstream\nno zlib!!\nendstream", ""},
    {"operators are wrong", kPage, "<< /Length 34 >>\nstream\n) ] >> 7 Tf Q Q Q ET (x) Tj /Y Do \nendstream", "x"},
    {"a form shows itself", "<< /Type /Page /Parent 2 0 R /Contents 8 0 R /Resources << /XObject << /X 8 0 R >> >> >>",
     "<< /Type /XObject /Subtype /Form /BBox [0 0 9 9] /Resources << /XObject << /X 8 0 R >> >> /Length 6 >>\nstream\n"
     "/X Do \nendstream",
     ""},
    {"the font is a number", "<< /Type /Page /Parent 2 0 R /Contents 8 0 R /Resources << /Font << /F 7 >> >> >>",
     "<< /Length 43 >>\nstream\nBT /F 12 Tf 10 50 Td (Without a font) Tj ET\nendstream", "Without a font"},
    {"the picture in it never ends", kPage,
     "<< /Length 60 >>\nstream\nBI /W 9 /H 9 /BPC 8 /CS /G /F /DCT ID "
     "\xFF\xD8\xFF\xE0 no picture at al\nendstream",
     ""},
};

TinyPdf documentWith(const Damage& damage) {
    TinyPdf pdf = documentWithPages({showing("One"), showing("Two"), showing("Three")});
    pdf.replace(kDamagedPage, damage.page);
    pdf.replace(kDamagedPage + 1, damage.contents);
    return pdf;
}

std::string textOf(PdfDocument& document, int page) {
    return utf8FromUtf16(document.textOfPage(page).value_or(u"-"));
}

TEST(PdfDamagedPage, TheOthersAreRead) {
    for (const Damage& damage : kDamages) {
        const auto document = PdfDocument::documentWithData(documentWith(damage).data());
        ASSERT_TRUE(document) << damage.name;
        ASSERT_EQ(document->pageCount(), 3) << damage.name;
        EXPECT_THAT((std::vector{textOf(*document, 0), textOf(*document, 1), textOf(*document, 2)}),
                    ElementsAre("One", damage.expected, "Three"))
            << damage.name;
    }
}

// What a failed page leaves behind in the engine's memory, in its locks, or on its stack of those who catch, would add
// up.
TEST(PdfDamagedPage, NothingIsLeftBehindInTheDocument) {
    constexpr int kReadings = 1000;
    const PdfLimits limits{.memory = std::size_t{2} << 20};
    for (const Damage& damage : kDamages) {
        const auto document = PdfDocument::documentWithData(documentWith(damage).data(), limits);
        ASSERT_TRUE(document) << damage.name;
        for (int i = 0; i < kReadings; ++i) {
            (void)document->textOfPage(1);
            (void)document->mediaBoxOfPage(1);
        }
        EXPECT_EQ(textOf(*document, 1), damage.expected) << damage.name;
        EXPECT_EQ(textOf(*document, 0), "One") << damage.name;
        EXPECT_EQ(document->styledTextOfPage(2).value_or(PdfStyledText()).text, u"Three") << damage.name;
    }
}

TEST(PdfDamagedPage, NothingIsLeftBehindByDrawing) {
    constexpr int kDrawings = 300;
    const PdfLimits limits{.memory = std::size_t{8} << 20};
    for (const Damage& damage : kDamages) {
        const auto document = PdfDocument::documentWithData(documentWith(damage).data(), limits);
        ASSERT_TRUE(document) << damage.name;
        const auto expected = document->drawPage(2, 40, 20);
        ASSERT_TRUE(expected) << damage.name;
        for (int i = 0; i < kDrawings; ++i)
            (void)document->drawPage(1, 200, 100);
        const auto drawn = document->drawPage(2, 40, 20);
        ASSERT_TRUE(drawn) << damage.name;
        EXPECT_EQ(drawn->pixels, expected->pixels) << damage.name;
    }
}

// The limit of memory is an error like others, which strikes at any place.
TEST(PdfDamagedPage, NothingIsLeftBehindWhereMemoryEnds) {
    const TinyPdf pdf = documentWithPages({showing("One"), showing("Two"), showing("Three")});
    int documents = 0;
    int complete = 0;
    for (std::size_t memory = 345'000; memory < 545'000; memory += 1'000) {
        const auto document = PdfDocument::documentWithData(pdf.data(), {.memory = memory});
        if (!document) continue;
        ++documents;
        for (int i = 0; i < 20; ++i)
            (void)document->textOfPage(1);
        const std::string first = textOf(*document, 0);
        EXPECT_EQ(textOf(*document, 0), first) << memory;
        complete += first == "One" ? 1 : 0;
    }
    EXPECT_GT(documents, complete);
    EXPECT_GT(complete, 0);
}

}  // namespace
}  // namespace halden
