#include "foundation/Path.h"
#include "platform/bundles/Paths.h"
#include "platform/images/ImagesEngine.h"
#include "platform/ipc/Registry.h"
#include "platform/ipc/RootProxy.h"
#include "platform/movies/MoviesEngine.h"
#include "platform/office/OfficeInstallation.h"
#include "platform/pdf/PdfEngine.h"
#include "platform/postscript/PostScript.h"
#include "platform/web/HtmlRenderer.h"
#include "platform/worker/WorkFolder.h"
#include "platform/worker/Worker.h"
#include "tools/Commands.h"
#include "tools/HelperSession.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>

namespace quarry::tools {

namespace {

/// What was found, a line each.
class Findings {
public:
    void good(std::string_view what, std::string_view detail) { add("ok", what, detail); }
    /// Worth knowing; nothing is broken by it.
    void note(std::string_view what, std::string_view detail) { add("--", what, detail); }
    /// Documents cannot be read, or not all of them.
    void bad(std::string_view what, std::string_view detail) {
        add("!!", what, detail);
        status_ = Status::none;
    }
    void check(bool fine, std::string_view what, std::string_view detail, std::string_view otherwise) {
        fine ? good(what, detail) : bad(what, otherwise);
    }
    [[nodiscard]] Status status() const noexcept { return status_; }

private:
    static void add(std::string_view mark, std::string_view what, std::string_view detail) {
        print(fmt::format("{}  {:<18} {}\n", mark, what, detail));
    }
    Status status_ = Status::result;
};

void checkProgram(Findings& findings, std::string_view what, const std::string& path) {
    const bool runs = ::access(path.c_str(), X_OK) == 0;
    findings.check(runs, what, path, runs ? "" : fmt::format("{}: {}", path, std::strerror(errno)));
}

void checkPdfEngine(Findings& findings) {
    const halden::PdfEngineStatus& pdf = halden::pdfEngineStatus();
    if (pdf.engine != nullptr) {
        findings.good("PDF engine", fmt::format("{}, {}", pdf.engine->version(),
                                                std::filesystem::path(pdf.path).lexically_normal().native()));
    } else {
        findings.bad("PDF engine", pdf.reason);
    }
}

void checkImages(Findings& findings) {
    const halden::ImagesEngineStatus& images = halden::imagesEngineStatus();
    if (images.engine != nullptr) {
        findings.good("image engine", fmt::format("{}, {}", images.engine->version(),
                                                  std::filesystem::path(images.path).lexically_normal().native()));
    } else {
        findings.bad("image engine", fmt::format("{}: pictures are not read", images.reason));
    }
    const std::string ghostscript = halden::ghostscriptPath();
    findings.check(!ghostscript.empty(), "PostScript", ghostscript,
                   "Ghostscript is not installed: PostScript and EPS are not read");
}

void checkMovies(Findings& findings) {
    const halden::MoviesEngineStatus& movies = halden::moviesEngineStatus();
    if (movies.engine != nullptr) {
        findings.good("movie engine", fmt::format("{}, {}", movies.engine->version(),
                                                  std::filesystem::path(movies.path).lexically_normal().native()));
    } else {
        findings.bad("movie engine", fmt::format("{}: movies are not read", movies.reason));
    }
}

void checkWebEngine(Findings& findings) {
    halden::HtmlRenderer renderer;
    const halden::WebEngineState web = renderer.start();
    if (web.version.empty()) {
        findings.bad("web engine", fmt::format("{}: pages are not rendered", web.reason));
    } else if (web.hasSandbox) {
        findings.good("web engine", fmt::format("WebKitGTK {}, in its sandbox", web.version));
    } else {
        findings.note("web engine",
                      fmt::format("WebKitGTK {}, without its sandbox: bubblewrap does not start here", web.version));
    }
}

void checkOffice(Findings& findings) {
    const halden::OfficeInstallation office = halden::findOfficeInstallation();
    const std::string product = office.product.empty() ? "LibreOffice" : office.product;
    findings.check(!office.folder.empty(), "word processor", fmt::format("{}, {}", product, office.folder),
                   fmt::format("{}: doc, docx, odt and the like are not read", office.reason));
}

void checkWorkers(Findings& findings) {
    checkProgram(findings, "worker executor", halden::executorPath());
    if (halden::jobsCanLeaveNetwork().value_or(false)) {
        findings.good("worker network", "cut off");
    } else {
        findings.note("worker network", "no network namespaces: workers run with the network");
    }
}

/// How many importer bundles a folder holds; nullopt when it is not there.
std::optional<std::size_t> bundlesIn(const std::u16string& folder) {
    std::error_code error;
    std::filesystem::directory_iterator entries(halden::pathBytesFromString(folder).value_or(""), error);
    if (error) {
        return std::nullopt;
    }
    return std::ranges::count_if(entries, [](const auto& entry) { return entry.path().extension() == ".mdimporter"; });
}

void checkImporters(Findings& findings) {
    const halden::ImporterLocations places = halden::ImporterLocations::standard();
    checkProgram(findings, "importer lister", places.lister);
    for (const std::u16string* folder : {&places.userFolder, &places.localFolder, &places.systemFolder}) {
        const auto count = bundlesIn(*folder);
        const std::string path = halden::pathBytesFromString(*folder).value_or("");
        const std::string detail = count ? fmt::format("{}: {}", path, *count) : fmt::format("{}: not there", path);
        if (count.value_or(0) > 0) {
            findings.good("importers", detail);
        } else if (folder == &places.systemFolder) {
            findings.bad("importers", detail);
        } else {
            findings.note("importers", detail);
        }
    }
}

void checkRegistry(Findings& findings) {
    const std::string folder = halden::registryFolder();
    std::error_code error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(folder, error))) {
        findings.note("registry folder", fmt::format("{}: not there yet", folder));
        return;
    }
    if (!halden::openRegistryFolder(folder, false)) {
        findings.bad("registry folder",
                     fmt::format("{}: must be a folder of yours with mode 0700, and no link", folder));
        return;
    }
    findings.good("registry folder", folder);
    const auto helper = halden::RootProxy::rootProxyForConnectionWithRegisteredName(kRegisteredName, folder);
    if (!helper) {
        findings.note("shared helper", "none is registered");
        return;
    }
    // It may be busy for long; whether it answers is not the question.
    findings.good("shared helper", fmt::format("process {}", helper->processIdentifier()));
}

