// A real helper, launched for a test in folders of its own.
#pragma once

#include "client/HelperTask.h"
#include "foundation/Path.h"
#include "platform/ipc/ConnectionException.h"
#include "platform/ipc/HaldenImExport.h"
#include "tests/importers/TestBundles.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace quarry::test {

class HelperTest : public ::testing::Test {
protected:
    HelperTest() {
        std::filesystem::create_directory(folder_ / "registry");
        std::filesystem::permissions(folder_ / "registry", std::filesystem::perms::owner_all);
        // The user's importers of the helper are those of the test.
        setenv("XDG_DATA_HOME", (folder_ / "data").c_str(), 1);
        task_ = makeTask(QUARRY_BUILD_PREFIX "/libexec/quarry/quarry-helper");
    }

    std::unique_ptr<HelperTask> makeTask(const std::string& path) {
        auto task = HelperTask::initWithPath(halden::stringFromPathBytes(path), u"QuarryHelper64",
                                             &halden::haldenImExportProtocol(), 20);
        task->setRegistryFolder(folder_ / "registry");
        return task;
    }
    void install(const std::string& name, const std::string& executable, const std::string& extension) {
        makeBundle(folder_ / "data/quarry/Spotlight", name, executable, infoForExtension(extension));
    }
    std::u16string file(const std::string& name, const std::string& bytes = "contents") {
        return halden::stringFromPathBytes(folder_.write(name, bytes).string());
    }
    halden::HaldenImExportProxy proxy() { return halden::HaldenImExportProxy(task_->proxy()); }

    /// How a request fails; nullopt when it does not.
    template <class Request>
    static std::optional<halden::ConnectionFailure> failureOf(Request request) {
        try {
            request();
            return std::nullopt;
        } catch (const halden::ConnectionException& exception) {
            return exception.failure();
        }
    }

    TemporaryFolder folder_;
    std::unique_ptr<HelperTask> task_;
};

}  // namespace quarry::test
