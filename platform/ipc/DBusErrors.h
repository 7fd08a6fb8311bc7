// Errors as they travel. Private to platform/ipc.
//
//   org.quarry.Error.TooLarge                  the result cannot travel
//   org.quarry.Error.Raised                    the operation threw; its text is "NAME: REASON"
//   org.freedesktop.DBus.Error.InvalidArgs     the arguments are no valid ones
//   org.freedesktop.DBus.Error.UnknownMethod   (or UnknownInterface, UnknownObject) there is no such thing
#pragma once

#include "platform/ipc/ConnectionException.h"

#include <gio/gio.h>

#include <string>

namespace halden {

/// Answers with the error that stands for `exception`, which is none of the operation's own. Takes the invocation.
void returnFailure(GDBusMethodInvocation* invocation, const ConnectionException& exception);

/// Answers that the operation let an exception out. Takes the invocation.
void returnRaised(GDBusMethodInvocation* invocation, const std::string& name, const std::string& reason);

/// The exception that stands for an error reply.
[[nodiscard]] ConnectionException exceptionFromReply(GDBusMessage* reply);

/// The exception that stands for a call that got no reply.
[[nodiscard]] ConnectionException exceptionFromError(const GError* error);

}  // namespace halden
