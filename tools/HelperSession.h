// The helper of one command: launched when it is needed, replaced when it fails.
#pragma once

#include "client/HelperTask.h"
#include "platform/ipc/ConnectionException.h"
#include "platform/ipc/HaldenImExport.h"
#include "tools/Arguments.h"
#include "tools/MemoryGroup.h"
#include "tools/MemoryWatch.h"

#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>

namespace quarry::tools {

/// Why a request has no result.
struct HelperFailure {
    enum class Kind { connection, crash, timeout, memory };
    Kind kind = Kind::connection;
    std::string explanation;  ///< to follow the name of the file: "the helper crashed"
};

/// What helpers register as.
inline constexpr std::u16string_view kRegisteredName = u"QuarryHelper64";

/// PREFIX/libexec/quarry/NAME of the prefix that this program runs from.
[[nodiscard]] std::string libexecPath(std::string_view name);

/// Launches helpers, asks them, and ends them. Used by one thread.
class HelperSession {
public:
    /// `registryFolder` empty: the user's, where somebody else's helper may serve.
    HelperSession(const DocumentOptions& options, const std::string& registryFolder);
    /// Ends a helper that this session launched.
    ~HelperSession();
    HelperSession(const HelperSession&) = delete;
    HelperSession& operator=(const HelperSession&) = delete;

    /// What `request` returns when it is given the proxy of a helper. A helper that failed is gone afterwards, and the
    /// next request gets a new one.
    template <class Request>
    auto ask(Request request)
        -> std::variant<std::invoke_result_t<Request, halden::HaldenImExportProxy&>, HelperFailure> {
        try {
            if (!connect()) {
                return HelperFailure{HelperFailure::Kind::connection, connectionError_};
            }
            halden::HaldenImExportProxy proxy(rootProxy_);
            return request(proxy);
        } catch (const halden::ConnectionException& exception) {
            return afterFailure(exception);
        }
    }

    /// Ends the helper that this session launched, at once; the next request gets a new one.
    void endHelper();

private:
    [[nodiscard]] bool connect();
    [[nodiscard]] bool isOurs(const halden::RootProxy& proxy) const;
    [[nodiscard]] HelperFailure afterFailure(const halden::ConnectionException& exception);

    DocumentOptions options_;
    std::string helperPath_;
    std::unique_ptr<HelperTask> task_;
    std::shared_ptr<halden::RootProxy> rootProxy_;
    std::string connectionError_;
    MemoryWatch watch_;
    std::optional<MemoryGroup> group_;  // of the helper, where the system lets us make one
};

}  // namespace quarry::tools
