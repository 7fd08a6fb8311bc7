// What of a batch is done: a file that only grows, from which an interrupted batch goes on.
#pragma once

#include "tools/batch/Outcome.h"

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

namespace quarry::tools {

/// Where the results stood when a record was written: what lies beyond has no record, and is written again.
struct ResultPlace {
    std::uint64_t shard = 0;   ///< of the output folder; 0 for standard output
    std::uint64_t length = 0;  ///< bytes; of standard output only where it is a file
    friend auto operator<=>(const ResultPlace&, const ResultPlace&) = default;
};

/// A record is one line: its parts and a checksum over them. One that is not whole, as the last may be after a kill,
/// counts as not written. Used by one thread, or under a lock.
class BatchJournal {
public:
    BatchJournal() = default;
    ~BatchJournal();
    BatchJournal(const BatchJournal&) = delete;
    BatchJournal& operator=(const BatchJournal&) = delete;

    /// Opens or makes the file, takes its lock, and reads what is in it; what is wrong, when something is. `outputName`
    /// names where the results go: a journal of other results is refused.
    [[nodiscard]] std::optional<std::string> open(const std::string& path, const std::string& outputName);
    [[nodiscard]] bool isOpen() const noexcept { return file_ >= 0; }

    /// Whether a record says that this is done, on a file of the size and time that it has now. A record answers for
    /// one request: the same one, asked twice, needs two.
    [[nodiscard]] bool takeDone(const BatchRequest& request);
    /// Of the last record.
    [[nodiscard]] ResultPlace place() const noexcept { return place_; }

    struct Record {
        std::uint64_t key = 0;
        std::uint64_t fingerprint = 0;
        BatchStatus status = BatchStatus::error;
    };
    /// Taken before the document is opened, so that a change meanwhile is seen the next time.
    [[nodiscard]] static Record recordOf(const BatchRequest& request);

    /// Whether there was such a record when the file was opened, or one was taken note of since.
    [[nodiscard]] bool contains(const Record& record) const;
    void note(const Record& record);

    /// Whether the record could be written.
    [[nodiscard]] bool append(const Record& record, ResultPlace place);

    /// Waits until the records are on the disk.
    void synchronize() noexcept;

private:
    void read(std::string_view text, std::string& outputName);

    int file_ = -1;
    struct Done {
        std::uint64_t fingerprint = 0;
        std::uint32_t count = 0;
    };
    std::unordered_map<std::uint64_t, Done> done_;  // by key
    ResultPlace place_;
};

}  // namespace quarry::tools
