// How far a batch is.
#pragma once

#include "tools/batch/Outcome.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace quarry::tools {

struct BatchTally {
    std::array<std::uint64_t, kBatchStatusCount> counts{};  ///< by status
    std::uint64_t skipped = 0;                              ///< done in an earlier run

    void add(BatchStatus status) noexcept { ++counts[static_cast<std::size_t>(status)]; }
    [[nodiscard]] std::uint64_t done() const noexcept;
    [[nodiscard]] std::uint64_t failed() const noexcept;
};

/// "1,234 of 5,000 done, 3 failed (2 crash, 1 timeout), 512/s, 0:07 left". The rate is that of the time since the
/// start.
[[nodiscard]] std::string progressText(const BatchTally& tally, std::optional<std::uint64_t> total,
                                       std::chrono::duration<double> elapsed);

/// "5,000 documents in 9.8 s (512/s): 4,990 ok, 7 empty, 3 crash; 20 were done before".
[[nodiscard]] std::string summaryText(const BatchTally& tally, std::chrono::duration<double> elapsed);

}  // namespace quarry::tools
