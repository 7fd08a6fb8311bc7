#include "platform/process/Processors.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace halden {
namespace {

int countFromSystem(int name) noexcept {
    return static_cast<int>(std::max(1L, sysconf(name)));
}

}  // namespace

int numberOfBits() noexcept {
    // The kernel's word, not ours: a 32-bit program may run on a 64-bit machine.
    utsname machine{};
    if (uname(&machine) != 0) return 32;
    const std::string_view name = machine.machine;
    return name.find("64") != std::string_view::npos || name == "s390x" ? 64 : 32;
}

int numberOfCPUs() noexcept {
    return countFromSystem(_SC_NPROCESSORS_CONF);
}

int numberOfAvailableCPUs() noexcept {
    return countFromSystem(_SC_NPROCESSORS_ONLN);
}

}  // namespace halden
