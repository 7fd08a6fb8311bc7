// The shapes of results, and which loader gives which.
#include "foundation/Path.h"
#include "helper/ImageLoader.h"
#include "helper/PdfFiles.h"
#include "helper/PdfInformation.h"
#include "tests/importers/TestBundles.h"
#include "tests/platform/images/TestPictures.h"
#include "tests/platform/pdf/PdfEncryption.h"
#include "tests/platform/pdf/TinyPdf.h"

#include <gtest/gtest.h>
#include <sys/xattr.h>

namespace quarry::test {
namespace {

using halden::Bitmap;
using halden::Data;
using halden::Dictionary;
using halden::Value;
using namespace halden::test;

constexpr const char* kEps =
    "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 10 10 110 60\n"
    "/Helvetica findfont 18 scalefont setfont 20 20 moveto (Hello) show\n"
    "1 0 0 setrgbcolor 10 40 50 20 rectfill showpage\n";

std::vector<std::u16string> keysOf(const std::optional<Dictionary>& result) {
    std::vector<std::u16string> keys;
    if (!result) return {u"nil"};
    for (const auto& entry : *result)
        keys.push_back(entry.key);
    return keys;
}

/// What the loader asked the information worker for.
struct Asked {
    std::optional<std::u16string> path;
    bool size = false;
};

class ImageLoaderTest : public ::testing::Test {
protected:
    std::u16string file(const std::string& name, std::string_view bytes) {
        return halden::stringFromPathBytes(folder_.write(name, std::string(bytes)).string());
    }
    std::optional<Dictionary> load(const std::u16string& path, ImageLoading loading = {}) {
        asked_.clear();
        return imageWithContentsOfFile(
            path, loading, [this](const Data& pdf, std::optional<std::u16string_view> document, bool size) {
                asked_.push_back({document ? std::optional(std::u16string(*document)) : std::nullopt, size});
                return informationOfPdf(pdf, {.size = size}, [](auto) { return std::nullopt; });
            });
    }
    static Bitmap thumbnailOf(const std::optional<Dictionary>& result) {
        const Value* value = result ? result->find(u"Thumbnail") : nullptr;
        const auto* data = value != nullptr ? value->as<Data>() : nullptr;
        auto decoded = data != nullptr ? decodedTiff(*data) : std::nullopt;
        return decoded ? std::move(decoded->bitmap) : Bitmap{};
    }

