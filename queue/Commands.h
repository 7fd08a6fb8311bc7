// The commands, each of which prints its results and says how it ended. They throw `QueueError`.
#pragma once

#include "tools/Arguments.h"
#include "tools/Output.h"

namespace quarry::queue {

tools::Status submitCommand(const tools::Invocation& invocation);
tools::Status workerCommand(const tools::Invocation& invocation);
tools::Status queueCommand(const tools::Invocation& invocation);

}  // namespace quarry::queue
