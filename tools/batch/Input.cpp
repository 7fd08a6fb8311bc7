#include "tools/batch/Input.h"

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace quarry::tools {

std::optional<BatchRequest> WalkInput::next() {
    auto found = walk_.next();
    if (!found) {
        return std::nullopt;
    }
    BatchRequest request;
    request.number = ++count_;
    request.id = halden::Value(static_cast<std::int64_t>(count_));
    request.path = std::move(found->path);
    request.operation = &operation_;
    request.problem = std::move(found->problem);
    request.isPassedOver = !request.problem.empty();
    return request;
}

std::optional<BatchRequest> LineInput::next() {
    std::string line;
    bool tooLong = false;
    while (readLine(line, tooLong)) {
        if (!tooLong && line.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        ++count_;
        if (!tooLong) {
            return batchRequestFromJson(line, count_, operation_);
        }
        BatchRequest request;
        request.number = count_;
        request.id = halden::Value(static_cast<std::int64_t>(count_));
        request.operation = &operation_;
        request.problem = fmt::format("input line {} has more than {} bytes", count_, kLongestLine);
        return request;
    }
    return std::nullopt;
}

/// False at the end of the input.
bool LineInput::readLine(std::string& line, bool& tooLong) {
    line.clear();
    tooLong = false;
    bool begun = false;
    while (true) {
        const std::size_t end = buffer_.find('\n', place_);
        const std::size_t length = (end == std::string::npos ? buffer_.size() : end) - place_;
        begun = begun || end != std::string::npos || length > 0;
        tooLong = tooLong || line.size() + length > kLongestLine;
        if (!tooLong) {
            line.append(buffer_, place_, length);
        }
        if (end != std::string::npos) {
            place_ = end + 1;
            return true;
        }
        if (!fill()) {
            return begun && !stopped_;
        }
    }
}

/// Reads on into the empty buffer; false at the end, and when there is nothing to be read any more.
bool LineInput::fill() {
    constexpr std::size_t kPiece = 65536;
    buffer_.resize(kPiece);
    place_ = 0;
    ssize_t count = -1;
    while (count < 0) {
        std::array<pollfd, 2> ready{pollfd{descriptor_, POLLIN, 0}, pollfd{stop_, POLLIN, 0}};
        if (::poll(ready.data(), ready.size(), -1) < 0 && errno != EINTR) {
            break;
        }
        stopped_ = ready[1].revents != 0;
        if (stopped_) {
            break;
        }
        count = ready[0].revents != 0 ? ::read(descriptor_, buffer_.data(), kPiece) : -1;
        if (count < 0 && ready[0].revents != 0 && errno != EINTR && errno != EAGAIN) {
            break;
        }
    }
    buffer_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return count > 0;
}

}  // namespace quarry::tools
