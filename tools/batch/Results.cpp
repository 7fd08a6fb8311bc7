#include "tools/batch/Results.h"

#include "tools/batch/Compression.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace quarry::tools {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto kLongestWait = 1s;
constexpr std::size_t kMostWaiting = std::size_t{1} << 20;

std::string_view suffixOf(ShardCompression compression) noexcept {
    switch (compression) {
        case ShardCompression::none:
            break;
        case ShardCompression::gzip:
            return ".gz";
        case ShardCompression::zstd:
            return ".zst";
    }
    return "";
}

/// Of a file that the run before has written to, and that goes on here: a kill may have cut off its last line.
bool cutUnfinishedLine(int file) {
    const int reader = ::open(fmt::format("/proc/self/fd/{}", file).c_str(), O_RDONLY | O_CLOEXEC);
    if (reader < 0) {
        return true;  // a file that cannot be read stays as it is
    }
    off_t end = ::lseek(reader, 0, SEEK_END);
    char unit = 0;
    while (end > 0 && ::pread(reader, &unit, 1, end - 1) == 1 && unit != '\n') {
        --end;
    }
    ::close(reader);
    return ::ftruncate(file, end) == 0 && ::lseek(file, end, SEEK_SET) >= 0;
}

}  // namespace

BatchResults::BatchResults(ResultOptions options, BatchJournal& journal)
    : options_(std::move(options)), journal_(journal) {}

BatchResults::~BatchResults() {
    if (file_ >= 0 && !options_.folder.empty()) {
        ::close(file_);
    }
}

std::string BatchResults::nameOf(const ResultOptions& options) {
    if (options.folder.empty()) {
        return "standard output";
    }
    std::error_code error;
    return fs::weakly_canonical(fs::absolute(options.folder), error).native() +
           std::string(suffixOf(options.compression));
}

std::string BatchResults::pathOfShard(std::uint64_t shard) const {
    return fmt::format("{}/results-{:05}.jsonl{}", options_.folder, shard, suffixOf(options_.compression));
}

std::optional<std::string> BatchResults::open() {
    if (options_.folder.empty()) {
        struct stat status {};
        file_ = options_.standardOutput;
        isRegular_ = ::fstat(file_, &status) == 0 && S_ISREG(status.st_mode);
        if (isRegular_ && journal_.isOpen() && !cutUnfinishedLine(file_)) {
            return fmt::format("standard output: {}", std::strerror(errno));
        }
        if (isRegular_) {
            place_.length = static_cast<std::uint64_t>(::lseek(file_, 0, SEEK_END));
        }
        return std::nullopt;
    }
    std::error_code error;
    fs::create_directories(options_.folder, error);
    if (error) {
        return fmt::format("{}: {}", options_.folder, error.message());
    }
    if (!journal_.isOpen() && fs::exists(pathOfShard(1))) {
        return fmt::format("{}: there are results, and no journal to go on from", options_.folder);
    }
    const std::uint64_t shard = std::max<std::uint64_t>(journal_.place().shard, 1);
    if (auto problem = dropShardsBeyond(shard)) {
        return problem;
    }
    return openShard(shard, journal_.place().length);
}

/// Of the shards that no record speaks of, the lines are written again.
std::optional<std::string> BatchResults::dropShardsBeyond(std::uint64_t last) const {
    for (std::uint64_t shard = last + 1; fs::exists(pathOfShard(shard)); ++shard) {
        std::error_code error;
        if (!fs::remove(pathOfShard(shard), error)) {
            return fmt::format("{}: {}", pathOfShard(shard), error.message());
        }
    }
    return std::nullopt;
}

std::optional<std::string> BatchResults::openShard(std::uint64_t shard, std::uint64_t length) {
    if (file_ >= 0) {
        ::fdatasync(file_);
        ::close(file_);
    }
    const std::string path = pathOfShard(shard);
    file_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (file_ < 0 || ::ftruncate(file_, static_cast<off_t>(length)) != 0 || ::lseek(file_, 0, SEEK_END) < 0) {
        return fmt::format("{}: {}", path, std::strerror(errno));
    }
    isRegular_ = true;
    place_ = {shard, length};
    shardLines_ = length;
    return std::nullopt;
}

bool BatchResults::add(std::string_view line, const BatchJournal::Record& record) {
    if (!problem_.empty()) {
        return false;
    }
    if (waitingRecords_.empty()) {
        waitingSince_ = std::chrono::steady_clock::now();
    }
    waiting_ += line;
    waitingRecords_.push_back(record);
    shardLines_ += line.size();
    const bool mayWait = options_.compression != ShardCompression::none && waiting_.size() < kMostWaiting;
    if (!mayWait && !flush()) {
        return false;
    }
    if (!options_.folder.empty() && shardLines_ >= options_.shardSize) {
        if (!flush()) {
            return false;
        }
        if (const auto problem = openShard(place_.shard + 1, 0)) {
            return fail(*problem);
        }
    }
    return true;
}

bool BatchResults::tick() {
    const bool isTime = !waitingRecords_.empty() && std::chrono::steady_clock::now() - waitingSince_ >= kLongestWait;
    return problem_.empty() && (!isTime || flush());
}

bool BatchResults::finish() {
    const bool written = problem_.empty() && flush();
    if (written && isRegular_) {
        ::fdatasync(file_);
    }
    journal_.synchronize();
    return written;
}

bool BatchResults::flush() {
    if (waitingRecords_.empty()) {
        return true;
    }
    switch (options_.compression) {
        case ShardCompression::none:
            break;
        case ShardCompression::gzip:
            waiting_ = gzipMember(waiting_);
            break;
        case ShardCompression::zstd:
            waiting_ = zstdFrame(waiting_);
            break;
    }
    const bool written = write(waiting_);
    waiting_.clear();
    const std::vector<BatchJournal::Record> records = std::exchange(waitingRecords_, {});
    if (!written) {
        return false;
    }
    if (journal_.isOpen()) {
        for (const BatchJournal::Record& record : records) {
            if (!journal_.append(record, place_)) {
                return fail(fmt::format("the journal: {}", std::strerror(errno)));
            }
        }
    }
    return true;
}

bool BatchResults::write(std::string_view bytes) {
    const std::size_t size = bytes.size();
    while (!bytes.empty()) {
        const ssize_t count = ::write(file_, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            const int error = count < 0 ? errno : ENOSPC;
            if (isRegular_) {
                [[maybe_unused]] const int cut = ::ftruncate(file_, static_cast<off_t>(place_.length));
            }
            const std::string where = options_.folder.empty() ? "standard output" : pathOfShard(place_.shard);
            return fail(fmt::format("{}: {}", where, std::strerror(error)));
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    if (isRegular_) {
        place_.length += size;
    }
    return true;
}

bool BatchResults::fail(const std::string& what) {
    problem_ = what;
    return false;
}

}  // namespace quarry::tools
