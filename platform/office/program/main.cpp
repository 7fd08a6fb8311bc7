// quarry-office: turns one word-processor document into RTF, in the folder it is started in.
//
//   quarry-office LIBREOFFICE-FOLDER VERSION IDLE-SECONDS
//
// Standard input and output are one socket. It gets ready, waits for a line that holds the extension of the document
// (a file document.EXTENSION), answers "taken" and then "done", when there is a document.rtf, or why there is none; and
// ends. Without a request it ends after the idle time.
#define LOK_USE_UNSTABLE_API  // for getDocumentType
#include "platform/office/program/Profile.h"

#include <LibreOfficeKit/LibreOfficeKit.hxx>
#include <LibreOfficeKit/LibreOfficeKitInit.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace {

using halden::office::fileUrl;

/// The socket to the helper, taken from the standard files so that nothing LibreOffice prints goes into it.
class Channel {
public:
    Channel() : socket_(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10)) {
        const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
        dup2(null, STDIN_FILENO);
        dup2(STDERR_FILENO, STDOUT_FILENO);
        close(null);
    }
    void say(std::string line) const {
        std::replace(line.begin(), line.end(), '\n', ' ');
        line += '\n';
        // The helper may be gone, and we with it in a moment.
        (void)!send(socket_, line.data(), line.size(), MSG_NOSIGNAL);
    }
    /// Whether there is something to read within the time.
    [[nodiscard]] bool isReadable(int milliseconds) const {
        pollfd event{socket_, POLLIN, 0};
        return poll(&event, 1, milliseconds) > 0;
    }
    /// A short line; empty at the end.
    [[nodiscard]] std::string line() const {
        std::string text;
        char byte = 0;
        while (text.size() < 16 && read(socket_, &byte, 1) == 1) {
            if (byte == '\n') return text;
            text.push_back(byte);
        }
        return {};
    }

private:
    int socket_;
};

/// Loads a document and saves it as RTF; returns why it could not, or an empty string.
std::string convert(lok::Office& office, const std::string& from, const std::string& to) {
    const std::unique_ptr<lok::Document> document(office.documentLoad(fileUrl(from).c_str(), "Hidden=1,Batch=true"));
    const auto error = [&]() -> std::string {
        char* text = office.getError();
        std::string copy = text != nullptr && *text != '\0' ? text : "no reason given";
        std::free(text);
        return copy;
    };
    if (!document) return error();
    if (document->getDocumentType() != LOK_DOCTYPE_TEXT) return "it is no text document";
    return document->saveAs(fileUrl(to).c_str(), "rtf", nullptr) ? std::string() : error();
}

/// Most of a document's time is the loading of libraries and tables: a small document of our own gets that done.
void warmUp(lok::Office& office, const std::string& folder) {
    std::ofstream(folder + "/warm.fodt")
        << R"(<?xml version="1.0" encoding="UTF-8"?><office:document)"
           R"( xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0")"
           R"( xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" office:version="1.2")"
           R"( office:mimetype="application/vnd.oasis.opendocument.text"><office:body><office:text>)"
           R"(<text:p>ready</text:p></office:text></office:body></office:document>)";
    (void)convert(office, folder + "/warm.fodt", folder + "/warm.rtf");
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 4) return 2;
    const Channel channel;
    const std::string folder = std::filesystem::current_path();
    const int idleSeconds = std::clamp(std::atoi(arguments[3]), 0, 3600);
    const std::string profile = halden::office::makeProfile(folder + "/profile", arguments[2]);
    lok::Office* office = profile.empty() ? nullptr : lok::lok_cpp_init(arguments[1], profile.c_str());
    // LibreOffice takes signals over to save documents; nothing here is worth saving.
    for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGTERM, SIGXCPU, SIGXFSZ})
        std::signal(signal, SIG_DFL);
    if (office == nullptr) return 1;
    if (!channel.isReadable(0)) warmUp(*office, folder);
    if (!channel.isReadable(idleSeconds * 1000)) _exit(0);
    const std::string extension = channel.line();
    if (extension.empty()) _exit(0);
    channel.say("taken");
    const std::string problem = convert(*office, folder + "/document." + extension, folder + "/document.rtf");
    channel.say(problem.empty() ? "done" : "failed: " + problem);
    // Its own way out takes time and is of no use: the folder goes, and the process with it.
    _exit(0);
}
