#include "platform/movies/module/MemoryLimit.h"

#include <unistd.h>

#include <cstdio>

namespace halden {
namespace {

/// Bytes of address space that the process has; 0 when unknown.
std::size_t addressSpace() noexcept {
    std::FILE* const file = std::fopen("/proc/self/statm", "re");
    if (file == nullptr) return 0;
    unsigned long pages = 0;
    const bool isRead = std::fscanf(file, "%lu", &pages) == 1;
    std::fclose(file);
    return isRead ? pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) : 0;
}

}  // namespace

MemoryLimit::MemoryLimit(std::size_t more) noexcept {
    const std::size_t used = addressSpace();
    if (used == 0 || getrlimit(RLIMIT_AS, &before_) != 0) return;
    rlimit limit = before_;
    if (limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur <= used + more) return;
    limit.rlim_cur = used + more;
    isSet_ = setrlimit(RLIMIT_AS, &limit) == 0;
}

MemoryLimit::~MemoryLimit() {
    if (isSet_) setrlimit(RLIMIT_AS, &before_);
}

}  // namespace halden
