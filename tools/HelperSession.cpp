#include "tools/HelperSession.h"

#include "tools/Interruption.h"
#include "tools/ProcessTree.h"

#include <fmt/format.h>

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace quarry::tools {

std::string libexecPath(std::string_view name) {
    char program[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", program, sizeof program);
    std::string_view prefix(program, length > 0 ? static_cast<std::size_t>(length) : 0);
    for (int level = 0; level < 2; ++level) {  // bin/quarry
        prefix = prefix.substr(0, prefix.rfind('/'));
    }
    return fmt::format("{}/" QUARRY_LIBEXEC "/{}", prefix, name);
}

HelperFailure HelperSession::afterFailure(const halden::ConnectionException& exception) {
    Interruption::stopHereWhenInterrupted();
    HelperFailure failure;
    switch (exception.failure()) {
        case halden::ConnectionFailure::timedOut:
            failure.explanation = fmt::format("no answer within {} s; the helper was ended", options_.timeout);
            break;
        case halden::ConnectionFailure::peerDied:
            failure.explanation = "the helper crashed";
            if (const auto resident = watch_.exceeded()) {
                failure.explanation = fmt::format("the helper grew to {}, beyond {}, and was ended",
                                                  sizeFromBytes(*resident), sizeFromBytes(options_.memory));
            }
            break;
        default: failure.explanation = fmt::format("the helper failed: {}", exception.reason()); return failure;
    }
    endHelper();
    return failure;
}

}  // namespace quarry::tools
