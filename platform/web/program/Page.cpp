#include "platform/web/program/Page.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace quarry::web {
namespace {

using halden::web::PageStatus;
using halden::web::Verdict;

/// Milliseconds. A page that does not answer this long before its time is up is loaded once more without its scripts.
constexpr guint kSecondTry = 1500;
constexpr guint kLongestPing = 500;
constexpr guint kLongestWalk = 500;
/// How long past its time the second try may take.
constexpr guint kGrace = 300;
/// A page with scripts has settled when its document has not changed this long, or after the longest wait.
constexpr double kQuiet = 40;
constexpr gint64 kLongestSettling = 1000;

/// A world of its own: pages see neither these scripts nor their variables.
constexpr const char* kWorld = "quarry";

constexpr const char* kSettleScript =
#include "platform/web/program/SettleScript.inc"
    ;
constexpr const char* kWalkScript =
#include "platform/web/program/WalkScript.inc"
    ;
constexpr const char* kPingScript = "return 'here'";

gint64 milliseconds() {
    return g_get_monotonic_time() / 1000;
}

std::string_view withoutFragment(const char* address) {
    const std::string_view text(address != nullptr ? address : "");
    return text.substr(0, text.find('#'));
}
std::string_view withoutFragment(const std::string& address) {
    return withoutFragment(address.c_str());
}

gboolean handled() {
    return TRUE;
}

}  // namespace

Page::Page(Engine& engine, WebKitWebView* related, PageRequest request, Ask ask, Finished finished)
    : engine_(engine),
      request_(std::move(request)),
      ask_(std::move(ask)),
      finished_(std::move(finished)),
      start_(milliseconds()),
      self_(std::make_shared<Page*>(this)) {
    open(related, true);
    watch(std::max(request_.milliseconds, 2 * kSecondTry) - kSecondTry);
}

Page::~Page() {
    *self_ = nullptr;
    if (timer_ != 0) g_source_remove(timer_);
    if (pause_ != 0) g_source_remove(pause_);
    closeView();
}

bool Page::isAsked(const Hook::Question& question) {
    if (view_ == nullptr) return false;
    const std::uint64_t number = webkit_web_view_get_page_id(view_);
    if (question.page == number || question.page == otherNumber_) return true;
    const bool isMoved = !mainWasSeen_ && question.page > number &&
                         withoutFragment(question.address) == withoutFragment(webkit_web_view_get_uri(view_));
    if (isMoved) otherNumber_ = question.page;
    return isMoved;
}

void Page::open(WebKitWebView* related, bool withScripts) {
    phase_ = Phase::loading;
    mainWasSeen_ = false;
    otherNumber_ = 0;
    responses_ = 0;
    commits_ = 0;
    cancellable_ = g_cancellable_new();
    view_ = engine_.makeView(related, withScripts);
    const auto connect = [this](const char* signal, GCallback callback) {
        handlers_.push_back(g_signal_connect(view_, signal, callback, this));
    };
    connect("load-changed", G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, gpointer self) {
                auto* page = static_cast<Page*>(self);
                // A second document in the place of the page: some addresses are gone to without a question.
                if (event == WEBKIT_LOAD_COMMITTED && page->commits_++ > 0) return page->again();
                if (event == WEBKIT_LOAD_FINISHED) page->loadFinished();
            }));
    connect("load-failed",
            G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent, char*, GError*, gpointer) -> gboolean { return TRUE; }));
    connect("decide-policy",
            G_CALLBACK(+[](WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type,
                           gpointer self) -> gboolean { return static_cast<Page*>(self)->decide(decision, type); }));
    connect("web-process-terminated", G_CALLBACK(+[](WebKitWebView*, WebKitWebProcessTerminationReason, gpointer self) {
                static_cast<Page*>(self)->ended();
            }));
    for (const char* signal : {"script-dialog", "print", "permission-request", "authenticate", "run-file-chooser",
                               "context-menu", "show-notification"})
        connect(signal, G_CALLBACK(handled));
    GBytes* bytes = g_bytes_new(request_.markup.data(), request_.markup.size());
    // With no name at all the engine would take UTF-8; with an empty one it looks at what the page declares.
    webkit_web_view_load_bytes(view_, bytes, "text/html", request_.charset.c_str(),
                               request_.base.empty() ? nullptr : request_.base.c_str());
    g_bytes_unref(bytes);
}

