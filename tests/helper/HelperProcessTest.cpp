#include "platform/process/Task.h"
#include "tests/helper/HelperTest.h"

#include <sys/stat.h>

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

class HelperProcessTest : public test::HelperTest {};

TEST_F(HelperProcessTest, ServesTheImportersThatShip) {
    const auto attributes = proxy().metaDataForFile(file("notes.md", "# Notes\r\ntext"));
    ASSERT_TRUE(attributes);
    EXPECT_EQ(*attributes->find(u"kMDItemTextContent"), Value(u"# Notes\ntext"));
    EXPECT_EQ(*attributes->find(u"kMDItemTitle"), Value(u"Notes"));
    EXPECT_TRUE(proxy().supportsFile(file("a.pdf", "")));
    EXPECT_FALSE(proxy().supportsFile(file("a.unknown-extension")));
    EXPECT_FALSE(proxy().supportsFile(u"/nowhere"));
    EXPECT_FALSE(proxy().metaDataForFile(u"/nowhere"));
    EXPECT_FALSE(proxy().metaDataForFile(u""));
}

TEST_F(HelperProcessTest, NamesThatAreNoUtf8AreServed) {
    const auto attributes = proxy().metaDataForFile(file("caf\xE9.txt", "read"));
    ASSERT_TRUE(attributes);
    EXPECT_EQ(*attributes->find(u"kMDItemTextContent"), Value(u"read"));
}

TEST_F(HelperProcessTest, WhatIsNoPictureOrDocumentGivesNilAndNoMovieAnEmptyAnswer) {
    auto helper = proxy();
    const auto path = file("a.txt");
    EXPECT_FALSE(helper.PDFImageRepOfFile(path));
    EXPECT_FALSE(helper.imageWithContentsOfFile(path, {.stringFromPDF = true}));
    EXPECT_FALSE(helper.attributedStringWithPDF(Data::copying("x"), {}));
    const auto poster = helper.posterImageForMovieWithFile(path);
    ASSERT_TRUE(poster);
    EXPECT_EQ(*poster, (Dictionary{{u"Duration", 0.0}, {u"Size", u"{0, 0}"}}));
}

TEST_F(HelperProcessTest, WebArchivesGiveTheirText) {
    auto helper = proxy();
    const auto archive =
        file("a.webarchive",
             "<plist><dict><key>WebMainResource</key><dict><key>WebResourceMIMEType</key><string>text/html</string>"
             "<key>WebResourceURL</key><string>http://h/</string><key>WebResourceData</key><data>PHA+eCAmbHQ7</data></"
             "dict></dict></plist>");
    EXPECT_EQ(
        helper.searchableTextOfWebArchive(archive),
        (Dictionary{{u"String", Value(u"\n\nx <")}, {u"Source", Value(u"<p>x &lt;")}, {u"URL", Value(u"http://h/")}}));
    EXPECT_EQ(helper.searchableTextOfWebArchive(file("a.txt")), Dictionary());
    EXPECT_EQ(helper.searchableTextOfWebArchive(u"/no/such/file"), Dictionary());
}

TEST_F(HelperProcessTest, RespondsToItsTenSelectorsInOrder) {
    const auto root = task_->proxy();
    ASSERT_TRUE(root);
    const char* const selectors[] = {"PDFImageRepOfFile:",
                                     "imageWithContentsOfFile:stringFromPDF:canUseSpotlight:",
                                     "attributed:stringWithPDF:",
                                     "posterImageForMovieWithFile:",
                                     "attributedStringWithContentsOfFile:",
                                     "searchableTextOfWebArchive:",
                                     "writeRTFDData:toFile:",
                                     "RTFDWithHTML:baseURL:allowRemoteRequest:charset:",
                                     "metaDataForFile:",
                                     "supportsFile:"};
    const auto& methods = halden::haldenImExportProtocol().methods();
    ASSERT_EQ(methods.size(), std::size(selectors));
    for (std::size_t i = 0; i < methods.size(); ++i) {
        EXPECT_EQ(methods[i].selector, selectors[i]);
        EXPECT_TRUE(root->respondsToSelector(selectors[i])) << selectors[i];
    }
    EXPECT_FALSE(root->respondsToSelector("_attributed:stringWithPDF:file:size:"));
    EXPECT_FALSE(root->respondsToSelector("stillBusy"));
    EXPECT_FALSE(task_->stillBusy());
}

