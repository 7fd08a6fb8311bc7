#include "foundation/Data.h"
#include "foundation/Json.h"
#include "tools/Commands.h"
#include "tools/Documents.h"

namespace quarry::tools {

Status pdfCommand(const Invocation& invocation) {
    if (!invocation.output.empty() && !invocation.attributed) {
        printError("pdf: -o writes rich text, which needs --attributed");
        return Status::usage;
    }
    const halden::JsonWriteOptions form{.data = invocation.data, .indent = 2};
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        Status status = Status::none;
        auto answer = answerAbout(session, file, status, [&](auto& proxy, std::u16string_view) {
            // Mapped and then sent as a memory file: the document itself is never on the heap.
            const auto pdf = halden::Data::mappedContentsOfFile(file);
            return pdf ? proxy.attributedStringWithPDF(*pdf, {.attributed = invocation.attributed})
                       : std::optional<halden::Dictionary>();
        });
        if (!answer || !*answer) {
            print("null\n");
            return status;
        }
        status = Status::result;
        const halden::Value* text = (*answer)->find(u"String");
        const auto* rtfd = text != nullptr ? text->as<halden::Data>() : nullptr;
        if (!invocation.output.empty()) {
            status = Status::none;
            if (rtfd == nullptr) {
                printError(fmt::format("{}: there is no text", shownName(file)));
            } else if (writeRtfd(session, *rtfd, invocation.output, status)) {
                status = Status::result;
            } else if (status != Status::failed) {
                printError(fmt::format("{}: cannot be written", shownName(invocation.output)));
            }
        }
        print(halden::jsonFromValue(halden::Value(std::move(**answer)), form) + "\n");
        return status;
    });
}

}  // namespace quarry::tools