void Page::closeView() {
    if (view_ == nullptr) return;
    for (const gulong handler : handlers_)
        g_signal_handler_disconnect(view_, handler);
    handlers_.clear();
    g_cancellable_cancel(cancellable_);
    g_clear_object(&cancellable_);
    engine_.silence(view_);
    webkit_web_view_stop_loading(view_);
    g_clear_object(&view_);
}

/// The page is lost, to a script that does not end or to a navigation: what its markup alone says is better than
/// nothing.
void Page::again() {
    if (isSecondTry_) {
        result_.status = PageStatus::failed;
        return finish();
    }
    isSecondTry_ = true;
    wasCut_ = true;
    if (pause_ != 0) g_source_remove(std::exchange(pause_, 0));
    // From a signal of the view: it goes when the main loop is back.
    const auto restart = [](gpointer self) -> gboolean {
        auto* page = static_cast<Page*>(self);
        page->pause_ = 0;
        webkit_web_view_terminate_web_process(page->view_);
        page->closeView();
        page->open(nullptr, false);
        const gint64 left = page->start_ + page->request_.milliseconds + kGrace - kLongestWalk - milliseconds();
        page->watch(static_cast<guint>(std::max<gint64>(left, 100)));
        return G_SOURCE_REMOVE;
    };
    for (const gulong handler : handlers_)
        g_signal_handler_disconnect(view_, handler);
    handlers_.clear();
    pause_ = g_idle_add(restart, this);
}

void Page::ended() {
    result_ = {};
    finish();
}

void Page::watch(guint interval) {
    if (timer_ != 0) g_source_remove(timer_);
    const auto ring = [](gpointer self) -> gboolean {
        auto* page = static_cast<Page*>(self);
        page->timer_ = 0;
        page->timeIsUp();
        return G_SOURCE_REMOVE;
    };
    timer_ = g_timeout_add(interval, ring, this);
}

void Page::timeIsUp() {
    switch (phase_) {
        case Phase::loading:
        case Phase::settling: {
            const gint64 left = start_ + request_.milliseconds - milliseconds();
            // A page that has loaded answers, unless one of its scripts does not end.
            if (phase_ == Phase::settling && left > kLongestWalk && !isSecondTry_) return again();
            if (!isSecondTry_ && left > kSecondTry / 3) {
                // Somebody is at home when the ping comes back: then the page has the rest of its time.
                script(kPingScript, nullptr);
                const auto ring = [](gpointer self) -> gboolean {
                    auto* page = static_cast<Page*>(self);
                    page->pause_ = 0;
                    page->again();
                    return G_SOURCE_REMOVE;
                };
                if (pause_ != 0) g_source_remove(pause_);
                pause_ = g_timeout_add(kLongestPing, ring, this);
                return watch(static_cast<guint>(left));
            }
            wasCut_ = true;
            webkit_web_view_stop_loading(view_);
            return walk();
        }
        case Phase::walking:
        case Phase::saving:
            if (!result_.text.empty()) return finish();
            return again();
        case Phase::over:
            return;
    }
}

void Page::judge(Hook::Question question) {
    std::string address = std::move(question.address);
    if (address.starts_with(kServedPrefix)) address.erase(0, std::string_view(kServedPrefix).size());
    // The first announcement is that of the page itself, which we have: nothing is fetched for it.
    if (!mainWasSeen_ && withoutFragment(address) == withoutFragment(webkit_web_view_get_uri(view_))) {
        mainWasSeen_ = true;
        return question.answer(true, {});
    }
    if (request_.askNobody) return question.answer(true, {});
    ask_(address, question.redirectedFrom,
         [self = self_, address, answer = std::move(question.answer)](HookVerdict verdict) {
             if (*self == nullptr || verdict.verdict != Verdict::serve)
                 return answer(*self != nullptr && verdict.verdict == Verdict::allow, {});
             const std::string instead = kServedPrefix + address;
             (*self)->served_.insert_or_assign(instead, std::move(verdict));
             answer(true, instead);
         });
}

