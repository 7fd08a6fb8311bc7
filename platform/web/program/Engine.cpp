#include "platform/web/program/Engine.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

namespace quarry::web {
namespace {

constexpr int kWidth = 800;
constexpr int kHeight = 600;
/// Of a process that lays out pages; it is ended beyond it.
constexpr guint kMegabytes = 1536;

/// Looked up by name at run time: the distribution updates the engine. What a page could reach the network with past
/// the hook, what fetches ahead, and what slows down pages that nobody sees.
constexpr std::array<std::string_view, 13> kUnwanted{
    "WebSocket",
    "SharedWorker",
    "ServiceWorkers",
    "WebTransport",
    "LinkPreconnect",
    "LinkPreconnectEarlyHints",
    "LinkDNSPrefetch",
    "LinkPrefetch",
    "HiddenPageDOMTimerThrottling",
    "HiddenPageDOMTimerThrottlingAutoIncreases",
    "DOMTimersThrottling",
    "HiddenPageCSSAnimationSuspension",
    "PageVisibilityBasedProcessSuppression",
};

/// Pages may show files, and must not read them: scripts and frames stay away from file addresses.
constexpr std::string_view kFilter = R"([
{"trigger":{"url-filter":"^file:","resource-type":["raw","script","font","fetch","ping","popup","other","websocket",
 "svg-document","media"]},"action":{"type":"block"}},
{"trigger":{"url-filter":"^file:","resource-type":["document"],"load-context":["child-frame"]},
 "action":{"type":"block"}},
{"trigger":{"url-filter":"^wss?:"},"action":{"type":"block"}},
{"trigger":{"url-filter":".*","resource-type":["ping","csp-report"]},"action":{"type":"block"}}])";

/// A page that is left may still send something, which the hook does not hear of.
constexpr std::string_view kFilterOfTheLeft = R"([{"trigger":{"url-filter":".*"},"action":{"type":"block"}}])";

}  // namespace

