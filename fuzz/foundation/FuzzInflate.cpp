// Inflation of anything, within a limit; what inflates must come back from being compressed again.
#include "foundation/CompressedData.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    constexpr std::size_t kLimit = 1U << 20;
    std::vector<std::uint8_t> inflated;
    const bool sound = halden::setDataByInflatingBytes(inflated, {bytes, size}, kLimit);
    if (inflated.size() > kLimit + 16384 || (sound && inflated.size() > kLimit)) std::abort();
    if (!sound || inflated.empty()) return 0;
    const auto again = halden::dataByGzippingBytes(inflated, 1);
    std::vector<std::uint8_t> back;
    if (!again || !halden::setDataByInflating(back, *again) || back != inflated) std::abort();
    return 0;
}
