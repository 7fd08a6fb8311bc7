// Property-list values as they travel.
//
//   nil           an av without elements; a nullable argument or result that is there is an av with one
//   null          (y), the byte 0
//   bool          b
//   integer       x
//   double        d
//   date          (d), seconds since 2001-01-01T00:00:00Z
//   string        s; aq, its UTF-16 units, when it holds U+0000 or a lone surrogate
//   data          ay
//   array         av
//   dictionary    a{sv} in order; a(vv) in order, each key an s or an aq, when some key is no plain string
//
// When the strings and data of a message come to more than 1 MiB, those of some size move into one memory file that
// travels with the message, sealed against writing and resizing. In their place stands
//
//   (yhtt)        'd' for data or 'u' for a string's UTF-16 units, in the sender's byte order (the peers share a
//                 machine); the handle 0; where in the file; how many bytes
//
// Private to platform/ipc.
#pragma once

#include "platform/ipc/GPointer.h"
#include "platform/ipc/Protocol.h"

#include <gio/gunixfdlist.h>

#include <cstddef>
#include <span>

namespace halden {

/// Containers may lie this many levels deep in each other. (The transport allows 64 levels of types, of which a
/// dictionary takes three, and disconnects who goes beyond.)
inline constexpr int kMaxWireDepth = 18;
/// What a message may hold beside its memory file. (The transport disconnects beyond 64 MiB in an array.)
inline constexpr std::size_t kMaxWireBody = std::size_t{48} << 20;
/// Strings and data up to this total travel inline.
inline constexpr std::size_t kMaxInlinePayload = std::size_t{1} << 20;
/// Above it, strings and data of at least this size move to the memory file.
inline constexpr std::size_t kMinBlob = 1024;

inline constexpr std::uint8_t kBlobData = 'd';
inline constexpr std::uint8_t kBlobString = 'u';

struct WireMessage {
    GPointer<GVariant> body;            ///< a tuple, not floating
    GPointer<GUnixFDList> descriptors;  ///< null when everything is inline
};

/// The message of `values`, which are of `types`. Throws ConnectionException: `badMessage` when number or types do not
/// match, `tooLarge` when the values are nested too deeply or too large.
[[nodiscard]] WireMessage encodeMessage(std::span<const ProtocolArgument> types,
                                        std::span<const std::optional<Value>> values);

}  // namespace halden
