// The helper, as the worker sees it: frames over standard input, written without waiting.
#pragma once

#include "platform/web/Frames.h"

#include <glib.h>

#include <deque>
#include <functional>
#include <string>

namespace quarry::web {

class Helper {
public:
    using Handler = std::function<void(const halden::web::Frame&)>;

    /// Calls `handler` for every frame from the main loop; the process ends when the helper does.
    explicit Helper(int socket, Handler handler);

    void send(std::string frame);

private:
    void receive();
    void write();

    int socket_;
    Handler handler_;
    halden::web::FrameBuffer incoming_;
    std::deque<std::string> outgoing_;
    std::size_t written_ = 0;  // of the first of them
    guint writing_ = 0;
};

}  // namespace quarry::web
