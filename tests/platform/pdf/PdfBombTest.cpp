// Small documents that unpack to more than anybody has memory or time for.
#include "platform/pdf/PdfDocument.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <zlib.h>

namespace halden {
namespace {

using test::documentWithPages;
using test::kFirstPage;
using test::kFont;
using test::showing;
using test::TinyPdf;

std::string deflated(const std::string& bytes) {
    std::string packed(compressBound(bytes.size()), '\0');
    uLongf length = packed.size();
    EXPECT_EQ(compress2(reinterpret_cast<Bytef*>(packed.data()), &length, reinterpret_cast<const Bytef*>(bytes.data()),
                        bytes.size(), Z_BEST_COMPRESSION),
              Z_OK);
    packed.resize(length);
    return packed;
}

/// 256 MB of `byte`, packed twice, in less than two kilobytes.
std::string packedRunsOf(char byte) {
    std::string runs;
    for (int i = 0; i < 2 << 20; ++i) {
        runs.push_back('\x81');  // the next byte, 128 times
        runs.push_back(byte);
    }
    return deflated(deflated(runs));
}
constexpr const char* kUnpackRuns = "/Filter [/FlateDecode /FlateDecode /RunLengthDecode]";

/// Page 0 shows "Before", then nothing but blanks: more than 2 terabytes. Page 1 shows "Next page".
TinyPdf documentOfBlanks() {
    TinyPdf pdf = documentWithPages({showing("Before"), showing("Next page")});
    const std::string blanks = TinyPdf::reference(pdf.addStream(packedRunsOf(' '), kUnpackRuns)) + " ";
    std::string contents = TinyPdf::reference(kFirstPage + 1) + " ";
    for (int i = 0; i < 10'000; ++i)
        contents += blanks;
    pdf.replace(kFirstPage, "<< /Type /Page /Parent 2 0 R /Contents [" + contents + "] >>");
    return pdf;
}

#ifdef __SANITIZE_ADDRESS__
// The sanitizer keeps what was freed.
constexpr long kMostMegabytes = 1200;
#else
constexpr long kMostMegabytes = 400;
#endif

long peakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

// Skipping blanks takes no memory: without a look at the time while they are unpacked, this takes hours.
TEST(PdfBomb, BlanksWithoutEndEndWithTheTime) {
    const Data data = documentOfBlanks().data();
    EXPECT_LT(data.length(), 100'000U);
    const auto document = PdfDocument::documentWithData(data, {.seconds = 1});
    ASSERT_TRUE(document);
    EXPECT_EQ(document->textOfPage(0), u"Before");
    EXPECT_EQ(document->textOfPage(1), u"Next page");
    EXPECT_EQ(document->pageCount(), 2);
}

TEST(PdfBomb, AfterTheTimeOfAllCallsLittleIsStillAnswered) {
    const auto document = PdfDocument::documentWithData(documentOfBlanks().data(), {.secondsInAll = 1e-6});
    ASSERT_TRUE(document);
    EXPECT_EQ(document->textOfPage(0), u"Before");
    EXPECT_EQ(document->textOfPage(1), u"Next page");
    EXPECT_EQ(document->mediaBoxOfPage(0), (Size{200, 100}));
}

TEST(PdfBomb, PicturesWithoutEndTakeNoMemory) {
    // The information of a page of a hundred thousand by a hundred thousand dots, and no more.
    const std::string picture("\0\0\0\0\x30\0\x01\0\0\0\x13\0\x01\x86\xA0\0\x01\x86\xA0\0\0\0\0\0\0\0\0\0\0\0", 30);
    for (const char* side : {"100000", "30000"}) {
        TinyPdf pdf = documentWithPages({"200 0 0 100 0 0 cm /I Do", showing("Next page")});
        const int image =
            pdf.addStream(picture, std::string("/Type /XObject /Subtype /Image /Width ") + side + " /Height " + side +
                                       " /BitsPerComponent 1 /ColorSpace /DeviceGray /Filter /JBIG2Decode");
        pdf.replace(kFirstPage, "<< /Type /Page /Parent 2 0 R /Contents 6 0 R /Resources << /XObject << /I " +
                                    TinyPdf::reference(image) + " >> >> >>");
        const auto document = PdfDocument::documentWithData(pdf.data(), {.memory = std::size_t{64} << 20});
        ASSERT_TRUE(document);
        EXPECT_TRUE(document->drawPage(0, 20, 10));
        EXPECT_EQ(document->textOfPage(0), u"");
        EXPECT_EQ(document->textOfPage(1), u"Next page");
    }
    EXPECT_LT(peakMegabytes(), kMostMegabytes);
}

TEST(PdfBomb, FontsWithoutEndAreDoneWithout) {
    TinyPdf pdf = documentWithPages({showing("Words"), showing("Next page")});
    const int program = pdf.addStream(packedRunsOf('x'), kUnpackRuns);
    const int descriptor = pdf.add("<< /Type /FontDescriptor /FontName /Endless /Flags 32 /FontFile2 " +
                                   TinyPdf::reference(program) + " >>");
    pdf.replace(kFont,
                "<< /Type /Font /Subtype /TrueType /BaseFont /Endless /Encoding /WinAnsiEncoding /FontDescriptor " +
                    TinyPdf::reference(descriptor) + " >>");
    const auto document = PdfDocument::documentWithData(pdf.data(), {.memory = std::size_t{64} << 20});
    ASSERT_TRUE(document);
    EXPECT_EQ(document->textOfPage(0), u"Words");
    EXPECT_EQ(document->textOfPage(1), u"Next page");
    EXPECT_LT(peakMegabytes(), kMostMegabytes);
}

TEST(PdfBomb, TablesAndObjectsWithoutEndMakeNoPages) {
    const std::string packed = packedRunsOf('1');
    const std::string length = " /Length " + std::to_string(packed.size()) + " >>\nstream\n";
    const std::string filter = kUnpackRuns;
    const std::string table = "1 0 obj\n<< /Type /XRef /Size 60000000 /W [1 1 1] /Root 2 0 R " + filter + length +
                              packed + "\nendstream\nendobj\n";
    const std::string objects =
        "2 0 obj\n<< /Type /ObjStm /N 30000000 /First 120000000 " + filter + length + packed + "\nendstream\nendobj\n";
    for (const auto& bytes : {table, objects, table + objects}) {
        const std::string pdf = "%PDF-1.5\n" + bytes + "startxref\n9\n%%EOF\n";
        const auto document =
            PdfDocument::documentWithData(Data::copying(pdf), {.memory = std::size_t{64} << 20, .seconds = 0.3});
        EXPECT_TRUE(document == nullptr || document->pageCount() == 0);
    }
    EXPECT_LT(peakMegabytes(), kMostMegabytes);
}

}  // namespace
}  // namespace halden
