// attributed:stringWithPDF: through a real helper.
#include "richtext/FlatRtfd.h"
#include "tests/helper/HelperTest.h"
#include "tests/platform/pdf/PdfEncryption.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <fstream>

namespace quarry::test {
namespace {

using halden::Data;
using halden::Value;
using halden::test::documentWithPages;
using halden::test::showing;

class PdfProcess : public HelperTest {
protected:
    /// A line of the helper's status, in KiB.
    long status(const std::string& name) {
        std::ifstream lines("/proc/" + std::to_string(task_->launchedProxy()->processIdentifier()) + "/status");
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with(name + ":")) return std::stol(line.substr(name.size() + 1));
        return -1;
    }
};

TEST_F(PdfProcess, AnswersTextRichTextAndNil) {
    const Data pdf = documentWithPages({showing("Words")}, "/Title (T) /Producer (pdfTeX)").data();
    EXPECT_EQ(
        proxy().attributedStringWithPDF(pdf, {}),
        (halden::Dictionary{{u"String", u"Words\n"}, {u"PageCount", 1}, {u"Title", u"T"}, {u"Producer", u"pdfTeX"}}));
    const auto rich = proxy().attributedStringWithPDF(pdf, {.attributed = true});
    ASSERT_TRUE(rich && rich->find(u"String") != nullptr && rich->find(u"String")->is<Data>());
    EXPECT_EQ(halden::documentFromRtfd(*rich->find(u"String")->as<Data>())->text.string(), u"Words");
    EXPECT_EQ(proxy().attributedStringWithPDF(Data::copying("words"), {}), std::nullopt);
    EXPECT_EQ(proxy().attributedStringWithPDF(Data(), {}), std::nullopt);
    EXPECT_EQ(proxy().attributedStringWithPDF(halden::test::encryptedDocument("password").data(), {}),
              (halden::Dictionary{{u"Locked", true}, {u"PageCount", 1}}));
}

/// Writes `pdf` with a stream of `length` zeros at its end, which take no room on the disk.
void writeWithZeros(const std::filesystem::path& path, halden::test::TinyPdf pdf, std::size_t length) {
    const std::string mark = "zeros";
    pdf.add("<< /Length " + std::to_string(length) + " >>\nstream\n" + mark + "\nendstream");
    const std::string bytes = pdf.bytes();
    const std::size_t place = bytes.find(mark);
    const std::size_t table = bytes.rfind("startxref\n");
    const std::string end = "startxref\n" + std::to_string(bytes.find("xref\n0 ") - mark.size() + length) + "\n%%EOF\n";
    std::ofstream file(path, std::ios::binary);
    file << bytes.substr(0, place);
    file.seekp(static_cast<std::streamoff>(length), std::ios::cur);
    file << bytes.substr(place + mark.size(), table - place - mark.size()) << end;
}

TEST_F(PdfProcess, LargeDocumentsAreNotCopied) {
    constexpr std::size_t kLength = std::size_t{200} << 20;
    const std::filesystem::path path = folder_ / "large.pdf";
    writeWithZeros(path, documentWithPages({showing("Words")}), kLength);
    const auto data = Data::mappedContentsOfFile(path.string());
    ASSERT_TRUE(data && data->length() > kLength);
    const auto answer = proxy().attributedStringWithPDF(*data, {});
    ASSERT_TRUE(answer && answer->find(u"String") != nullptr);
    EXPECT_EQ(*answer->find(u"String"), Value(u"Words\n"));
    // The peak counts the pages that were touched of the file in memory, too.
    const long peak = status("VmHWM");
    EXPECT_GT(peak, 0);
    EXPECT_LT(peak, 100 * 1024);
}

}  // namespace
}  // namespace quarry::test
