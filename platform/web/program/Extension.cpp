// Loaded into every process of the engine that lays out pages: asks before each load and each redirect.
//
// Who cannot be asked allows nothing. The worker, for its part, drops pages that never asked.

#include "platform/web/program/HookWire.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <webkit/webkit-web-process-extension.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

namespace wire = quarry::web::hook;

int connection = -1;

bool sendAll(const void* bytes, std::size_t length) {
    const char* next = static_cast<const char*>(bytes);
    while (length > 0) {
        const ssize_t count = send(connection, next, length, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        next += count;
        length -= static_cast<std::size_t>(count);
    }
    return true;
}

bool receiveAll(void* bytes, std::size_t length) {
    char* next = static_cast<char*>(bytes);
    while (length > 0) {
        const ssize_t count = recv(connection, next, length, 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        next += count;
        length -= static_cast<std::size_t>(count);
    }
    return true;
}

/// Whether the address may be loaded; `instead` receives the address to load in its place, if there is one.
bool ask(std::uint64_t page, const char* address, const char* redirectedFrom, std::string& instead) {
    if (connection < 0) return false;
    std::string url(address != nullptr ? address : "");
    // What stands in a data: address is nobody's business but the page's.
    if (g_ascii_strncasecmp(url.c_str(), "data:", 5) == 0 && url.size() > wire::kLongestDataAddress)
        url.resize(wire::kLongestDataAddress);
    if (url.size() > wire::kLongestAddress) return false;
    std::string from(redirectedFrom != nullptr ? redirectedFrom : "");
    if (from.size() > wire::kLongestAddress) from.clear();
    const wire::Question question{page, static_cast<std::uint32_t>(url.size()),
                                  static_cast<std::uint32_t>(from.size())};
    wire::Answer answer{};
    if (!sendAll(&question, sizeof question) || !sendAll(url.data(), url.size()) ||
        !sendAll(from.data(), from.size()) || !receiveAll(&answer, sizeof answer) ||
        answer.addressLength > wire::kLongestAddress)
        return false;
    instead.resize(answer.addressLength);
    return receiveAll(instead.data(), instead.size()) && answer.allowed == 1;
}

gboolean willSendRequest(WebKitWebPage* page, WebKitURIRequest* request, WebKitURIResponse* redirect, gpointer) {
    std::string instead;
    const char* from = redirect != nullptr ? webkit_uri_response_get_uri(redirect) : nullptr;
    if (!ask(webkit_web_page_get_id(page), webkit_uri_request_get_uri(request), from, instead)) return TRUE;
    if (!instead.empty()) webkit_uri_request_set_uri(request, instead.c_str());
    return FALSE;
}

void pageCreated(WebKitWebProcessExtension*, WebKitWebPage* page, gpointer) {
    g_signal_connect(page, "send-request", G_CALLBACK(willSendRequest), nullptr);
}

}  // namespace

extern "C" G_MODULE_EXPORT void webkit_web_process_extension_initialize_with_user_data(
    WebKitWebProcessExtension* extension, const GVariant* data) {
    const char* path = g_variant_get_string(const_cast<GVariant*>(data), nullptr);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (std::strlen(path) < sizeof address.sun_path) {
        std::memcpy(address.sun_path, path, std::strlen(path) + 1);
        connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            close(connection);
            connection = -1;
        }
    }
    g_signal_connect(extension, "page-created", G_CALLBACK(pageCreated), nullptr);
}
