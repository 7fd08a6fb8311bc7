#include "foundation/Unicode.h"
#include "platform/pdf/PdfDocument.h"
#include "platform/pdf/PdfEngine.h"
#include "tests/platform/pdf/PdfBuilder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace halden {
namespace {

using test::PdfBuilder;

std::unique_ptr<PdfDocument> open(const PdfBuilder& builder) {
    return PdfDocument::documentWithData(builder.build());
}

TEST(PdfEngine, TheModuleIsFoundFromATestToo) {
    const auto& status = pdfEngineStatus();
    ASSERT_NE(status.engine, nullptr) << status.reason;
    EXPECT_EQ(status.engine->version().substr(0, 6), "MuPDF ");
}

TEST(PdfDocument, PagesTextAndBoxes) {
    const auto document = open(PdfBuilder::withPages(3));
    ASSERT_TRUE(document);
    EXPECT_EQ(document->pageCount(), 3);
    EXPECT_EQ(document->version(), "1.5");
    EXPECT_FALSE(document->isLocked());
    EXPECT_FALSE(document->isEncrypted());
    EXPECT_EQ(document->textOfPage(0), u"Page 1");
    EXPECT_EQ(document->textOfPage(2), u"Page 3");
    EXPECT_FALSE(document->textOfPage(3));
    EXPECT_FALSE(document->textOfPage(-1));
    EXPECT_EQ(document->mediaBoxOfPage(1), (Size{300, 400.5}));  // inherited
    EXPECT_FALSE(document->mediaBoxOfPage(3));
}

TEST(PdfDocument, TheDataMayGoBeforeTheDocument) {
    auto data = std::make_unique<Data>(PdfBuilder::withPages(1).build());
    const auto document = PdfDocument::documentWithData(*data);
    data.reset();
    EXPECT_EQ(document->textOfPage(0), u"Page 1");
}

TEST(PdfDocument, TextKeepsLinesAndLigaturesAndDropsUnknownGlyphs) {
    auto builder = PdfBuilder::withPages(1);
    // Two lines; a ligature by name; a character that the font's map says is unknown.
    const std::string contents = "BT /F 12 Tf 14 TL 72 700 Td (one \\001x) Tj T* (two\\002) Tj ET";
    builder.objects[5] = "<< /Length " + std::to_string(contents.size()) + " >>\nstream\n" + contents + "\nendstream";
    const std::string map =
        "/CIDInit /ProcSet findresource begin 12 dict begin begincmap /CMapType 2 def\n"
        "1 begincodespacerange <00> <FF> endcodespacerange\n"
        "2 beginbfchar <01> <FB01> <02> <FFFD> endbfchar\n"
        "1 beginbfrange <20> <7E> <0020> endbfrange endcmap end end";
    builder.objects[3] =
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding << /Differences [1 /fi /odd] >> /ToUnicode 9 0 "
        "R >>";
    builder.objects[9] = "<< /Length " + std::to_string(map.size()) + " >>\nstream\n" + map + "\nendstream";
    EXPECT_EQ(open(builder)->textOfPage(0), u"one \uFB01x\ntwo");
}

TEST(PdfDocument, Attributes) {
    auto builder = PdfBuilder::withPages(1);
    builder.trailer += " /Info 9 0 R";
    builder.objects[9] =
        "<< /Title <FEFF00E9D83DDE00> /Author (caf\\351) /Subject () /Creator /NoString /Producer (P)"
        " /Keywords ( a b,c ,, d) /CreationDate (D:20260115093000+01'30') /ModDate (yesterday) >>";
    EXPECT_EQ(open(builder)->documentAttributes(), (Dictionary{{u"Title", u"\u00E9\U0001F600"},
                                                               {u"Author", u"caf\u00E9"},
                                                               {u"Subject", u""},
                                                               {u"Producer", u"P"},
                                                               {u"CreationDate", Date::fromUnixSeconds(1768464000)},
                                                               {u"Keywords", Array{u"a b", u"c", u"d"}}}));
    builder.objects[9] = "<< /Keywords (one; two words) >>";
    EXPECT_EQ(open(builder)->documentAttributes(), (Dictionary{{u"Keywords", Array{u"one", u"two words"}}}));
    builder.objects[9] = "[ 1 2 ]";
    EXPECT_TRUE(open(builder)->documentAttributes().empty());
}

TEST(PdfDocument, Dates) {
    const std::pair<const char*, std::optional<double>> rows[] = {
        {"D:2026", 1767225600},
        {"20260115093000Z", 1768469400},
        {"D:20260115093000Z00'00'", 1768469400},
        {"D:20260115093000-0130", 1768474800},
        {"D:19040229", -2077747200},
        {"D:20261301", std::nullopt},
        {"D:20260115 ", std::nullopt},
        {"D:202", std::nullopt},
        {"D:20260115093000+", std::nullopt},
        {"D:20260115093000+25'00'", std::nullopt},
    };
    for (const auto& [text, unixSeconds] : rows) {
        auto builder = PdfBuilder::withPages(1);
        builder.trailer += std::string(" /Info << /ModDate (") + text + ") >>";
        const auto attributes = open(builder)->documentAttributes();
        const Value* date = attributes.find(u"ModDate");
        ASSERT_EQ(date != nullptr, unixSeconds.has_value()) << text;
        if (date == nullptr) continue;
        EXPECT_EQ(*date, Value(Date::fromUnixSeconds(*unixSeconds))) << text;
    }
}

TEST(PdfDocument, DamagedFilesAreRebuilt) {
    auto noTable = PdfBuilder::withPages(2);
    noTable.hasCrossReferences = false;
    EXPECT_EQ(open(noTable)->textOfPage(1), u"Page 2");

    auto noTree = PdfBuilder::withPages(3);
    noTree.objects[2] = "null";
    noTree.objects.erase(1);
    const auto document = open(noTree);
    ASSERT_TRUE(document);
    EXPECT_EQ(document->pageCount(), 3);
    EXPECT_EQ(document->textOfPage(2), u"Page 3");

    auto absurdCount = PdfBuilder::withPages(1);
    absurdCount.objects[2] = "<< /Type /Pages /Kids [4 0 R] /Count 2000000000 >>";
    EXPECT_LE(open(absurdCount)->pageCount(), 1'000'000);
}

TEST(PdfDocument, WhatIsNoPdfIsNil) {
    EXPECT_FALSE(PdfDocument::documentWithData(Data()));
    EXPECT_FALSE(PdfDocument::documentWithData(Data::copying("no document at all")));
    const Data whole = PdfBuilder::withPages(1).build();
    for (std::size_t length = 0; length < whole.length(); length += 7) {
        // Cut anywhere: nil or a document, never a crash.
        const auto document = PdfDocument::documentWithData(whole.subdata(0, length));
        EXPECT_LE(document ? document->pageCount() : 0, 1);
    }
}

TEST(PdfDocument, ABrokenPageFailsAlone) {
    auto builder = PdfBuilder::withPages(2);
    builder.objects[2] = "<< /Type /Pages /Kids [77 0 R 6 0 R] /Count 2 >>";
    const auto document = open(builder);
    ASSERT_TRUE(document);
    bool isSecondRead = false;
    for (int page = 0; page < document->pageCount(); ++page) {
        isSecondRead |= document->textOfPage(page) == u"Page 2";
    }
    EXPECT_TRUE(isSecondRead);
}

TEST(PdfDocument, EncryptionThatCannotBeOpenedLocks) {
    auto builder = PdfBuilder::withPages(1);
    const std::string key(64, 'A');
    const std::string common = "/Filter /Standard /O <" + key + "> /U <" + key + "> /P -4";
    builder.objects[9] = "<< /Title (secret) >>";
    builder.trailer += " /Info 9 0 R /ID [<00> <00>] /Encrypt << /V 1 /R 2 " + common + " >>";
    const auto locked = open(builder);
    ASSERT_TRUE(locked);
    EXPECT_TRUE(locked->isLocked());
    EXPECT_TRUE(locked->isEncrypted());
    EXPECT_EQ(locked->pageCount(), 1);
    EXPECT_FALSE(locked->textOfPage(0));
    EXPECT_TRUE(locked->documentAttributes().empty());
}

TEST(PdfDocument, EncryptionOfAttachmentsAloneDoesNotLock) {
    auto builder = PdfBuilder::withPages(1);
    const std::string key(64, 'A');
    builder.objects[9] = "<< /Title (open) >>";
    builder.trailer += " /Info 9 0 R /ID [<00> <00>] /Encrypt << /Filter /Standard /V 4 /R 4 /Length 128 /P -4 /O <" +
                       key + "> /U <" + key +
                       "> /CF << /StdCF << /CFM /AESV2 /AuthEvent /EFOpen /Length 16 >> >>"
                       " /StmF /Identity /StrF /Identity /EFF /StdCF >>";
    const auto document = open(builder);
    ASSERT_TRUE(document);
    EXPECT_FALSE(document->isLocked());
    EXPECT_TRUE(document->isEncrypted());
    EXPECT_EQ(document->textOfPage(0), u"Page 1");
    EXPECT_EQ(*document->documentAttributes().find(u"Title"), Value(u"open"));
}

/// The folder of real documents beside the project, when there is one.
std::filesystem::path corpusFolder() {
    const char* variable = std::getenv("QUARRY_CORPUS");
    return std::filesystem::path(variable != nullptr ? variable : QUARRY_SOURCE_DIR "/../shared/corpus") / "pdf";
}

TEST(PdfDocument, RealDocumentsAreRead) {
    std::error_code error;
    int opened = 0;
    int withText = 0;
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(corpusFolder(), error)) {
        if (entry.path().extension() != ".pdf") continue;
        ++files;
        const auto data = Data::mappedContentsOfFile(entry.path());
        const auto document = data ? PdfDocument::documentWithData(*data) : nullptr;
        if (!document) continue;
        ++opened;
        bool hasText = false;
        for (int page = 0; page < document->pageCount() && page < 20; ++page) {
            hasText |= !document->textOfPage(page).value_or(u"").empty();
        }
        if (hasText) ++withText;
        (void)document->documentAttributes();
    }
    if (files == 0) return;  // the documents made above are all there is
    RecordProperty("opened", opened);
    RecordProperty("withText", withText);
    EXPECT_GE(opened * 100, files * 95) << opened << " of " << files;
    EXPECT_GE(withText * 100, files * 60) << withText << " of " << files;
}

}  // namespace
}  // namespace halden
