#include "tools/Arguments.h"
#include "tools/Manual.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace quarry::tools {
namespace {

/// `text` without the markup of the man macros and with single blanks.
std::string plain(std::string text) {
    for (const std::string_view markup : {"\\fB", "\\fI", "\\fR", "\\&", ".PP", ".TP", ".br"}) {
        for (std::size_t at = 0; (at = text.find(markup, at)) != std::string::npos;) {
            text.erase(at, markup.size());
        }
    }
    for (const auto& [from, to] : {std::pair{"\\-", "-"}, {"\\(aq", "'"}, {"\\e", "\\"}}) {
        for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; ++at) {
            text.replace(at, std::string_view(from).size(), to);
        }
    }
    std::istringstream words(text);
    std::string result;
    for (std::string word; words >> word;) {
        result += (result.empty() ? "" : " ") + word;
    }
    return result;
}

bool contains(const std::string& text, std::string_view part) {
    return plain(text).find(plain(std::string(part))) != std::string::npos;
}

TEST(Manual, HelpManPageAndCompletionsSayTheSame) {
    const std::string program = programHelp();
    const std::string man = manPage();
    for (const CommandText& command : manual().commands) {
        SCOPED_TRACE(command.name);
        const std::string help = commandHelp(command);
        EXPECT_TRUE(contains(help, command.description));
        EXPECT_TRUE(contains(man, command.description));
        EXPECT_TRUE(contains(program, command.summary));
        std::vector<OptionText> options(command.options.begin(), command.options.end());
        if (command.opensDocuments) {
            options.insert(options.end(), manual().documentOptions.begin(), manual().documentOptions.end());
        }
        for (const OptionText& option : options) {
            SCOPED_TRACE(option.name);
            EXPECT_TRUE(contains(help, option.description));
            EXPECT_TRUE(contains(man, option.description));
            EXPECT_TRUE(contains(bashCompletion(), option.name));
            EXPECT_TRUE(contains(zshCompletion(), option.name));
        }
    }
    for (const TermText& status : manual().exitStatus) {
        EXPECT_TRUE(contains(program, status.description));
        EXPECT_TRUE(contains(man, status.description));
    }
}

// An option that is described but not parsed, or the other way round, would be found here.
TEST(Manual, EveryOptionIsParsed) {
    for (const CommandText& command : manual().commands) {
        std::vector<OptionText> options(command.options.begin(), command.options.end());
        if (command.opensDocuments) {
            options.insert(options.end(), manual().documentOptions.begin(), manual().documentOptions.end());
        }
        for (const OptionText& option : options) {
            std::vector<std::string> words{std::string(command.name), std::string(option.name)};
            if (!option.choices.empty()) {
                words.emplace_back(option.choices.substr(0, option.choices.find(' ')));
            } else if (!option.argument.empty()) {
                words.emplace_back("1");
            }
            if (!command.arguments.empty() && !command.arguments.starts_with('[')) {
                words.emplace_back("file");
            }
            if (command.name == "batch") {
                words.insert(words.end(), {"--output", "folder"});  // which some of its options need
            } else if (command.name == "feed") {
                words.emplace_back("--html");
            }
            const Parsed parsed = parseArguments(words);
            EXPECT_FALSE(std::holds_alternative<UsageError>(parsed)) << command.name << " " << option.name;
        }
    }
}

TEST(Manual, HelpFitsATerminal) {
    std::string all = programHelp();
    for (const CommandText& command : manual().commands) {
        all += commandHelp(command);
    }
    std::istringstream lines(all);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 80u) << line;
        EXPECT_FALSE(line.ends_with(' ')) << line;
    }
}

}  // namespace
}  // namespace quarry::tools
