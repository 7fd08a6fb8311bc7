// The batch command with real helpers, over documents that are hard on them.
#include "foundation/Json.h"
#include "foundation/Unicode.h"
#include "tests/tools/CommandRun.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <thread>

namespace quarry::test {
namespace {

namespace fs = std::filesystem;
using halden::Dictionary;
using halden::Value;
using namespace std::chrono_literals;

struct Line {
    std::string name;  // of the file
    std::string status;
    std::int64_t attempts = 0;
    Dictionary fields;
};

std::string textOf(const Dictionary& line, std::u16string_view key) {
    const Value* value = line.find(key);
    const auto* text = value != nullptr ? value->as<std::u16string>() : nullptr;
    return text != nullptr ? halden::utf8FromUtf16(*text) : std::string();
}

std::vector<Line> linesOf(const std::string& text) {
    std::vector<Line> lines;
    std::istringstream stream(text);
    for (std::string row; std::getline(stream, row);) {
        const auto value = halden::valueFromJson(row);
        const auto* line = value ? value->as<Dictionary>() : nullptr;
        if (line == nullptr) {
            ADD_FAILURE() << row;
            continue;
        }
        lines.push_back({fs::path(textOf(*line, u"path")).filename(), textOf(*line, u"status"),
                         *line->find(u"attempts")->as<std::int64_t>(), *line});
    }
    return lines;
}

std::string contents(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

class Batch : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"Good", "Aborts", "Hangs", "Grows", "Prints"}) {
            std::string extension = name;
            extension.front() = static_cast<char>(std::tolower(extension.front()));
            surroundings_.addImporter(name, extension);
        }
        fs::create_directory(folder());
    }
    void TearDown() override {
        EXPECT_TRUE(surroundings_.processes().empty());
        EXPECT_TRUE(surroundings_.runtimeFiles().empty());
    }

    [[nodiscard]] fs::path folder() const { return surroundings_.folder() / "documents"; }
    void document(const std::string& name, const std::string& text = "x") const {
        surroundings_.write("documents/" + name, text);
    }
    void documents(int count) const {
        for (int i = 0; i < count; ++i) {
            document(std::to_string(i) + ".good");
        }
    }
    [[nodiscard]] pid_t start(const std::vector<std::string>& arguments) const {
        const std::string name = surroundings_.folder() / "output";
        const int output = ::open(name.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0600);
        const pid_t command = surroundings_.start(arguments, output, output);
        ::close(output);
        return command;
    }
    /// How often each document has a line in the shards of a folder of results.
    [[nodiscard]] std::map<std::string, int> linesInShards(const fs::path& results) const {
        std::map<std::string, int> counts;
        for (const auto& entry : fs::directory_iterator(results)) {
            for (const Line& line : linesOf(contents(entry.path()))) {
                ++counts[line.name];
            }
        }
        return counts;
    }

    Surroundings surroundings_;
};

TEST_F(Batch, EveryDocumentHasOneLineWhateverItDoesToItsHelper) {
    document("a.good");
    document("b.aborts");
    document("c.hangs");
    document("d.grows");
    document("e.nothing", "");
    document("f.txt", "  \n");
    document("g.good");
    ::mkfifo((folder() / "h").c_str(), 0600);
    fs::create_symlink(".", folder() / "i");
    fs::create_symlink("nowhere", folder() / "j");
    document("k.prints");
    fs::create_symlink("/dev/zero", folder() / "l.good");
    const Outcome outcome = surroundings_.run(
        {"batch", "--ordered", "-j", "3", "--timeout", "3", "--memory", "300M", "documents", "missing.good"});
    EXPECT_EQ(outcome.status, 3) << outcome.error;
    const std::vector<Line> lines = linesOf(outcome.out);
    struct Row {
        std::string name;
        std::string status;
        int attempts;
    };
    const Row rows[] = {{"a.good", "ok", 1},           {"b.aborts", "crash", 2}, {"c.hangs", "timeout", 2},
                        {"d.grows", "oom", 2},         {"e.nothing", "none", 1}, {"f.txt", "empty", 1},
                        {"g.good", "ok", 1},           {"h", "missing", 0},      {"i", "missing", 0},
                        {"j", "missing", 0},           {"k.prints", "ok", 1},    {"l.good", "missing", 0},
                        {"missing.good", "missing", 0}};
    ASSERT_EQ(lines.size(), std::size(rows)) << outcome.out;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].name, rows[i].name);
        EXPECT_EQ(lines[i].status, rows[i].status) << rows[i].name;
        EXPECT_EQ(lines[i].attempts, rows[i].attempts) << rows[i].name;
        EXPECT_EQ(*lines[i].fields.find(u"id"), Value(static_cast<std::int64_t>(i + 1)));
        EXPECT_TRUE(lines[i].fields.contains(u"milliseconds") && lines[i].fields.contains(u"result"));
    }
    EXPECT_NE(outcome.error.find("quarry: 13 documents in "), std::string::npos) << outcome.error;
    EXPECT_NE(outcome.error.find("3 ok, 1 empty, 1 none, 5 missing, 1 timeout, 1 crash, 1 oom\n"), std::string::npos);
}

