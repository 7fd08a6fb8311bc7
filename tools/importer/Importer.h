// What `quarry importer` does: begin a bundle, and say what is wrong with one.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::tools {

/// Writes a project for an importer into the new folder `name` of the present one: CMakeLists.txt, Info.plist and a
/// source in C, which build against the installed header. Returns what went wrong, or nothing.
[[nodiscard]] std::optional<std::string> writeImporterProject(std::string_view name);

/// What looking at a bundle found.
struct ImporterCheck {
    struct Line {
        bool isProblem = false;
        std::string text;
    };
    std::vector<Line> lines;

    [[nodiscard]] bool hasProblem() const;
};

/// Looks at a bundle from the outside in: folder, Info.plist, types, executable, factories, interface, and, when
/// `sample` is not empty, the attributes that it fills for that file. Code of the bundle runs in a process of its own,
/// for a minute at most.
[[nodiscard]] ImporterCheck checkImporter(const std::string& bundle, const std::string& sample);

}  // namespace quarry::tools
