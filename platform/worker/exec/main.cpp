// quarry-exec: executes a program for the helper, within limits and never longer than the helper lives.
//
//   quarry-exec job OPTIONS -- PROGRAM ARGUMENT...   runs one job (Request.h)
//   quarry-exec folder BASE                          makes a folder that is removed at the end of standard input
//   quarry-exec probe                                says what this system lets it do
#include "platform/worker/ExitStatus.h"
#include "platform/worker/exec/Janitor.h"
#include "platform/worker/exec/Sandbox.h"
#include "platform/worker/exec/Supervisor.h"

#include <cstdio>
#include <string_view>

int main(int count, char** arguments) {
    using namespace halden::exec;
    const std::string_view what = count > 1 ? arguments[1] : "";
    if (what == "job") {
        const auto request = parseJobRequest({arguments + 2, arguments + count});
        return request ? superviseJob(*request) : kNotSetUp;
    }
    if (what == "folder" && count == 3) return keepFolder(arguments[2]);
    if (what == "probe") {
        std::puts(canLeaveNetwork() ? "network: cut off" : "network: inherited");
        return 0;
    }
    std::fputs("quarry-exec is started by quarry-helper.\n", stderr);
    return kNotSetUp;
}
