#include "platform/office/OfficeConverter.h"

#include "foundation/Log.h"
#include "platform/worker/WorkFolder.h"

#include <cerrno>
#include <cstring>
#include <string>

namespace halden {
namespace {

using namespace std::chrono_literals;

/// How long a worker may take to say that it has the request: it may be busy getting ready.
constexpr std::chrono::milliseconds kLongestStart = 20s;

/// The extension that LibreOffice looks for first when it tells what a file is.
const char* extensionOf(OfficeFormat format) {
    switch (format) {
        case OfficeFormat::doc:
            return "doc";
        case OfficeFormat::docx:
            return "docx";
        case OfficeFormat::odt:
            return "odt";
        case OfficeFormat::fodt:
            return "fodt";
        case OfficeFormat::wordML2003:
            return "xml";
    }
    return "";
}

std::string_view versionOf(std::string_view product) {
    return product.substr(product.rfind(' ') + 1);
}

}  // namespace

OfficeConverter::OfficeConverter(OfficeLimits limits) : limits_(limits) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    limits_.addressSpace = 0;  // sanitizers map terabytes that they never touch
#endif
}

OfficeConverter::~OfficeConverter() = default;

std::unique_ptr<Worker> OfficeConverter::start() {
    auto worker = Worker::make({.addressSpace = limits_.addressSpace,
                                .cpu = limits_.cpu,
                                .fileSize = limits_.fileSize,
                                .time = kLongestStart + limits_.idle + limits_.document});
    WorkerProgram program{.path = officeWorkerPath(), .channel = WorkerChannel::socket};
    program.arguments = {installation_->folder, std::string(versionOf(installation_->product)),
                         std::to_string(limits_.idle.count())};
    if (worker && !worker->launch(program)) worker.reset();
    return worker;
}

pid_t OfficeConverter::waitingProcess() {
    return next_ && next_->isRunning() ? next_->processIdentifier() : 0;
}

std::optional<Data> OfficeConverter::rtfFromDocument(const Data& document, OfficeFormat format) {
    if (!installation_ || installation_->folder.empty()) {
        installation_ = findOfficeInstallation();
        if (installation_->folder.empty()) {
            logWarning("A word-processor document is not read: " + installation_->reason);
            return std::nullopt;
        }
    }
    std::unique_ptr<Worker> worker = std::move(next_);
    Outcome outcome = worker ? convert(*worker, document, format) : Outcome::notTaken;
    if (outcome == Outcome::notTaken) {
        // The one that waited has just ended, or there was none.
        worker = start();
        if (!worker) return std::nullopt;
        outcome = convert(*worker, document, format);
    }
    std::optional<Data> rtf;
    if (outcome == Outcome::converted) rtf = Data::contentsOfFile(worker->folder() + "/document.rtf");
    if (outcome == Outcome::notTaken) logWarning("quarry-office does not start.");
    worker.reset();
    next_ = start();
    return rtf;
}

OfficeConverter::Outcome OfficeConverter::convert(Worker& worker, const Data& document, OfficeFormat format) {
    const std::string extension = extensionOf(format);
    // A copy, so that no lock file appears beside the user's document and no name of his reaches LibreOffice.
    if (!writeNewFile(worker.folder() + "/document." + extension, document.view())) {
        logError("Cannot write into " + worker.folder() + ": " + std::strerror(errno));
        return Outcome::failed;
    }
    if (!worker.send(extension + "\n", kLongestStart) || worker.receiveLine(kLongestStart) != "taken")
        return Outcome::notTaken;
    const auto answer = worker.receiveLine(limits_.document);
    if (answer == "done") return Outcome::converted;
    if (answer) {
        logInfo("LibreOffice does not read a document: " + *answer);
        return Outcome::failed;
    }
    const auto ending = worker.waitUntilEnd(1s);
    if (!ending)
        logWarning("LibreOffice took too long over a document.");
    else if (ending->kind == WorkerEnding::Kind::crashed)
        logWarning("LibreOffice crashed over a document: signal " + std::to_string(ending->status));
    else
        logWarning("LibreOffice gave up on a document: status " + std::to_string(ending->status));
    return Outcome::failed;
}

}  // namespace halden
