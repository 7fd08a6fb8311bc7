// What becomes of pages where the system lacks something, and what a killed helper leaves behind.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

namespace quarry::test {
namespace {

constexpr const char* kLibexec = QUARRY_BUILD_PREFIX "/libexec/quarry";

struct Lack {
    const char* name;
    std::string setUp;  // what a shell does in a mount namespace of its own
    bool rendersPages;
    const char* doctor;  // what the line about the engine holds
};

const Lack kLacks[] = {
    {"nothing", "true", true, "WebKitGTK"},
    {"sandboxProgram", "mount --bind /bin/false /usr/bin/bwrap", true,
     "without its sandbox: bubblewrap does not start"},
    {"namespaces", "echo 0 > /proc/sys/user/max_user_namespaces", true, "without its sandbox: bubblewrap does not"},
    {"fonts", "mount -t tmpfs none /usr/share/fonts", true, "WebKitGTK"},
    {"displayServers", "for p in /usr/bin/Xvfb /usr/bin/Xwayland; do test ! -e $p || mount --bind /bin/false $p; done",
     true, "WebKitGTK"},
    {"home", "export HOME=/proc/nowhere", true, "WebKitGTK"},
    {"runtimeFolder", "unset XDG_RUNTIME_DIR", true, "WebKitGTK"},
    {"worker", std::string("mount --bind /dev/null ") + kLibexec + "/quarry-web", false, "quarry-web is not installed"},
    {"hook", std::string("mount -t tmpfs none ") + kLibexec + "/web-extension", false,
     "the web engine does not ask before it loads"},
};

/// Whether namespaces can be had here, as the launcher below needs them.
bool canUnshare() {
    static const bool can = std::system("unshare -rm mount -t tmpfs none /mnt 2>/dev/null") == 0;
    return can;
}

class WithoutSomething : public ::testing::TestWithParam<Lack> {};

TEST_P(WithoutSomething, PagesAreRenderedOrDoctorSaysWhy) {
    if (!canUnshare()) GTEST_SKIP() << "no mount namespaces here";
    Surroundings surroundings;
    surroundings.write("a.html", "<p>words");
    surroundings.setLauncher({"unshare", "-rm", "sh", "-c", GetParam().setUp + " && exec \"$@\"", "sh"});
    const Outcome page = surroundings.run({"html", "a.html", "-o", "out.rtfd"});
    EXPECT_EQ(page.out, GetParam().rendersPages ? "YES\n" : "NO\n") << page.error;
    EXPECT_EQ(page.status, GetParam().rendersPages ? 0 : 1);
    std::ostringstream text;
    text << std::ifstream(surroundings.folder() / "out.rtfd/TXT.rtf").rdbuf();
    EXPECT_EQ(text.str().find("words") != std::string::npos, GetParam().rendersPages) << text.str();
    const Outcome doctor = surroundings.run({"doctor"});
    const std::size_t line = doctor.out.find("web engine");
    ASSERT_NE(line, std::string::npos) << doctor.out;
    EXPECT_NE(doctor.out.substr(line, doctor.out.find('\n', line) - line).find(GetParam().doctor), std::string::npos)
        << doctor.out;
}

INSTANTIATE_TEST_SUITE_P(Lacks, WithoutSomething, ::testing::ValuesIn(kLacks),
                         [](const auto& lack) { return std::string(lack.param.name); });

std::string nameOf(pid_t process) {
    std::string name;
    std::getline(std::ifstream("/proc/" + std::to_string(process) + "/comm"), name);
    return name;
}

/// The first process of that name in the surroundings; waits for it, for at most 15 s.
pid_t processNamed(const Surroundings& surroundings, std::string_view name) {
    for (int attempt = 0; attempt < 300; ++attempt) {
        for (const pid_t process : surroundings.processes()) {
            if (nameOf(process) == name) return process;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return 0;
}

TEST(KilledHelper, LeavesNoEngineBehind) {
    Surroundings surroundings;
    surroundings.write("a.html", "<p>words<script>for(;;);</script>");
    Outcome outcome;
    std::thread command([&] { outcome = surroundings.run({"html", "a.html", "-o", "out.rtfd"}); });
    const pid_t helper = processNamed(surroundings, "quarry-helper");
    // Names of processes are cut after fifteen letters.
    const pid_t engine = processNamed(surroundings, "WebKitWebProces");
    if (helper != 0) kill(helper, SIGKILL);
    command.join();
    ASSERT_NE(helper, 0);
    EXPECT_NE(engine, 0);
    EXPECT_EQ(outcome.status, 3) << outcome.out << outcome.error;
    EXPECT_TRUE(surroundings.waitForImporter("")) << nameOf(surroundings.processes().at(0));
}

}  // namespace
}  // namespace quarry::test
