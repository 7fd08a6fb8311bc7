// The built command on files that can be read, or cannot.
#include "foundation/Json.h"
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "tests/importers/TestBundles.h"
#include "tests/tools/CommandRun.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace quarry::test {
namespace {

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// The text that an importer found, of a result of `quarry metadata`.
std::u16string textContent(const std::string& json) {
    const auto value = halden::valueFromJson(json);
    const auto* attributes = value ? value->as<halden::Dictionary>() : nullptr;
    const auto* text = attributes != nullptr ? attributes->find(u"kMDItemTextContent") : nullptr;
    return text != nullptr && text->is<std::u16string>() ? *text->as<std::u16string>() : u"(none)";
}

class Command : public ::testing::Test {
protected:
    // Every command must leave nothing behind; each test looks.
    void TearDown() override {
        EXPECT_TRUE(surroundings_.processes().empty());
        EXPECT_TRUE(surroundings_.runtimeFiles().empty());
    }
    Surroundings surroundings_;
};

TEST_F(Command, OneFileGivesAnIndentedObject) {
    surroundings_.write("notes.txt", "wool\nand water");
    const Outcome outcome = surroundings_.run({"metadata", "notes.txt"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.out.starts_with("{\n  \"")) << outcome.out;
    EXPECT_TRUE(outcome.out.ends_with("\n}\n")) << outcome.out;
    EXPECT_EQ(textContent(outcome.out), u"wool\nand water");
    EXPECT_EQ(outcome.error, "");
}

TEST_F(Command, APdfIsReadByTheEngine) {
    const Outcome outcome = surroundings_.run({"metadata", QUARRY_SOURCE_DIR "/examples/report.pdf"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    const auto value = halden::valueFromJson(outcome.out);
    ASSERT_TRUE(value && value->is<halden::Dictionary>()) << outcome.out;
    const auto& attributes = *value->as<halden::Dictionary>();
    ASSERT_TRUE(attributes.contains(u"kMDItemTitle") && attributes.contains(u"kMDItemNumberOfPages")) << outcome.out;
    EXPECT_EQ(*attributes.find(u"kMDItemTitle"), halden::Value(u"Relevé annuel du verger de Saint-Aubin – 2025"));
    EXPECT_EQ(*attributes.find(u"kMDItemNumberOfPages"), halden::Value(3));
    EXPECT_NE(textContent(outcome.out).find(u"Señor Ibáñez’s nursery"), std::u16string::npos);
}

TEST_F(Command, SeveralFilesGiveALineEachInTheirOrder) {
    surroundings_.write("a.txt", "first\n");
    surroundings_.write("b.unheard-of", "nobody reads this");
    surroundings_.write("c.txt", "third\n");
    const Outcome outcome = surroundings_.run({"metadata", "c.txt", "b.unheard-of", "missing.txt", "a.txt"});
    EXPECT_EQ(outcome.status, 1);
    const auto lines = linesOf(outcome.out);
    ASSERT_EQ(lines.size(), 4u) << outcome.out;
    EXPECT_EQ(textContent(lines[0]), u"third\n");
    EXPECT_EQ(lines[1], "null");
    EXPECT_EQ(lines[2], "null");
    EXPECT_EQ(textContent(lines[3]), u"first\n");
    // Only the missing one is spoken of: nil is a result.
    EXPECT_EQ(outcome.error, "quarry: missing.txt: No such file or directory\n");
}

TEST_F(Command, WhatCannotBeOpenedIsSaid) {
    ::mkfifo((surroundings_.folder() / "pipe.txt").c_str(), 0600);
    const Outcome pipe = surroundings_.run({"metadata", "pipe.txt"});
    EXPECT_EQ(pipe.status, 1);
    EXPECT_EQ(pipe.error, "quarry: pipe.txt: Neither a file nor a folder\n");
    EXPECT_EQ(surroundings_.run({"metadata", ""}).error, "quarry: : No such file or directory\n");
    if (::geteuid() != 0) {
        ::chmod(surroundings_.write("secret.txt", "x").c_str(), 0);
        EXPECT_EQ(surroundings_.run({"metadata", "secret.txt"}).error, "quarry: secret.txt: Permission denied\n");
    }
}

TEST_F(Command, FileNamesAreBytes) {
    const std::string name = "caf\xe9 \xf0\x9f\x8d\xb7 \xed\xa0\x80\n.txt";
    surroundings_.write(name, "a name in three encodings");
    const Outcome metadata = surroundings_.run({"metadata", name});
    EXPECT_EQ(metadata.status, 0) << metadata.error;
    EXPECT_EQ(textContent(metadata.out), u"a name in three encodings");
    const Outcome supports = surroundings_.run({"supports", name, "gone\xe9"});
    EXPECT_EQ(supports.status, 1);
    EXPECT_EQ(supports.out, "YES\t" + name + "\nNO\tgone\xe9\n");
}

TEST_F(Command, SupportsAnswersYesOrNo) {
    surroundings_.write("a.txt", "x");
    surroundings_.write("a.unheard-of", "x");
    const Outcome yes = surroundings_.run({"supports", "a.txt"});
    EXPECT_EQ(yes.status, 0);
    EXPECT_EQ(yes.out, "YES\n");
    const Outcome no = surroundings_.run({"supports", "a.unheard-of"});
    EXPECT_EQ(no.status, 1);
    EXPECT_EQ(no.out, "NO\n");
    EXPECT_EQ(no.error, "");
}

// Each has a helper of its own, under the same registered name.
TEST_F(Command, SeveralCommandsRunAtTheSameTime) {
    std::vector<std::jthread> threads;
    std::vector<Outcome> outcomes(4);
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        const std::string name = "file" + std::to_string(i) + ".txt";
        surroundings_.write(name, name);
        threads.emplace_back([&, i, name] { outcomes[i] = surroundings_.run({"metadata", name}); });
    }
    threads.clear();
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        EXPECT_EQ(outcomes[i].status, 0) << outcomes[i].error;
        EXPECT_EQ(textContent(outcomes[i].out), halden::utf16FromUtf8("file" + std::to_string(i) + ".txt"));
    }
}

TEST_F(Command, ImportersListsTheTable) {
    const Outcome text = surroundings_.run({"importers"});
    EXPECT_EQ(text.status, 0) << text.error;
    EXPECT_NE(text.out.find(QUARRY_BUILD_PREFIX "/lib/quarry/Spotlight/"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("\n    public.plain-text\n"), std::string::npos) << text.out;

    const Outcome json = surroundings_.run({"importers", "--json"});
    const auto value = halden::valueFromJson(json.out);
    ASSERT_TRUE(value && value->is<halden::Array>()) << json.out;
    std::string shown;  // the same as the text
    for (const halden::Value& importer : *value->as<halden::Array>()) {
        const auto& entry = *importer.as<halden::Dictionary>();
        shown += *halden::pathBytesFromString(*entry.find(u"path")->as<std::u16string>()) + "\n";
        for (const halden::Value& type : *entry.find(u"types")->as<halden::Array>()) {
            shown += "    " + halden::utf8FromUtf16(*type.as<std::u16string>()) + "\n";
        }
    }
    EXPECT_EQ(shown, text.out);
}

TEST_F(Command, DoctorFindsABuildTreeComplete) {
    const Outcome outcome = surroundings_.run({"doctor"});
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    for (const char* part : {"quarry-helper", "mdimport", "Spotlight", "MuPDF"}) {
        EXPECT_NE(outcome.out.find(part), std::string::npos) << part << " in:\n" << outcome.out;
    }
}

TEST_F(Command, UsageErrorsSayWhereHelpIs) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{}, {"convert"}, {"metadata"}, {"metadata", "--timeout", "x", "a"}}) {
        const Outcome outcome = surroundings_.run(words);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(outcome.error.starts_with("quarry: ")) << outcome.error;
        EXPECT_NE(outcome.error.find("--help"), std::string::npos) << outcome.error;
    }
}

