#include "tools/batch/Journal.h"

#include "foundation/Data.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>

namespace quarry::tools {
namespace {

constexpr std::string_view kHeader = "quarry-batch 1 ";

std::string sealed(std::string line) {
    const auto checksum = ::crc32(0, reinterpret_cast<const Bytef*>(line.data()), static_cast<uInt>(line.size()));
    return fmt::format("{} {:08x}\n", line, checksum);
}

/// The line without its checksum; nullopt when that is not right.
std::optional<std::string_view> unsealed(std::string_view line) {
    constexpr std::size_t kSeal = 9;
    if (line.size() < kSeal) {
        return std::nullopt;
    }
    const std::string_view text = line.substr(0, line.size() - kSeal);
    return sealed(std::string(text)) == fmt::format("{}\n", line) ? std::optional(text) : std::nullopt;
}

/// A folder's name may have line feeds, a record may not.
std::string onOneLine(std::string_view name) {
    std::string line;
    for (const char byte : name) {
        line += byte == '\n' ? std::string_view("\\n") : byte == '\\' ? "\\\\" : std::string_view(&byte, 1);
    }
    return line;
}

bool writeAll(int file, std::string_view text) noexcept {
    while (!text.empty()) {
        const ssize_t count = ::write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// The numbers of a record: key, fingerprint, status, shard, length.
std::optional<std::array<std::uint64_t, 5>> numbersOf(std::string_view text) {
    std::array<std::uint64_t, 5> numbers{};
    const char* place = text.data();
    const char* const end = text.data() + text.size();
    for (std::uint64_t& number : numbers) {
        const auto [rest, error] = std::from_chars(place, end, number, 16);
        if (error != std::errc()) {
            return std::nullopt;
        }
        place = rest != end && *rest == ' ' ? rest + 1 : rest;
    }
    return place == end ? std::optional(numbers) : std::nullopt;
}

}  // namespace

BatchJournal::~BatchJournal() {
    if (file_ >= 0) {
        ::close(file_);
    }
}

std::optional<std::string> BatchJournal::open(const std::string& path, const std::string& outputName) {
    file_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (file_ < 0) {
        return fmt::format("{}: {}", path, std::strerror(errno));
    }
    struct flock lock {};
    lock.l_type = F_WRLCK;
    // Of the open file, not of the process, which opens the file once more to read it.
    if (::fcntl(file_, F_OFD_SETLK, &lock) != 0) {
        return fmt::format("{}: another batch is writing it", path);
    }
    const auto data = halden::Data::contentsOfFile(path);
    if (!data) {
        return fmt::format("{}: {}", path, std::strerror(errno));
    }
    const std::string expected = onOneLine(outputName);
    const std::string header = sealed(fmt::format("{}{}", kHeader, expected));
    std::string name;
    read(data->view(), name);
    // One that was killed, or found the disk full, while it wrote its first line has nothing else to lose.
    if (data->length() < header.size() && header.starts_with(data->view())) {
        name = expected;
        if (::ftruncate(file_, 0) != 0 || !writeAll(file_, header)) {
            return fmt::format("{}: {}", path, std::strerror(errno));
        }
        return std::nullopt;
    }
    if (name.empty()) {
        return fmt::format("{}: this is no journal of a batch", path);
    }
    if (name != expected) {
        return fmt::format("{}: its results are in {}", path, name);
    }
    // A record that was cut off goes away. Ended now, one that lacks no more than its line feed would count the next
    // time, when its result has been cut off too.
    const std::size_t whole = data->view().rfind('\n') + 1;
    if (whole < data->length() && ::ftruncate(file_, static_cast<off_t>(whole)) != 0) {
        return fmt::format("{}: {}", path, std::strerror(errno));
    }
    return std::nullopt;
}

void BatchJournal::read(std::string_view text, std::string& outputName) {
    bool isFirst = true;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const auto line = end == text.npos ? std::nullopt : unsealed(text.substr(0, end));
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
        if (isFirst) {
            isFirst = false;
            if (!line || !line->starts_with(kHeader)) {
                return;
            }
            outputName = line->substr(kHeader.size());
        } else if (const auto numbers = line ? numbersOf(*line) : std::nullopt) {
            Done& done = done_[(*numbers)[0]];
            done = {(*numbers)[1], done.fingerprint == (*numbers)[1] ? done.count + 1 : 1};
            place_ = {(*numbers)[3], (*numbers)[4]};
        }
    }
}

BatchJournal::Record BatchJournal::recordOf(const BatchRequest& request) {
    Record record{.key = request.key()};
    struct stat status {};
    if (::stat(request.path.c_str(), &status) == 0) {
        const auto nanoseconds = static_cast<std::uint64_t>(status.st_mtim.tv_sec) * 1'000'000'000 +
                                 static_cast<std::uint64_t>(status.st_mtim.tv_nsec);
        record.fingerprint = nanoseconds * 0x9E3779B97F4A7C15 ^ static_cast<std::uint64_t>(status.st_size);
    }
    return record;
}

bool BatchJournal::takeDone(const BatchRequest& request) {
    if (done_.empty()) {
        return false;
    }
    const Record now = recordOf(request);
    const auto done = done_.find(now.key);
    if (done == done_.end() || done->second.fingerprint != now.fingerprint || done->second.count == 0) {
        return false;
    }
    --done->second.count;
    return true;
}

bool BatchJournal::contains(const Record& record) const {
    const auto done = done_.find(record.key);
    return done != done_.end() && done->second.fingerprint == record.fingerprint;
}

void BatchJournal::note(const Record& record) {
    done_[record.key] = {record.fingerprint, 1};
}

bool BatchJournal::append(const Record& record, ResultPlace place) {
    return writeAll(file_, sealed(fmt::format("{:x} {:x} {:x} {:x} {:x}", record.key, record.fingerprint,
                                              static_cast<unsigned>(record.status), place.shard, place.length)));
}

void BatchJournal::synchronize() noexcept {
    if (file_ >= 0) {
        ::fdatasync(file_);
    }
}

}  // namespace quarry::tools
