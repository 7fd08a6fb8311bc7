// Where the requests of a batch come from.
#pragma once

#include "tools/batch/Request.h"
#include "tools/batch/Walk.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace quarry::tools {

class BatchInput {
public:
    virtual ~BatchInput() = default;
    /// The next request; nullopt at the end. May wait. Used by one thread.
    [[nodiscard]] virtual std::optional<BatchRequest> next() = 0;
};

/// One operation on all documents of a walk.
class WalkInput final : public BatchInput {
public:
    WalkInput(DocumentWalk walk, const BatchOperation& operation) : walk_(std::move(walk)), operation_(operation) {}
    [[nodiscard]] std::optional<BatchRequest> next() override;

private:
    DocumentWalk walk_;
    const BatchOperation& operation_;
    std::uint64_t count_ = 0;
};

/// Lines of JSON from a file descriptor. Empty lines are passed over.
class LineInput final : public BatchInput {
public:
    /// Longest line; what a longer one holds is not kept.
    static constexpr std::size_t kLongestLine = std::size_t{16} << 20;

    /// `operation` is that of lines that name none. The input ends as well when there is something to read on `stop`.
    LineInput(int descriptor, int stop, const BatchOperation& operation)
        : descriptor_(descriptor), stop_(stop), operation_(operation) {}
    [[nodiscard]] std::optional<BatchRequest> next() override;

private:
    [[nodiscard]] bool readLine(std::string& line, bool& tooLong);
    [[nodiscard]] bool fill();

    int descriptor_;
    int stop_;
    const BatchOperation& operation_;
    std::uint64_t count_ = 0;
    std::string buffer_;
    std::size_t place_ = 0;
    bool stopped_ = false;
};

}  // namespace quarry::tools
