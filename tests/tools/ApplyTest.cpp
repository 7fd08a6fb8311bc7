// quarry apply, as scripts use it.
#include "tests/tools/CommandRun.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace quarry::test {
namespace {

TEST(Apply, TakesStandardInputWhenArgumentsAreOneShort) {
    const Surroundings surroundings;
    const struct {
        std::vector<std::string> words;
        std::string input, out;
        int status;
    } cases[] = {
        {{"toLower"}, "196", "228\n", 0},
        {{"toLower", "196"}, "197", "228\n", 0},
        {{"onlyWhiteCharacters:length:"}, " \n", "true\n", 0},
        {{"onlyWhiteCharacters:length:"}, "x", "false\n", 1},
        {{"characterPartOfSet", "digitCharacterSetRep"}, "a1", "true\n", 0},
        {{"fastContainsUnichars", "-x"}, "a-x", "1\n", 0},
        {{"fastContainsUnichars", "--"}, "a-x", "null\n", 1},
        {{"fastUnicharsContainChars", "x"}, "a\n\xED\xA0\x80x", "3\n", 0},
        {{"positionOfCharacters::inCharacters::caseSensitive:", "X", "axx", "NO"}, "", "1\n", 0},
    };
    for (const auto& c : cases) {
        std::vector<std::string> words{"apply"};
        words.insert(words.end(), c.words.begin(), c.words.end());
        const Outcome outcome = surroundings.run(words, c.input);
        EXPECT_EQ(outcome.out, c.out) << c.words[0] << outcome.error;
        EXPECT_EQ(outcome.status, c.status) << c.words[0];
    }
    EXPECT_EQ(surroundings.run({"apply", "spaceCharacterSetRep"}).out.size(), 8192U);
}

// The markup engine is handed the platform's reader of property lists.
TEST(Apply, ReadsFilesOfMarkup) {
    const Surroundings surroundings;
    const std::string list = surroundings.write("old.plist", "{ a = b; }");
    const std::string page = surroundings.write("page.html", "<meta charset=koi8-r>\xC1");
    const std::string operation = "stringWithMarkupContentsOfFile:defaultEncoding:";
    const Outcome xml = surroundings.run({"apply", operation, list, "4"});
    EXPECT_NE(xml.out.find("<key>a</key>"), std::string::npos) << xml.out << xml.error;
    EXPECT_EQ(surroundings.run({"apply", operation, page, "5"}).out, "<meta charset=koi8-r>\u0430\n");
}

TEST(Apply, SaysWhatIsWrong) {
    const Surroundings surroundings;
    const struct {
        std::vector<std::string> words;
        std::string_view message;
    } cases[] = {
        {{"apply"}, "apply takes an operation, or one of --list and --jsonl"},
        {{"apply", "--list", "toLower"}, "apply takes an operation, or one of --list and --jsonl"},
        {{"apply", "toLowest"}, "there is no operation 'toLowest'"},
        {{"apply", "toLower", "x"}, "toLower: argument 1 is no number"},
        {{"apply", "toLower", "1", "2"}, "toLower: 1 argument is needed, and there are 2"},
    };
    for (const auto& c : cases) {
        const Outcome outcome = surroundings.run(c.words);
        EXPECT_EQ(outcome.status, 2) << c.message;
        EXPECT_NE(outcome.error.find(c.message), std::string::npos) << outcome.error;
        EXPECT_EQ(outcome.out, "") << c.message;
    }
}

TEST(Apply, ListsEveryOperationOnce) {
    const Surroundings surroundings;
    const Outcome outcome = surroundings.run({"apply", "--list"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.out.find("\ncharacterPartOfSet (string or null string, string or null set) -> BOOL\n"),
              std::string::npos);
}

TEST(Apply, AnswersEachLineAndGoesOnAfterAFault) {
    const Surroundings surroundings;
    std::string calls = R"({"op": "toLower", "args": [65], "id": 1})"
                        "\r\n"
                        "\n"
                        R"({"op": "fastContainsUnichars", "args": ["\ud800x", "\ud800"]})"
                        "\n"
                        "{\"op\n"
                        R"({"op": "toUpper", "args": [97]})";
    // A line longer than what is read at once.
    calls.insert(0, R"({"op": "onlyWhiteCharacters:length:", "args": [")" + std::string(200000, ' ') + "\"]}\n");
    const Outcome outcome = surroundings.run({"apply", "--jsonl"}, calls);
    EXPECT_EQ(outcome.status, 0);
    std::vector<std::string> answers;
    for (std::size_t start = 0; start < outcome.out.size();) {
        const std::size_t end = outcome.out.find('\n', start);
        answers.push_back(outcome.out.substr(start, end - start));
        start = end + 1;
    }
    ASSERT_EQ(answers.size(), 6U);
    EXPECT_EQ(answers[0], R"({"result": true})");
    EXPECT_EQ(answers[1], R"({"id": 1, "result": 97})");
    EXPECT_TRUE(answers[2].starts_with(R"({"error": )"));
    EXPECT_EQ(answers[3], R"({"result": 0})");
    EXPECT_TRUE(answers[4].starts_with(R"({"error": )"));
    EXPECT_EQ(answers[5], R"({"result": 65})");
}

// A script writes a call, reads its answer, and only then writes the next.
TEST(Apply, DoesNotHoldAnAnswerBack) {
    const Surroundings surroundings;
    std::array<int, 2> calls{};
    std::array<int, 2> answers{};
    ASSERT_EQ(::pipe2(calls.data(), O_CLOEXEC), 0);
    ASSERT_EQ(::pipe2(answers.data(), O_CLOEXEC), 0);
    const pid_t process = surroundings.start({"apply", "--jsonl"}, answers[1], STDERR_FILENO, calls[0]);
    ::close(calls[0]);
    ::close(answers[1]);
    for (const std::string_view call : {R"({"op": "toLower", "args": [65]})"
                                        "\n",
                                        R"({"op": "toLower", "args": [66]})"
                                        "\n"}) {
        ASSERT_EQ(::write(calls[1], call.data(), call.size()), static_cast<ssize_t>(call.size()));
        std::array<char, 256> answer{};
        EXPECT_GT(::read(answers[0], answer.data(), answer.size()), 0);
    }
    ::close(calls[1]);
    ::close(answers[0]);
    EXPECT_EQ(waitForEnd(process), 0);
}

}  // namespace
}  // namespace quarry::test
