// Pages rendered to rich text by the web engine, in a process of its own.
#pragma once

#include "foundation/Data.h"
#include "foundation/Url.h"
#include "richtext/AttributedString.h"

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace halden {

/// What becomes of a resource that a page wants.
struct ResourceDecision {
    enum class Kind {
        deny,   ///< it does not load
        allow,  ///< it loads from where it is
        serve,  ///< it is `data`; nothing is fetched
    };
    Kind kind = Kind::deny;
    Data data{};
    std::u16string MIMEType{};
    std::u16string textEncodingName{};
};

/// Is asked before each resource and each redirect of a page loads, and before a frame or the page goes elsewhere.
///
/// Called on the thread that renders, from within `attributedStringWithHTML`. Of a data: address only the beginning is
/// given. May iterate the run loop, and may throw nothing.
class ResourceLoadDelegate {
public:
    virtual ~ResourceLoadDelegate() = default;

    [[nodiscard]] virtual ResourceDecision willSendRequest(const Url& request,
                                                           const std::optional<Url>& redirectedFrom) = 0;
};

struct HtmlReadingOptions {
    double timeout = 15;                       ///< "Timeout", seconds that loading may take
    ResourceLoadDelegate* delegate = nullptr;  ///< without one everything loads
    std::optional<Url> baseURL{};
    std::u16string textEncodingName{};  ///< outranks what the page declares, not a byte-order mark; empty: none
};

struct HtmlRendererLimits {
    int pages = 200;                  ///< that one worker renders
    std::uint32_t megabytes = 700;    ///< that the worker and its processes may hold between pages
    double start = 20;                ///< seconds until a worker is ready
    double answerAfterTimeout = 0.9;  ///< seconds that the worker may take once the time for loading is up
};

/// What the last worker said of itself.
struct WebEngineState {
    std::string version;      ///< "2.50.6"; empty before the first start
    bool hasSandbox = false;  ///< whether pages are laid out in the engine's own sandbox
    std::string reason;       ///< why there is no engine; empty where there is one
};

/// Starts the worker (`quarry-web`) on first use and keeps it; a new one takes over after a number of pages, when it
/// has grown, and after it has ended in any way.
///
/// While a page loads the thread's default main context is iterated: what is dispatched there may render another page,
/// which is then rendered inside the first, and is finished before it. Scripts run; cookies, storage, plug-ins, media,
/// sockets and service workers are off; pages show files where the delegate lets them, and cannot read them.
/// Used by the main thread alone.
class HtmlRenderer {
public:
    explicit HtmlRenderer(HtmlRendererLimits limits = {});
    ~HtmlRenderer();
    HtmlRenderer(const HtmlRenderer&) = delete;
    HtmlRenderer& operator=(const HtmlRenderer&) = delete;

    /// The page as it is laid out, 800 pixels wide. What did not load in time is left out. nullopt, with a line in the
    /// log, when there is no engine, or it ends while it renders. The text of no bytes is empty.
    [[nodiscard]] std::optional<AttributedString> attributedStringWithHTML(const Data& html,
                                                                           const HtmlReadingOptions& options);

    /// Starts the worker if there is none, and waits until it is ready.
    [[nodiscard]] WebEngineState start();

    /// The worker, or 0.
    [[nodiscard]] pid_t process() const;

private:
    class Link;
    struct Job;
    struct Question;
    [[nodiscard]] std::shared_ptr<Link> readyLink();
    static void answerQuestions(Link& link);
    static void answer(Link& link, const Question& question);
    void renewIfDue();

    HtmlRendererLimits limits_;
    std::shared_ptr<Link> link_;
    WebEngineState state_;
    int depth_ = 0;
    std::uint32_t lastPage_ = 0;
};

/// Path of the worker quarry-web in the installation that the running program belongs to.
[[nodiscard]] std::string webWorkerPath();

}  // namespace halden
