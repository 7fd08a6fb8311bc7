#include "foundation/Exception.h"
#include "foundation/Log.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

namespace halden {
namespace {

template <class Thrown>
std::string lineLoggedFor(const Thrown& thrown) {
    std::string line;
    setLogSink([&](LogLevel, std::string_view message) { line = message; });
    try {
        throw thrown;
    } catch (...) {
        logCaughtException("launch:", "HelperTask");
    }
    setLogSink({});
    return line;
}

TEST(Exception, TheLogLineHasSelectorClassNameReasonAndStack) {
    const Exception exception("Name", "the reason");
    std::string expected = "launch: (HelperTask):\nName\nthe reason\n";
    const auto symbols = exception.callStackSymbols();
    ASSERT_FALSE(symbols.empty());
    for (std::size_t i = 0; i < symbols.size(); ++i)
        expected += (i == 0 ? "" : "\n") + symbols[i];
    EXPECT_EQ(lineLoggedFor(exception), expected);
}

TEST(Exception, OtherExceptionsAreDescribedByTheirType) {
    EXPECT_EQ(lineLoggedFor(std::runtime_error("gone")), "launch: (HelperTask):\nstd::runtime_error\ngone\n");
    EXPECT_EQ(lineLoggedFor(7), "launch: (HelperTask):\nint\n\n");
}

TEST(Guarded, CatchesWhateverIsThrown) {
    EXPECT_EQ(guarded([] { return 1; }, 2), 1);
    EXPECT_EQ(guarded([]() -> int { throw Exception("a", "b"); }, 2), 2);
    EXPECT_EQ(guarded([]() -> int { throw "text"; }, 2), 2);
}

void* cancelledInsideAGuard(void* reachedEnd) {
    guarded(
        [] {
            pthread_cancel(pthread_self());
            pthread_testcancel();
            return 0;
        },
        0);
    *static_cast<bool*>(reachedEnd) = true;
    return nullptr;
}

TEST(Guarded, LetsAForcedUnwindPass) {
    bool reachedEnd = false;
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, cancelledInsideAGuard, &reachedEnd), 0);
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_FALSE(reachedEnd);
}

}  // namespace
}  // namespace halden
