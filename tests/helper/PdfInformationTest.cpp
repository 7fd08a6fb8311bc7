// What the helper makes of PDF documents.
#include "foundation/Unicode.h"
#include "helper/PdfInformation.h"
#include "helper/PdfRichText.h"
#include "richtext/FlatRtfd.h"
#include "tests/platform/pdf/PdfEncryption.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quarry {
namespace {

using halden::Data;
using halden::Dictionary;
using halden::Value;
using halden::test::documentWithPages;
using halden::test::showing;
using halden::test::showingLines;
using halden::test::TinyPdf;
using testing::ElementsAre;

const ImporterText kNobody = [](std::u16string_view) -> std::optional<std::u16string> {
    ADD_FAILURE() << "the importers were asked";
    return std::nullopt;
};

std::vector<std::string> keysOf(const Dictionary& dictionary) {
    std::vector<std::string> keys;
    for (const auto& entry : dictionary)
        keys.push_back(halden::utf8FromUtf16(entry.key));
    return keys;
}

Value valueAt(const std::optional<Dictionary>& dictionary, std::u16string_view key) {
    const Value* value = dictionary ? dictionary->find(key) : nullptr;
    return value != nullptr ? *value : Value();
}

struct ProducerCase {
    const char16_t* producer;
    bool mayRead;
};

TEST(PdfProducer, SomeAreNotForTheImporters) {
    const ProducerCase cases[] = {
        {u"", false},
        {u"pdfTeX-1.40", true},
        {u"Compart", false},
        {u"COMPART Mffpdf 1", false},
        {u"by compart", false},
        {u"Compar", true},
        {u"Compert", true},
        {u"GPL gHostScript 9.5", false},
        {u"Ghostscrip", true},
        {u"gho\u017Ftscript", false},
        {u"Mac OS X 10.6.8 Quartz PDFContext", false},
        {u"mac quartz pdfcontext", false},
        {u"Quartz PDFContext", false},
        {u"uartz PDFContext", true},
        {u"Quartz PDFContext, AppendMode 1.1", true},
    };
    for (const auto& row : cases)
        EXPECT_EQ(importersMayRead(row.producer), row.mayRead) << halden::utf8FromUtf16(row.producer);
}

TEST(PdfInformation, KeysComeInTheirOrder) {
    const TinyPdf pdf = documentWithPages({showing("One"), "", showing("Two")}, "/Title (T) /Producer (P)");
    const auto result = informationOfPdf(pdf.data(), {.size = true}, kNobody);
    ASSERT_TRUE(result);
    const auto keys = keysOf(*result);
    ASSERT_EQ(keys.size(), 7U);
    EXPECT_THAT(std::vector(keys.begin(), keys.begin() + 2), ElementsAre("String", "PageCount"));
    EXPECT_THAT(std::vector(keys.begin() + 2, keys.begin() + 4), testing::UnorderedElementsAre("Title", "Producer"));
    EXPECT_THAT(std::vector(keys.begin() + 4, keys.end()), ElementsAre("Size", "PixelSize", "Alpha"));
    EXPECT_EQ(valueAt(result, u"String"), Value(u"One\nTwo\n"));
    EXPECT_EQ(valueAt(result, u"PageCount"), Value(3));
    EXPECT_EQ(valueAt(result, u"Size"), Value(u"{200, 100}"));
    EXPECT_EQ(valueAt(result, u"PixelSize"), Value(u"{200, 100}"));
    EXPECT_EQ(valueAt(result, u"Alpha"), Value(false));
}

TEST(PdfInformation, WithoutPagesThereIsNoStringAndNoSize) {
    TinyPdf pdf = documentWithPages({});
    const auto result = informationOfPdf(pdf.data(), {.size = true}, kNobody);
    ASSERT_TRUE(result);
    EXPECT_THAT(keysOf(*result), ElementsAre("PageCount"));
    EXPECT_EQ(valueAt(result, u"PageCount"), Value(0));
    EXPECT_THAT(keysOf(*informationOfPdf(pdf.data(), {.attributed = true}, kNobody)), ElementsAre("PageCount"));
}

TEST(PdfInformation, LockedDocumentsSaySoFirst) {
    const auto pdf = halden::test::encryptedDocument("open sesame").data();
    for (const bool attributed : {false, true}) {
        const auto result = informationOfPdf(pdf, {.attributed = attributed, .size = true}, kNobody);
        ASSERT_TRUE(result);
        EXPECT_THAT(keysOf(*result), ElementsAre("Locked", "PageCount", "Size", "PixelSize", "Alpha"));
        EXPECT_EQ(valueAt(result, u"Locked"), Value(true));
    }
}

TEST(PdfInformation, WhatIsNoPdfIsNil) {
    EXPECT_EQ(informationOfPdf(Data(), {}, kNobody), std::nullopt);
    EXPECT_EQ(informationOfPdf(Data::copying("no PDF at all"), {}, kNobody), std::nullopt);
}

TEST(PdfInformation, ImportersAreAskedForOtherProducersWithAPath) {
    const TinyPdf other = documentWithPages({showing("Own")}, "/Producer (pdfTeX)");
    int asked = 0;
    const ImporterText importer = [&](std::u16string_view path) -> std::optional<std::u16string> {
        ++asked;
        EXPECT_EQ(path, u"/a.pdf");
        return u"cafe\u0301";
    };
    EXPECT_EQ(valueAt(informationOfPdf(other.data(), {.path = u"/a.pdf"}, importer), u"String"), Value(u"caf\u00E9"));
    EXPECT_EQ(asked, 1);
    const ImporterText none = [&](std::u16string_view) { return ++asked, std::optional<std::u16string>(); };
    EXPECT_EQ(valueAt(informationOfPdf(other.data(), {.path = u"/a.pdf"}, none), u"String"), Value(u"Own\n"));
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(valueAt(informationOfPdf(other.data(), {}, kNobody), u"String"), Value(u"Own\n"));
    (void)informationOfPdf(other.data(), {.attributed = true, .path = u"/a.pdf"}, kNobody);
    for (const char* producer : {"", "/Producer ()", "/Producer (x Ghostscript)"}) {
        const TinyPdf own = documentWithPages({showing("Own")}, producer);
        EXPECT_EQ(valueAt(informationOfPdf(own.data(), {.path = u"/a.pdf"}, kNobody), u"String"), Value(u"Own\n"));
    }
}

/// The pages that are read when the clock shows `times`, one after the other: the start, then the start and the end of
/// each page.
std::u16string textUnderClock(double timeout, std::vector<double> times) {
    const TinyPdf pdf = documentWithPages({showing("1"), showing("2"), showing("3")});
    const auto document = halden::PdfDocument::documentWithData(pdf.data());
    std::size_t looks = 0;
    return fixedAndNormalizedStringUsingTimeout(*document, timeout, [&] { return times.at(looks++); }).value_or(u"-");
}

TEST(PdfTimeout, TheTimeOfAPageCountsTwice) {
    // 40 s for the first page: 40 + 40 reach 60, though 40 alone do not.
    EXPECT_EQ(textUnderClock(60, {100, 100, 140}), u"1\n");
    EXPECT_EQ(textUnderClock(60, {100, 100, 130}), u"1\n");
    EXPECT_EQ(textUnderClock(60, {100, 100, 129, 129, 144.5}), u"1\n2\n");
    EXPECT_EQ(textUnderClock(60, {100, 100, 120, 120, 139, 139, 149}), u"1\n2\n3\n");
    EXPECT_EQ(textUnderClock(0, {}), u"1\n2\n3\n");
    EXPECT_EQ(textUnderClock(-1, {}), u"1\n2\n3\n");
}

TEST(PdfInformation, DamagedPagesAddNothing) {
    TinyPdf pdf = documentWithPages({showing("One"), showing("Two"), showing("Three")});
    const int damaged = halden::test::kFirstPage + 2;
    pdf.replace(damaged, "<< /Type /Page /Contents 8 0 R /Parent " + TinyPdf::reference(damaged) + " >>");
    const auto plain = informationOfPdf(pdf.data(), {}, nullptr);
    EXPECT_EQ(valueAt(plain, u"String"), Value(u"One\nThree\n"));
    EXPECT_EQ(valueAt(plain, u"PageCount"), Value(3));
    const auto older = informationOfPdf(pdf.data(), {.attributed = true, .foundationVersion = 833.0}, nullptr);
    const Value rich = valueAt(older, u"String");
    ASSERT_TRUE(rich.is<Dictionary>());
    EXPECT_EQ(valueAt(*rich.as<Dictionary>(), u"String"), Value(u"One\nThree"));
}

/// A document whose second page throws: not the engine's own kind of error, but one of C++.
class ThrowingDocument final : public halden::PdfDocument {
public:
    explicit ThrowingDocument(const Data& data) : document_(documentWithData(data)) {}

