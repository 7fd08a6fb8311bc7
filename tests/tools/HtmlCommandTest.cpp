// The command that writes pages as rich text.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace quarry::test {
namespace {

namespace fs = std::filesystem;

class HtmlCommand : public ::testing::Test {
protected:
    void TearDown() override {
        EXPECT_TRUE(surroundings_.processes().empty());
        EXPECT_TRUE(surroundings_.runtimeFiles().empty());
    }
    [[nodiscard]] std::string written() const {
        std::ostringstream text;
        text << std::ifstream(surroundings_.folder() / "out.rtfd/TXT.rtf", std::ios::binary).rdbuf();
        return text.str();
    }
    Surroundings surroundings_;
};

TEST_F(HtmlCommand, WritesAPage) {
    surroundings_.write("a.html", "<p>words<script>document.write(' and <b>more</b>')</script>");
    const Outcome outcome = surroundings_.run({"html", "a.html", "-o", "out.rtfd"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_EQ(outcome.out, "YES\n");
    EXPECT_NE(written().find("words and "), std::string::npos) << written();
    EXPECT_NE(written().find("more"), std::string::npos) << written();
}

TEST_F(HtmlCommand, PicturesBesideThePageGoWithIt) {
    surroundings_.write("dot.gif",
                        std::string("GIF89a\1\0\1\0\x80\0\0\x80\x80\x80\0\0\0,\0\0\0\0\1\0\1\0\0\2\2D\1\0;", 35));
    const std::string base = "file://" + (surroundings_.folder() / "page.html").string();
    const std::string page = "x<img src=dot.gif width=9 height=9>";
    // A base that is a file only counts where there is one.
    surroundings_.write("page.html", page);
    EXPECT_EQ(surroundings_.run({"html", "-", "--base-url", base, "-o", "out.rtfd"}, page).out, "YES\n");
    EXPECT_TRUE(fs::exists(surroundings_.folder() / "out.rtfd/dot.gif")) << written();
    fs::remove(surroundings_.folder() / "page.html");
    EXPECT_EQ(surroundings_.run({"html", "-", "--base-url", base, "-o", "other.rtfd"}, page).out, "YES\n");
    EXPECT_FALSE(fs::exists(surroundings_.folder() / "other.rtfd/dot.gif"));
}

TEST_F(HtmlCommand, TheCharsetOutranksTheDeclaration) {
    surroundings_.write("a.html", "<meta charset=utf-8><p>\xE9t\xE9");
    EXPECT_EQ(surroundings_.run({"html", "a.html", "--charset", "iso-8859-1", "-o", "out.rtfd"}).out, "YES\n");
    EXPECT_NE(written().find("\\'e9t\\'e9"), std::string::npos) << written();
}

TEST_F(HtmlCommand, AnEmptyPageIsAnEmptyDocument) {
    const Outcome outcome = surroundings_.run({"html", "-", "-o", "out.rtfd"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_TRUE(written().starts_with("{\\rtf1")) << written();
}

TEST_F(HtmlCommand, WhatCannotBeReadOrWritten) {
    surroundings_.write("a.html", "x");
    EXPECT_EQ(surroundings_.run({"html", "a.html"}).status, 2);
    const Outcome missing = surroundings_.run({"html", "missing.html", "-o", "out.rtfd"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.error, "quarry: missing.html: No such file or directory\n");
    const Outcome nowhere = surroundings_.run({"html", "a.html", "-o", "nowhere/out.rtfd"});
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_EQ(nowhere.out, "NO\n");
}

}  // namespace
}  // namespace quarry::test