TEST_F(Batch, LinesOfJsonAreRequests) {
    document("a.txt", "words");
    document("a.rtf", "{\\rtf1 rich}");
    const std::string path = "\"path\": \"documents/a.txt\"";
    const std::string input = "{" + path +
                              ", \"id\": {\"my\": [1, \"id\"]}}\n"
                              "{" +
                              path +
                              ", \"op\": \"supportsFile:\"}\n"
                              "\n"
                              "{\"op\": \"richtext\", \"path\": \"documents/a.rtf\", \"id\": null}\n"
                              "{\"op\": \"cook\", " +
                              path +
                              "}\n"
                              "{\"op\": \"metadata\"}\n"
                              "{\"path\": \"\"}\n"
                              "[]\n"
                              "{\"path\": \n"
                              "{\"op\": \"metadata\", " +
                              path + ", \"id\": \"no line feed\"}";
    const Outcome outcome = surroundings_.run({"batch", "--ordered", "--quiet"}, input);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.error, "");
    const std::vector<Line> lines = linesOf(outcome.out);
    ASSERT_EQ(lines.size(), 9U) << outcome.out;
    EXPECT_EQ(*lines[0].fields.find(u"id"), Value(Dictionary{{u"my", halden::Array{1, u"id"}}}));
    EXPECT_EQ(lines[0].status, "ok");
    EXPECT_EQ(*lines[1].fields.find(u"result"), Value(true));
    EXPECT_TRUE(lines[2].fields.find(u"id")->isNull());
    EXPECT_NE(outcome.out.find("application/rtfd"), std::string::npos);
    for (std::size_t i = 3; i < 8; ++i) {
        EXPECT_EQ(lines[i].status, "error") << i;
        EXPECT_NE(textOf(lines[i].fields, u"error"), "") << i;
    }
    EXPECT_EQ(*lines[8].fields.find(u"id"), Value(u"no line feed"));
}

// Where the importer has no text, or there is none, the readers that `quarry text` asks give it.
TEST_F(Batch, ADocumentHasItsMetadataAndItsBestText) {
    document("a.txt", "plain");
    document("b.unheard-of", "{\\rtf1 rich}");
    document("c.good");
    const auto textsOf = [&](const std::vector<std::string>& options) {
        std::vector<std::string> command{"batch", "--ordered", "--quiet"};
        command.insert(command.end(), options.begin(), options.end());
        command.emplace_back("documents");
        std::vector<std::string> texts;
        for (const Line& line : linesOf(surroundings_.run(command).out)) {
            const auto* result = line.fields.find(u"result")->as<Dictionary>();
            texts.push_back(result != nullptr ? textOf(*result, u"kMDItemTextContent") : line.status);
        }
        return texts;
    };
    const std::vector<std::string> best = textsOf({});
    const std::vector<std::string> ofImporters = textsOf({"--op", "metadata"});
    ASSERT_EQ(best.size(), 3U);
    ASSERT_EQ(ofImporters.size(), 3U);
    EXPECT_EQ(best[0], "plain");
    EXPECT_EQ(best[1], "rich");
    EXPECT_EQ(ofImporters[1], "none");
    EXPECT_EQ(best[2], ofImporters[2]);
}

