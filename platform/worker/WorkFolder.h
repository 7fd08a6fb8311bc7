// Where the jobs of this process keep their files.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// A new folder (mode 0700) for one job, below a folder of this process in $TMPDIR, else /tmp; nullopt, with a line in
/// the log, when there can be none.
///
/// The process's folder is made with the first job's. It is removed with everything in it, and every job in it killed,
/// when this process ends, in whatever way: a janitor, which is no child of ours, waits for that. Thread-safe.
[[nodiscard]] std::optional<std::string> makeJobFolder();

/// The same for files that are kept until this process ends: the folder NAME below the process's folder, made when it
/// is not there.
[[nodiscard]] std::optional<std::string> keptFolder(const std::string& name);

/// Writes a file for a job: a new one, which its owner alone may read. False when it could not be written whole.
[[nodiscard]] bool writeNewFile(const std::string& path, std::string_view bytes);

/// Path of quarry-exec in the installation that the running program belongs to.
[[nodiscard]] std::string executorPath();

}  // namespace halden
