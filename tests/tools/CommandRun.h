// Runs the built command as a user would, in surroundings of its own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace quarry::test {

/// How a command ended and what it wrote.
struct Outcome {
    int status = -1;  ///< exit status; 128 + N when signal N ended it
    std::string out;
    std::string error;
};

/// A folder with a runtime folder and a data folder in it, which the commands run with; removed with the object.
class Surroundings {
public:
    Surroundings();
    ~Surroundings();
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

    [[nodiscard]] const std::filesystem::path& folder() const noexcept { return folder_; }
    /// What the commands take for $XDG_RUNTIME_DIR.
    [[nodiscard]] std::filesystem::path runtimeFolder() const { return folder_ / "run"; }

    /// Writes a file into the folder and returns its path.
    std::string write(const std::string& name, const std::string& contents) const;

    /// Installs an importer of tests/importers/bundles for the user: files with this extension go to it.
    void addImporter(const std::string& executable, const std::string& extension) const;

    void setVariable(const std::string& name, const std::string& value) { variables_[name] = value; }
    /// Words before the command, such as of a program that changes what it finds.
    void setLauncher(std::vector<std::string> words) { launcher_ = std::move(words); }

    /// Starts `quarry ARGUMENTS` in the folder and returns its process. Its standard input is `input`, or empty.
    [[nodiscard]] pid_t start(const std::vector<std::string>& arguments, int output, int error, int input = -1) const;
    /// Runs it to its end, with `input` as its standard input.
    [[nodiscard]] Outcome run(const std::vector<std::string>& arguments, const std::string& input = {}) const;

    /// Processes that run in these surroundings.
    [[nodiscard]] std::vector<pid_t> processes() const;
    /// Waits, 10 s at most, until one of them has loaded the importer, or, with an empty name, until there is none.
    [[nodiscard]] bool waitForImporter(const std::string& executable) const;
    /// What is left in the runtime folder.
    [[nodiscard]] std::vector<std::string> runtimeFiles() const;

private:
    std::filesystem::path folder_;
    std::map<std::string, std::string> variables_;
    std::vector<std::string> launcher_;
};

/// The status of a process that ended, as in `Outcome`.
[[nodiscard]] int waitForEnd(pid_t process);

}  // namespace quarry::test
