#include "tools/HelperSession.h"

#include "foundation/Path.h"
#include "platform/bundles/Paths.h"
#include "tools/Interruption.h"
#include "tools/ProcessTree.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>

namespace quarry::tools {

std::string libexecPath(std::string_view name) {
    const std::string prefix = halden::pathBytesFromString(halden::installationPrefix()).value_or("");
    return fmt::format("{}/" QUARRY_LIBEXEC "/{}", prefix, name);
}

namespace {

/// How long a helper that is asked to end may take before it is made to.
constexpr std::chrono::milliseconds kOrderlyEnd{1000};

/// The helper is heard only by those who asked for a log.
HelperLogging wantedLogging() {
    const char* log = std::getenv("QUARRY_LOG");
    return log != nullptr && *log != '\0' ? HelperLogging::enabled : HelperLogging::disabled;
}

}  // namespace

HelperSession::HelperSession(const DocumentOptions& options, const std::string& registryFolder)
    : options_(options),
      helperPath_(libexecPath("quarry-helper")),
      task_(HelperTask::initWithPath(halden::stringFromPathBytes(helperPath_), kRegisteredName,
                                     &halden::haldenImExportProtocol(), options.timeout, wantedLogging())),
      watch_(options.memory) {
    task_->setRegistryFolder(registryFolder);
}

HelperSession::~HelperSession() {
    watch_.watch(0);
    if (const auto child = task_->processIdentifier()) {
        task_->terminate();
        waitForEnd(*child, kOrderlyEnd);
    }
}

bool HelperSession::connect() {
    if (rootProxy_ && rootProxy_->isValid()) {
        return true;
    }
    endHelper();
    Interruption::stopHereWhenInterrupted();
    if (::access(helperPath_.c_str(), X_OK) != 0) {
        connectionError_ = fmt::format("the helper cannot be run: {}: {}", helperPath_, std::strerror(errno));
        return false;
    }
    rootProxy_ = task_->proxy();
    if (!rootProxy_) {
        Interruption::stopHereWhenInterrupted();
        connectionError_ = "the helper could not be reached";
        endHelper();
        return false;
    }
    // A helper that somebody else started is neither watched nor ended.
    if (!isOurs(*rootProxy_)) {
        watch_.watch(0);
        return true;
    }
    const pid_t helper = rootProxy_->processIdentifier();
    watch_.watch(helper);
    if (options_.memory != 0) {
        group_ = MemoryGroup::makeHere(options_.memory);
    }
    if (group_ && !group_->take(helper)) {
        group_.reset();
    }
    return true;
}

bool HelperSession::isOurs(const halden::RootProxy& proxy) const {
    return task_->processIdentifier() == proxy.processIdentifier();
}

/// Makes sure that the name is free for the next one.
void HelperSession::endHelper() {
    watch_.watch(0);
    rootProxy_.reset();
    if (const auto child = task_->processIdentifier()) {
        killTree(*child);
        task_->terminate();
    }
    group_.reset();
}

HelperFailure HelperSession::afterFailure(const halden::ConnectionException& exception) {
    Interruption::stopHereWhenInterrupted();
    HelperFailure failure;
    switch (exception.failure()) {
        case halden::ConnectionFailure::timedOut:
            failure.kind = HelperFailure::Kind::timeout;
            failure.explanation = fmt::format("no answer within {} s{}", options_.timeout,
                                              isOurs(*rootProxy_) ? "; the helper was ended" : "");
            break;
        case halden::ConnectionFailure::peerDied:
            failure.kind = HelperFailure::Kind::crash;
            failure.explanation = "the helper crashed";
            // The watch and the system's own bound race; what is said is the same.
            if (watch_.exceeded() || (group_ && group_->hasKilled())) {
                failure.kind = HelperFailure::Kind::memory;
                failure.explanation =
                    fmt::format("the helper grew beyond {}, and was ended", sizeFromBytes(options_.memory));
            }
            break;
        default:
            failure.explanation = fmt::format("the helper failed: {}", exception.reason());
            return failure;
    }
    endHelper();
    return failure;
}

}  // namespace quarry::tools
