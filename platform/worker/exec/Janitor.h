// The end of a process's private folders, whatever way the process itself ends.
#pragma once

namespace halden::exec {

/// Makes a folder below `base`, writes its path and a line feed to standard output, and leaves a process behind that
/// waits for the end of standard input and then kills the jobs that were run in the folder and removes it. Returns the
/// status that quarry-exec exits with.
///
/// The process that stays belongs to nobody's tree or session, so that a tree that is killed as a whole, the process
/// that asked with it, still gets its folder removed.
[[nodiscard]] int keepFolder(const char* base);

}  // namespace halden::exec
