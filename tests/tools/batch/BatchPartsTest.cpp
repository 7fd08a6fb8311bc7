// The pieces of a batch that need no helper.
#include "foundation/Data.h"
#include "tools/batch/Input.h"
#include "tools/batch/Journal.h"
#include "tools/batch/Tally.h"
#include "tools/batch/Walk.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

namespace quarry::tools {
namespace {

namespace fs = std::filesystem;

class BatchFolder : public ::testing::Test {
protected:
    BatchFolder() {
        std::string name = "/tmp/quarry-test-XXXXXX";
        folder_ = mkdtemp(name.data());
    }
    ~BatchFolder() override { fs::remove_all(folder_); }

    void write(const std::string& name, const std::string& text = "x") const {
        fs::create_directories((folder_ / name).parent_path());
        std::ofstream(folder_ / name) << text;
    }
    [[nodiscard]] std::vector<std::string> walk(const WalkPatterns& patterns) const {
        DocumentWalk walk({folder_.string() + "/"}, patterns,
                          [](const std::string& path) { return path.ends_with(".rtfd"); });
        std::vector<std::string> found;
        while (const auto next = walk.next()) {
            found.push_back(next->path.substr(folder_.native().size() + 1));
        }
        return found;
    }
    fs::path folder_;
};

TEST_F(BatchFolder, AWalkFindsTheDocumentsThatThePatternsTake) {
    for (const char* name : {"b.txt", "a/c.txt", "a/d.pdf", "a/e/f.txt", ".hidden/g.txt", "p.rtfd/TXT.rtf", "A.txt"}) {
        write(name);
    }
    fs::create_directory_symlink(folder_, folder_ / "a/loop");
    using Names = std::vector<std::string>;
    struct Row {
        WalkPatterns patterns;
        Names found;
    };
    const Row rows[] = {
        {{}, {".hidden/g.txt", "A.txt", "a/c.txt", "a/d.pdf", "a/e/f.txt", "a/loop", "b.txt", "p.rtfd"}},
        {{{"*.txt"}, {}}, {".hidden/g.txt", "A.txt", "a/c.txt", "a/e/f.txt", "b.txt"}},
        {{{"*.txt", "*.pdf"}, {".*", "e"}}, {"A.txt", "a/c.txt", "a/d.pdf", "b.txt"}},
        {{{"a/*"}, {}}, {"a/c.txt", "a/d.pdf", "a/loop"}},
        {{{}, {"a/*.txt", "*.rtfd", "loop"}}, {".hidden/g.txt", "A.txt", "a/d.pdf", "a/e/f.txt", "b.txt"}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(walk(row.patterns), row.found);
    }
}

TEST_F(BatchFolder, FoldersThatGoWhileTheyAreReadAndDeepOnesEnd) {
    write("a/1");
    write("b/1");
    DocumentWalk walk({folder_}, {}, [](const std::string&) { return false; });
    EXPECT_TRUE(walk.next());
    fs::remove_all(folder_ / "b");
    const auto gone = walk.next();
    ASSERT_TRUE(gone);  // named, for whoever opens it to see
    EXPECT_TRUE(gone->path.ends_with("/b"));
    EXPECT_FALSE(walk.next());

    std::string deep = "deep";
    for (int i = 0; i < 400; ++i) {
        deep += "/d";
    }
    fs::create_directories(folder_ / deep);
    DocumentWalk deepWalk({folder_ / "deep"}, {}, [](const std::string&) { return false; });
    const auto end = deepWalk.next();
    ASSERT_TRUE(end);
    EXPECT_EQ(end->problem, "Too many folders inside one another");
    EXPECT_FALSE(deepWalk.next());
}

BatchRequest requestOf(const std::string& path) {
    BatchRequest request;
    request.path = path;
    request.operation = findBatchOperation("metadata");
    return request;
}

TEST_F(BatchFolder, RecordsThatAreNotWholeAreNotWritten) {
    const std::string path = folder_ / "journal";
    std::vector<BatchRequest> requests;
    for (const char* name : {"a", "b", "c"}) {
        write(name);
        requests.push_back(requestOf(folder_ / name));
    }
    {
        BatchJournal journal;
        ASSERT_FALSE(journal.open(path, "here"));
        for (std::size_t i = 0; i < requests.size(); ++i) {
            ASSERT_TRUE(journal.append(BatchJournal::recordOf(requests[i]), {.shard = 1, .length = 100 * (i + 1)}));
        }
    }
    const std::string whole(halden::Data::contentsOfFile(path)->view());
    const std::size_t lastRecord = whole.rfind('\n', whole.size() - 2) + 1;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        std::ofstream(path, std::ios::trunc) << whole.substr(0, length);
        BatchJournal journal;
        const auto problem = journal.open(path, "here");
        EXPECT_FALSE(problem.has_value()) << length;  // even of the first line: a full disk may have cut it off
        EXPECT_EQ(journal.takeDone(requests[2]), length == whole.size()) << length;
        EXPECT_EQ(journal.takeDone(requests[1]), length >= lastRecord) << length;
        if (length >= lastRecord && length < whole.size()) {
            EXPECT_EQ(journal.place(), (ResultPlace{1, 200}));
            // It can be written on, as if the half record were not there.
            EXPECT_TRUE(journal.append(BatchJournal::recordOf(requests[2]), {.shard = 2, .length = 7}));
            BatchJournal second;
            EXPECT_TRUE(second.open(folder_ / "copy", "here") == std::nullopt);
        }
    }
    std::string damaged = whole;
    damaged[lastRecord + 3] ^= 1;
    std::ofstream(path, std::ios::trunc) << damaged;
    BatchJournal journal;
    ASSERT_FALSE(journal.open(path, "here"));
    EXPECT_FALSE(journal.takeDone(requests[2]));
    EXPECT_TRUE(journal.takeDone(requests[0]));
    EXPECT_FALSE(journal.takeDone(requests[0]));  // one record answers for one request
}

TEST_F(BatchFolder, ARecordThatIsCutOffNeverCounts) {
    const std::string path = folder_ / "journal";
    const BatchJournal::Record records[] = {{.key = 1, .fingerprint = 2}, {.key = 3, .fingerprint = 4}};
    std::uintmax_t first = 0;
    {
        BatchJournal journal;
        ASSERT_FALSE(journal.open(path, "here"));
        ASSERT_TRUE(journal.append(records[0], {.shard = 1, .length = 10}));
        first = fs::file_size(path);
        ASSERT_TRUE(journal.append(records[1], {.shard = 1, .length = 20}));
    }
    fs::resize_file(path, fs::file_size(path) - 1);  // only the line feed is missing
    for (int time = 0; time < 3; ++time) {
        BatchJournal journal;
        ASSERT_FALSE(journal.open(path, "here"));
        EXPECT_TRUE(journal.contains(records[0]));
        EXPECT_FALSE(journal.contains(records[1])) << time;
        EXPECT_EQ(journal.place(), (ResultPlace{1, 10})) << time;
        EXPECT_EQ(fs::file_size(path), first);
    }
}

TEST_F(BatchFolder, AJournalWhoseFirstLineIsCutOffIsBegunAgain) {
    const std::string path = folder_ / "journal";
    const BatchJournal::Record record{.key = 1, .fingerprint = 2};
    std::uintmax_t header = 0;
    {
        BatchJournal journal;
        ASSERT_FALSE(journal.open(path, "here"));
        header = fs::file_size(path);
    }
    for (std::uintmax_t length = 0; length <= header; ++length) {
        fs::resize_file(path, length);
        {
            BatchJournal journal;
            const auto problem = journal.open(path, "here");
            ASSERT_FALSE(problem) << length << *problem;
            ASSERT_TRUE(journal.append(record, {.shard = 1, .length = 10}));
        }
        BatchJournal again;
        ASSERT_FALSE(again.open(path, "here")) << length;
        EXPECT_TRUE(again.contains(record)) << length;
    }
    write("journal", "quarry-other");
    BatchJournal other;
    EXPECT_TRUE(other.open(path, "here"));
    EXPECT_EQ(fs::file_size(path), 12U);
}

TEST_F(BatchFolder, AJournalKnowsAFolderWithALineFeedInItsName) {
    const std::string path = folder_ / "journal";
    for (int time = 0; time < 2; ++time) {
        BatchJournal journal;
        EXPECT_FALSE(journal.open(path, "a\nb")) << time;
    }
    BatchJournal other;
    EXPECT_TRUE(other.open(path, "a\\nb"));
}

TEST_F(BatchFolder, AJournalIsOfOneBatchAtATime) {
    const std::string path = folder_ / "journal";
    const pid_t child = ::fork();
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    if (child == 0) {
        BatchJournal journal;
        const bool isOpen = !journal.open(path, "here");
        while (isOpen) {
            ::usleep(1000);
        }
        ::_exit(1);
    }
    std::optional<std::string> problem;
    for (int attempt = 0; attempt < 1000 && !(problem && problem->ends_with("another batch is writing it"));
         ++attempt) {
        BatchJournal journal;
        if (fs::exists(path)) {
            problem = journal.open(path, "here");
        }
        ::usleep(1000);
    }
    ::kill(child, SIGKILL);
    EXPECT_TRUE(problem && problem->ends_with("another batch is writing it")) << problem.value_or("none");
    std::ofstream(folder_ / "other") << "something else\n";
    BatchJournal journal;
    EXPECT_TRUE(journal.open(folder_ / "other", "here"));
}

TEST(BatchInput, LinesAreBoundedAndTheInputCanBeStopped) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const int stop = ::eventfd(0, EFD_CLOEXEC);
    LineInput input(ends[0], stop, *findBatchOperation("metadata"));
    std::jthread writer([&] {
        const std::string text = "{\"path\": \"/a\"}\n" + std::string(LineInput::kLongestLine + 1, 'x') +
                                 "\n\n{\"path\": \"/b\"}\n{\"path\": \"/c";
        std::string_view rest(text);
        while (!rest.empty()) {
            const ssize_t count = ::write(ends[1], rest.data(), rest.size());
            if (count <= 0) break;
            rest.remove_prefix(static_cast<std::size_t>(count));
        }
    });
    EXPECT_EQ(input.next()->path, "/a");
    EXPECT_NE(input.next()->problem, "");
    const auto third = input.next();
    EXPECT_EQ(third->path, "/b");
    EXPECT_EQ(third->number, 3U);
    writer.join();
    std::jthread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ::eventfd_write(stop, 1);
    });
    EXPECT_FALSE(input.next());  // not the half line
    stopper.join();
    for (const int file : {ends[0], ends[1], stop}) {
        ::close(file);
    }
}

TEST(BatchTally, SaysHowFarItIs) {
    BatchTally tally;
    tally.counts = {1200, 30, 0, 4, 0, 1, 2, 0, 0};
    using Seconds = std::chrono::duration<double>;
    EXPECT_EQ(progressText(tally, std::nullopt, Seconds(2)), "1,237 done, 3 failed (1 timeout, 2 crash), 618/s");
    EXPECT_EQ(progressText(tally, 5000, Seconds(10)),
              "1,237 of 5,000 done, 3 failed (1 timeout, 2 crash), 123/s, 0:30 left");
    tally.skipped = 3000;
    EXPECT_EQ(progressText(tally, 1004237, Seconds(12370)),
              "4,237 of 1,004,237 done, 3 failed (1 timeout, 2 crash), 0.1/s, 2777:46:40 left");
    EXPECT_EQ(summaryText(tally, Seconds(10)),
              "1,237 documents in 10.0 s (123/s): 1,200 ok, 30 empty, 4 none, 1 timeout, 2 crash; 3,000 were done "
              "before");
    EXPECT_EQ(summaryText({}, Seconds(0)), "0 documents in 0.0 s (0.0/s)");
}

}  // namespace
}  // namespace quarry::tools
