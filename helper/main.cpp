// The helper process: vends one root object under one name and serves until it is ended from outside.
#include "helper/QuarryHelper.h"
#include "platform/ipc/Connection.h"
#include "platform/ipc/RunLoop.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

/// A standard stream that was closed would become the descriptor of a socket, and an importer's printf go into it.
void openStandardStreams() {
    int descriptor = 0;
    do {
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) close(descriptor);
}

}  // namespace

int main() {
    openStandardStreams();

    halden::Connection connection;
    connection.setRootObject(
        std::make_shared<halden::HaldenImExportRootObject>(std::make_shared<quarry::QuarryHelper>()));

    // The answer is not looked at: when the name is taken, the process lives on, unreachable.
    connection.registerName(u"QuarryHelper64");
    connection.setIndependentConversationQueueing(false);
    connection.setRequestTimeout(15.0);
    connection.setReplyTimeout(15.0);

    // No application object is made: there is no display to connect to, and each engine is set up on its first use.
    // A run loop that returns, for want of anything to wait for, is entered again.
    for (;;)
        halden::RunLoop::currentRunLoop().run();
}
