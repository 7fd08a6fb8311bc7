// What became of one document of a batch.
#pragma once

#include "foundation/Json.h"
#include "foundation/Value.h"
#include "tools/batch/Request.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace quarry::tools {

enum class BatchStatus : std::uint8_t {
    ok,       ///< a result
    empty,    ///< a result without text, where text was asked
    locked,   ///< a document that needs a password
    none,     ///< nil or NO
    missing,  ///< it cannot be opened
    timeout,  ///< no answer in time, twice
    crash,    ///< the helper died over it, twice
    oom,      ///< the helper exceeded its memory, twice
    error,    ///< the call was wrong, or no helper could be reached
};
inline constexpr std::size_t kBatchStatusCount = 9;

/// "ok", "empty", ...
[[nodiscard]] std::string_view nameOf(BatchStatus status) noexcept;

/// Whether the document has a result.
[[nodiscard]] constexpr bool isSuccess(BatchStatus status) noexcept {
    return status <= BatchStatus::none;
}

struct BatchOutcome {
    BatchStatus status = BatchStatus::error;
    int attempts = 0;
    double milliseconds = 0;  ///< of all attempts
    halden::Value result;     ///< NSNull where there is none
    std::string explanation;  ///< of what failed; empty as a rule
};

/// The status of a result, which is NSNull for nil and NO.
[[nodiscard]] BatchStatus statusOfResult(const BatchOperation& operation, const halden::Value& result);

/// The outcome as a line of JSON: id, path, status, attempts, milliseconds, result, and "error" where there is an
/// explanation.
[[nodiscard]] std::string lineOf(const BatchRequest& request, BatchOutcome outcome, halden::JsonData data);

}  // namespace quarry::tools
