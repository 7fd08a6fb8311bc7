// The real LibreOffice, in its worker, on documents that are written for the tests.
#include "foundation/Log.h"
#include "platform/office/OfficeConverter.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace halden {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// A flat OpenDocument text with this body.
Data document(const std::string& body) {
    return Data::copying(std::string_view(
        R"(<?xml version="1.0" encoding="UTF-8"?><office:document)"
        R"( xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0")"
        R"( xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" office:version="1.2")"
        R"( xmlns:draw="urn:oasis:names:tc:opendocument:xmlns:drawing:1.0" xmlns:xlink="http://www.w3.org/1999/xlink")"
        R"( xmlns:svg="urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0")"
        R"( office:mimetype="application/vnd.oasis.opendocument.text"><office:body><office:text>)" +
        body + "</office:text></office:body></office:document>"));
}

bool isRtfWith(const std::optional<Data>& rtf, std::string_view text) {
    return rtf && rtf->view().starts_with("{\\rtf1") && rtf->view().find(text) != std::string_view::npos;
}

bool exists(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string status;
    std::getline(file, status);
    const std::size_t name = status.rfind(')');
    return name != std::string::npos && status.substr(name, 3) != ") Z";
}

class OfficeConverterTest : public ::testing::Test {
protected:
    OfficeConverterTest() {
        std::string name = "/tmp/quarry-test-XXXXXX";
        folder_ = mkdtemp(name.data());
        setenv("TMPDIR", folder_.c_str(), 1);
        setLogSink([this](LogLevel, std::string_view message) { log_ += std::string(message) + "\n"; });
    }
    ~OfficeConverterTest() override {
        setLogSink(nullptr);
        unsetenv("TMPDIR");
        fs::remove_all(folder_);
    }
    void SetUp() override {
        const OfficeInstallation installation = findOfficeInstallation();
        if (installation.folder.empty()) GTEST_SKIP() << installation.reason;
    }
    /// Folders of jobs that are there.
    [[nodiscard]] std::size_t jobs() const {
        std::size_t count = 0;
        for (const auto& process : fs::directory_iterator(folder_)) {
            if (!process.is_directory()) continue;
            for (const auto& job : fs::directory_iterator(process))
                count += job.path().filename().native().starts_with("job-") ? 1 : 0;
        }
        return count;
    }

    fs::path folder_;
    std::string log_;
};

TEST_F(OfficeConverterTest, DocumentsBecomeRtfEachInAProcessOfItsOwn) {
    OfficeConverter converter;
    EXPECT_EQ(converter.waitingProcess(), 0);
    EXPECT_TRUE(isRtfWith(converter.rtfFromDocument(document("<text:p>wool &amp; water</text:p>"), OfficeFormat::fodt),
                          "wool & water"));
    const pid_t second = converter.waitingProcess();
    EXPECT_NE(second, 0);
    EXPECT_TRUE(isRtfWith(converter.rtfFromDocument(document("<text:p>ink</text:p>"), OfficeFormat::fodt), "ink"));
    EXPECT_FALSE(exists(second));
    EXPECT_NE(converter.waitingProcess(), 0);
    EXPECT_EQ(jobs(), 1u);
    EXPECT_EQ(log_.find("LibreOffice"), std::string::npos) << log_;
}

TEST_F(OfficeConverterTest, NothingStaysWhenTheConverterGoes) {
    pid_t waiting = 0;
    {
        OfficeConverter converter;
        (void)converter.rtfFromDocument(document(""), OfficeFormat::fodt);
        waiting = converter.waitingProcess();
    }
    EXPECT_FALSE(exists(waiting));
    EXPECT_EQ(jobs(), 0u);
}

TEST_F(OfficeConverterTest, WhatItCannotReadIsNilAndTheNextDocumentWorks) {
    OfficeConverter converter;
    EXPECT_FALSE(converter.rtfFromDocument(Data::copying("PK\3\4 no archive"), OfficeFormat::docx));
    EXPECT_NE(log_.find("LibreOffice does not read a document"), std::string::npos) << log_;
    EXPECT_TRUE(isRtfWith(converter.rtfFromDocument(document("<text:p>after</text:p>"), OfficeFormat::fodt), "after"));
}

TEST_F(OfficeConverterTest, AWorkerThatDiedWhileItWaitedIsReplaced) {
    OfficeConverter converter;
    (void)converter.rtfFromDocument(document(""), OfficeFormat::fodt);
    kill(converter.waitingProcess(), SIGKILL);
    EXPECT_TRUE(isRtfWith(converter.rtfFromDocument(document("<text:p>again</text:p>"), OfficeFormat::fodt), "again"));
}

