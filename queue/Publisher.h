// Results on their way to the server.
#pragma once

#include "queue/Job.h"
#include "queue/MergedResults.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::queue {

// Headers of a result's messages.
inline constexpr const char* kResultHeader = "Quarry-Result";      // its key
inline constexpr const char* kPartHeader = "Quarry-Part";          // "2/3"; none for a result in one piece
inline constexpr const char* kEncodingHeader = "Quarry-Encoding";  // "zstd", or none
// The server's own, of any message: a second one of the same number is none.
inline constexpr const char* kIdentifierHeader = "Nats-Msg-Id";

/// Publishes without waiting, and tells when the server has a result on its disk. What is not answered is published
/// again; the number of a message keeps the server from having it twice. For several threads.
class Publisher {
public:
    using Stored = std::function<void()>;

    Publisher(const Connection& connection, const Job& job);
    Publisher(const Publisher&) = delete;
    Publisher& operator=(const Publisher&) = delete;

    /// Long lines are compressed, and cut into parts where they exceed what one message may have. Waits while too much
    /// is on its way. `stored` is called once, from any thread, when all of it is stored.
    void publish(const std::string& subject, ResultKey key, std::string_view line, Stored stored);

    /// Publishes once more what failed. To be called now and then.
    void retry();
    /// From now on `publish` waits for nothing: so much the less is on its way at the end.
    void waitNoMore();
    /// Waits until everything is stored, or until that many seconds have passed; whether it is.
    [[nodiscard]] bool drain(double seconds);

private:
    struct Awaited {
        Stored stored;
        std::size_t left = 0;  // pieces that are not stored yet
    };
    struct Piece {
        std::string subject;
        std::string payload;
        std::string result;
        std::string part;
        bool isCompressed = false;
        std::vector<std::shared_ptr<Awaited>> awaited;
    };

    static void acknowledged(jsCtx* context, natsMsg* message, jsPubAck* acknowledgement, jsPubAckErr* error,
                             void* closure);
    void answered(const std::string& identifier, bool isStored);
    [[nodiscard]] bool send(const std::string& identifier, const Piece& piece);

    std::string prefix_;
    std::size_t largest_;
    std::mutex mutex_;
    std::condition_variable less_;
    std::map<std::string, Piece> pieces_;  // by the number of the message
    std::size_t bytes_ = 0;
    bool waits_ = true;
    std::vector<std::string> failed_;
    ContextOwner context_;  // the last: its callbacks use the others
};

}  // namespace quarry::queue
