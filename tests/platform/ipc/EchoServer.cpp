// A process that vends EchoService, for the tests:
//
//     ipc_echo_server [busy] [queueing] [reply-timeout SECONDS] [request-timeout SECONDS]
//
// Its name is "EchoService" in the registry folder that the environment says. It writes "claimed" or "taken" to
// standard output and serves until it is ended.
#include "platform/ipc/Connection.h"
#include "platform/ipc/RunLoop.h"
#include "tests/platform/ipc/EchoService.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace {

using namespace halden;

double seconds(const Value& value) {
    if (const auto* integer = value.as<std::int64_t>()) return static_cast<double>(*integer);
    const auto* real = value.as<double>();
    return real != nullptr ? *real : 0;
}

std::int64_t integer(const Value& value) {
    const auto* number = value.as<std::int64_t>();
    return number != nullptr ? *number : 0;
}

class Echo : public EchoService {
public:
    std::optional<Value> echo(const std::optional<Value>& value) override { return value; }
    std::u16string echoString(std::u16string_view string) override { return std::u16string(string); }
    std::optional<Data> echoData(const std::optional<Data>& data) override { return data; }
    std::optional<Dictionary> echoDictionary(const Dictionary& dictionary) override { return dictionary; }
    Array echoArray(const Array& array) override { return array; }

    std::u16string areMarked(const std::optional<std::u16string>& note, AreMarkedOptions options) override {
        return note.value_or(u"nil") + (options.first ? u"+" : u"-") + (options.second ? u"+" : u"-");
    }

    Data makeData(const Value& length) override {
        return Data(std::vector<std::uint8_t>(static_cast<std::size_t>(integer(length)), 0x5A));
    }

    Value makeNest(const Value& depth) override {
        Value nest = 1;
        for (std::int64_t i = 0; i < integer(depth); ++i)
            nest = Array{std::move(nest)};
        return nest;
    }

    Array makeStrings(const Value& count) override {
        return Array(static_cast<std::size_t>(integer(count)), Value(u"abcdefghijklmnop"));
    }

    bool sleep(const Value& time) override {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds(time)));
        return true;
    }

    Value runLoopFor(const Value& time) override {
        ++depth_;
        const int deepest = deepest_ = std::max(deepest_, depth_);
        RunLoop::currentRunLoop().runForTimeInterval(seconds(time));
        --depth_;
        return std::max(deepest, deepest_);
    }

    bool raise(std::u16string_view kind) override {
        if (kind == u"exception") throw Exception("EchoException", "as asked: \xC3\xA4");
        if (kind == u"standard") throw std::out_of_range("far out");
        if (kind == u"number") throw 42;
        if (kind == u"ill-formed") throw Exception("Bad\xFFName", std::string("nul\0 inside", 11));
        if (kind == u"connection") throw ConnectionException(ConnectionFailure::timedOut, "of another connection");
        return false;
    }

    bool endProcess(const Value& signal) override {
        kill(getpid(), static_cast<int>(integer(signal)));
        return true;
    }

    bool forkAndEnd(const Value& time) override {
        if (fork() == 0) {
            std::this_thread::sleep_for(std::chrono::duration<double>(seconds(time)));
            _exit(0);
        }
        kill(getpid(), SIGKILL);
        return true;
    }

private:
    int depth_ = 0;
    int deepest_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    Connection connection;
    const auto root = std::make_shared<EchoServiceRootObject>(std::make_shared<Echo>());
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "busy") == 0) {
            // Busy for its first three answers.
            root->setStillBusy([answers = 0]() mutable { return ++answers <= 3; });
        } else if (std::strcmp(argv[i], "queueing") == 0) {
            connection.setIndependentConversationQueueing(true);
        } else if (std::strcmp(argv[i], "reply-timeout") == 0 && i + 1 < argc) {
            connection.setReplyTimeout(std::atof(argv[++i]));
        } else if (std::strcmp(argv[i], "request-timeout") == 0 && i + 1 < argc) {
            connection.setRequestTimeout(std::atof(argv[++i]));
        }
    }
    connection.setRootObject(root);
    std::puts(connection.registerName(u"EchoService") ? "claimed" : "taken");
    std::fflush(stdout);
    for (;;)
        RunLoop::currentRunLoop().run();
}
