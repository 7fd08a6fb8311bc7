#include "platform/web/program/Display.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <wayland-server.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <thread>

extern "C" const wl_interface xdg_wm_base_interface;

namespace quarry::web {
namespace {

/// Takes every request of every object: makes the objects that it asks for, closes the files that it hands over, and
/// does nothing else. Nothing is ever mapped, so no client waits for an event.
int acceptRequest(const void*, void* target, std::uint32_t, const wl_message* message, wl_argument* arguments) {
    auto* resource = static_cast<wl_resource*>(target);
    int index = 0;
    for (const char* sign = message->signature; *sign != 0; ++sign) {
        if (*sign == '?' || (*sign >= '0' && *sign <= '9')) continue;
        if (*sign == 'n') {
            wl_resource* made = wl_resource_create(wl_resource_get_client(resource), message->types[index],
                                                   wl_resource_get_version(resource), arguments[index].n);
            if (made != nullptr) wl_resource_set_dispatcher(made, acceptRequest, nullptr, nullptr, nullptr);
        } else if (*sign == 'h') {
            close(arguments[index].h);
        }
        ++index;
    }
    if (std::strcmp(message->name, "destroy") == 0 || std::strcmp(message->name, "release") == 0)
        wl_resource_destroy(resource);
    return 0;
}

void bindGlobal(wl_client* client, void* data, std::uint32_t version, std::uint32_t id) {
    wl_resource* resource =
        wl_resource_create(client, static_cast<const wl_interface*>(data), static_cast<int>(version), id);
    if (resource != nullptr) wl_resource_set_dispatcher(resource, acceptRequest, nullptr, nullptr, nullptr);
}

void addGlobal(wl_display* display, const wl_interface& interface, int version) {
    wl_global_create(display, &interface, version, const_cast<wl_interface*>(&interface), bindGlobal);
}

}  // namespace

bool startWaylandDisplay(const std::string& folder) {
    setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
    wl_display* display = wl_display_create();
    if (display == nullptr) return false;
    if (wl_display_add_socket(display, "display") != 0 || wl_display_init_shm(display) != 0) {
        wl_display_destroy(display);
        return false;
    }
    addGlobal(display, wl_compositor_interface, 4);
    addGlobal(display, wl_subcompositor_interface, 1);
    addGlobal(display, wl_data_device_manager_interface, 3);
    addGlobal(display, xdg_wm_base_interface, 1);
    setenv("WAYLAND_DISPLAY", "display", 1);
    setenv("GDK_BACKEND", "wayland", 1);
    std::thread([display] { wl_display_run(display); }).detach();
    return true;
}

bool startXvfb() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 3);
    // The server names the display that it found free, once it is ready.
    std::array<const char*, 9> words{"Xvfb",       "-displayfd", "3",   "-screen", "0",
                                     "800x600x24", "-nolisten",  "tcp", nullptr};
    pid_t process = 0;
    const int error =
        posix_spawnp(&process, "Xvfb", &actions, nullptr, const_cast<char* const*>(words.data()), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string number;
    char byte = 0;
    while (error == 0 && number.size() < 8 && read(ends[0], &byte, 1) == 1 && byte != '\n')
        number.push_back(byte);
    close(ends[0]);
    if (number.empty()) return false;
    setenv("DISPLAY", (":" + number).c_str(), 1);
    setenv("GDK_BACKEND", "x11", 1);
    unsetenv("WAYLAND_DISPLAY");
    return true;
}

}  // namespace quarry::web
