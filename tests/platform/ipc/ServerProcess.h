// Processes and folders for the tests of the connection.
#pragma once

#include "platform/ipc/RootProxy.h"

#include <string>
#include <vector>

namespace halden::testing {

/// A new folder, mode 0700, removed with what is in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

private:
    std::string path_;
};

/// A running ipc_echo_server, killed on destruction.
class ServerProcess {
public:
    /// Starts it and returns as soon as it has tried to claim its name.
    explicit ServerProcess(const std::string& folder, std::vector<std::string> arguments = {});
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess();

    [[nodiscard]] bool hasClaimed() const noexcept { return claimed_; }
    [[nodiscard]] int pid() const noexcept { return pid_; }
    void signal(int number) const;
    /// Waits for its end and reaps it.
    void wait();

private:
    int pid_ = 0;
    bool claimed_ = false;
};

/// A proxy of the server in `folder`; null when there is none.
[[nodiscard]] std::shared_ptr<RootProxy> connectTo(const std::string& folder);

/// Calls `body` and returns how its call failed; adds a failure to the test when it did not.
template <class Body>
ConnectionFailure failureOf(Body&& body);

}  // namespace halden::testing

#include <gtest/gtest.h>

template <class Body>
halden::ConnectionFailure halden::testing::failureOf(Body&& body) {
    try {
        body();
    } catch (const ConnectionException& exception) {
        return exception.failure();
    }
    ADD_FAILURE() << "the call succeeded";
    return ConnectionFailure{-1};
}
