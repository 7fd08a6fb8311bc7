#include "foundation/Json.h"
#include "tools/Commands.h"
#include "tools/Documents.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace quarry::tools {

namespace {

/// Writes the data into a file; a message on standard error when that cannot be done.
Status writeData(const halden::Value* value, const std::string& output, std::string_view what,
                 const std::string& file) {
    const auto* data = value != nullptr ? value->as<halden::Data>() : nullptr;
    if (data == nullptr) {
        printError(fmt::format("{}: there is no {}", shownName(file), what));
        return Status::none;
    }
    const int out = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    std::string_view rest = data->view();
    while (out >= 0 && !rest.empty()) {
        const ssize_t count = ::write(out, rest.data(), rest.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
    const bool isWritten = out >= 0 && ::close(out) == 0 && rest.empty();
    if (!isWritten) {
        printError(fmt::format("{}: cannot be written", shownName(output)));
    }
    return isWritten ? Status::result : Status::none;
}

}  // namespace

Status imageCommand(const Invocation& invocation) {
    const halden::JsonWriteOptions form{.data = invocation.data, .indent = 2};
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        Status status = Status::none;
        auto answer = answerAbout(session, file, status, [&](auto& proxy, std::u16string_view path) {
            return proxy.imageWithContentsOfFile(
                path, {.stringFromPDF = invocation.image.text, .canUseSpotlight = invocation.image.spotlight});
        });
        if (!answer || !*answer) {
            print("null\n");
            return status;
        }
        status = invocation.image.thumbnail.empty()
                     ? Status::result
                     : writeData((*answer)->find(u"Thumbnail"), invocation.image.thumbnail, "thumbnail", file);
        print(halden::jsonFromValue(halden::Value(std::move(**answer)), form) + "\n");
        return status;
    });
}

Status posterCommand(const Invocation& invocation) {
    const halden::JsonWriteOptions form{.data = invocation.data, .indent = 2};
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        Status status = Status::none;
        auto answer = answerAbout(session, file, status, [](auto& proxy, std::u16string_view path) {
            return proxy.posterImageForMovieWithFile(path);
        });
        if (!answer || !*answer) {
            print("null\n");
            return status;
        }
        if (!invocation.image.thumbnail.empty()) {
            status = writeData((*answer)->find(u"Thumbnail"), invocation.image.thumbnail, "thumbnail", file);
        } else {
            status = (*answer)->contains(u"Thumbnail") ? Status::result : Status::none;
        }
        print(halden::jsonFromValue(halden::Value(std::move(**answer)), form) + "\n");
        return status;
    });
}

Status pdfDataCommand(const Invocation& invocation) {
    if (invocation.output.empty()) {
        printError("pdf-data: -o says which file to write, and is missing");
        return Status::usage;
    }
    const halden::JsonWriteOptions form{.data = invocation.data, .indent = 2};
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        Status status = Status::none;
        auto answer = answerAbout(session, file, status,
                                  [](auto& proxy, std::u16string_view path) { return proxy.PDFImageRepOfFile(path); });
        if (!answer || !*answer) {
            print("null\n");
            return status;
        }
        const halden::Value pdf(std::move(**answer));
        status = writeData(&pdf, invocation.output, "PDF", file);
        print(halden::jsonFromValue(pdf, form) + "\n");
        return status;
    });
}

}  // namespace quarry::tools