bool Page::serve(WebKitURISchemeRequest* request) {
    const auto found = served_.find(webkit_uri_scheme_request_get_uri(request));
    if (found == served_.end()) return false;
    const HookVerdict& verdict = found->second;
    GBytes* bytes = g_bytes_new(verdict.data.data(), verdict.data.size());
    GInputStream* stream = g_memory_input_stream_new_from_bytes(bytes);
    std::string type = verdict.mediaType.empty() ? "application/octet-stream" : verdict.mediaType;
    if (!verdict.charset.empty()) type += "; charset=" + verdict.charset;
    webkit_uri_scheme_request_finish(request, stream, static_cast<gint64>(verdict.data.size()), type.c_str());
    g_object_unref(stream);
    g_bytes_unref(bytes);
    return true;
}

gboolean Page::decide(WebKitPolicyDecision* decision, WebKitPolicyDecisionType type) {
    if (type == WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION) {
        webkit_policy_decision_ignore(decision);
        return TRUE;
    }
    if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) {
        auto* response = WEBKIT_RESPONSE_POLICY_DECISION(decision);
        // The page is what was given; where it would lead to is another page.
        const bool isElsewhere =
            webkit_response_policy_decision_is_main_frame_main_resource(response) && responses_++ > 0;
        if (!isElsewhere && webkit_response_policy_decision_is_mime_type_supported(response)) return FALSE;
        webkit_policy_decision_ignore(decision);
        return TRUE;
    }
    // The first is our own. A navigation that is refused here leaves the document alone; refused later, in the
    // extension, it would leave an empty one.
    if (!mainWasSeen_) return FALSE;
    WebKitNavigationAction* action =
        webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    const std::string address = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    // Nobody needs an empty document in the place of one that is there, page or frame.
    if (address == "about:blank") {
        webkit_policy_decision_ignore(decision);
        return TRUE;
    }
    if (request_.askNobody) return FALSE;
    g_object_ref(decision);
    ask_(address, {}, [decision](const HookVerdict& verdict) {
        if (verdict.verdict == Verdict::deny)
            webkit_policy_decision_ignore(decision);
        else
            webkit_policy_decision_use(decision);
        g_object_unref(decision);
    });
    return TRUE;
}

void Page::script(const char* source, void (Page::*then)(std::string&&)) {
    struct Call {
        std::shared_ptr<Page*> self;
        WebKitWebView* view;
        void (Page::*then)(std::string&&);
    };
    const auto answered = [](GObject* object, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Call> call(static_cast<Call*>(data));
        GError* error = nullptr;
        JSCValue* value =
            webkit_web_view_call_async_javascript_function_finish(WEBKIT_WEB_VIEW(object), result, &error);
        std::string text;
        if (value != nullptr) {
            char* characters = jsc_value_to_string(value);
            text = characters;
            g_free(characters);
            g_object_unref(value);
        }
        const bool isCancelled = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
        if (error != nullptr && !isCancelled) g_printerr("Script: %s\n", error->message);
        g_clear_error(&error);
        Page* page = *call->self;
        if (page == nullptr || page->view_ != call->view || isCancelled) return;
        if (call->then != nullptr) return (page->*call->then)(std::move(text));
        // A ping that came back.
        if (page->pause_ != 0 && page->phase_ == Phase::loading) g_source_remove(std::exchange(page->pause_, 0));
    };
    webkit_web_view_call_async_javascript_function(view_, source, -1, nullptr, kWorld, nullptr, cancellable_, answered,
                                                   new Call{self_, view_, then});
}

