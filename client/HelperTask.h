// Launches a helper process and hands out the proxy of its root object.
#pragma once

#include "platform/ipc/Protocol.h"
#include "platform/ipc/RootProxy.h"
#include "platform/process/Task.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quarry {

/// Whether what a helper prints is seen, or goes to the null device.
enum class HelperLogging { disabled, enabled };

/// The client's side of a helper: starts the executable as a child process, waits until it has registered its name, and
/// hands out a proxy of its root object.
///
///     auto task = quarry::HelperTask::initWithPath(path, u"QuarryHelper64", &halden::haldenImExportProtocol(), 30.0);
///     if (auto proxy = task->proxy()) {
///         auto attributes = halden::HaldenImExportProxy(proxy).metaDataForFile(file);
///     }
///
/// A call over a proxy whose helper has died throws `halden::ConnectionException`; the next `proxy` then starts a new
/// helper. All functions block the calling thread, launching for up to about two seconds. For use by one thread at a
/// time. Destruction terminates the child that this object has started, and only that.
class HelperTask {
public:
    /// The path of a helper executable (as `halden::stringFromPathBytes` gives it), the name under which it registers,
    /// the protocol given to each proxy (null: none; it must outlive the task and its proxies), the default time-out of
    /// its calls in seconds (0: none), and whether the child's output is seen. Null, with "Helper missing: NAME" in the
    /// log, when the path or the name is empty.
    [[nodiscard]] static std::unique_ptr<HelperTask> initWithPath(std::u16string_view path,
                                                                  std::u16string_view registeredProxyName,
                                                                  const halden::Protocol* protocol = nullptr,
                                                                  double timeout = 0,
                                                                  HelperLogging logging = HelperLogging::disabled);

    ~HelperTask();
    HelperTask(const HelperTask&) = delete;
    HelperTask& operator=(const HelperTask&) = delete;

    /// Starts a fresh child, after terminating one started before, and returns its proxy with `seconds` as time-out of
    /// both requests and replies (0 leaves them as they are). The child is asked for 40 times, 50 ms apart.
    ///
    /// Null when the child ended right after its launch; when it could not be launched (one line in the log); and when
    /// it did not register within those two seconds ("Connection to EXECUTABLE failed." in the log): it is then left
    /// running until the next launch, `terminate` or destruction.
    [[nodiscard]] std::shared_ptr<halden::RootProxy> launchUsingTimeout(double seconds);
    [[nodiscard]] std::shared_ptr<halden::RootProxy> launch() { return launchUsingTimeout(timeout_); }

    /// The proxy of a helper that is registered already, whoever started it. One attempt; null when there is none.
    [[nodiscard]] std::shared_ptr<halden::RootProxy> launchedProxyUsingTimeout(double seconds);
    [[nodiscard]] std::shared_ptr<halden::RootProxy> launchedProxy() { return launchedProxyUsingTimeout(timeout_); }

    /// The normal entry: the proxy of a running helper, else of one that is started now.
    [[nodiscard]] std::shared_ptr<halden::RootProxy> proxyUsingTimeout(double seconds);
    [[nodiscard]] std::shared_ptr<halden::RootProxy> proxy() { return proxyUsingTimeout(timeout_); }

    /// The running helper's own answer; false when there is none or when it does not respond to stillBusy. Throws
    /// `halden::ConnectionException` when the helper cannot be asked.
    [[nodiscard]] bool stillBusy();

    /// Asks a helper that is busy every 50 ms until it no longer is, or until `seconds` have passed. Never throws.
    void waitUntilDone(double seconds);

    /// Sends the termination signal to the child that this object has started, if it still runs, and forgets it. Does
    /// not wait for its end.
    void terminate();

    [[nodiscard]] double timeout() const noexcept { return timeout_; }
    void setTimeout(double seconds) noexcept { timeout_ = seconds; }

    /// Act on the next launch.
    void enableLogging() noexcept { logging_ = true; }
    void disableLogging() noexcept { logging_ = false; }

    /// The folder (bytes, absolute) in which names are looked up, and which children inherit through
    /// QUARRY_RUNTIME_DIR; empty, the default, is the user's own. Several helpers of one name live in several folders.
    void setRegistryFolder(std::string folder) { registryFolder_ = std::move(folder); }

    /// The child started by this object; nullopt when there is none.
    [[nodiscard]] std::optional<pid_t> processIdentifier() const noexcept;

private:
    HelperTask(std::u16string_view path, std::u16string_view registeredProxyName, const halden::Protocol* protocol,
               double timeout, HelperLogging logging);

    [[nodiscard]] std::unique_ptr<halden::Task> launchedTask() const;
    [[nodiscard]] std::shared_ptr<halden::RootProxy> launchAndConnect(double seconds);
    [[nodiscard]] std::shared_ptr<halden::RootProxy> connectWithRetry() const;
    [[nodiscard]] std::shared_ptr<halden::RootProxy> rootProxy(double connectLimit) const;
    void initProxy(halden::RootProxy& proxy, double seconds) const;

    std::unique_ptr<halden::Task> task_;
    std::u16string proxyName_;
    std::u16string path_;
    double timeout_;
    const halden::Protocol* protocol_;
    bool logging_;
    std::string registryFolder_;
};

}  // namespace quarry
