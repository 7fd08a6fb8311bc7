#include "foundation/Json.h"
#include "tools/Commands.h"
#include "tools/Documents.h"

namespace quarry::tools {

Status webArchiveCommand(const Invocation& invocation) {
    const bool alone = invocation.files.size() == 1;
    const halden::JsonWriteOptions form{.indent = alone ? 2 : 0};
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        Status status = Status::none;
        auto answer = answerAbout(session, file, status, [](auto& proxy, std::u16string_view path) {
            return proxy.searchableTextOfWebArchive(path);
        });
        if (!answer || !*answer) {
            print("null\n");
            return status;
        }
        const bool found = !(*answer)->empty();
        print(halden::jsonFromValue(halden::Value(std::move(**answer)), form) + "\n");
        return found ? Status::result : Status::none;
    });
}

}  // namespace quarry::tools
