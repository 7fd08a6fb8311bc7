#include "foundation/Data.h"
#include "tools/Commands.h"
#include "tools/Documents.h"

namespace quarry::tools {

Status writeRtfdCommand(const Invocation& invocation) {
    if (invocation.output.empty()) {
        printError("write-rtfd: -o says which package to write, and is missing");
        return Status::usage;
    }
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        const auto data = pathOfDocument(file) ? halden::Data::contentsOfFile(file) : std::nullopt;
        Status status = Status::none;
        const bool written = data && writeRtfd(session, *data, invocation.output, status);
        print(written ? "YES\n" : "NO\n");
        return written ? Status::result : status;
    });
}

}  // namespace quarry::tools
