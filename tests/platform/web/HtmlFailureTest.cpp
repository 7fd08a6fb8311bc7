// Pages that do not end, and processes that do.
#include "foundation/Unicode.h"
#include "platform/web/HtmlRenderer.h"
#include "tests/platform/web/LoopbackServer.h"
#include "tests/platform/web/Rendering.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace halden::test {
namespace {

std::optional<AttributedString> rendered(std::string_view html, const HtmlReadingOptions& options = {}) {
    static HtmlRenderer instance;
    return instance.attributedStringWithHTML(Data::copying(html), options);
}

class HtmlLimitsTest : public ::testing::TestWithParam<const char*> {};

TEST_P(HtmlLimitsTest, GivesWhatIsThere) {
    LoopbackServer server;
    server.answer("/never", "");
    std::string html = std::string("<p>start</p>") + GetParam();
    if (const auto at = html.find("SERVER"); at != std::string::npos) html.replace(at, 6, server.address());
    // What is not there by the end of its time is nil: that there is a text tells that the time was kept.
    const auto text = rendered(html, {.timeout = 3});
    ASSERT_TRUE(text);
    EXPECT_TRUE(text->string().starts_with(u"start\n")) << utf8FromUtf16(text->string());
    EXPECT_EQ(rendered("<p>next").value().string(), u"next\n");
}

INSTANTIATE_TEST_SUITE_P(Pages, HtmlLimitsTest,
                         ::testing::Values("<img src=SERVER/never>", "<script>for(;;);</script>",
                                           "<script>setTimeout(()=>{for(;;);},10)</script>",
                                           "<script>alert(1);confirm(2);prompt(3);print()</script>",
                                           "<script>open('about:blank')</script>",
                                           "<script>onload=()=>{location='about:blank'}</script>",
                                           "<script>setTimeout(()=>{location='about:blank'},20)</script>",
                                           "<meta http-equiv=refresh content='0;url=about:blank'>",
                                           "<script>onbeforeunload=()=>'stay'</script>"));

/// What is below a process, itself left out.
std::vector<pid_t> descendants(pid_t process) {
    std::vector<pid_t> found;
    std::error_code gone;
    const std::string tasks = "/proc/" + std::to_string(process) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks, gone)) {
        std::ifstream children(task.path() / "children");
        for (pid_t child = 0; children >> child;) {
            found.push_back(child);
            std::ranges::copy(descendants(child), std::back_inserter(found));
        }
    }
    return found;
}

std::vector<pid_t> descendantsNamed(pid_t process, std::string_view name) {
    std::vector<pid_t> found = descendants(process);
    std::erase_if(found, [&](pid_t one) {
        std::string its;
        std::getline(std::ifstream("/proc/" + std::to_string(one) + "/comm"), its);
        return its != name;
    });
    return found;
}

struct Victim {
    const char* process;  // as the system names it
    int signal;
};

class KilledProcess : public ::testing::TestWithParam<Victim> {};

TEST_P(KilledProcess, ThePageIsNilAndTheNextOneIsThere) {
    HtmlRenderer own;
    bool isKilled = false;
    RecordingDelegate delegate([&](const Url& url) {
        if (!url.absoluteString().ends_with(u"killer.png")) return true;
        for (const pid_t victim : descendantsNamed(own.process(), GetParam().process))
            isKilled = kill(victim, GetParam().signal) == 0;
        return true;
    });
    const auto page = Data::copying("<p>outer<img src='http://127.0.0.1:8099/killer.png'>");
    EXPECT_FALSE(own.attributedStringWithHTML(page, {.timeout = 1, .delegate = &delegate}));
    EXPECT_TRUE(isKilled);
    const auto text = own.attributedStringWithHTML(Data::copying("<p>next"), {});
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string(), u"next\n");
}

// A worker that stands still is as good as one that has ended.
INSTANTIATE_TEST_SUITE_P(Processes, KilledProcess,
                         ::testing::Values(Victim{"WebKitWebProces", SIGKILL}, Victim{"quarry-web", SIGKILL},
                                           Victim{"quarry-web", SIGSTOP}));

TEST(HtmlWorkerTest, AWorkerThatEndsBetweenPagesIsReplaced) {
    HtmlRenderer own;
    ASSERT_FALSE(own.start().version.empty());
    const pid_t first = own.process();
    for (const pid_t process : descendants(first))
        kill(process, SIGKILL);
    // Whether its end is known by then or not; the page after this one has a worker again in any case.
    (void)own.attributedStringWithHTML(Data::copying("<p>x"), {.timeout = 2});
    const auto text = own.attributedStringWithHTML(Data::copying("<p>next"), {});
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string(), u"next\n");
    EXPECT_NE(own.process(), first);
}

}  // namespace
}  // namespace halden::test
