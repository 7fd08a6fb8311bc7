// quarry-web: renders pages for the helper, which talks to it over standard input.

#include "platform/web/program/Display.h"
#include "platform/web/program/Engine.h"
#include "platform/web/program/Helper.h"
#include "platform/web/program/Page.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace quarry::web {
namespace {

using halden::web::Frame;
using halden::web::FrameKind;
using halden::web::FrameReader;
using halden::web::FrameWriter;
using halden::web::Verdict;

/// Kilobytes that a process and everything below it have to themselves or share with nobody else but each other.
std::uint32_t kilobytesOf(pid_t process, int depth = 0) {
    const std::string folder = "/proc/" + std::to_string(process);
    std::uint32_t total = 0;
    std::ifstream usage(folder + "/smaps_rollup");
    for (std::string line; std::getline(usage, line);) {
        if (line.starts_with("Pss:")) total = static_cast<std::uint32_t>(std::strtoul(line.c_str() + 4, nullptr, 10));
    }
    if (depth > 8) return total;
    if (DIR* tasks = opendir((folder + "/task").c_str())) {
        while (const dirent* task = readdir(tasks)) {
            std::ifstream children(folder + "/task/" + task->d_name + "/children");
            for (pid_t child = 0; children >> child;)
                total += kilobytesOf(child, depth + 1);
        }
        closedir(tasks);
    }
    return total;
}

class Service {
public:
    Service(int socket, const std::string& folder, const std::string& extensions, bool hasSandbox)
        : engine_(folder, extensions),
          hook_(folder + "/hook", [this](Hook::Question question) { judge(std::move(question)); }),
          helper_(socket, [this](const Frame& frame) { take(frame); }),
          hasSandbox_(hasSandbox) {
        for (const char* scheme : {"quarry-http", "quarry-https", "quarry-file", "quarry-feed"}) {
            const auto serve = [](WebKitURISchemeRequest* request, gpointer self) {
                static_cast<Service*>(self)->serve(request);
            };
            webkit_web_context_register_uri_scheme(engine_.context(), scheme, serve, this, nullptr);
            WebKitSecurityManager* manager = webkit_web_context_get_security_manager(engine_.context());
            webkit_security_manager_register_uri_scheme_as_cors_enabled(manager, scheme);
            webkit_security_manager_register_uri_scheme_as_secure(manager, scheme);
        }
    }

    [[nodiscard]] bool isListening() const noexcept { return hook_.isListening(); }

    /// Renders a page of our own, so that the processes are there and the hook is known to work before the first real
    /// one.
    void warmUp() {
        PageRequest request;
        request.markup = "<p>Ready.</p>";
        request.milliseconds = 20000;
        start(std::move(request));
    }

private:
    void take(const Frame& frame) {
        FrameReader fields(frame.fields);
        if (frame.kind == FrameKind::load) {
            PageRequest request{.number = frame.page};
            request.milliseconds = fields.number();
            request.askNobody = (fields.number() & halden::web::kAskNobody) != 0;
            request.charset = fields.bytes();
            request.base = fields.bytes();
            request.markup = fields.bytes();
            if (fields.isGood() && frame.page != 0) start(std::move(request));
        } else if (frame.kind == FrameKind::verdict) {
            const auto question = questions_.find(fields.number());
            if (question == questions_.end()) return;
            HookVerdict verdict{static_cast<Verdict>(fields.number()), {}, {}, {}};
            verdict.mediaType = fields.bytes();
            verdict.charset = fields.bytes();
            verdict.data = fields.bytes();
            if (!fields.isGood()) verdict = {};
            const auto answer = std::move(question->second);
            questions_.erase(question);
            answer(std::move(verdict));
        } else if (frame.kind == FrameKind::cancel) {
            pages_.erase(frame.page);
        }
    }

    void start(PageRequest request) {
        const std::uint32_t number = request.number;
        // A page inside another has a process of its own, so that neither waits for the other's scripts.
        WebKitWebView* related = pages_.empty() ? keeper_ : nullptr;
        auto ask = [this, number](const std::string& address, const std::string& from,
                                  std::function<void(HookVerdict)> answer) {
            const std::uint32_t question = ++lastQuestion_;
            questions_.emplace(question, std::move(answer));
            helper_.send(FrameWriter(FrameKind::question, number).number(question).bytes(address).bytes(from).take());
        };
        auto finished = [this, number](const PageResult& result) { finish(number, result); };
        pages_.insert_or_assign(
            number, std::make_unique<Page>(engine_, related, std::move(request), std::move(ask), std::move(finished)));
    }

