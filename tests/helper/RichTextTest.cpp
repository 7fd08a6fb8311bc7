// Rich text through a real helper.
#include "platform/office/OfficeInstallation.h"
#include "tests/documents/MadeFiles.h"
#include "tests/helper/HelperTest.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>

namespace quarry {
namespace {

namespace fs = std::filesystem;
using halden::ConnectionFailure;
using halden::Data;
using halden::Dictionary;
using halden::Value;

std::string contents(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::string flatText(const std::string& body) {
    return R"(<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" )"
           R"(xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" office:version="1.2" )"
           R"(office:mimetype="application/vnd.oasis.opendocument.text"><office:body><office:text>)" +
           body + "</office:text></office:body></office:document>";
}

class RichTextTest : public test::HelperTest {
protected:
    RichTextTest() {
        // Workers' folders are the test's to look at.
        fs::create_directory(folder_ / "tmp");
        setenv("TMPDIR", (folder_ / "tmp").c_str(), 1);
        setenv("QUARRY_TEST_MARK", folder_.path().c_str(), 1);
    }
    ~RichTextTest() override { unsetenv("TMPDIR"); }

    std::u16string pathOf(const fs::path& path) { return halden::stringFromPathBytes(path.string()); }

    std::optional<Dictionary> read(const std::string& name, const std::string& bytes) {
        return proxy().attributedStringWithContentsOfFile(file(name, bytes));
    }
    static Data rtfdOf(const std::optional<Dictionary>& result) {
        const Value* rtfd = result ? result->find(u"Rtfd") : nullptr;
        return rtfd != nullptr && rtfd->is<Data>() ? *rtfd->as<Data>() : Data();
    }
    static Value attribute(const std::optional<Dictionary>& result, std::u16string_view name) {
        const Value* all = result ? result->find(u"DocumentAttributes") : nullptr;
        const auto* dictionary = all != nullptr ? all->as<Dictionary>() : nullptr;
        const Value* value = dictionary != nullptr ? dictionary->find(name) : nullptr;
        return value != nullptr ? *value : Value();
    }
    /// The RTF of a package that the helper writes of the data.
    std::string writtenRtf(const Data& rtfd) {
        const fs::path out = folder_ / "written.rtfd";
        fs::remove_all(out);
        EXPECT_TRUE(proxy().writeRTFDDataToFile(rtfd, pathOf(out)));
        return contents(out / "TXT.rtf");
    }
    /// Processes of this test that are neither it nor the helper's launcher.
    std::vector<pid_t> processes() const {
        const std::string mark = "QUARRY_TEST_MARK=" + folder_.path().string();
        std::vector<pid_t> found;
        for (const auto& entry : fs::directory_iterator("/proc")) {
            const std::string name = entry.path().filename();
            if (name.find_first_not_of("0123456789") == std::string::npos && std::stoi(name) != getpid() &&
                contents(entry.path() / "environ").find(mark) != std::string::npos)
                found.push_back(std::stoi(name));
        }
        return found;
    }
    /// Whether a document lies in a worker's folder.
    [[nodiscard]] bool isConverting() const {
        std::error_code error;
        for (fs::recursive_directory_iterator entry(folder_ / "tmp", error), end; !error && entry != end;
             entry.increment(error)) {
            if (entry->path().filename() == "document.fodt") return true;
        }
        return false;
    }
    template <class Condition>
    static bool eventually(Condition condition) {
        for (int attempt = 0; attempt < 1500; ++attempt) {
            if (condition()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    static bool hasOffice() { return !halden::findOfficeInstallation().folder.empty(); }
};

TEST_F(RichTextTest, TheResultHasItsKeysInOrder) {
    const auto result =
        read("a.rtf", R"({\rtf1\ansi\paperw11900\paperh16840{\info{\title A title}}\b bold\b0 , plain})");
    ASSERT_TRUE(result);
    ASSERT_EQ(result->size(), 2u);
    EXPECT_EQ(result->begin()[0].key, u"Rtfd");
    EXPECT_EQ(result->begin()[1].key, u"DocumentAttributes");
    EXPECT_TRUE(rtfdOf(result).view().starts_with(std::string_view("rtfd\0\0\0\0", 8)));
    EXPECT_EQ(attribute(result, u"DocumentType"), Value(u"NSRTF"));
    EXPECT_EQ(attribute(result, u"PaperSize"), Value(u"{595, 842}"));
    EXPECT_EQ(attribute(result, u"NSTitleDocumentAttribute"), Value(u"A title"));
    EXPECT_NE(writtenRtf(rtfdOf(result)).find("bold"), std::string::npos);
}

// The attributes travel inside the RTFD as well.
TEST_F(RichTextTest, AttributesComeBackFromThePackage) {
    const auto first = read("a.rtf", R"({\rtf1\ansi\margl2000{\info{\title A title}{\author Zo\u235 ?}}text})");
    ASSERT_TRUE(proxy().writeRTFDDataToFile(rtfdOf(first), pathOf(folder_ / "b.rtfd")));
    const auto second = proxy().attributedStringWithContentsOfFile(pathOf(folder_ / "b.rtfd"));
    const auto flat = read("c", std::string(rtfdOf(first).view()));
    for (const auto& again : {second, flat}) {
        EXPECT_EQ(attribute(again, u"DocumentType"), Value(u"NSRTFD"));
        EXPECT_EQ(attribute(again, u"NSTitleDocumentAttribute"), Value(u"A title"));
        EXPECT_EQ(attribute(again, u"NSAuthorDocumentAttribute"), Value(u"Zoë"));
        EXPECT_EQ(attribute(again, u"LeftMargin"), Value(100.0));
    }
}

TEST_F(RichTextTest, PlainTextBecomesRichText) {
    const auto result = read("a.txt", "caf\xC3\xA9 {\\braces}\nsecond");
    EXPECT_EQ(attribute(result, u"DocumentType"), Value(u"NSPlainText"));
    EXPECT_EQ(attribute(result, u"CharacterEncoding"), Value(4));
    const std::string rtf = writtenRtf(rtfdOf(result));
    EXPECT_NE(rtf.find("\\{\\\\braces\\}"), std::string::npos) << rtf;
    EXPECT_TRUE(read("empty.txt", ""));
}

TEST_F(RichTextTest, AttachmentsStayWithTheirText) {
    folder_.write("a.rtfd/TXT.rtf", R"({\rtf1\ansi before {{\NeXTGraphic drawing.bin \width100 \height100})"
                                    "\xAC"
                                    R"(} after})");
    folder_.write("a.rtfd/drawing.bin", "the bytes");
    const auto result = proxy().attributedStringWithContentsOfFile(pathOf(folder_ / "a.rtfd"));
    EXPECT_EQ(attribute(result, u"DocumentType"), Value(u"NSRTFD"));
    (void)writtenRtf(rtfdOf(result));
    EXPECT_EQ(contents(folder_ / "written.rtfd/drawing.bin"), "the bytes");
}

TEST_F(RichTextTest, WhatNoReaderTakesIsNilAndTheHelperGoesOn) {
    EXPECT_FALSE(proxy().attributedStringWithContentsOfFile(u"/nowhere"));
    EXPECT_FALSE(proxy().attributedStringWithContentsOfFile(u""));
    EXPECT_FALSE(read("a.png", "\x89PNG\r\n\x1A\n"));
    EXPECT_FALSE(read("a.rtf", "no rich text"));
    EXPECT_FALSE(read("a.docx", test::zipArchive({{"a", "b"}})));
    fs::create_directory(folder_ / "empty.rtfd");
    EXPECT_FALSE(proxy().attributedStringWithContentsOfFile(pathOf(folder_ / "empty.rtfd")));
    if (geteuid() != 0) {
        const auto secret = file("secret.rtf", "{\\rtf1 x}");
        chmod((folder_ / "secret.rtf").c_str(), 0);
        EXPECT_FALSE(proxy().attributedStringWithContentsOfFile(secret));
    }
    EXPECT_TRUE(read("good.rtf", "{\\rtf1 x}"));
}

TEST_F(RichTextTest, DataThatIsNoRtfdIsNotWritten) {
    for (const std::string& bytes :
         {std::string(), std::string("no RTFD"), std::string("rtfd\0\0\0\0\3\0\0\0\377\377\377\377", 16)}) {
        EXPECT_FALSE(proxy().writeRTFDDataToFile(Data::copying(bytes), pathOf(folder_ / "out.rtfd")));
        EXPECT_FALSE(fs::exists(folder_ / "out.rtfd"));
    }
}

TEST_F(RichTextTest, WhereNothingCanBeWrittenItIsNo) {
    const Data rtfd = rtfdOf(read("a.rtf", "{\\rtf1 x}"));
    EXPECT_FALSE(proxy().writeRTFDDataToFile(rtfd, pathOf(folder_ / "missing/out.rtfd")));
    EXPECT_FALSE(fs::exists(folder_ / "missing"));
    EXPECT_FALSE(proxy().writeRTFDDataToFile(rtfd, u""));
    EXPECT_FALSE(proxy().writeRTFDDataToFile(rtfd, u"/proc/out.rtfd"));
    EXPECT_TRUE(proxy().writeRTFDDataToFile(rtfd, pathOf(folder_ / "out.rtfd")));
}

TEST_F(RichTextTest, WordProcessorDocumentsAreRead) {
    if (!hasOffice()) GTEST_SKIP() << halden::findOfficeInstallation().reason;
    const auto result = read("a.fodt", flatText("<text:p>from the word processor</text:p>"));
    EXPECT_EQ(attribute(result, u"DocumentType"), Value(u"NSOpenDocument"));
    EXPECT_NE(writtenRtf(rtfdOf(result)).find("from the word processor"), std::string::npos);
    // One waits for the next document, and goes with the helper.
    EXPECT_FALSE(fs::is_empty(folder_ / "tmp"));
    task_->terminate();
    EXPECT_TRUE(eventually([&] { return processes().empty() && fs::is_empty(folder_ / "tmp"); }));
}

TEST_F(RichTextTest, AHelperThatIsKilledWhileItConvertsLeavesNothing) {
    if (!hasOffice()) GTEST_SKIP() << halden::findOfficeInstallation().reason;
    std::string body;
    for (int i = 0; i < 400'000; ++i)
        body += "<text:p>a paragraph</text:p>";
    const auto path = file("long.fodt", flatText(body));
    auto helper = proxy();
    std::thread client([&] {
        EXPECT_EQ(failureOf([&] { (void)helper.attributedStringWithContentsOfFile(path); }),
                  ConnectionFailure::peerDied);
    });
    EXPECT_TRUE(eventually([&] { return isConverting(); }));
    EXPECT_GE(processes().size(), 3u);  // the helper, quarry-exec, quarry-office
    ::kill(helper.rootProxy()->processIdentifier(), SIGKILL);
    client.join();
    EXPECT_TRUE(eventually([&] { return processes().empty() && fs::is_empty(folder_ / "tmp"); }));
    EXPECT_TRUE(read("short.fodt", flatText("")));
}

}  // namespace
}  // namespace quarry
