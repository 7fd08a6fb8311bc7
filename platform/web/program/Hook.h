// The extensions' questions: taken from their sockets, handed on, answered.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace quarry::web {

class Hook {
public:
    /// One question; `answer` is called once, at any time, from the main loop's thread.
    struct Question {
        std::uint64_t page = 0;
        std::string address;
        std::string redirectedFrom;
        std::function<void(bool allowed, const std::string& instead)> answer;
    };
    using Handler = std::function<void(Question)>;

    /// Listens at `path`. False from `isListening` when it cannot.
    Hook(const std::string& path, Handler handler);

    [[nodiscard]] bool isListening() const noexcept { return listener_ >= 0; }

private:
    struct Connection;
    void accept();
    void receive(const std::shared_ptr<Connection>& connection);

    int listener_ = -1;
    Handler handler_;
};

}  // namespace quarry::web
