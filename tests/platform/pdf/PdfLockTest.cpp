// Who gets into an encrypted document.
#include "platform/pdf/PdfDocument.h"
#include "tests/platform/pdf/PdfEncryption.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

using test::PdfEncryption;
using test::TinyPdf;

TEST(PdfLock, PlainDocumentsAreNeitherLockedNorEncrypted) {
    const auto document = PdfDocument::documentWithData(test::documentWithPages({""}).data());
    ASSERT_TRUE(document);
    EXPECT_FALSE(document->isLocked());
    EXPECT_FALSE(document->isEncrypted());
}

TEST(PdfLock, TheEmptyPasswordOpens) {
    const auto document = PdfDocument::documentWithData(test::encryptedDocument("").data());
    ASSERT_TRUE(document);
    EXPECT_FALSE(document->isLocked());
    EXPECT_TRUE(document->isEncrypted());
    EXPECT_EQ(document->pageCount(), 1);
    EXPECT_EQ(document->textOfPage(0), u"Secret");
    EXPECT_EQ(document->documentAttributes(), (Dictionary{{u"Title", u"Hidden"}}));
}

TEST(PdfLock, AnotherPasswordLocks) {
    const auto document = PdfDocument::documentWithData(test::encryptedDocument("open sesame").data());
    ASSERT_TRUE(document);
    EXPECT_TRUE(document->isLocked());
    EXPECT_TRUE(document->isEncrypted());
    EXPECT_EQ(document->pageCount(), 1);
    EXPECT_EQ(document->mediaBoxOfPage(0), (Size{200, 100}));
    EXPECT_EQ(document->textOfPage(0), std::nullopt);
    EXPECT_TRUE(document->documentAttributes().empty());
    EXPECT_EQ(document->version(), "1.7");
}

/// A document with crypt filters (version 4) under a password that nobody knows; nothing of its pages is encrypted.
TinyPdf documentWithFilters(const std::string& filters) {
    TinyPdf pdf = test::documentWithPages({test::showing("Open page")}, "/Title (Open title)");
    const int dictionary =
        pdf.add("<< /Filter /Standard /V 4 /R 4 /Length 128 " + PdfEncryption("unknown").proof() +
                " /CF << /StdCF << /CFM /AESV2 /AuthEvent /EFOpen /Length 16 >> >> " + filters + " >>");
    pdf.setTrailer("/Root 1 0 R /Info 4 0 R" + PdfEncryption::trailer(dictionary));
    return pdf;
}

TEST(PdfLock, EncryptedAttachmentsDoNotLock) {
    for (const char* filters : {"/StmF /Identity /StrF /Identity /EFF /StdCF", "/EFF /StdCF"}) {
        const auto document = PdfDocument::documentWithData(documentWithFilters(filters).data());
        ASSERT_TRUE(document) << filters;
        EXPECT_FALSE(document->isLocked()) << filters;
        EXPECT_TRUE(document->isEncrypted()) << filters;
        EXPECT_EQ(document->textOfPage(0), u"Open page") << filters;
        EXPECT_EQ(document->documentAttributes(), (Dictionary{{u"Title", u"Open title"}})) << filters;
    }
}

TEST(PdfLock, UnknownEncryptionLocks) {
    const std::string proof = PdfEncryption("").proof();
    for (const std::string& encryption : {
             std::string("/Filter /Adobe.PubSec /SubFilter /adbe.pkcs7.s5 /V 4"),
             std::string("/Filter /SomebodysOwn /V 1"),
             "/Filter /Standard /V 99 /R 99 " + proof,
             std::string("/Filter /Standard /V 1 /R 2"),
         }) {
        TinyPdf pdf = test::documentWithPages({test::showing("x"), test::showing("y")}, "/Title (garbage)");
        // Long enough that the name in the trailer lies across pieces that are read.
        pdf.addStream(std::string(5000, ' '));
        const int dictionary = pdf.add("<< " + encryption + " >>");
        pdf.setTrailer("/Root 1 0 R /Info 4 0 R" + PdfEncryption::trailer(dictionary));
        const auto document = PdfDocument::documentWithData(pdf.data());
        ASSERT_TRUE(document) << encryption;
        EXPECT_TRUE(document->isLocked() && document->isEncrypted()) << encryption;
        EXPECT_EQ(document->pageCount(), 2) << encryption;
        EXPECT_EQ(document->mediaBoxOfPage(1), (Size{200, 100})) << encryption;
        EXPECT_EQ(document->textOfPage(0), std::nullopt) << encryption;
        EXPECT_TRUE(document->documentAttributes().empty()) << encryption;
    }
}

// Wherever the name falls among the pieces in which the document is read.
TEST(PdfLock, UnknownEncryptionIsFoundAtEveryPlace) {
    for (std::size_t length = 3300; length < 3600; ++length) {
        TinyPdf pdf = test::documentWithPages({"", ""});
        pdf.addStream(std::string(length, ' '));
        const int dictionary = pdf.add("<< /Filter /SomebodysOwn >>");
        pdf.setTrailer("/Root 1 0 R" + PdfEncryption::trailer(dictionary));
        const auto document = PdfDocument::documentWithData(pdf.data());
        ASSERT_TRUE(document) << length;
        ASSERT_TRUE(document->isLocked()) << length;
        ASSERT_EQ(document->pageCount(), 2) << length;
    }
}

TEST(PdfLock, EitherFilterLocksButReadableStringsAreRead) {
    const auto streams = PdfDocument::documentWithData(documentWithFilters("/StmF /StdCF /StrF /Identity").data());
    ASSERT_TRUE(streams);
    EXPECT_TRUE(streams->isLocked());
    EXPECT_EQ(streams->documentAttributes(), (Dictionary{{u"Title", u"Open title"}}));
    const auto strings = PdfDocument::documentWithData(documentWithFilters("/StmF /Identity /StrF /StdCF").data());
    ASSERT_TRUE(strings);
    EXPECT_TRUE(strings->isLocked());
    EXPECT_TRUE(strings->documentAttributes().empty());
    EXPECT_EQ(strings->textOfPage(0), std::nullopt);
}

}  // namespace
}  // namespace halden