    [[nodiscard]] bool isLocked() const noexcept override { return document_->isLocked(); }
    [[nodiscard]] bool isEncrypted() const noexcept override { return document_->isEncrypted(); }
    [[nodiscard]] int pageCount() const noexcept override { return document_->pageCount(); }
    [[nodiscard]] std::string version() override { return document_->version(); }
    [[nodiscard]] std::optional<halden::Size> mediaBoxOfPage(int page) override {
        return document_->mediaBoxOfPage(page);
    }
    [[nodiscard]] std::optional<halden::Size> shownSizeOfPage(int page) override {
        return document_->shownSizeOfPage(page);
    }
    [[nodiscard]] std::optional<halden::PdfPicture> drawPage(int page, int width, int height) override {
        return document_->drawPage(page, width, height);
    }
    [[nodiscard]] std::optional<std::u16string> textOfPage(int page) override {
        return page == 1 ? throw std::bad_alloc() : document_->textOfPage(page);
    }
    [[nodiscard]] std::optional<halden::PdfStyledText> styledTextOfPage(int page) override {
        return page == 1 ? throw std::bad_alloc() : document_->styledTextOfPage(page);
    }
    [[nodiscard]] Dictionary documentAttributes() override { return document_->documentAttributes(); }

private:
    std::unique_ptr<PdfDocument> document_;
};

TEST(PdfInformation, PagesThatThrowAddNothing) {
    const TinyPdf pdf = documentWithPages({showing("One"), showing("Two"), showing("Three")});
    ThrowingDocument document(pdf.data());
    EXPECT_EQ(fixedAndNormalizedString(document), u"One\nThree\n");
    EXPECT_EQ(attributedStringOfPdf(document, 0, steadySeconds)->string(), u"One\nThree");
}

TEST(PdfTimeout, HoldsForRichTextToo) {
    const TinyPdf pdf = documentWithPages({showing("1"), showing("2"), showing("3")});
    const auto document = halden::PdfDocument::documentWithData(pdf.data());
    std::vector<double> times{100, 100, 129, 129, 144.5};
    std::size_t looks = 0;
    const auto text = attributedStringOfPdf(*document, 60, [&] { return times.at(looks++); });
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string(), u"1\n2");
    EXPECT_EQ(looks, times.size());
}

