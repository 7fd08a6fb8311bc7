// Whole pages, each beside the text that a reader should get of it.
#include "foundation/Unicode.h"
#include "markup/Html2Text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace halden {
namespace {

std::string contents(const std::filesystem::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

TEST(PlainText, OfWholePages) {
    constexpr PlainTextOptions kOptions{.entities = true,
                                        .stdEntities = true,
                                        .reformat = true,
                                        .onlyBody = true,
                                        .googleTags = true,
                                        .imageAlts = true};
    int pages = 0;
    for (const auto& entry : std::filesystem::directory_iterator(QUARRY_SOURCE_DIR "/tests/markup/pages")) {
        if (entry.path().extension() != ".html") continue;
        ++pages;
        std::filesystem::path expected = entry.path();
        expected.replace_extension(".txt");
        const std::u16string html = utf16FromUtf8(contents(entry.path()));
        EXPECT_EQ(utf8FromUtf16(stringByConvertingHtml2PlainText(html, kOptions)) + "\n", contents(expected))
            << entry.path();
    }
    EXPECT_EQ(pages, 3);
}

// Memory and time stay in proportion to the page.
TEST(PlainText, OfHostilePages) {
    std::u16string tables;
    for (int i = 0; i < 300000; ++i)
        tables += u"<table><tr><td>";
    EXPECT_LT(stringByConvertingHtml2PlainText(tables).size(), tables.size());
    std::u16string divs;
    for (int i = 0; i < 300000; ++i)
        divs += u"<div class=x><a href=y>";
    EXPECT_EQ(stringByConvertingHtml2PlainText(divs + u"end"), u"end");
}

}  // namespace
}  // namespace halden
