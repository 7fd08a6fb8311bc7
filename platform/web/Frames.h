// How the helper and quarry-web talk: frames over one socket, numbers in the machine's own byte order.
//
// A frame is the length of what follows the length, a kind, the number of a page, and fields; a field of bytes is a
// length and the bytes. Both sides belong to one installation, so there is no version.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace halden::web {

enum class FrameKind : std::uint8_t {
    // To the worker.
    load = 1,  ///< number milliseconds, number LoadFlags, bytes charset, bytes base address, bytes markup
    verdict,   ///< number question, number Verdict, bytes media type, bytes charset, bytes data
    cancel,    ///< the page is not wanted any more
    // To the helper.
    ready = 16,  ///< bytes version of the engine, number whether its sandbox is on
    question,    ///< number question, bytes address, bytes address that redirected
    page,        ///< number PageStatus, number kilobytes in use, bytes JSON, then (bytes address, bytes type, bytes
                 ///< data) of each image
    fault,       ///< bytes why there is no engine here
};

enum LoadFlags : std::uint32_t { kAskNobody = 1 };
enum class Verdict : std::uint32_t { deny, allow, serve };
enum class PageStatus : std::uint32_t { complete, cut, failed };

/// Longest frame.
inline constexpr std::size_t kLongestFrame = std::size_t{512} << 20;
inline constexpr std::size_t kFrameHeader = 9;

class FrameWriter {
public:
    FrameWriter(FrameKind kind, std::uint32_t page) : bytes_(sizeof(std::uint32_t), '\0') {
        bytes_.push_back(static_cast<char>(kind));
        number(page);
    }
    FrameWriter& number(std::uint32_t value) {
        bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
        return *this;
    }
    FrameWriter& bytes(std::string_view value) {
        number(static_cast<std::uint32_t>(value.size()));
        bytes_.append(value);
        return *this;
    }
    /// The frame.
    [[nodiscard]] std::string take() {
        const auto length = static_cast<std::uint32_t>(bytes_.size() - sizeof(std::uint32_t));
        std::memcpy(bytes_.data(), &length, sizeof length);
        return std::move(bytes_);
    }

private:
    std::string bytes_;
};

/// The fields of a frame; reading past the end gives zeros and nothing, and makes it bad.
class FrameReader {
public:
    explicit FrameReader(std::string_view fields) : left_(fields) {}

    std::uint32_t number() {
        std::uint32_t value = 0;
        if (left_.size() < sizeof value) {
            bad();
            return 0;
        }
        std::memcpy(&value, left_.data(), sizeof value);
        left_.remove_prefix(sizeof value);
        return value;
    }
    std::string_view bytes() {
        const std::uint32_t length = number();
        if (length > left_.size()) {
            bad();
            return {};
        }
        const std::string_view value = left_.substr(0, length);
        left_.remove_prefix(length);
        return value;
    }
    [[nodiscard]] bool atEnd() const noexcept { return left_.empty(); }
    [[nodiscard]] bool isGood() const noexcept { return isGood_; }

private:
    void bad() {
        isGood_ = false;
        left_ = {};
    }
    std::string_view left_;
    bool isGood_ = true;
};

struct Frame {
    FrameKind kind{};
    std::uint32_t page = 0;
    std::string_view fields;
};

/// Bytes as they come in, and the frames in them.
class FrameBuffer {
public:
    void append(std::string_view bytes) {
        bytes_.erase(0, start_);
        start_ = 0;
        bytes_.append(bytes);
    }
    /// The next whole frame, which lives until more is appended; nullopt when it is not all there, or is none
    /// (`isBad`).
    [[nodiscard]] std::optional<Frame> next() {
        const std::string_view left = std::string_view(bytes_).substr(start_);
        std::uint32_t length = 0;
        if (left.size() < sizeof length) return std::nullopt;
        std::memcpy(&length, left.data(), sizeof length);
        if (length < kFrameHeader - sizeof length || length > kLongestFrame) {
            isBad_ = true;
            return std::nullopt;
        }
        if (left.size() - sizeof length < length) return std::nullopt;
        Frame frame{static_cast<FrameKind>(left[4]), 0, left.substr(kFrameHeader, length + 4 - kFrameHeader)};
        std::memcpy(&frame.page, left.data() + 5, sizeof frame.page);
        start_ += length + sizeof length;
        return frame;
    }
    [[nodiscard]] bool isBad() const noexcept { return isBad_; }

private:
    std::string bytes_;
    std::size_t start_ = 0;
    bool isBad_ = false;
};

}  // namespace halden::web
