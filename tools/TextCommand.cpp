#include "foundation/Unicode.h"
#include "tools/Commands.h"
#include "tools/DocumentText.h"
#include "tools/Documents.h"

namespace quarry::tools {

Status textCommand(const Invocation& invocation) {
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        Status status = Status::none;
        for (const TextSource source : textSources()) {
            const auto text = answerAbout(
                session, file, status,
                [&](halden::HaldenImExportProxy& proxy, std::u16string_view path) { return source(proxy, path); });
            if (!text) {
                return status;
            }
            if (*text && saysSomething(**text)) {
                print(halden::utf8FromUtf16(**text));
                print((*text)->ends_with(u'\n') ? "" : "\n");
                return Status::result;
            }
        }
        return Status::none;
    });
}

}  // namespace quarry::tools
