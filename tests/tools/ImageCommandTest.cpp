// The commands for pictures.
#include "foundation/Json.h"
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace quarry::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSvg =
    "<svg xmlns='http://www.w3.org/2000/svg' width='400' height='200'><rect width='9' height='9'/></svg>";
constexpr const char* kEps =
    "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 100 50\n0 0 moveto 9 9 lineto stroke showpage\n";

std::string contents(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

class ImageCommand : public ::testing::Test {
protected:
    ImageCommand() {
        fs::create_directory(surroundings_.folder() / "tmp");
        surroundings_.setVariable("TMPDIR", surroundings_.folder() / "tmp");
    }
    void TearDown() override {
        EXPECT_TRUE(surroundings_.processes().empty());
        EXPECT_TRUE(surroundings_.runtimeFiles().empty());
    }
    Surroundings surroundings_;
};

TEST_F(ImageCommand, PrintsTheResultAndWritesTheThumbnail) {
    surroundings_.write("a.svg", kSvg);
    const Outcome outcome = surroundings_.run({"image", "a.svg", "--thumbnail", "out.tif"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    const auto value = halden::valueFromJson(outcome.out);
    ASSERT_TRUE(value && value->is<halden::Dictionary>()) << outcome.out;
    const auto& result = *value->as<halden::Dictionary>();
    ASSERT_TRUE(result.contains(u"Size")) << outcome.out;
    EXPECT_EQ(*result.find(u"Size"), halden::Value(u"{400, 200}"));
    EXPECT_EQ(*result.find(u"Alpha"), halden::Value(true));
    EXPECT_TRUE(contents(surroundings_.folder() / "out.tif").starts_with("II*"));
}

TEST_F(ImageCommand, AddsTheInformationOfPostScript) {
    surroundings_.write("a.eps", kEps);
    const Outcome plain = surroundings_.run({"image", "a.eps"});
    EXPECT_EQ(plain.out.find("PageCount"), std::string::npos) << plain.out;
    const Outcome outcome = surroundings_.run({"image", "--text", "--spotlight", "a.eps"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_NE(outcome.out.find("\"PageCount\": 1"), std::string::npos) << outcome.out;
}

TEST_F(ImageCommand, WritesPdf) {
    surroundings_.write("a.eps", kEps);
    const Outcome outcome = surroundings_.run({"pdf-data", "a.eps", "-o", "out.pdf"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_NE(outcome.out.find("application/pdf"), std::string::npos) << outcome.out;
    EXPECT_TRUE(contents(surroundings_.folder() / "out.pdf").starts_with("%PDF-"));
    EXPECT_EQ(surroundings_.run({"pdf-data", "a.eps"}).status, 2);
    EXPECT_EQ(surroundings_.run({"pdf-data", "a.eps", "-o", "nowhere/out.pdf"}).status, 1);
}

TEST_F(ImageCommand, NilIsNull) {
    surroundings_.write("a.png", "words");
    const Outcome noPdf = surroundings_.run({"pdf-data", "a.png", "-o", "out.pdf"});
    EXPECT_EQ(noPdf.status, 1);
    EXPECT_EQ(noPdf.out, "null\n");
    EXPECT_EQ(noPdf.error, "");
    const Outcome nil = surroundings_.run({"image", "a.png", "--thumbnail", "out.tif"});
    EXPECT_EQ(nil.status, 1);
    EXPECT_EQ(nil.out, "null\n");
    EXPECT_FALSE(fs::exists(surroundings_.folder() / "out.tif"));
}

}  // namespace
}  // namespace quarry::test