void Page::loadFinished() {
    if (phase_ != Phase::loading) return;
    phase_ = Phase::settling;
    settleStart_ = milliseconds();
    const gint64 left = start_ + request_.milliseconds - milliseconds();
    watch(static_cast<guint>(std::clamp<gint64>(left - kSecondTry, kLongestPing, 2 * kLongestSettling)));
    settle();
}

void Page::settle() {
    script(kSettleScript, &Page::settledFor);
}

void Page::settledFor(std::string&& answer) {
    if (phase_ != Phase::settling) return;
    const double quiet = std::atof(answer.c_str());
    if (quiet >= kQuiet || milliseconds() - settleStart_ > kLongestSettling) return walk();
    const auto ring = [](gpointer self) -> gboolean {
        auto* page = static_cast<Page*>(self);
        page->pause_ = 0;
        page->settle();
        return G_SOURCE_REMOVE;
    };
    if (pause_ != 0) g_source_remove(pause_);
    pause_ = g_timeout_add(static_cast<guint>(quiet < 0 ? 10 : kQuiet - quiet + 1), ring, this);
}

void Page::walk() {
    phase_ = Phase::walking;
    if (pause_ != 0) g_source_remove(std::exchange(pause_, 0));
    const gint64 left = start_ + request_.milliseconds - milliseconds();
    watch(static_cast<guint>(std::max<gint64>(left - kSecondTry, kLongestWalk)));
    script(kWalkScript, &Page::walked);
}

void Page::walked(std::string&& text) {
    if (phase_ != Phase::walking) return;
    if (text.empty()) return again();
    const bool hasImages = text.front() == '1';
    result_.text = text.substr(1);
    if (!hasImages) {
        result_.status = wasCut_ ? PageStatus::cut : PageStatus::complete;
        return finish();
    }
    save();
}

void Page::save() {
    phase_ = Phase::saving;
    struct Call {
        std::shared_ptr<Page*> self;
        WebKitWebView* view;
    };
    const auto written = [](GObject* object, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Call> call(static_cast<Call*>(data));
        GInputStream* stream = webkit_web_view_save_finish(WEBKIT_WEB_VIEW(object), result, nullptr);
        std::string snapshot;
        if (stream != nullptr) {
            std::array<char, 65536> buffer;
            gssize count = 0;
            while ((count = g_input_stream_read(stream, buffer.data(), buffer.size(), nullptr, nullptr)) > 0)
                snapshot.append(buffer.data(), static_cast<std::size_t>(count));
            g_object_unref(stream);
        }
        Page* page = *call->self;
        if (page != nullptr && page->view_ == call->view) page->saved(snapshot);
    };
    webkit_web_view_save(view_, WEBKIT_SAVE_MODE_MHTML, cancellable_, written, new Call{self_, view_});
}

void Page::saved(const std::string& snapshot) {
    if (phase_ != Phase::saving) return;
    for (halden::web::MhtmlPart& part : halden::web::partsOfMhtml(snapshot)) {
        if (!part.mediaType.starts_with("image/")) continue;
        if (part.address.starts_with(kServedPrefix)) part.address.erase(0, std::string_view(kServedPrefix).size());
        result_.images.push_back(std::move(part));
    }
    finish();
}

void Page::finish() {
    if (phase_ == Phase::over) return;
    phase_ = Phase::over;
    if (!result_.text.empty()) result_.status = wasCut_ ? PageStatus::cut : PageStatus::complete;
    // An engine whose hook was never asked lets everything through: what it shows is not to be trusted.
    if (!mainWasSeen_) {
        g_printerr("A page was not announced.\n");
        result_ = {};
    }
    // From a signal of the view, which is to live until it has ended.
    const auto deliver = [](gpointer self) -> gboolean {
        auto* page = static_cast<Page*>(self);
        page->pause_ = 0;
        const Finished finished = page->finished_;
        finished(std::move(page->result_));
        return G_SOURCE_REMOVE;
    };
    if (pause_ != 0) g_source_remove(pause_);
    pause_ = g_idle_add_full(G_PRIORITY_DEFAULT, deliver, this, nullptr);
}

}  // namespace quarry::web
