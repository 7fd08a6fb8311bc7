#include "tools/Commands.h"
#include "tools/importer/Importer.h"

#include <fmt/format.h>

namespace quarry::tools {
namespace {

Status beginImporter(const std::string& name) {
    if (const auto error = writeImporterProject(name)) {
        printError(*error);
        return Status::none;
    }
    print(fmt::format("{0}/CMakeLists.txt\n{0}/Info.plist\n{0}/importer.c\n", name));
    return Status::result;
}

Status checkBundle(const std::string& bundle, const std::string& sample) {
    const ImporterCheck check = checkImporter(bundle, sample);
    for (const auto& line : check.lines)
        print(fmt::format("{:<7}  {}\n", line.isProblem ? "PROBLEM" : "ok", line.text));
    return check.hasProblem() ? Status::none : Status::result;
}

}  // namespace

Status importerCommand(const Invocation& invocation) {
    keepStandardOutput();
    const auto& words = invocation.files;
    if (words.size() == 2 && words[0] == "new") return beginImporter(words[1]);
    if ((words.size() == 2 || words.size() == 3) && words[0] == "check") {
        return checkBundle(words[1], words.size() == 3 ? words[2] : std::string());
    }
    printError("importer: 'new NAME' or 'check BUNDLE [FILE]' is wanted");
    return Status::usage;
}

}  // namespace quarry::tools
