// What bad importers do to the helper, and what the client sees of it.
#include "tests/helper/HelperTest.h"

namespace quarry {
namespace {

using halden::Array;
using halden::ConnectionFailure;
using halden::Dictionary;
using halden::Value;

class ImporterFaultsTest : public test::HelperTest {};

TEST_F(ImporterFaultsTest, AnAbortIsADeadPeerAndTheNextFileWorks) {
    install("Aborts", "Aborts", "qaborts");
    install("Good", "Good", "qgood");
    auto helper = proxy();
    EXPECT_EQ(failureOf([&] { (void)helper.metaDataForFile(file("a.qaborts")); }), ConnectionFailure::peerDied);
    EXPECT_FALSE(helper.rootProxy()->isValid());
    EXPECT_TRUE(proxy().metaDataForFile(file("a.qgood")));
}

TEST_F(ImporterFaultsTest, AnEndlessLoopIsATimeOutAndTheNextHelperWorks) {
    install("Hangs", "Hangs", "qhangs");
    install("Good", "Good", "qgood");
    task_->setTimeout(0.5);
    EXPECT_EQ(failureOf([&] { (void)proxy().metaDataForFile(file("a.qhangs")); }), ConnectionFailure::timedOut);
    task_->setTimeout(20);
    const auto fresh = task_->launch();  // terminates the one that hangs
    ASSERT_TRUE(fresh);
    EXPECT_TRUE(halden::HaldenImExportProxy(fresh).metaDataForFile(file("a.qgood")));
}

TEST_F(ImporterFaultsTest, AnExceptionKeepsWhatWasFilledAndTheHelper) {
    install("Throws", "Throws", "qthrows");
    auto helper = proxy();
    EXPECT_EQ(helper.metaDataForFile(file("a.qthrows")),
              (Dictionary{{u"kMDItemTitle", u"before the fault"}, {u"kMDItemAuthors", Array{}}}));
    EXPECT_TRUE(helper.supportsFile(file("a.qthrows")));
}

TEST_F(ImporterFaultsTest, NullValuesAreRemovedBeforeTheReply) {
    install("Kinds", "AllKinds", "qkinds");
    const auto attributes = proxy().metaDataForFile(file("a.qkinds"));
    ASSERT_TRUE(attributes);
    EXPECT_FALSE(attributes->contains(u"null"));
    EXPECT_EQ(*attributes->find(u"integer"), Value(-7));
}

TEST_F(ImporterFaultsTest, NothingFilledIsNil) {
    install("Nothing", "FillsNothing", "qnothing");
    EXPECT_FALSE(proxy().metaDataForFile(file("a.qnothing")));
}

}  // namespace
}  // namespace quarry