    TemporaryFolder folder_;
    std::vector<Asked> asked_;
};

using Keys = std::vector<std::u16string>;

TEST_F(ImageLoaderTest, GivesAQuickThumbnail) {
    const auto path = file("a.jpg", encoded(quarters(1000, 500), {.suffix = ".jpg", .orientation = 6}).view());
    const auto result = load(path);
    EXPECT_EQ(keysOf(result), (Keys{u"Properties", u"Thumbnail"}));
    const Bitmap thumbnail = thumbnailOf(result);
    EXPECT_EQ(thumbnail.width, 256);
    EXPECT_EQ(thumbnail.height, 128);
}

TEST_F(ImageLoaderTest, DescribesAPictureWhenTextIsWanted) {
    const auto path = file("a.png", encoded(quarters(1000, 500), {.suffix = ".png", .dotsPerInch = 144}).view());
    const auto result = load(path, {.stringFromPDF = true});
    EXPECT_EQ(keysOf(result), (Keys{u"Size", u"PixelSize", u"Alpha", u"Thumbnail"}));
    EXPECT_EQ(*result->find(u"Size"), Value(u"{500, 250}"));
    EXPECT_EQ(*result->find(u"PixelSize"), Value(u"{1000, 500}"));
    EXPECT_EQ(*result->find(u"Alpha"), Value(false));
    EXPECT_EQ(thumbnailOf(result).width, 256);
    EXPECT_EQ(differenceFromQuarters(thumbnailOf(result), 8), "");
    EXPECT_TRUE(asked_.empty());
}

TEST_F(ImageLoaderTest, AddsTheInformationOfAPdf) {
    const auto path = file("a.pdf", documentWithPages({showing("words")}, "/Title (T)").bytes());
    for (const bool canUseSpotlight : {true, false}) {
        const auto result = load(path, {.stringFromPDF = true, .canUseSpotlight = canUseSpotlight});
        EXPECT_EQ(keysOf(result),
                  (Keys{u"Size", u"PixelSize", u"Alpha", u"Thumbnail", u"String", u"PageCount", u"Title"}));
        EXPECT_EQ(*result->find(u"Alpha"), Value(true));
        EXPECT_EQ(*result->find(u"String"), Value(u"words\n"));
        ASSERT_EQ(asked_.size(), 1U);
        EXPECT_EQ(asked_[0].path, canUseSpotlight ? std::optional(path) : std::nullopt);
        EXPECT_FALSE(asked_[0].size);
    }
    EXPECT_EQ(keysOf(load(path)), (Keys{u"Size", u"PixelSize", u"Alpha", u"Thumbnail"}));
    EXPECT_EQ(pixelAt(thumbnailOf(load(path)), 0, 0), (Pixel{255, 255, 255, 255}));
}

TEST_F(ImageLoaderTest, NeverAsksTheImportersAboutPostScript) {
    const auto path = file("a.eps", kEps);
    const auto result = load(path, {.stringFromPDF = true, .canUseSpotlight = true});
    ASSERT_TRUE(result);
    EXPECT_EQ(*result->find(u"Size"), Value(u"{100, 50}"));
    ASSERT_EQ(asked_.size(), 1U);
    EXPECT_FALSE(asked_[0].path);
    EXPECT_EQ(*result->find(u"String"), Value(u"Hello\n"));
    const Bitmap thumbnail = thumbnailOf(result);
    ASSERT_EQ(thumbnail.width, 100);
    EXPECT_EQ(pixelAt(thumbnail, 10, 5), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(pixelAt(thumbnail, 90, 5), (Pixel{255, 255, 255, 255}));
}

TEST_F(ImageLoaderTest, NeverAsksTheImportersAboutPostScriptThatRanForItsSize) {
    const auto path = file("a.ps", "%!PS\n100 100 moveto 200 200 lineto stroke showpage\n");
    ASSERT_TRUE(load(path, {.stringFromPDF = true, .canUseSpotlight = true}));
    ASSERT_EQ(asked_.size(), 1U);
    EXPECT_FALSE(asked_[0].path);
}

TEST_F(ImageLoaderTest, GivesTheInformationOfAPdfThatCannotBeDrawn) {
    const std::string locked = encryptedDocument("u").bytes();
    const auto path = file("a.pdf", locked);
    const auto result = load(path, {.stringFromPDF = true, .canUseSpotlight = true});
    ASSERT_TRUE(result);
    EXPECT_TRUE(result->contains(u"Locked"));
    EXPECT_FALSE(result->contains(u"Thumbnail"));
    EXPECT_EQ(*result->find(u"Alpha"), Value(false));
    EXPECT_TRUE(result->contains(u"Size") && result->contains(u"PixelSize"));
    ASSERT_EQ(asked_.size(), 1U);
    EXPECT_TRUE(asked_[0].size);
    EXPECT_EQ(asked_[0].path, std::optional(path));
    EXPECT_EQ(keysOf(load(path)), Keys{u"nil"});
    EXPECT_EQ(keysOf(load(file("a.data", locked), {.stringFromPDF = true})), Keys{u"nil"});
}

TEST_F(ImageLoaderTest, KnowsPdfByItsTypeCode) {
    EXPECT_TRUE(isRealPDFExtension(u"pDf", u""));
    EXPECT_TRUE(isRealPDFExtension(u"", u"'PDF '"));
    for (const char16_t* type : {u"'pdf '", u"PDF ", u"'PDF'", u""})
        EXPECT_FALSE(isRealPDFExtension(u"", type));
    EXPECT_FALSE(isRealPDFExtension(u"pdfd", u""));
    const auto path = file("typed", encryptedDocument("u").bytes());
    EXPECT_FALSE(isRealPDFFile(path));
    const std::string info = "PDF " + std::string(28, '\0');
    const std::string bytes = halden::pathBytesFromString(path).value_or("");
    if (setxattr(bytes.c_str(), "user.com.apple.FinderInfo", info.data(), info.size(), 0) != 0)
        GTEST_SKIP() << "no extended attributes here";
    EXPECT_TRUE(isRealPDFFile(path));
    EXPECT_TRUE(load(path, {.stringFromPDF = true}));
}

TEST_F(ImageLoaderTest, FindsTheDocumentOfABundle) {
    const std::string pdf = documentWithPages({showing("inside")}).bytes();
    file("B.pdfd/other.pdf", pdf);
    const auto bundle = halden::stringFromPathBytes((folder_ / "B.pdfd").string());
    EXPECT_EQ(pathToPDF(bundle), bundle + u"/other.pdf");
    file("B.pdfd/B.pdf", pdf);
    EXPECT_EQ(pathToPDF(bundle), bundle + u"/B.pdf");
    EXPECT_EQ(pathToPDF(u"/x/y.pdf"), u"/x/y.pdf");
    EXPECT_TRUE(isPDFBundle(u"/x/y.PdfD"));
    EXPECT_FALSE(isPDFBundle(std::nullopt));
    EXPECT_FALSE(isPDFBundleExtension(std::nullopt));
    const auto result = load(bundle, {.stringFromPDF = true});
    ASSERT_TRUE(result);
    EXPECT_EQ(*result->find(u"String"), Value(u"inside\n"));
    EXPECT_EQ(PDFImageRepOfFile(bundle), std::optional(Data::copying(pdf)));
    file("empty.pdfd/a.txt", "words");
    const auto empty = halden::stringFromPathBytes((folder_ / "empty.pdfd").string());
    EXPECT_EQ(pathToPDF(empty), empty);
    EXPECT_FALSE(load(empty, {.stringFromPDF = true}));
    EXPECT_FALSE(PDFImageRepOfFile(empty));
}

TEST_F(ImageLoaderTest, GivesThePdfOfFiles) {
    const std::string pdf = documentWithPages({showing("x")}).bytes();
    EXPECT_EQ(PDFImageRepOfFile(file("named.txt", pdf)), std::optional(Data::copying(pdf)));
    const auto made = PDFImageRepOfFile(file("a.eps", kEps));
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->view().starts_with("%PDF-"));
    EXPECT_FALSE(PDFImageRepOfFile(file("a.png", encoded(quarters(8, 8), {.suffix = ".png"}).view())));
    EXPECT_FALSE(PDFImageRepOfFile(file("a.txt", "words")));
    EXPECT_FALSE(PDFImageRepOfFile(u""));
    EXPECT_FALSE(PDFImageRepOfFile(u"/nowhere"));
}

TEST_F(ImageLoaderTest, GivesNilForWhatIsNoPicture) {
    for (const bool text : {false, true}) {
        for (const char* bytes : {"", "words", "%!PS\nno such operator", "\x89PNG\r\n\x1A\n", "II*"})
            EXPECT_FALSE(load(file("a", bytes), {.stringFromPDF = text})) << bytes;
        EXPECT_FALSE(load(u"", {.stringFromPDF = text}));
        EXPECT_FALSE(load(u"/nowhere.pdf", {.stringFromPDF = text}));
        EXPECT_FALSE(load(halden::stringFromPathBytes(folder_.path().string()), {.stringFromPDF = text}));
    }
}

TEST_F(ImageLoaderTest, LeavesOutAThumbnailThatCannotBeDrawn) {
    // The program tells its size, and then does nothing that can be drawn.
    const auto path = file("a.eps", "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 20 10\nnosuchoperator\n");
    const auto result = load(path, {.stringFromPDF = true});
    EXPECT_EQ(keysOf(result), (Keys{u"Size", u"PixelSize", u"Alpha"}));
}

TEST(PdfInformation, KnowsTheProducersThatImportersReadBadly) {
    for (const char16_t* producer : {u"", u"Compart", u"cOMPART", u"a Compart b", u"GPL ghostscript 9", u"Ghostscript",
                                     u"Mac OS X 10.4 Quartz PDFContext", u"quartz pdfcontext"})
        EXPECT_FALSE(importersMayRead(producer));
    for (const char16_t* producer : {u"Quartz PDFContext 2", u"Compar", u"Acrobat", u"PDFContext"})
        EXPECT_TRUE(importersMayRead(producer));
}

TEST(PdfInformation, AsksTheImportersFirst) {
    int questions = 0;
    std::optional<std::u16string> answer = u"from the importer";
    const auto ask = [&](std::optional<std::u16string_view> path, const char* producer) {
        const Data pdf = documentWithPages({showing("own")}, std::string("/Producer (") + producer + ")").data();
        const auto result = informationOfPdf(pdf, {.path = path}, [&](std::u16string_view) {
            ++questions;
            return answer;
        });
        return result ? *result->find(u"String") : Value();
    };
    EXPECT_EQ(ask(u"/p", "Acrobat"), Value(u"from the importer"));
    EXPECT_EQ(questions, 1);
    EXPECT_EQ(ask(u"/p", "Ghostscript"), Value(u"own\n"));
    EXPECT_EQ(ask(std::nullopt, "Acrobat"), Value(u"own\n"));
    EXPECT_EQ(questions, 1);
    answer = std::nullopt;
    EXPECT_EQ(ask(u"/p", "Acrobat"), Value(u"own\n"));
    EXPECT_EQ(questions, 2);
}

}  // namespace
}  // namespace quarry::test