TEST_F(Command, HelpAndVersionGoToStandardOutput) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"--help"}, {"--version"}, {"metadata", "--help"}, {"doctor", "-h"}}) {
        const Outcome outcome = surroundings_.run(words);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.error, "");
        EXPECT_NE(outcome.out.find("quarry"), std::string::npos);
    }
}

// Results that cannot be written are no results.
TEST_F(Command, AFullDeviceIsAnError) {
    surroundings_.write("a.txt", "x");
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    const std::string errorName = surroundings_.write("full-error", "");
    const int error = ::open(errorName.c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(waitForEnd(surroundings_.start({"metadata", "a.txt"}, full, error)), 2);
    ::close(full);
    ::close(error);
    EXPECT_GT(std::filesystem::file_size(errorName), 0u);
}

// What the helper logs is kept too, and none of it gets into the results.
TEST_F(Command, TheLogGoesWhereItIsSent) {
    BundleInfo skipped = infoForExtension("good");
    skipped.identifier = "org.tagsmail.importer";  // which the importer host leaves out, and says so
    makeBundle(surroundings_.folder() / "data/quarry/Spotlight", "Mail", "Good", skipped);
    surroundings_.write("a.good", "x");
    const std::string log = surroundings_.folder() / "log";
    surroundings_.setVariable("QUARRY_LOG", "debug," + log);
    const Outcome outcome = surroundings_.run({"metadata", "a.good"});
    EXPECT_EQ(outcome.out, "null\n");
    EXPECT_EQ(outcome.error, "");
    std::ostringstream text;
    text << std::ifstream(log).rdbuf();
    EXPECT_NE(text.str().find("Skipped: "), std::string::npos) << text.str();
}

}  // namespace
}  // namespace quarry::test
