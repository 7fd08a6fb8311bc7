#include "tools/Interruption.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <thread>

namespace quarry::tools {

namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

std::atomic<bool> interrupted = false;
std::atomic<bool> mayFinish = false;  // the next signal only asks for an end soon
std::atomic<int> pipeIn = -1;
int pipeOut = -1;
std::thread listener;

void note(int signal) {
    const int error = errno;
    if (!mayFinish.exchange(false)) {
        interrupted = true;
    }
    const auto number = static_cast<char>(signal);
    [[maybe_unused]] const ssize_t count = ::write(pipeIn, &number, 1);
    errno = error;
}

void setHandler(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

/// The number of the next signal; 0 when there comes none.
char nextSignal() {
    char number = 0;
    ssize_t count = 0;
    do {
        count = ::read(pipeOut, &number, 1);
    } while (count < 0 && errno == EINTR);
    return count == 1 ? number : char{0};
}

void listen(const std::function<void()>& cleanUp, const std::function<void()>& finishSoon) {
    char number = nextSignal();
    if (number != 0 && finishSoon) {
        finishSoon();
        number = nextSignal();
    }
    if (number == 0) {
        return;
    }
    cleanUp();
    // The shell that waits must see the signal, not a status.
    setHandler(number, SIG_DFL);
    ::raise(number);
    ::_exit(128 + number);
}

}  // namespace

Interruption::Interruption(std::function<void()> cleanUp, std::function<void()> finishSoon) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    pipeOut = ends[0];
    pipeIn = ends[1];
    mayFinish = static_cast<bool>(finishSoon);
    listener = std::thread(listen, std::move(cleanUp), std::move(finishSoon));
    for (const int signal : kSignals) {
        struct sigaction before {};
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
            setHandler(signal, note);
        }
    }
}

Interruption::~Interruption() {
    if (pipeOut < 0) {
        return;
    }
    for (const int signal : kSignals) {
        struct sigaction now {};
        if (::sigaction(signal, nullptr, &now) == 0 && now.sa_handler == note) {
            setHandler(signal, SIG_DFL);
        }
    }
    stopHereWhenInterrupted();
    const char end = 0;
    [[maybe_unused]] const ssize_t count = ::write(pipeIn, &end, 1);
    listener.join();
    ::close(pipeIn);
    ::close(pipeOut);
    pipeIn = pipeOut = -1;
}

void Interruption::stopHereWhenInterrupted() {
    while (interrupted) {
        ::pause();
    }
}

}  // namespace quarry::tools