bool Engine::sandboxStarts() {
    std::array<const char*, 13> words{"bwrap",
                                      "--unshare-user",
                                      "--unshare-pid",
                                      "--unshare-uts",
                                      "--unshare-ipc",
                                      "--ro-bind",
                                      "/",
                                      "/",
                                      "--proc",
                                      "/proc",
                                      "--",
                                      "true",
                                      nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", 1, 0);
    pid_t process = 0;
    const int error =
        posix_spawnp(&process, "bwrap", &actions, nullptr, const_cast<char* const*>(words.data()), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) return false;
    int status = -1;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

Engine::Engine(std::string folder, std::string extensions)
    : folder_(std::move(folder)), extensions_(std::move(extensions)) {
    WebKitMemoryPressureSettings* memory = webkit_memory_pressure_settings_new();
    webkit_memory_pressure_settings_set_memory_limit(memory, kMegabytes);
    webkit_memory_pressure_settings_set_kill_threshold(memory, 1.0);
    context_ = WEBKIT_WEB_CONTEXT(g_object_new(WEBKIT_TYPE_WEB_CONTEXT, "memory-pressure-settings", memory, nullptr));
    webkit_memory_pressure_settings_free(memory);
    webkit_web_context_set_cache_model(context_, WEBKIT_CACHE_MODEL_DOCUMENT_VIEWER);
    webkit_web_context_set_spell_checking_enabled(context_, FALSE);
    // Inside the sandbox there is nothing but what is named here; an extension that cannot be loaded asks nobody.
    webkit_web_context_add_path_to_sandbox(context_, folder_.c_str(), FALSE);
    webkit_web_context_add_path_to_sandbox(context_, extensions_.c_str(), TRUE);
    const auto start = [](WebKitWebContext* context, gpointer self) {
        const auto* engine = static_cast<Engine*>(self);
        webkit_web_context_set_web_process_extensions_directory(context, engine->extensions_.c_str());
        webkit_web_context_set_web_process_extensions_initialization_user_data(
            context, g_variant_new_string((engine->folder_ + "/hook").c_str()));
    };
    g_signal_connect(context_, "initialize-web-process-extensions", G_CALLBACK(+start), this);

    session_ = webkit_network_session_new_ephemeral();
    webkit_network_session_set_proxy_settings(session_, WEBKIT_NETWORK_PROXY_MODE_NO_PROXY, nullptr);
    webkit_cookie_manager_set_accept_policy(webkit_network_session_get_cookie_manager(session_),
                                            WEBKIT_COOKIE_POLICY_ACCEPT_NEVER);
    filter_ = compiled("files", kFilter);
    filterOfTheLeft_ = compiled("all", kFilterOfTheLeft);
}

WebKitUserContentFilter* Engine::compiled(const char* name, std::string_view rules) {
    WebKitUserContentFilterStore* store = webkit_user_content_filter_store_new((folder_ + "/filters").c_str());
    GBytes* bytes = g_bytes_new_static(rules.data(), rules.size());
    struct Result {
        WebKitUserContentFilter* filter = nullptr;
        bool isThere = false;
    } result;
    const auto finished = [](GObject* object, GAsyncResult* answer, gpointer data) {
        auto* waiting = static_cast<Result*>(data);
        GError* error = nullptr;
        waiting->filter =
            webkit_user_content_filter_store_save_finish(WEBKIT_USER_CONTENT_FILTER_STORE(object), answer, &error);
        if (error != nullptr) {
            g_printerr("No filter: %s\n", error->message);
            g_error_free(error);
        }
        waiting->isThere = true;
    };
    webkit_user_content_filter_store_save(store, name, bytes, nullptr, finished, &result);
    while (!result.isThere)
        g_main_context_iteration(nullptr, TRUE);
    g_bytes_unref(bytes);
    g_object_unref(store);
    // Without it pages could read the machine's files.
    if (result.filter == nullptr) _exit(3);
    return result.filter;
}

WebKitSettings* Engine::settings(bool withScripts) {
    WebKitSettings* settings = webkit_settings_new();
    g_object_set(settings, "enable-page-cache", FALSE, "enable-webgl", FALSE, "enable-media", FALSE, "enable-webaudio",
                 FALSE, "enable-html5-local-storage", FALSE, "enable-html5-database", FALSE, "enable-smooth-scrolling",
                 FALSE, "javascript-can-open-windows-automatically", FALSE, "hardware-acceleration-policy",
                 WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER, "enable-javascript-markup", withScripts, nullptr);
    WebKitFeatureList* features = webkit_settings_get_all_features();
    std::size_t found = 0;
    for (gsize i = 0; i < webkit_feature_list_get_length(features); ++i) {
        WebKitFeature* feature = webkit_feature_list_get(features, i);
        for (const std::string_view name : kUnwanted) {
            if (name != webkit_feature_get_identifier(feature)) continue;
            webkit_settings_set_feature_enabled(settings, feature, FALSE);
            ++found;
        }
    }
    webkit_feature_list_unref(features);
    static bool isSaid = false;
    if (found < kUnwanted.size() && !std::exchange(isSaid, true))
        g_printerr("The engine knows %zu of %zu features that are switched off.\n", found, kUnwanted.size());
    return settings;
}

WebKitWebView* Engine::makeView(WebKitWebView* related, bool withScripts) {
    WebKitSettings* wanted = settings(withScripts);
    auto* view =
        related != nullptr
            ? WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "settings", wanted, "related-view", related, nullptr))
            : WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "settings", wanted, "web-context", context_,
                                           "network-session", session_, nullptr));
    g_object_unref(wanted);
    const char* const allowed[] = {"file:///*", nullptr};
    webkit_web_view_set_cors_allowlist(view, allowed);
    webkit_user_content_manager_add_filter(webkit_web_view_get_user_content_manager(view), filter_);
    g_object_ref_sink(view);
    int minimum = 0;
    int natural = 0;
    gtk_widget_measure(GTK_WIDGET(view), GTK_ORIENTATION_HORIZONTAL, -1, &minimum, &natural, nullptr, nullptr);
    const GtkAllocation place{0, 0, kWidth, kHeight};
    gtk_widget_size_allocate(GTK_WIDGET(view), &place, -1);
    return view;
}

void Engine::silence(WebKitWebView* view) {
    webkit_user_content_manager_add_filter(webkit_web_view_get_user_content_manager(view), filterOfTheLeft_);
}

}  // namespace quarry::web
