#include "client/HelperTask.h"
#include "foundation/Path.h"
#include "platform/ipc/HaldenImExport.h"
#include "tests/importers/TestBundles.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace quarry {
namespace {

class StillBusyTest : public ::testing::Test {
protected:
    void launchBusyFor(int calls) {
        setenv("QUARRY_TEST_BUSY_CALLS", std::to_string(calls).c_str(), 1);
        task_ = HelperTask::initWithPath(u"" QUARRY_BUILD_PREFIX "/tests/busy_helper", u"BusyHelper",
                                         &halden::haldenImExportProtocol(), 10);
        task_->setRegistryFolder(registry_.path());
        ASSERT_TRUE(task_->launch());
    }
    /// Whether stillBusy was asked this often.
    bool wasAsked(int times) {
        const std::string number = std::to_string(times);
        return halden::HaldenImExportProxy(task_->launchedProxy())
            .supportsFile(std::u16string(number.begin(), number.end()));
    }

    test::TemporaryFolder registry_;
    std::unique_ptr<HelperTask> task_;
};

TEST_F(StillBusyTest, TheHelpersOwnAnswer) {
    launchBusyFor(1);
    EXPECT_TRUE(task_->launchedProxy()->respondsToSelector("stillBusy"));
    EXPECT_TRUE(task_->stillBusy());
    EXPECT_FALSE(task_->stillBusy());
}

TEST_F(StillBusyTest, WaitingEndsWhenTheHelperIsDone) {
    launchBusyFor(3);
    task_->waitUntilDone(60);
    EXPECT_TRUE(wasAsked(4));
}

TEST_F(StillBusyTest, ATimeOfOnePollOrLessAsksNoSecondTime) {
    launchBusyFor(1000);
    task_->waitUntilDone(0.05);
    EXPECT_TRUE(wasAsked(1));
    task_->waitUntilDone(0);
    EXPECT_TRUE(wasAsked(2));
    task_->waitUntilDone(0.12);
    EXPECT_TRUE(wasAsked(5));  // at the start, after 0.05 s and after 0.1 s
}

TEST_F(StillBusyTest, NobodyThereIsNotBusy) {
    launchBusyFor(1000);
    task_->terminate();
    while (task_->launchedProxy()) {
    }
    EXPECT_FALSE(task_->stillBusy());
    task_->waitUntilDone(60);
}

}  // namespace
}  // namespace quarry