bool memoryFilesCanBeSealed() {
    const halden::FileDescriptor file(::memfd_create("quarry", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    return file && ::fcntl(file.get(), F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW) == 0;
}

bool processesHaveHandles() {
    return static_cast<bool>(halden::FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, ::getpid(), 0))));
}

/// Whether the database that tells types by first bytes is in one of the data folders.
bool knowsFirstBytes() {
    const char* variable = std::getenv("XDG_DATA_DIRS");
    std::string_view folders = variable != nullptr && *variable != '\0' ? variable : "/usr/local/share:/usr/share";
    while (!folders.empty()) {
        const std::string_view folder = folders.substr(0, folders.find(':'));
        folders.remove_prefix(std::min(folder.size() + 1, folders.size()));
        if (::access(fmt::format("{}/mime/magic", folder).c_str(), R_OK) == 0) {
            return true;
        }
    }
    return false;
}

void checkSystem(Findings& findings) {
    utsname system{};
    ::uname(&system);
    findings.good("system", fmt::format("{} {} {}", system.sysname, system.release, system.machine));
    if (knowsFirstBytes()) {
        findings.good("first bytes", "shared-mime-info");
    } else {
        findings.note("first bytes", "shared-mime-info is missing: files without extension are not recognised");
    }
    findings.check(memoryFilesCanBeSealed(), "memory files", "can be sealed",
                   "cannot be sealed: results above 1 MiB do not travel");
    findings.check(processesHaveHandles(), "process handles", "available",
                   "pidfd_open fails: helpers cannot be started");
    const std::string children = fmt::format("/proc/self/task/{}/children", ::getpid());
    findings.check(::access(children.c_str(), R_OK) == 0, "process tree", "visible",
                   "/proc shows no children: --memory does not count workers");
}

}  // namespace

Status doctorCommand(const Invocation&) {
    Findings findings;
    findings.good("quarry", QUARRY_VERSION);
    checkProgram(findings, "helper", libexecPath("quarry-helper"));
    checkPdfEngine(findings);
    checkImages(findings);
    checkMovies(findings);
    checkWorkers(findings);
    checkOffice(findings);
    checkWebEngine(findings);
    checkImporters(findings);
    checkRegistry(findings);
    checkSystem(findings);
    return findings.status();
}

}  // namespace quarry::tools
