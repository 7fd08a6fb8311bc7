// One helper of a batch, and the thread that asks it.
#pragma once

#include "tools/HelperSession.h"
#include "tools/batch/Outcome.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace quarry::tools {

struct BatchSlotOptions {
    DocumentOptions document;
    std::uint64_t renewal = 0;  ///< documents after which a helper is replaced; 0: never
    /// Called with a result while its helper is at hand; may change it. Empty: nothing is done.
    std::function<void(halden::HaldenImExportProxy&, const BatchRequest&, halden::Value&)> keepResult;
};

/// Asks about one document after the other, over a helper in a registry folder of its own. A helper that crashes, hangs
/// or grows is killed with its workers and replaced, and the document is tried once more. Used by one thread but for
/// `running`.
class BatchSlot {
public:
    struct Running {
        std::string path;
        std::chrono::steady_clock::time_point since;
    };

    BatchSlot(BatchSlotOptions options, const std::string& registryFolder);

    [[nodiscard]] BatchOutcome carryOut(const BatchRequest& request);

    /// The document that is worked on now. From any thread.
    [[nodiscard]] std::optional<Running> running() const;

private:
    [[nodiscard]] bool attempt(const BatchRequest& request, BatchOutcome& outcome);
    void setRunning(std::optional<Running> running);

    BatchSlotOptions options_;
    HelperSession session_;
    std::uint64_t documentsOfHelper_ = 0;
    mutable std::mutex mutex_;
    std::optional<Running> running_;
};

/// What keeps the file at `path` from being read as a document; empty when nothing does.
[[nodiscard]] std::string obstacleAtPath(const std::string& path);

}  // namespace quarry::tools
