// PostScript, run by the real Ghostscript.
#include "platform/postscript/PostScript.h"
#include "platform/worker/WorkFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace halden::test {
namespace {

namespace fs = std::filesystem;

std::string eps(const std::string& program) {
    return "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 100 50\n" + program + "\nshowpage\n";
}

/// Every test leaves the folder of this process empty.
class PostScriptTest : public ::testing::Test {
protected:
    PostScriptTest() {
        if (ghostscriptPath().empty()) return;
        const auto folder = makeJobFolder();
        jobs_ = fs::path(folder.value_or("")).parent_path();
        fs::remove_all(folder.value_or("nothing"));
    }
    void SetUp() override {
        if (ghostscriptPath().empty()) GTEST_SKIP() << "Ghostscript is not installed";
    }
    void TearDown() override {
        for (const auto& entry : fs::directory_iterator(jobs_))
            ADD_FAILURE() << "left behind: " << entry.path();
    }
    fs::path jobs_;
};

TEST_F(PostScriptTest, BecomesPdf) {
    const auto pdf = pdfFromPostScript(Data::copying(eps("10 10 moveto 90 40 lineto stroke")));
    ASSERT_TRUE(pdf);
    EXPECT_TRUE(pdf->view().starts_with("%PDF-"));
}

TEST_F(PostScriptTest, IsTakenOutOfWhatComesAroundIt) {
    const std::string program = eps("10 10 moveto 90 40 lineto stroke");
    std::string file("\xC5\xD0\xD3\xC6\x1E\0\0\0", 8);
    file.push_back(static_cast<char>(program.size()));
    file += std::string(21, '\0') + program + "II*preview";
    EXPECT_EQ(postScriptProgramOf(Data::copying(file)).view(), program);
    EXPECT_EQ(boundingBoxSizeOf(Data::copying(file)), (Size{100, 50}));
    EXPECT_TRUE(pdfFromPostScript(Data::copying(file)));
    EXPECT_TRUE(postScriptProgramOf(Data::copying(file.substr(0, 9))).empty());
    EXPECT_EQ(postScriptProgramOf(Data::copying("\x1B%-12345X@PJL\n" + program)).view(), program);
    EXPECT_FALSE(pdfFromPostScript(Data::copying("no program")));
}

TEST_F(PostScriptTest, TellsItsSize) {
    const std::vector<std::pair<std::string, std::optional<Size>>> rows = {
        {"%!PS\n%%BoundingBox: 10 20 110 220\n", Size{100, 200}},
        {"%!PS\n%%BoundingBox:-5 -5 5.5 5\r", Size{10.5, 10}},
        {"%!PS\n%%BoundingBox: (atend)\nx\n%%Trailer\n%%BoundingBox: 0 0 7 8\n", Size{7, 8}},
        {"%!PS\n%%BoundingBox: 0 0 0 8\n", std::nullopt},
        {"%!PS\n%%BoundingBox: 0 0 8\n", std::nullopt},
        {"%!PS\n%%BoundingBox: 0 0 nan 8\n", std::nullopt},
        {"%!PS\n", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [file, size] : rows)
        EXPECT_EQ(boundingBoxSizeOf(Data::copying(file)), size) << file;
}

TEST_F(PostScriptTest, IsEndedAtItsLimits) {
    const std::vector<std::string> programs = {
        "{ } loop",                                        // for ever
        "{ (x) 65535 string pop } loop",                   // for ever, with work for the memory
        "[ 1 1 100000 { 65000 string } for ]",             // too much memory
        "{ 0 0 moveto 9 9 lineto stroke showpage } loop",  // pages without end
        "/f { f f } def f",                                // deep
    };
    for (const auto& program : programs) {
        const PostScriptLimits limits{.addressSpace = std::uint64_t{512} << 20,
                                      .fileSize = 4 << 20,
                                      .cpu = std::chrono::seconds(2),
                                      .time = std::chrono::milliseconds(1500)};
        EXPECT_FALSE(pdfFromPostScript(Data::copying(eps(program)), limits)) << program;
    }
}

TEST_F(PostScriptTest, ReachesNoFiles) {
    const fs::path secret = fs::temp_directory_path() / ("quarry-test-secret-" + std::to_string(getpid()));
    std::ofstream(secret) << "secret";
    const fs::path written = secret.string() + "-written";
    EXPECT_FALSE(pdfFromPostScript(Data::copying(eps("(" + secret.string() + ") (r) file pop"))));
    EXPECT_FALSE(pdfFromPostScript(Data::copying(eps("(" + written.string() + ") (w) file (x) writestring"))));
    EXPECT_FALSE(pdfFromPostScript(Data::copying(eps("(" + secret.string() + ") deletefile"))));
    EXPECT_FALSE(pdfFromPostScript(Data::copying(eps("(%pipe%id) (r) file pop"))));
    EXPECT_FALSE(fs::exists(written));
    EXPECT_TRUE(fs::exists(secret));
    fs::remove(secret);
}

TEST_F(PostScriptTest, GivesNothingOfAProgramThatFails) {
    EXPECT_FALSE(pdfFromPostScript(Data::copying(eps("nosuchoperator"))));
    EXPECT_FALSE(pdfFromPostScript(Data::copying("%!PS\n(")));
}

}  // namespace
}  // namespace halden::test
