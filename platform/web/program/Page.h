// One page: loaded, left to settle, walked.
#pragma once

#include "platform/web/Frames.h"
#include "platform/web/Mhtml.h"
#include "platform/web/program/Engine.h"
#include "platform/web/program/Hook.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace quarry::web {

struct PageRequest {
    std::uint32_t number = 0;
    std::uint32_t milliseconds = 15000;
    bool askNobody = false;
    std::string charset{};
    std::string base{};
    std::string markup{};
};

struct PageResult {
    halden::web::PageStatus status = halden::web::PageStatus::failed;
    std::string text;  ///< JSON of the walk
    std::vector<halden::web::MhtmlPart> images;
};

/// What the helper said to a question.
struct HookVerdict {
    halden::web::Verdict verdict = halden::web::Verdict::deny;
    std::string mediaType;
    std::string charset;
    std::string data;
};

class Page {
public:
    /// Puts a question to the helper; the answer comes once, later.
    using Ask = std::function<void(const std::string& address, const std::string& redirectedFrom,
                                   std::function<void(HookVerdict)>)>;
    using Finished = std::function<void(PageResult)>;

    /// Begins to load. `finished` is called once, from the main loop, unless the page is destroyed before.
    Page(Engine& engine, WebKitWebView* related, PageRequest request, Ask ask, Finished finished);
    ~Page();
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    /// Whether the question is about this page. The engine may lay a page out in another process than the one that it
    /// began in, and then calls it by another, higher number.
    [[nodiscard]] bool isAsked(const Hook::Question& question);
    [[nodiscard]] WebKitWebView* view() const noexcept { return view_; }
    /// Answers a question of the extension.
    void judge(Hook::Question question);
    /// Serves an address that the helper has given the contents of; false when it has not.
    bool serve(WebKitURISchemeRequest* request);

private:
    enum class Phase { loading, settling, walking, saving, over };

    void open(WebKitWebView* related, bool withScripts);
    void closeView();
    void again();
    void loadFinished();
    void settle();
    void walk();
    void walked(std::string&& text);
    void save();
    void saved(const std::string& snapshot);
    void finish();
    void timeIsUp();
    void watch(guint milliseconds);
    void ended();
    gboolean decide(WebKitPolicyDecision* decision, WebKitPolicyDecisionType type);
    void script(const char* source, void (Page::*then)(std::string&&));
    void settledFor(std::string&& answer);

    Engine& engine_;
    PageRequest request_;
    Ask ask_;
    Finished finished_;
    WebKitWebView* view_ = nullptr;
    std::vector<gulong> handlers_;
    GCancellable* cancellable_ = nullptr;
    guint timer_ = 0;
    guint pause_ = 0;
    gint64 start_ = 0;
    gint64 settleStart_ = 0;
    Phase phase_ = Phase::loading;
    bool mainWasSeen_ = false;
    std::uint64_t otherNumber_ = 0;
    bool wasCut_ = false;
    bool isSecondTry_ = false;
    int responses_ = 0;
    int commits_ = 0;  ///< documents that took the view's place, ours included
    std::string address_;
    std::map<std::string, HookVerdict> served_;
    PageResult result_;
    std::shared_ptr<Page*> self_;  // null once this is gone
};

}  // namespace quarry::web