TEST_F(OfficeConverterTest, AnIdleWorkerEndsByItself) {
    OfficeConverter converter({.idle = 0s});
    EXPECT_TRUE(isRtfWith(converter.rtfFromDocument(document("<text:p>x</text:p>"), OfficeFormat::fodt), "x"));
    for (int attempt = 0; attempt < 1500 && converter.waitingProcess() != 0; ++attempt)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(converter.waitingProcess(), 0);
    EXPECT_TRUE(isRtfWith(converter.rtfFromDocument(document("<text:p>y</text:p>"), OfficeFormat::fodt), "y"));
}

/// Some hundred thousand paragraphs, which take seconds to lay out.
Data longDocument() {
    std::string body;
    for (int i = 0; i < 400'000; ++i)
        body += "<text:p>a paragraph</text:p>";
    return document(body);
}

TEST_F(OfficeConverterTest, ADocumentThatTakesTooLongIsGivenUp) {
    OfficeConverter converter({.document = 300ms});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(converter.rtfFromDocument(longDocument(), OfficeFormat::fodt));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
    EXPECT_NE(log_.find("too long"), std::string::npos) << log_;
}

TEST_F(OfficeConverterTest, ADocumentThatEatsMemoryIsGivenUp) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "there is no limit with sanitizers";
#endif
    // Enough to start, not enough for this one.
    OfficeConverter converter({.addressSpace = 1'300'000'000});
    EXPECT_TRUE(isRtfWith(converter.rtfFromDocument(document("<text:p>small</text:p>"), OfficeFormat::fodt), "small"));
    std::string body = "<text:p>";
    body.append(250'000'000, 'x');
    EXPECT_FALSE(converter.rtfFromDocument(document(body + "</text:p>"), OfficeFormat::fodt));
    EXPECT_TRUE(isRtfWith(converter.rtfFromDocument(document("<text:p>next</text:p>"), OfficeFormat::fodt), "next"));
}

// Left to itself, LibreOffice would put any picture of the user's into the result.
TEST_F(OfficeConverterTest, LinkedPicturesAreNotFetched) {
    static constexpr unsigned char kPicture[] = {
        0x89, 'P',  'N',  'G',  '\r', '\n', 0x1A, '\n', 0,    0,    0,    13,  'I',  'H',  'D',  'R',  0,
        0,    0,    1,    0,    0,    0,    1,    8,    0,    0,    0,    0,   0x3A, 0x7E, 0x9B, 0x55, 0,
        0,    0,    10,   'I',  'D',  'A',  'T',  0x78, 0x9C, 0x63, 0x60, 0,   0,    0,    2,    0,    1,
        0x48, 0xAF, 0xA4, 0x71, 0,    0,    0,    0,    'I',  'E',  'N',  'D', 0xAE, 0x42, 0x60, 0x82};
    std::ofstream(folder_ / "p.png").write(reinterpret_cast<const char*>(kPicture), sizeof kPicture);
    OfficeConverter converter;
    const auto rtf = converter.rtfFromDocument(
        document(R"(<text:p>kept<draw:frame text:anchor-type="as-char" svg:width="1cm" svg:height="1cm"><draw:image)"
                 R"( xlink:type="simple" xlink:href="file://)" +
                 (folder_ / "p.png").string() + R"("/></draw:frame></text:p>)"),
        OfficeFormat::fodt);
    EXPECT_TRUE(isRtfWith(rtf, "kept"));
    EXPECT_FALSE(isRtfWith(rtf, "\\pngblip"));
}

TEST_F(OfficeConverterTest, WithoutLibreOfficeItIsNilAndSaysSo) {
    setenv("QUARRY_LIBREOFFICE", folder_.c_str(), 1);
    OfficeConverter converter;
    EXPECT_FALSE(converter.rtfFromDocument(document(""), OfficeFormat::fodt));
    EXPECT_NE(log_.find("LibreOffice is not in " + folder_.string()), std::string::npos) << log_;
    EXPECT_EQ(findOfficeInstallation().folder, "");
    unsetenv("QUARRY_LIBREOFFICE");
    // It may be installed while we run.
    EXPECT_TRUE(isRtfWith(converter.rtfFromDocument(document("<text:p>z</text:p>"), OfficeFormat::fodt), "z"));
}

}  // namespace
}  // namespace halden