TEST_F(Batch, NamesAreBytes) {
    document("\xFF\xFE.txt", "words");
    const Outcome outcome = surroundings_.run({"batch", "--quiet", "documents"});
    EXPECT_NE(outcome.out.find("/\\udcff\\udcfe.txt\", \"status\": \"ok\""), std::string::npos) << outcome.out;
}

TEST_F(Batch, WhatIsDoneAndUnchangedIsLeftOut) {
    documents(20);
    const std::vector<std::string> command{"batch", "--journal", "done", "documents"};
    EXPECT_EQ(linesOf(surroundings_.run(command).out).size(), 20U);
    const Outcome again = surroundings_.run(command);
    EXPECT_EQ(again.out, "");
    EXPECT_NE(again.error.find("0 documents"), std::string::npos) << again.error;
    EXPECT_NE(again.error.find("20 were done before"), std::string::npos) << again.error;
    document("7.good", "longer");
    document("new.good");
    const std::vector<Line> lines = linesOf(surroundings_.run(command).out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_NE(lines[0].name, lines[1].name);
    // The same request twice is done twice.
    const std::string twice = "{\"path\": \"documents/1.good\"}\n{\"path\": \"documents/1.good\"}\n";
    const std::vector<std::string> other{"batch", "--journal", "twice"};
    EXPECT_EQ(linesOf(surroundings_.run(other, twice).out).size(), 2U);
    EXPECT_EQ(linesOf(surroundings_.run(other, twice + twice).out).size(), 2U);
    // Another operation is another request, and results that went elsewhere are not these.
    EXPECT_EQ(linesOf(surroundings_.run({"batch", "--op", "supports", "--journal", "done", "documents"}).out).size(),
              21U);
    EXPECT_EQ(surroundings_.run({"batch", "--journal", "done", "--output", "results", "documents"}).status, 2);
}

TEST_F(Batch, ManySmallDocumentsHaveOneLineEach) {
    const char* const wanted = std::getenv("QUARRY_BATCH_DOCUMENTS");  // 200000 for a longer run
    const int count = wanted != nullptr ? std::atoi(wanted) : 1500;
    documents(count);
    const Outcome outcome = surroundings_.run({"batch", "-j", "2", "--output", "results", "--quiet", "documents"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    const auto counts = linesInShards(surroundings_.folder() / "results");
    EXPECT_EQ(counts.size(), static_cast<std::size_t>(count));
    EXPECT_TRUE(std::ranges::all_of(counts, [](const auto& entry) { return entry.second == 1; }));
}

// Whenever the supervisor is killed, the run after it goes on: no line is lost, and none is there twice.
TEST_F(Batch, KilledAtAnyMomentItGoesOn) {
    constexpr int kCount = 600;
    documents(kCount);
    for (const std::string compression : {"", "gzip", "zstd"}) {
        const std::string results = "results" + compression;
        std::vector<std::string> command{
            "batch", "--journal", "journal" + compression, "--output", results, "--shard-size", "9K", "-j",
            "2",     "documents"};
        if (!compression.empty()) {
            command.insert(command.end(), {"--compress", compression});
        }
        std::minstd_rand random(17);
        int status = -1;
        for (int run = 0; run < 40 && status != 0; ++run) {
            const pid_t process = start(command);
            std::this_thread::sleep_for(std::chrono::milliseconds(60 + random() % 200));
            if (run < 6) {
                ::kill(process, SIGKILL);
            }
            status = waitForEnd(process);
            EXPECT_TRUE(surroundings_.waitForImporter(""));
        }
        EXPECT_EQ(status, 0) << contents(surroundings_.folder() / "output");
        if (compression.empty()) {
            const auto counts = linesInShards(surroundings_.folder() / results);
            EXPECT_EQ(counts.size(), static_cast<std::size_t>(kCount));
            EXPECT_TRUE(std::ranges::all_of(counts, [](const auto& entry) { return entry.second == 1; }));
            EXPECT_TRUE(fs::exists(surroundings_.folder() / results / "results-00002.jsonl"));
            continue;
        }
        const std::string unpack = compression == "gzip" ? "zcat" : "zstdcat";
        const fs::path all = surroundings_.folder() / ("all" + compression);
        if (std::system((unpack + " " + (surroundings_.folder() / results).string() + "/results-* > " + all.string() +
                         " 2>/dev/null")
                            .c_str()) != 0) {
            continue;  // the program is not there
        }
        std::map<std::string, int> counts;
        for (const Line& line : linesOf(contents(all))) {
            ++counts[line.name];
        }
        EXPECT_EQ(counts.size(), static_cast<std::size_t>(kCount)) << compression;
        EXPECT_TRUE(std::ranges::all_of(counts, [](const auto& entry) { return entry.second == 1; })) << compression;
    }
}

TEST_F(Batch, AnInterruptFinishesWhatRunsAndASecondOneStopsAtOnce) {
    documents(2000);
    document("0.hangs");
    const std::vector<std::string> command{"batch", "-j", "1", "--journal", "done", "--timeout", "3", "documents"};
    const pid_t process = start(command);
    EXPECT_TRUE(surroundings_.waitForImporter("Hangs"));
    ::kill(process, SIGINT);
    EXPECT_EQ(waitForEnd(process), 128 + SIGINT);
    const std::string output = contents(surroundings_.folder() / "output");
    EXPECT_NE(output.find("\"timeout\""), std::string::npos) << output;
    EXPECT_NE(output.find(" documents in "), std::string::npos) << output;

    fs::remove(surroundings_.folder() / "done");
    const pid_t second = start({"batch", "-j", "1", "--timeout", "1000", "documents/0.hangs"});
    EXPECT_TRUE(surroundings_.waitForImporter("Hangs"));
    ::kill(second, SIGINT);
    std::this_thread::sleep_for(100ms);
    ::kill(second, SIGINT);
    EXPECT_EQ(waitForEnd(second), 128 + SIGINT);
}

TEST_F(Batch, WithoutRoomForResultsItStopsAndGoesOnLater) {
    documents(400);
    const std::vector<std::string> command{"batch", "--journal", "done", "--output", "results", "documents"};
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    rlimit limited = before;
    limited.rlim_cur = 20'000;
    ::setrlimit(RLIMIT_FSIZE, &limited);
    const pid_t process = start(command);
    const int status = waitForEnd(process);
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(status, 2);
    const std::string message = contents(surroundings_.folder() / "output");
    EXPECT_NE(message.find("results-00001.jsonl: File too large"), std::string::npos) << message;
    EXPECT_TRUE(contents(surroundings_.folder() / "results/results-00001.jsonl").ends_with("\n"));

    EXPECT_EQ(surroundings_.run(command).status, 0);
    const auto counts = linesInShards(surroundings_.folder() / "results");
    EXPECT_EQ(counts.size(), 400U);
    EXPECT_TRUE(std::ranges::all_of(counts, [](const auto& entry) { return entry.second == 1; }));

    const Outcome full = [&] {
        const int device = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
        const std::string name = surroundings_.folder() / "error";
        const int error = ::open(name.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        const int end = waitForEnd(surroundings_.start({"batch", "documents"}, device, error));
        ::close(device);
        ::close(error);
        return Outcome{end, "", contents(name)};
    }();
    EXPECT_EQ(full.status, 2);
    EXPECT_NE(full.error.find("standard output: No space left on device"), std::string::npos) << full.error;
}

TEST_F(Batch, HelpersAreRenewedAndDataBecomeFiles) {
    document("a.rtf", "{\\rtf1 one}");
    document("b.rtf", "{\\rtf1 two}");
    const Outcome outcome = surroundings_.run(
        {"batch", "--op", "richtext", "--renew", "1", "-j", "1", "--output", "results", "--files", "documents"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    std::size_t packages = 0;
    for (const auto& entry : fs::recursive_directory_iterator(surroundings_.folder() / "results/files")) {
        packages += entry.path().filename() == "TXT.rtf" ? 1 : 0;
    }
    EXPECT_EQ(packages, 2U);
    const std::string lines = contents(surroundings_.folder() / "results/results-00001.jsonl");
    EXPECT_NE(lines.find("\"Rtfd\": {\"file\": \"files/"), std::string::npos) << lines;
}

}  // namespace
}  // namespace quarry::test
