// Messages that no honest peer sends.
#pragma once

#include "platform/ipc/GPointer.h"

#include <gio/gunixfdlist.h>

#include <string>
#include <vector>

namespace halden::testing {

struct ForgedMessage {
    std::string name;
    GPointer<GVariant> body;  ///< for a method that takes one value
    GPointer<GUnixFDList> descriptors;
};

/// Wrong types, wrong descriptors, wrong ranges.
[[nodiscard]] std::vector<ForgedMessage> forgedMessages();

/// A memory file of `length` bytes with `seals`, its contents written unless `sparse`.
[[nodiscard]] int memoryFile(std::size_t length, int seals, bool sparse = false);

/// A list with these descriptors, which it takes.
[[nodiscard]] GPointer<GUnixFDList> descriptorList(std::vector<int> descriptors);

}  // namespace halden::testing
