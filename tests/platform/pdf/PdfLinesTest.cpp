// Where lines end and words are parted. The text alone and the text with fonts are put into lines by different code,
// ours and the engine's: the one is the reference of the other.
#include "foundation/Unicode.h"
#include "platform/pdf/PdfDocument.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <gtest/gtest.h>

#include <random>

namespace halden {
namespace {

using test::documentWithPages;
using test::kFont;
using test::TinyPdf;

// Hebrew letters, an embedding sign, a wide space, nothing, and two characters for one glyph.
constexpr const char* kMap =
    "/CIDInit /ProcSet findresource begin 12 dict begin begincmap\n1 begincodespacerange <00> <FF> endcodespacerange\n"
    "7 beginbfchar <01> <05D0> <02> <05D1> <03> <202A> <04> <2003> <05> <FFFD> <06> <00660069> <07> <D83DDE00> "
    "endbfchar\nendcmap end end";

TinyPdf documentShowing(const std::string& contents) {
    TinyPdf pdf = documentWithPages({contents});
    const int map = pdf.addStream(kMap);
    pdf.replace(kFont, "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding /ToUnicode " +
                           TinyPdf::reference(map) + " >>");
    return pdf;
}

std::string textOf(const std::string& contents) {
    const auto document = PdfDocument::documentWithData(documentShowing(contents).data());
    if (!document) return "no document";
    const std::u16string text = document->textOfPage(0).value_or(u"no text");
    EXPECT_EQ(document->styledTextOfPage(0)->text, text) << contents;
    return utf8FromUtf16(text);
}

TEST(PdfLines, GapsAndShiftsPartWordsAndLines) {
    struct Case {
        const char* contents;
        const char* text;
    };
    const Case cases[] = {
        {"(a) Tj (b) Tj", "ab"},
        {"[(a) -100 (b)] TJ", "ab"},
        {"[(a) -300 (b)] TJ", "a b"},
        {"[(a ) -300 (b)] TJ", "a b"},
        {"[(a) -900 (b)] TJ", "a\nb"},
        {"[(a) 300 (b)] TJ", "ab"},
        {"[(a) 1500 (b)] TJ", "a\nb"},
        {"(a) Tj 5 Ts (b) Tj", "ab"},
        {"(a) Tj 9 Ts (b) Tj", "a\nb"},
        {"(a) Tj 0 -12 Td (b) Tj", "a\nb"},
        {"(a) Tj 0 1 -1 0 100 100 Tm (b) Tj", "a\nb"},
        {"1 0 0 1 9 9 Tm (a) Tj 1 0 0 1 9 9 Tm (a) Tj", "a"},
        {"1 0 0 1 9 9 Tm (ab) Tj 1 0 0 1 9 9 Tm (ab) Tj", "ab\nab"},
        {"[(\001) -900 (\002) 2000 (\001)] TJ", "אבא"},
        {"(\001\003) Tj [(a) -300 (b)] TJ",
         "א\xE2\x80\xAA"
         "a b"},
        {"(a\004b\006c) Tj", "a bfic"},
        {"(\007) Tj", "😀"},
        {"(\005\005) Tj 0 -12 Td (a) Tj 0 -12 Td (\005) Tj", "a"},
        {"2 Tr (a) Tj", "a"},
        {"3 Tr (a) Tj", "a"},
        {"7 Tr (a) Tj", "a"},
        {"0 0 0 0 9 9 Tm (ab) Tj", "a\nb"},
    };
    for (const auto& [contents, text] : cases)
        EXPECT_EQ(textOf("BT /F 10 Tf " + std::string(contents) + " ET"), text) << contents;
}

/// One operation on text with operands around the limits of the rules.
std::string randomOperation(std::mt19937& random) {
    const auto below = [&random](unsigned count) { return static_cast<int>(random() % count); };
    const auto number = [&](int least, unsigned count) { return std::to_string(least + below(count)); };
    const auto string = [&] {
        static constexpr std::string_view kBytes = "ab -.\001\002\003\004\005\006\007\310";
        std::string bytes = "(";
        for (int count = below(4); count >= 0; --count)
            bytes += kBytes[random() % kBytes.size()];
        return bytes + ")";
    };
    switch (below(10)) {
        case 0:
            return number(-20, 40) + " " + number(-20, 40) + " Td";
        case 1:
            return number(-8, 16) + " Ts";
        case 2:
            return number(0, 8) + " Tr";
        case 3:
            return number(-1, 4) + " " + number(-1, 3) + " " + number(-1, 3) + " " + number(-1, 4) + " 50 50 Tm";
        case 4:
            return "/F " + number(-2, 14) + " Tf";
        case 5:
            return number(-50, 200) + " Tz " + number(-2, 5) + " Tc " + number(-2, 5) + " Tw";
        default:
            return "[" + string() + " " + number(-1000, 2000) + " " + string() + "] TJ";
    }
}

TEST(PdfLines, AreThoseOfTheEngine) {
    std::mt19937 random(7);
    for (int page = 0; page < 300; ++page) {
        std::string contents = "BT /F 10 Tf\n";
        for (int count = 0; count < 40; ++count)
            contents += randomOperation(random) + "\n";
        textOf(contents + "ET");
    }
}

}  // namespace
}  // namespace halden
