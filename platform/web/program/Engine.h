// The web engine as this worker sets it up: nothing kept, nothing shown, nothing fetched ahead.
#pragma once

#include <webkit/webkit.h>

#include <string>
#include <string_view>

namespace quarry::web {

/// The scheme that stands for SCHEME in addresses whose contents the helper serves itself.
inline constexpr const char* kServedPrefix = "quarry-";

class Engine {
public:
    /// Whether the engine's sandbox starts here; where it does not, the engine would abort instead of doing without.
    [[nodiscard]] static bool sandboxStarts();

    /// `folder` is private and holds the hook's socket; the extension is the only file in `extensions`.
    Engine(std::string folder, std::string extensions);

    /// A view of the usual size with nothing in it, floating.  In the process of `related` unless that is null.
    [[nodiscard]] WebKitWebView* makeView(WebKitWebView* related, bool withScripts);

    /// Lets a view that is about to go load nothing any more.
    void silence(WebKitWebView* view);

    [[nodiscard]] WebKitWebContext* context() const noexcept { return context_; }

private:
    [[nodiscard]] WebKitUserContentFilter* compiled(const char* name, std::string_view rules);
    [[nodiscard]] static WebKitSettings* settings(bool withScripts);

    std::string folder_;
    std::string extensions_;
    WebKitWebContext* context_ = nullptr;
    WebKitNetworkSession* session_ = nullptr;
    WebKitUserContentFilter* filter_ = nullptr;
    WebKitUserContentFilter* filterOfTheLeft_ = nullptr;
};

}  // namespace quarry::web
