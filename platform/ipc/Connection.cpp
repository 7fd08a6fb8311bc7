#include "platform/ipc/Connection.h"

#include "foundation/Log.h"
#include "foundation/Unicode.h"
#include "platform/ipc/Dispatcher.h"
#include "platform/ipc/Listener.h"

namespace halden {
namespace {

constexpr double kDefaultTimeout = 15.0;

void logNotRegistered(std::u16string_view name, const std::string& reason) {
    logInfo("\"" + utf8FromUtf16(name) + "\" is not registered: " + reason + ".");
}

// The transport tells of damaged messages on standard error, with a dump of them; here the first line goes to the log.
void logTransportMessage(const char*, GLogLevelFlags, const char* message, gpointer) {
    const std::string_view text = message != nullptr ? message : "";
    logWarning(text.substr(0, text.find('\n')));
}

void redirectTransportMessages() {
    static const guint kHandler =
        g_log_set_handler("GLib-GIO", static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING),
                          logTransportMessage, nullptr);
    (void)kHandler;
}

}  // namespace

class Connection::Server {
public:
    std::shared_ptr<Dispatcher> dispatcher = std::make_shared<Dispatcher>();
    std::shared_ptr<Timeouts> timeouts = std::make_shared<Timeouts>();
    std::unique_ptr<Listener> listener;
};

Connection::Connection() : server_(std::make_unique<Server>()) {
    redirectTransportMessages();
    setRequestTimeout(kDefaultTimeout);
    setReplyTimeout(kDefaultTimeout);
}

Connection::~Connection() {
    server_->listener.reset();
    server_->dispatcher->close();
}

void Connection::setRootObject(std::shared_ptr<RootObject> rootObject) {
    server_->dispatcher->setRootObject(std::move(rootObject));
}

bool Connection::registerName(std::u16string_view name) {
    return registerName(name, registryFolder());
}

bool Connection::registerName(std::u16string_view name, const std::string& registryFolder) {
    if (server_->listener) {
        logNotRegistered(name, "the connection has a name already");
        return false;
    }
    std::string reason;
    auto claimed = ClaimedName::claim(name, registryFolder, reason);
    if (!claimed) {
        logNotRegistered(name, reason);
        return false;
    }
    const auto vend = [dispatcher = server_->dispatcher](GDBusConnection* client) { return dispatcher->vend(client); };
    server_->listener = std::make_unique<Listener>(std::move(*claimed), vend, server_->timeouts);
    return true;
}

void Connection::setIndependentConversationQueueing(bool queueing) {
    server_->dispatcher->setIndependentConversationQueueing(queueing);
}

void Connection::setRequestTimeout(double seconds) {
    server_->timeouts->request = checkedTimeout(seconds);
}
void Connection::setReplyTimeout(double seconds) {
    server_->timeouts->reply = checkedTimeout(seconds);
}
double Connection::requestTimeout() const noexcept {
    return server_->timeouts->request;
}
double Connection::replyTimeout() const noexcept {
    return server_->timeouts->reply;
}

std::string Connection::socketPath() const {
    return server_->listener ? server_->listener->socketPath() : std::string();
}

}  // namespace halden
