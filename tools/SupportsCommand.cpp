#include "tools/Commands.h"
#include "tools/Documents.h"

namespace quarry::tools {

Status supportsCommand(const Invocation& invocation) {
    const bool alone = invocation.files.size() == 1;
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        Status status = Status::none;
        const bool supported = answerAbout(session, file, status, [](auto& proxy, std::u16string_view path) {
                                   return proxy.supportsFile(path);
                               }).value_or(false);
        const std::string_view word = supported ? "YES" : "NO";
        print(alone ? fmt::format("{}\n", word) : fmt::format("{}\t{}\n", word, file));
        return supported ? Status::result : status;
    });
}

}  // namespace quarry::tools
