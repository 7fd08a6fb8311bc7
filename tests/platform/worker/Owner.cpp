// A process that runs a job and waits to be killed: prints the private folder and the process of quarry-exec once the
// job has said that it runs.
#include "platform/worker/Worker.h"

#include <unistd.h>

#include <cstdio>

int main(int count, char** arguments) {
    const auto worker = halden::Worker::make({});
    if (count != 2 || !worker) return 1;
    if (!worker->launch(
            {.path = "/bin/sh", .arguments = {"-c", arguments[1]}, .channel = halden::WorkerChannel::socket}))
        return 1;
    if (!worker->receiveLine(std::chrono::seconds(20))) return 1;
    std::printf("%s %d\n", worker->folder().c_str(), worker->processIdentifier());
    std::fclose(stdout);
    for (;;)
        pause();
}
