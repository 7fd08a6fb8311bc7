// Reads what WireEncoder.h describes, from a peer that may send anything. Private to platform/ipc.
#pragma once

#include "platform/ipc/GPointer.h"
#include "platform/ipc/Protocol.h"

#include <gio/gunixfdlist.h>

#include <span>

namespace halden {

/// The values of a message of `types` with the tuple `body` (a null pointer is the empty one) and its descriptors,
/// which may be null. Throws ConnectionException `badMessage` for anything that is no valid message: other types,
/// deeper than kMaxWireDepth, a descriptor that is no memory file sealed against writing and shrinking, a range outside
/// it, ranges that add up to more than it holds.
///
/// Large data share the file's mapping; everything else is copied.
[[nodiscard]] Arguments decodeMessage(std::span<const ProtocolArgument> types, GVariant* body,
                                      GUnixFDList* descriptors);

}  // namespace halden
