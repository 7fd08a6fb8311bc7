// What a shared object says of itself, read from its bytes. No code of the file is run and nothing is mapped
// executable.
//
// The reader follows the ELF headers: file header, program headers, the dynamic segment and its string table.
// Everything that is pointed to must lie inside the file, since loading a truncated object kills the process that
// tries.
#pragma once

#include "foundation/Data.h"

#include <string>
#include <vector>

namespace halden {

struct SharedObject {
    std::vector<std::string> needed;   ///< names of the libraries it needs (DT_NEEDED)
    std::vector<std::string> runPath;  ///< folders for what it needs itself (DT_RUNPATH), $ORIGIN not yet replaced
    std::vector<std::string> rPath;    ///< folders also for what those need (DT_RPATH); empty when there is a runPath
};

/// Reads `bytes` as a shared object that this process could load; false, with the reason, when it could not: no ELF
/// file, another class, byte order, machine or system, a program instead of a library, one that must not be opened, or
/// one whose parts do not lie within the file.
[[nodiscard]] bool readSharedObject(const Data& bytes, SharedObject& object, std::string& reason);

/// Whether the shared object at `path` and all the libraries that it needs can be found and loaded, by the loader's own
/// order: DT_RPATH of the object and of those that brought it in, LD_LIBRARY_PATH, DT_RUNPATH, the folders of
/// /etc/ld.so.conf, the default ones.
[[nodiscard]] bool canLoadSharedObject(const std::string& path, std::string& reason);

}  // namespace halden
