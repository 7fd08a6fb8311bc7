// What the command line of a batch names.
#pragma once

#include "tools/Arguments.h"
#include "tools/batch/Input.h"

#include <memory>

namespace quarry::tools {

/// The documents of the paths that were named, and of the folders among them.
[[nodiscard]] DocumentWalk batchWalkOf(const Invocation& invocation);

/// The same as requests; without a path, lines of JSON on `standardInput`, to whose end `stop` puts an end, too (see
/// `LineInput`).
[[nodiscard]] std::unique_ptr<BatchInput> batchInputOf(const Invocation& invocation, int standardInput, int stop);

}  // namespace quarry::tools
