#include "platform/web/HtmlRenderer.h"

#include "foundation/Log.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "platform/bundles/Paths.h"
#include "platform/web/Frames.h"
#include "platform/web/PageReader.h"
#include "platform/worker/Worker.h"

#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <deque>
#include <map>
#include <utility>

namespace halden {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using web::Frame;
using web::FrameKind;
using web::FrameReader;
using web::FrameWriter;

constexpr std::size_t kLongestMarkup = std::size_t{256} << 20;
constexpr auto kLongestSend = 5s;
/// Every job is bounded; a worker that nobody has renewed for so long is none that is in use.
constexpr auto kLongestLife = 24h;

std::string extensionFolder() {
    return pathBytesFromString(appendingPathComponent(installationPrefix(), u"libexec/quarry/web-extension"))
        .value_or("");
}

bool isServed(const ResourceDecision& decision) {
    return decision.kind == ResourceDecision::Kind::serve;
}

}  // namespace

std::string webWorkerPath() {
    return pathBytesFromString(appendingPathComponent(installationPrefix(), u"libexec/quarry/quarry-web")).value_or("");
}

struct HtmlRenderer::Question {
    std::uint32_t page = 0;
    std::uint32_t number = 0;
    std::string address{};
    std::string redirectedFrom{};
};

/// A page that is under way.
struct HtmlRenderer::Job {
    ResourceLoadDelegate* delegate = nullptr;
    std::optional<web::PageContents> contents;
    bool isOver = false;
};

/// A worker and the socket to it. Lives as long as somebody waits for one of its pages.
class HtmlRenderer::Link {
public:
    ~Link() {
        if (source_ == nullptr) return;
        g_source_destroy(source_);
        g_source_unref(source_);
    }

    bool launch() {
        worker_ = Worker::make({.time = kLongestLife});
        // What may be loaded is decided for each resource: hosts of the local network can always be reached.
        WorkerProgram program{.path = webWorkerPath(), .arguments = {extensionFolder()}};
        program.network = WorkerNetwork::inherited;
        program.channel = WorkerChannel::socket;
        if (!worker_ || !worker_->launch(program)) return false;
        source_ = g_unix_fd_source_new(worker_->channel(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR));
        // An operation that is dispatched while a page loads may itself be waiting for one.
        g_source_set_can_recurse(source_, TRUE);
        const auto ready = [](gint, GIOCondition, gpointer self) -> gboolean {
            static_cast<Link*>(self)->receive();
            return G_SOURCE_CONTINUE;
        };
        g_source_set_callback(source_, G_SOURCE_FUNC(+ready), this, nullptr);
        g_source_attach(source_, nullptr);
        return true;
    }

