#include "client/HelperTask.h"

#include "foundation/Exception.h"
#include "foundation/Log.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "platform/ipc/Registry.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace quarry {
namespace {

using halden::RootProxy;

constexpr std::chrono::milliseconds kPollInterval{50};
constexpr int kPollsForLaunch = 40;
// What an attempt that began in time may take beyond the two seconds of polling.
constexpr std::chrono::milliseconds kLastAttempt{500};
constexpr const char* kClassName = "HelperTask";

}  // namespace

std::unique_ptr<HelperTask> HelperTask::initWithPath(std::u16string_view path, std::u16string_view registeredProxyName,
                                                     const halden::Protocol* protocol, double timeout,
                                                     HelperLogging logging) {
    if (path.empty() || registeredProxyName.empty()) {
        halden::logError("Helper missing: " + halden::utf8FromUtf16(registeredProxyName));
        return nullptr;
    }
    return std::unique_ptr<HelperTask>(new HelperTask(path, registeredProxyName, protocol, timeout, logging));
}

HelperTask::HelperTask(std::u16string_view path, std::u16string_view registeredProxyName,
                       const halden::Protocol* protocol, double timeout, HelperLogging logging)
    : proxyName_(registeredProxyName),
      path_(path),
      timeout_(timeout),
      protocol_(protocol),
      logging_(logging == HelperLogging::enabled) {}

HelperTask::~HelperTask() {
    terminate();
}

std::shared_ptr<RootProxy> HelperTask::launchUsingTimeout(double seconds) {
    try {
        return launchAndConnect(seconds);
    } catch (const std::exception&) {
        halden::logCaughtException("launchUsingTimeout:", kClassName);
        terminate();
        return nullptr;
    }
}

std::shared_ptr<RootProxy> HelperTask::launchAndConnect(double seconds) {
    terminate();
    task_ = launchedTask();
    if (!task_->isRunning()) {
        task_.reset();
        return nullptr;
    }
    auto proxy = connectWithRetry();
    if (!proxy) {
        halden::logError("Connection to " + halden::utf8FromUtf16(halden::lastPathComponent(path_)) + " failed.");
        return nullptr;
    }
    initProxy(*proxy, seconds);
    return proxy;
}

std::unique_ptr<halden::Task> HelperTask::launchedTask() const {
    const auto pathBytes = halden::pathBytesFromString(path_);
    if (!pathBytes) throw halden::Exception("InvalidArgumentException", "no file can have the helper's path");
    auto task = std::make_unique<halden::Task>();
    if (!logging_) {
        task->setStandardErrorToNullDevice();
        task->setStandardOutputToNullDevice();
    }
    if (!registryFolder_.empty()) task->setEnvironmentVariable("QUARRY_RUNTIME_DIR", registryFolder_);
    task->setLaunchPath(*pathBytes);
    task->launch();
    return task;
}

std::shared_ptr<RootProxy> HelperTask::connectWithRetry() const {
    // A holder of the name that accepts and then says nothing must not stretch forty attempts to minutes.
    const auto deadline = std::chrono::steady_clock::now() + kPollsForLaunch * kPollInterval + kLastAttempt;
    for (int poll = 0; poll < kPollsForLaunch; ++poll) {
        std::this_thread::sleep_for(kPollInterval);
        const std::chrono::duration<double> left = deadline - std::chrono::steady_clock::now();
        if (left.count() <= 0) break;
        if (auto proxy = rootProxy(std::min(left.count(), RootProxy::kConnectLimit))) return proxy;
    }
    return nullptr;
}

std::shared_ptr<RootProxy> HelperTask::rootProxy(double connectLimit) const {
    const std::string folder = registryFolder_.empty() ? halden::registryFolder() : registryFolder_;
    return RootProxy::rootProxyForConnectionWithRegisteredName(proxyName_, folder, connectLimit);
}

void HelperTask::initProxy(RootProxy& proxy, double seconds) const {
    if (seconds > 0) {
        proxy.setRequestTimeout(seconds);
        proxy.setReplyTimeout(seconds);
    }
    if (protocol_ != nullptr) proxy.setProtocolForProxy(protocol_);
}

std::shared_ptr<RootProxy> HelperTask::launchedProxyUsingTimeout(double seconds) {
    std::shared_ptr<RootProxy> proxy;
    try {
        proxy = rootProxy(RootProxy::kConnectLimit);
        if (proxy) initProxy(*proxy, seconds);
    } catch (const std::exception&) {
        // A proxy that could not be set up is still a proxy.
        halden::logCaughtException("launchedProxyUsingTimeout:", kClassName);
    }
    return proxy;
}

std::shared_ptr<RootProxy> HelperTask::proxyUsingTimeout(double seconds) {
    auto proxy = launchedProxyUsingTimeout(seconds);
    return proxy ? proxy : launchUsingTimeout(seconds);
}

bool HelperTask::stillBusy() {
    const auto proxy = launchedProxy();
    return proxy && proxy->respondsToSelector("stillBusy") && proxy->stillBusy();
}

void HelperTask::waitUntilDone(double seconds) {
    const auto poll = [this, seconds] {
        const auto proxy = launchedProxy();
        if (!proxy || !proxy->respondsToSelector("stillBusy") || !proxy->stillBusy()) return true;
        double elapsed = 0;
        do {
            std::this_thread::sleep_for(kPollInterval);
            elapsed += std::chrono::duration<double>(kPollInterval).count();
        } while (seconds > elapsed && proxy->stillBusy());
        return true;
    };
    halden::guarded(poll, false);
}

void HelperTask::terminate() {
    if (task_) task_->terminate();
    task_.reset();
}

std::optional<pid_t> HelperTask::processIdentifier() const noexcept {
    return task_ ? std::optional(task_->processIdentifier()) : std::nullopt;
}

}  // namespace quarry
