// Ownership of what GLib hands out.
#pragma once

#include <gio/gio.h>

#include <memory>

namespace halden {

struct GRelease {
    void operator()(GVariant* variant) const noexcept { g_variant_unref(variant); }
    void operator()(GError* error) const noexcept { g_error_free(error); }
    void operator()(GMainContext* context) const noexcept { g_main_context_unref(context); }
    void operator()(GSource* source) const noexcept {
        g_source_destroy(source);
        g_source_unref(source);
    }
    void operator()(GDBusNodeInfo* info) const noexcept { g_dbus_node_info_unref(info); }
    void operator()(GBytes* bytes) const noexcept { g_bytes_unref(bytes); }
    void operator()(GThread* thread) const noexcept { g_thread_join(thread); }
    void operator()(char* text) const noexcept { g_free(text); }
    // Objects, GCancellable and so on.
    void operator()(void* object) const noexcept { g_object_unref(object); }
};

/// Owns one reference. A GSource is destroyed with it, a GThread joined.
template <class T>
using GPointer = std::unique_ptr<T, GRelease>;

/// Adds a reference to a GObject.
template <class T>
[[nodiscard]] GPointer<T> retained(T* object) {
    return GPointer<T>(object != nullptr ? static_cast<T*>(g_object_ref(object)) : nullptr);
}

/// Receives the error of a GLib call.
class GErrorSlot {
public:
    GErrorSlot() = default;
    GErrorSlot(const GErrorSlot&) = delete;
    GErrorSlot& operator=(const GErrorSlot&) = delete;
    ~GErrorSlot() { g_clear_error(&error_); }

    [[nodiscard]] GError** operator&() noexcept { return &error_; }
    [[nodiscard]] const GError* get() const noexcept { return error_; }
    [[nodiscard]] const char* message() const noexcept { return error_ != nullptr ? error_->message : "unknown"; }

private:
    GError* error_ = nullptr;
};

}  // namespace halden
