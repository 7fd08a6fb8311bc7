// Carries out requests on the main context. Private to platform/ipc.
#pragma once

#include "platform/ipc/GPointer.h"
#include "platform/ipc/RootObject.h"

#include <deque>
#include <memory>
#include <mutex>
#include <vector>

namespace halden {

/// Vends the root object on connections and serves its requests, one at a time: a further one is served inside an
/// operation only when that iterates the main context and queueing is off.
class Dispatcher : public std::enable_shared_from_this<Dispatcher> {
public:
    void setRootObject(std::shared_ptr<RootObject> rootObject);
    void setIndependentConversationQueueing(bool queueing) { queueing_ = queueing; }

    /// Registers the root object's interfaces on `connection` and returns the registrations' numbers. Callable on any
    /// thread without a thread-default context, so that requests are dispatched on the default main context.
    [[nodiscard]] std::vector<guint> vend(GDBusConnection* connection);

    /// Requests that arrive from now on, and those that wait, are dropped.
    void close();

private:
    struct Registration;
    struct Request {
        std::shared_ptr<RootObject> root;
        GDBusMethodInvocation* invocation;  // owned; handed over with the answer
    };

    static void handleCall(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                           GDBusMethodInvocation* invocation, gpointer registration);
    static GVariant* handleProperty(GDBusConnection*, const char*, const char*, const char*, const char*,
                                    GError** error, gpointer registration);

    void receive(Request request);
    void serve(const Request& request);

    std::mutex rootMutex_;
    std::shared_ptr<RootObject> root_;

    // Main thread only.
    bool queueing_ = false;
    bool closed_ = false;
    int depth_ = 0;
    std::deque<Request> waiting_;
};

}  // namespace halden