TinyPdf styledDocument() {
    TinyPdf pdf = documentWithPages({"BT /F 10 Tf 10 70 Td 1 0 0 rg (Red) Tj ET", "", showing("Next")});
    pdf.replace(halden::test::kFont,
                "<< /Type /Font /Subtype /Type1 /BaseFont /Times-BoldItalic /Encoding /WinAnsiEncoding >>");
    return pdf;
}

TEST(PdfRichText, HasFontsAndColours) {
    const auto document = halden::PdfDocument::documentWithData(styledDocument().data());
    ASSERT_TRUE(document);
    const auto text = attributedStringOfPdf(*document, 0, steadySeconds);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string(), u"Red\nNext");
    const auto& first = text->characterAttributesAt(0);
    EXPECT_EQ(first.font.name, u"Times-BoldItalic");
    EXPECT_EQ(first.font.size, 10);
    EXPECT_TRUE(first.font.bold);
    EXPECT_TRUE(first.font.italic);
    EXPECT_EQ(first.foreground, (halden::Color{.red = 1}));
    EXPECT_EQ(text->characterAttributesAt(3).foreground, first.foreground);
    EXPECT_EQ(text->characterAttributesAt(4).foreground, std::nullopt);
}

TEST(PdfRichText, IsRtfdFromACertainFoundationOn) {
    for (const double version : {833.1, kFoundationVersion}) {
        const auto result =
            informationOfPdf(styledDocument().data(), {.attributed = true, .foundationVersion = version}, kNobody);
        const Value string = valueAt(result, u"String");
        ASSERT_TRUE(string.is<Data>());
        const auto read = halden::documentFromRtfd(*string.as<Data>());
        ASSERT_TRUE(read);
        EXPECT_EQ(read->text.string(), u"Red\nNext");
        EXPECT_TRUE(read->text.characterAttributesAt(0).font.bold);
    }
    const auto older =
        informationOfPdf(styledDocument().data(), {.attributed = true, .foundationVersion = 833.0}, kNobody);
    const Value string = valueAt(older, u"String");
    ASSERT_TRUE(string.is<Dictionary>());
    EXPECT_EQ(valueAt(*string.as<Dictionary>(), u"String"), Value(u"Red\nNext"));
    EXPECT_EQ(valueAt(*string.as<Dictionary>(), u"Runs").as<halden::Array>()->size(), 2U);
}

}  // namespace
}  // namespace quarry
