#include "foundation/Json.h"
#include "tools/Commands.h"
#include "tools/Documents.h"

namespace quarry::tools {

namespace {

/// Writes the package; says so when it cannot be written.
Status writePackage(HelperSession& session, const halden::Value* rtfd, const std::string& output) {
    const auto* data = rtfd != nullptr ? rtfd->as<halden::Data>() : nullptr;
    if (data == nullptr) {
        return Status::none;
    }
    Status status = Status::none;
    if (writeRtfd(session, *data, output, status)) {
        return Status::result;
    }
    if (status != Status::failed) {
        printError(fmt::format("{}: cannot be written", shownName(output)));
    }
    return status;
}

}  // namespace

Status richTextCommand(const Invocation& invocation) {
    const halden::JsonWriteOptions form{.data = invocation.data, .indent = 2};
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        Status status = Status::none;
        auto answer = answerAbout(session, file, status, [](auto& proxy, std::u16string_view path) {
            return proxy.attributedStringWithContentsOfFile(path);
        });
        if (!answer || !*answer) {
            print("null\n");
            return status;
        }
        status = invocation.output.empty() ? Status::result
                                           : writePackage(session, (*answer)->find(u"Rtfd"), invocation.output);
        print(halden::jsonFromValue(halden::Value(std::move(**answer)), form) + "\n");
        return status;
    });
}

}  // namespace quarry::tools
