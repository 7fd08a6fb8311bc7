#include "platform/postscript/PostScript.h"

#include "foundation/Log.h"
#include "platform/worker/WorkFolder.h"
#include "platform/worker/Worker.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>

namespace halden {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kPreviewSignature = "\xC5\xD0\xD3\xC6";
// Comments that tell the size stand among the first ones, or among the last.
constexpr std::size_t kCommentReach = std::size_t{256} * 1024;

std::uint32_t littleEndian(const std::uint8_t* bytes) {
    return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

/// Four numbers, lower left and upper right; nullopt for "(atend)" and the like.
std::optional<Size> sizeFromComment(std::string_view text) {
    text = text.substr(0, text.find_first_of("\r\n"));
    std::array<double, 4> corners{};
    for (double& corner : corners) {
        text.remove_prefix(std::min(text.find_first_not_of(" \t+"), text.size()));
        const auto result = std::from_chars(text.data(), text.data() + text.size(), corner);
        if (result.ec != std::errc() || !std::isfinite(corner)) return std::nullopt;
        text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    }
    const Size size{corners[2] - corners[0], corners[3] - corners[1]};
    if (!(size.width > 0 && size.height > 0)) return std::nullopt;
    return size;
}

std::string explanationOf(const WorkerEnding& ending) {
    switch (ending.kind) {
        case WorkerEnding::Kind::exited:
            return "refuses the program: status " + std::to_string(ending.status);
        case WorkerEnding::Kind::crashed:
            return "was ended by signal " + std::to_string(ending.status);
        case WorkerEnding::Kind::timeIsUp:
            return "took too long";
        case WorkerEnding::Kind::endedByUs:
        case WorkerEnding::Kind::notStarted:
            break;
    }
    return "could not be started";
}

}  // namespace

Data postScriptProgramOf(const Data& file) noexcept {
    Data program = file;
    if (file.view().starts_with(kPreviewSignature)) {
        if (file.length() < 12) return {};
        program = file.subdata(littleEndian(file.bytes() + 4), littleEndian(file.bytes() + 8));
    }
    const std::size_t start = program.view().substr(0, kCommentReach).find("%!");
    return start != std::string_view::npos ? program.subdata(start, program.length() - start) : Data();
}

std::optional<Size> boundingBoxSizeOf(const Data& file) noexcept {
    constexpr std::string_view kComment = "%%BoundingBox:";
    const Data program = postScriptProgramOf(file);
    const std::string_view text = program.view();
    const std::string_view start = text.substr(0, kCommentReach);
    for (std::size_t at = start.find(kComment); at != std::string_view::npos; at = start.find(kComment, at + 1)) {
        if (const auto size = sizeFromComment(start.substr(at + kComment.size()))) return size;
    }
    const std::string_view end = text.substr(text.size() - std::min(text.size(), kCommentReach));
    const std::size_t last = end.rfind(kComment);
    return last != std::string_view::npos ? sizeFromComment(end.substr(last + kComment.size())) : std::nullopt;
}

std::string ghostscriptPath() {
    for (const char* path : {"/usr/bin/gs", "/usr/local/bin/gs"}) {
        if (access(path, X_OK) == 0) return path;
    }
    return {};
}

std::optional<Data> pdfFromPostScript(const Data& file, const PostScriptLimits& limits) {
    const Data program = postScriptProgramOf(file);
    if (program.empty()) return std::nullopt;
    const std::string ghostscript = ghostscriptPath();
    if (ghostscript.empty()) {
        logWarning("PostScript is not read: Ghostscript is not installed");
        return std::nullopt;
    }
    const auto worker = Worker::make(
        {.addressSpace = limits.addressSpace, .cpu = limits.cpu, .fileSize = limits.fileSize, .time = limits.time});
    if (!worker) return std::nullopt;
    const std::string output = worker->folder() + "/picture.pdf";
    if (!writeNewFile(worker->folder() + "/picture.ps", program.view())) {
        logError("Cannot write into " + worker->folder() + ": " + std::strerror(errno));
        return std::nullopt;
    }
    WorkerProgram job{.path = ghostscript};
    job.arguments = {"-dSAFER",   "-dBATCH",           "-dNOPAUSE",        "-q",
                     "-dEPSCrop", "-sDEVICE=pdfwrite", "-sstdout=%stderr", "-sOutputFile=" + output,
                     "-f",        "picture.ps"};
    if (!worker->launch(job)) return std::nullopt;
    const WorkerEnding ending = worker->waitUntilEnd();
    // A program that fails leaves a PDF, too: a small one, with nothing in it.
    if (ending.kind != WorkerEnding::Kind::exited || ending.status != 0) {
        logInfo("Ghostscript " + explanationOf(ending));
        return std::nullopt;
    }
    auto pdf = Data::contentsOfFile(output, limits.fileSize);
    return pdf && pdf->view().starts_with("%PDF-") ? pdf : std::nullopt;
}

}  // namespace halden
