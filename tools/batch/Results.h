// Where the lines of a batch go.
#pragma once

#include "tools/batch/Journal.h"
#include "tools/batch/ShardCompression.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::tools {

struct ResultOptions {
    std::string folder;      ///< of the shards; empty: standard output
    int standardOutput = 1;  ///< the descriptor
    ShardCompression compression = ShardCompression::none;
    std::uint64_t shardSize = std::uint64_t{256} << 20;  ///< bytes of lines after which a shard is closed
};

/// Writes lines to standard output or to shards (results-00001.jsonl, ...), and a record to the journal for each that
/// is written, never before it. Lines that are compressed wait for others, a second at most; what is written of them at
/// once can be read on its own, so that a shard is whole at any moment.
///
/// When something cannot be written, nothing half is left in a shard, and nothing is written any more. Used under a
/// lock.
class BatchResults {
public:
    BatchResults(ResultOptions options, BatchJournal& journal);
    ~BatchResults();
    BatchResults(const BatchResults&) = delete;
    BatchResults& operator=(const BatchResults&) = delete;

    /// Names the place for the journal: the folder, or the file or pipe that standard output is.
    [[nodiscard]] static std::string nameOf(const ResultOptions& options);

    /// Goes on behind what the journal has records of; cuts off what lies beyond. What is wrong, when something is.
    [[nodiscard]] std::optional<std::string> open();

    /// Whether everything could be written so far.
    bool add(std::string_view line, const BatchJournal::Record& record);
    /// Writes lines that have waited for a second.
    bool tick();
    /// Writes all lines, and waits until they are on the disk.
    bool finish();

    /// What could not be written, and why; empty as a rule.
    [[nodiscard]] const std::string& problem() const noexcept { return problem_; }

private:
    [[nodiscard]] std::string pathOfShard(std::uint64_t shard) const;
    [[nodiscard]] std::optional<std::string> openShard(std::uint64_t shard, std::uint64_t length);
    [[nodiscard]] std::optional<std::string> dropShardsBeyond(std::uint64_t last) const;
    bool flush();
    bool write(std::string_view bytes);
    bool fail(const std::string& what);

    ResultOptions options_;
    BatchJournal& journal_;
    int file_ = -1;
    bool isRegular_ = false;
    ResultPlace place_;
    std::uint64_t shardLines_ = 0;  // bytes of lines in the shard
    std::string waiting_;
    std::vector<BatchJournal::Record> waitingRecords_;
    std::chrono::steady_clock::time_point waitingSince_;
    std::string problem_;
};

}  // namespace quarry::tools
