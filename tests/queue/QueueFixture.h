// A message server on the loopback address and jobs on it.
#pragma once

#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace quarry::test {

/// One of the loopback address that nobody listens at.
[[nodiscard]] int freePort();

[[nodiscard]] std::string contents(const std::filesystem::path& path);

class QueueFixture : public ::testing::Test {
protected:
    QueueFixture();
    ~QueueFixture() override;

    /// The address that the commands use; at first nats:// with the port of the server.
    void setServer(const std::string& url) { surroundings_.setVariable("QUARRY_QUEUE", url); }

    /// Starts the server with what it has stored, and waits until it listens.
    void startServer(const std::vector<std::string>& more = {});
    /// The same as this configuration says, which names the port and the store itself.
    void startConfiguredServer(const std::string& configuration);
    void stopServer(int signal);

    /// Small files in the folder "documents", 0.good and so on.
    void documents(int count) const;
    /// Starts a command; what it writes is added to the file "output".
    [[nodiscard]] pid_t start(const std::vector<std::string>& arguments) const;

    /// The statuses in the shards of a folder, by the name of the document, one for each line about it.
    [[nodiscard]] std::map<std::string, std::vector<std::string>> resultsIn(const std::string& folder) const;
    void expectOneResultEach(const std::string& folder, std::size_t count) const;

    Surroundings surroundings_;
    int port_;
    pid_t server_ = 0;

private:
    void launchServer(std::vector<std::string> words);
};

}  // namespace quarry::test
