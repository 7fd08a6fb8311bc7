// The commands for rich text.
#include "foundation/Base64.h"
#include "foundation/Json.h"
#include "foundation/Unicode.h"
#include "platform/office/OfficeInstallation.h"
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace quarry::test {
namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

class RichTextCommand : public ::testing::Test {
protected:
    RichTextCommand() {
        fs::create_directory(surroundings_.folder() / "tmp");
        surroundings_.setVariable("TMPDIR", surroundings_.folder() / "tmp");
    }
    // Every command must leave nothing behind. The workers' folder goes a moment after the command.
    void TearDown() override {
        EXPECT_TRUE(surroundings_.processes().empty());
        EXPECT_TRUE(surroundings_.runtimeFiles().empty());
        for (int attempt = 0; attempt < 1000 && !fs::is_empty(surroundings_.folder() / "tmp"); ++attempt)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_TRUE(fs::is_empty(surroundings_.folder() / "tmp"));
    }
    Surroundings surroundings_;
};

TEST_F(RichTextCommand, PrintsTheResultAndWritesThePackage) {
    surroundings_.write("a.rtf", "{\\rtf1\\ansi{\\info{\\title T}}words}");
    const Outcome outcome = surroundings_.run({"richtext", "a.rtf", "-o", "out.rtfd"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_EQ(outcome.error, "");
    const auto value = halden::valueFromJson(outcome.out);
    ASSERT_TRUE(value && value->is<halden::Dictionary>()) << outcome.out;
    const auto& result = *value->as<halden::Dictionary>();
    ASSERT_TRUE(result.contains(u"Rtfd") && result.contains(u"DocumentAttributes")) << outcome.out;
    EXPECT_NE(outcome.out.find("\"application/rtfd\""), std::string::npos) << outcome.out;
    EXPECT_NE(contents(surroundings_.folder() / "out.rtfd/TXT.rtf").find("words"), std::string::npos);
}

TEST_F(RichTextCommand, DataAreWrittenAsAPackage) {
    surroundings_.write("a.txt", "some words");
    const Outcome read = surroundings_.run({"richtext", "--data", "base64", "a.txt"});
    const auto value = halden::valueFromJson(read.out);
    ASSERT_TRUE(value && value->is<halden::Dictionary>()) << read.out;
    const auto* rtfd = value->as<halden::Dictionary>()->find(u"Rtfd");
    ASSERT_TRUE(rtfd != nullptr && rtfd->is<halden::Dictionary>()) << read.out;
    const auto* letters = rtfd->as<halden::Dictionary>()->find(u"base64");
    ASSERT_TRUE(letters != nullptr && letters->is<std::u16string>()) << read.out;
    const auto bytes = halden::bytesFromBase64(halden::utf8FromUtf16(*letters->as<std::u16string>()));
    ASSERT_TRUE(bytes);
    surroundings_.write("data", std::string(bytes->begin(), bytes->end()));
    const Outcome written = surroundings_.run({"write-rtfd", "data", "-o", "out.rtfd"});
    EXPECT_EQ(written.status, 0) << written.error;
    EXPECT_EQ(written.out, "YES\n");
    EXPECT_NE(contents(surroundings_.folder() / "out.rtfd/TXT.rtf").find("some words"), std::string::npos);
}

TEST_F(RichTextCommand, NilAndNo) {
    surroundings_.write("a.png", "\x89PNG");
    surroundings_.write("a.rtf", "{\\rtf1 x}");
    const Outcome nil = surroundings_.run({"richtext", "a.png"});
    EXPECT_EQ(nil.status, 1);
    EXPECT_EQ(nil.out, "null\n");
    EXPECT_EQ(nil.error, "");
    const Outcome missing = surroundings_.run({"richtext", "missing"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.error, "quarry: missing: No such file or directory\n");
    const Outcome unwritten = surroundings_.run({"richtext", "a.rtf", "-o", "nowhere/out.rtfd"});
    EXPECT_EQ(unwritten.status, 1);
    EXPECT_TRUE(unwritten.out.starts_with("{")) << unwritten.out;
    EXPECT_EQ(unwritten.error, "quarry: nowhere/out.rtfd: cannot be written\n");
    const Outcome no = surroundings_.run({"write-rtfd", "a.png", "-o", "out.rtfd"});
    EXPECT_EQ(no.status, 1);
    EXPECT_EQ(no.out, "NO\n");
    EXPECT_FALSE(fs::exists(surroundings_.folder() / "out.rtfd"));
    EXPECT_EQ(surroundings_.run({"write-rtfd", "a.rtf"}).status, 2);
}

// The time-out kills the helper with its whole tree, quarry-exec included.
TEST_F(RichTextCommand, ATimeOutLeavesNothing) {
    if (halden::findOfficeInstallation().folder.empty()) GTEST_SKIP() << halden::findOfficeInstallation().reason;
    std::string body;
    for (int i = 0; i < 400'000; ++i)
        body += "<text:p>a paragraph</text:p>";
    surroundings_.write("long.fodt",
                        R"(<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" )"
                        R"(xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" office:version="1.2" )"
                        R"(office:mimetype="application/vnd.oasis.opendocument.text"><office:body><office:text>)" +
                            body + "</office:text></office:body></office:document>");
    const Outcome outcome = surroundings_.run({"richtext", "--timeout", "0.8", "long.fodt"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_NE(outcome.error.find("no answer within 0.8 s"), std::string::npos) << outcome.error;
}

TEST_F(RichTextCommand, DoctorSaysThatLibreOfficeIsMissing) {
    surroundings_.setVariable("QUARRY_LIBREOFFICE", surroundings_.folder());
    const Outcome outcome = surroundings_.run({"doctor"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("LibreOffice is not in " + surroundings_.folder().string()), std::string::npos)
        << outcome.out;
}

}  // namespace
}  // namespace quarry::test