TEST_F(HelperProcessTest, ASecondHelperLivesOnUnreachable) {
    const auto first = task_->proxy();
    ASSERT_TRUE(first);
    halden::Task second;
    second.setLaunchPath(QUARRY_BUILD_PREFIX "/libexec/quarry/quarry-helper");
    second.setEnvironmentVariable("QUARRY_RUNTIME_DIR", folder_ / "registry");
    second.setEnvironmentVariable("QUARRY_LOG", "info," + (folder_ / "log").string());
    second.launch();
    // It says in the log that it could not register; from then on it only waits.
    while (!fs::exists(folder_ / "log") || fs::file_size(folder_ / "log") == 0) {
        ASSERT_TRUE(second.isRunning());
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(second.isRunning());
    EXPECT_EQ(task_->launchedProxy()->processIdentifier(), first->processIdentifier());
    second.kill();
    second.waitUntilExit();
    EXPECT_FALSE(halden::HaldenImExportProxy(first).supportsFile(u"/nowhere"));
}

TEST_F(HelperProcessTest, AFolderThatOthersCanEnterIsNotUsed) {
    fs::permissions(folder_ / "registry", fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec);
    EXPECT_FALSE(task_->launch());
    EXPECT_FALSE(fs::exists(folder_ / "registry/QuarryHelper64.sock"));
    fs::permissions(folder_ / "registry", fs::perms::owner_all);
    EXPECT_TRUE(task_->launch());
}

TEST_F(HelperProcessTest, AMissingListerRaisesOnceAndLeavesNoImporters) {
    const fs::path prefix = folder_ / "prefix";
    fs::create_directories(prefix / "libexec/quarry");
    fs::copy_file(QUARRY_BUILD_PREFIX "/libexec/quarry/quarry-helper", prefix / "libexec/quarry/quarry-helper");
    install("Good", "Good", "qgood");
    task_ = makeTask(prefix / "libexec/quarry/quarry-helper");
    auto helper = proxy();
    const auto path = file("a.qgood");
    EXPECT_EQ(failureOf([&] { (void)helper.metaDataForFile(path); }), ConnectionFailure::raised);
    EXPECT_FALSE(helper.metaDataForFile(path));
    EXPECT_FALSE(helper.supportsFile(path));
}

/// Everything that a helper leaves in its registry folder and in the user's.
TEST_F(HelperProcessTest, NothingIsWrittenOutsideTheRegistryFolder) {
    setenv("HOME", (folder_ / "home").c_str(), 1);
    fs::create_directory(folder_ / "home");
    (void)proxy().metaDataForFile(file("a.txt"));
    EXPECT_TRUE(fs::is_empty(folder_ / "home"));
    EXPECT_FALSE(fs::exists(folder_ / "data"));
}

TEST_F(HelperProcessTest, ARequestWaitsWhileAnotherIsServedAndIsThenAnswered) {
    install("Hangs", "Hangs", "qhangs");
    const auto hanging = file("a.qhangs");
    auto first = task_->proxyUsingTimeout(1);
    ASSERT_TRUE(first);
    // Connecting never waits for the operation that runs.
    std::thread client([&] {
        EXPECT_EQ(failureOf([&] { (void)halden::HaldenImExportProxy(first).metaDataForFile(hanging); }),
                  ConnectionFailure::timedOut);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto second = task_->launchedProxyUsingTimeout(0.3);
    ASSERT_TRUE(second);
    EXPECT_EQ(failureOf([&] { (void)halden::HaldenImExportProxy(second).supportsFile(u"/nowhere"); }),
              ConnectionFailure::timedOut);
    client.join();
}

}  // namespace
}  // namespace quarry