    bool send(const std::string& frame) {
        if (isAlive && !worker_->send(frame, kLongestSend)) isAlive = false;
        return isAlive;
    }
    /// Whether the worker has ended without our having been told yet.
    [[nodiscard]] bool isClosed() const {
        char byte = 0;
        return isAlive && recv(worker_->channel(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
    }
    [[nodiscard]] pid_t process() const { return worker_ ? worker_->processIdentifier() : 0; }

    bool isAlive = true;
    bool isReady = false;
    int pages = 0;
    std::uint32_t kilobytes = 0;
    WebEngineState state;
    std::deque<Question> questions;
    std::map<std::uint32_t, Job*> jobs;

private:
    void receive() {
        char buffer[65536];
        const ssize_t count = recv(worker_->channel(), buffer, sizeof buffer, MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (count > 0) {
            incoming_.append({buffer, static_cast<std::size_t>(count)});
            while (const auto frame = incoming_.next())
                take(*frame);
        }
        if (count > 0 && !incoming_.isBad()) return;
        isAlive = false;
        g_source_destroy(source_);
    }

    void take(const Frame& frame) {
        FrameReader fields(frame.fields);
        if (frame.kind == FrameKind::ready) {
            state.version = fields.bytes();
            state.hasSandbox = fields.number() != 0;
            isReady = true;
        } else if (frame.kind == FrameKind::fault) {
            state.reason = fields.bytes();
            isAlive = false;
        } else if (frame.kind == FrameKind::question) {
            Question question{frame.page, fields.number(), {}, {}};
            question.address = fields.bytes();
            question.redirectedFrom = fields.bytes();
            if (fields.isGood()) questions.push_back(std::move(question));
        } else if (frame.kind == FrameKind::page) {
            const auto job = jobs.find(frame.page);
            if (job == jobs.end()) return;
            std::optional<web::PageReport> report = web::reportOfPage(frame.fields);
            job->second->isOver = true;
            if (!report) return;
            if (report->kilobytes != 0) kilobytes = report->kilobytes;
            if (report->status != web::PageStatus::failed) job->second->contents = std::move(report->contents);
        }
    }

    std::unique_ptr<Worker> worker_;
    GSource* source_ = nullptr;
    web::FrameBuffer incoming_;
};

HtmlRenderer::HtmlRenderer(HtmlRendererLimits limits) : limits_(limits) {}
HtmlRenderer::~HtmlRenderer() = default;

pid_t HtmlRenderer::process() const {
    return link_ ? link_->process() : 0;
}

namespace {

/// Iterates the main context until `isOver` or the time is up; wakes up at the latest then.
template <class Condition, class Step>
bool iterateUntil(Clock::time_point deadline, Condition isOver, Step step) {
    const auto left = std::max<std::chrono::milliseconds::rep>(
        std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count(), 0);
    GSource* alarm = g_timeout_source_new(static_cast<guint>(left));
    g_source_set_callback(
        alarm, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
    g_source_attach(alarm, nullptr);
    while (!isOver() && Clock::now() < deadline) {
        g_main_context_iteration(nullptr, TRUE);
        step();
    }
    g_source_destroy(alarm);
    g_source_unref(alarm);
    return isOver();
}

}  // namespace

std::shared_ptr<HtmlRenderer::Link> HtmlRenderer::readyLink() {
    if (link_ && (!link_->isAlive || link_->isClosed())) link_.reset();
    if (!link_) {
        auto link = std::make_shared<Link>();
        if (access(webWorkerPath().c_str(), X_OK) != 0) {
            state_ = {{}, false, "quarry-web is not installed"};
            return nullptr;
        }
        if (!link->launch()) {
            state_ = {{}, false, "quarry-web cannot be started"};
            return nullptr;
        }
        link_ = std::move(link);
    }
    std::shared_ptr<Link> link = link_;
    if (!link->isReady) {
        const auto deadline =
            Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(limits_.start));
        iterateUntil(
            deadline, [&] { return link->isReady || !link->isAlive; }, [] {});
    }
    state_ = link->state;
    if (link->isReady && link->isAlive) {
        static bool isSaid = false;
        if (!state_.hasSandbox && !std::exchange(isSaid, true))
            logWarning("The web engine's sandbox cannot be set up here; pages are laid out without it.");
        return link;
    }
    if (state_.reason.empty()) state_.reason = "quarry-web does not start";
    if (link_ == link) link_.reset();
    return nullptr;
}

WebEngineState HtmlRenderer::start() {
    (void)readyLink();
    return state_;
}

/// All of them: the thread sleeps until somebody asks anew.
void HtmlRenderer::answerQuestions(Link& link) {
    while (!link.questions.empty()) {
        const Question question = std::move(link.questions.front());
        link.questions.pop_front();
        answer(link, question);
    }
}

void HtmlRenderer::answer(Link& link, const Question& question) {
    ResourceDecision decision;
    if (const auto job = link.jobs.find(question.page); job != link.jobs.end()) {
        const auto url = URLWithNormalizedStringURL(utf16FromUtf8(question.address));
        if (job->second->delegate == nullptr)
            decision.kind = ResourceDecision::Kind::allow;
        else if (url)
            decision = job->second->delegate->willSendRequest(
                *url, URLWithNormalizedStringURL(utf16FromUtf8(question.redirectedFrom)));
    }
    const auto verdict = isServed(decision)                               ? web::Verdict::serve
                         : decision.kind == ResourceDecision::Kind::allow ? web::Verdict::allow
                                                                          : web::Verdict::deny;
    link.send(FrameWriter(FrameKind::verdict, question.page)
                  .number(question.number)
                  .number(static_cast<std::uint32_t>(verdict))
                  .bytes(utf8FromUtf16(decision.MIMEType))
                  .bytes(utf8FromUtf16(decision.textEncodingName))
                  .bytes(decision.data.view())
                  .take());
}

void HtmlRenderer::renewIfDue() {
    // Not under the feet of a page that waits for this one.
    if (!link_ || depth_ > 0) return;
    if (link_->pages >= limits_.pages || link_->kilobytes / 1024 > limits_.megabytes || !link_->isAlive) link_.reset();
}

std::optional<AttributedString> HtmlRenderer::attributedStringWithHTML(const Data& html,
                                                                       const HtmlReadingOptions& options) {
    if (html.empty()) return AttributedString();
    if (html.length() > kLongestMarkup) {
        logWarning("A page is not rendered: it is too long.");
        return std::nullopt;
    }
    const std::shared_ptr<Link> link = readyLink();
    if (!link) {
        logWarning("A page is not rendered: " + state_.reason + ".");
        return std::nullopt;
    }
    Job job{.delegate = options.delegate, .contents = {}, .isOver = false};
    const std::uint32_t page = ++lastPage_;
    link->jobs.emplace(page, &job);
    ++link->pages;
    ++depth_;
    const std::string base = options.baseURL ? utf8FromUtf16(options.baseURL->absoluteString()) : std::string();
    const double timeout = std::clamp(options.timeout, 0.1, 3600.0);
    const auto limit = std::chrono::duration<double>(timeout + limits_.answerAfterTimeout);
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(limit);
    link->send(FrameWriter(FrameKind::load, page)
                   .number(static_cast<std::uint32_t>(timeout * 1000))
                   .number(options.delegate == nullptr ? web::kAskNobody : 0u)
                   .bytes(utf8FromUtf16(options.textEncodingName))
                   .bytes(base)
                   .bytes(html.view())
                   .take());
    iterateUntil(
        deadline, [&] { return job.isOver || !link->isAlive; }, [&] { answerQuestions(*link); });
    link->jobs.erase(page);
    --depth_;
    if (!job.isOver) {
        logWarning(link->isAlive ? "The web engine took too long over a page." : "The web engine ended over a page.");
        // A worker that does not keep to the time is none to go on with.
        link->isAlive = false;
    }
    renewIfDue();
    if (!job.contents) {
        if (job.isOver) logWarning("The web engine did not render a page.");
        // What was wrong with its processes may still be; pages that are under way keep it.
        if (link_ == link) link_.reset();
        return std::nullopt;
    }
    return web::attributedStringOfPage(*job.contents);
}

}  // namespace halden
