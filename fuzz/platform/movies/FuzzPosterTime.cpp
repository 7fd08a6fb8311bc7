// The poster time of any bytes: finite, positive, and found with few reads.
#include "platform/movies/module/PosterTime.h"

#include <cmath>
#include <cstdlib>
#include <utility>

namespace {

/// Counts what is read.
class CountedBytes final : public halden::MovieBytes {
public:
    explicit CountedBytes(std::unique_ptr<MovieBytes> bytes) : bytes_(std::move(bytes)) {}

    [[nodiscard]] std::int64_t length() const noexcept override { return bytes_->length(); }
    [[nodiscard]] std::size_t read(std::int64_t offset, std::span<std::uint8_t> part) noexcept override {
        if (offset < 0 || ++count_ > 2100) std::abort();
        return bytes_->read(offset, part);
    }

private:
    std::unique_ptr<MovieBytes> bytes_;
    int count_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    CountedBytes counted(halden::MovieBytes::ofMemory({bytes, size}));
    const auto seconds = halden::posterTimeOf(counted);
    if (seconds && !(std::isfinite(*seconds) && *seconds > 0)) std::abort();
    return 0;
}