    void finish(std::uint32_t number, const PageResult& result) {
        if (number == 0) return warm(result);
        FrameWriter frame(FrameKind::page, number);
        frame.number(static_cast<std::uint32_t>(result.status))
            .number(finished_ % 10 == 0 ? kilobytesOf(getpid()) : 0)
            .bytes(result.text);
        ++finished_;
        for (const halden::web::MhtmlPart& image : result.images)
            frame.bytes(image.address).bytes(image.mediaType).bytes(image.data);
        helper_.send(frame.take());
        pages_.erase(number);
    }

    void warm(const PageResult& result) {
        if (result.status == halden::web::PageStatus::failed) {
            helper_.send(FrameWriter(FrameKind::fault, 0).bytes("the web engine does not ask before it loads").take());
            return;
        }
        // The view stays, and with it the process that the pages share.
        keep(pages_.at(0)->view());
        pages_.erase(0);
        const std::string version = std::to_string(webkit_get_major_version()) + "." +
                                    std::to_string(webkit_get_minor_version()) + "." +
                                    std::to_string(webkit_get_micro_version());
        helper_.send(FrameWriter(FrameKind::ready, 0).bytes(version).number(hasSandbox_ ? 1 : 0).take());
    }

    void keep(WebKitWebView* view) {
        keeper_ = WEBKIT_WEB_VIEW(g_object_ref(view));
        const auto gone = [](WebKitWebView*, WebKitWebProcessTerminationReason, gpointer self) {
            // No page may be related to it from now on; the view itself lives until its signal has ended.
            auto* service = static_cast<Service*>(self);
            g_idle_add_once([](gpointer held) { g_object_unref(held); }, std::exchange(service->keeper_, nullptr));
            const auto replace = [](gpointer data) {
                auto* one = static_cast<Service*>(data);
                if (one->keeper_ == nullptr && !one->pages_.contains(0)) one->warmUp();
            };
            g_idle_add_once(replace, self);
        };
        g_signal_connect(keeper_, "web-process-terminated", G_CALLBACK(+gone), this);
    }

    void judge(Hook::Question question) {
        for (const auto& [number, page] : pages_) {
            if (page->isAsked(question)) return page->judge(std::move(question));
        }
        question.answer(false, {});
    }

    void serve(WebKitURISchemeRequest* request) {
        WebKitWebView* view = webkit_uri_scheme_request_get_web_view(request);
        for (const auto& [number, page] : pages_) {
            if (page->view() == view && page->serve(request)) return;
        }
        GError* error = g_error_new_literal(G_IO_ERROR, G_IO_ERROR_NOT_FOUND, "Not there");
        webkit_uri_scheme_request_finish_error(request, error);
        g_error_free(error);
    }

    Engine engine_;
    Hook hook_;
    Helper helper_;
    bool hasSandbox_;
    std::map<std::uint32_t, std::unique_ptr<Page>> pages_;
    std::map<std::uint32_t, std::function<void(HookVerdict)>> questions_;
    std::uint32_t lastQuestion_ = 0;
    std::uint32_t finished_ = 0;
    WebKitWebView* keeper_ = nullptr;
};

int fail(int socket, const char* reason) {
    const std::string frame = FrameWriter(FrameKind::fault, 0).bytes(reason).take();
    (void)write(socket, frame.data(), frame.size());
    return 3;
}

int run(const char* extensions) {
    // The channel is kept for frames; whatever prints finds the error output in its place.
    const int socket = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10);
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    const char* folder = std::getenv("TMPDIR");
    if (socket < 0 || folder == nullptr) return 2;
    for (const char* setting : {"GSETTINGS_BACKEND=memory", "GTK_A11Y=none", "GIO_USE_VFS=local", "NO_AT_BRIDGE=1",
                                "GDK_DISABLE=gl,vulkan", "GSK_RENDERER=cairo"})
        putenv(const_cast<char*>(setting));
    const bool hasSandbox = Engine::sandboxStarts();
    if (!hasSandbox) setenv("WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS", "1", 1);
    const bool hasDisplay = (startWaylandDisplay(folder) && gtk_init_check()) || (startXvfb() && gtk_init_check());
    if (!hasDisplay) return fail(socket, "there is no display for the web engine");
    // The sandbox takes in no folder that it regards as the system's, the one of the sockets among them.
    const std::string shared = std::string(folder) + "/engine";
    if (mkdir(shared.c_str(), 0700) != 0) return fail(socket, "there is no place for the web engine's files");
    Service service(socket, shared, extensions, hasSandbox);
    if (!service.isListening()) return fail(socket, "the web engine's hook cannot listen");
    service.warmUp();
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    g_main_loop_run(loop);
    return 0;
}

}  // namespace
}  // namespace quarry::web

int main(int count, char** arguments) {
    return count == 2 ? quarry::web::run(arguments[1]) : 2;
}
