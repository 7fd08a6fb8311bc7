// The command for PDF documents.
#include "foundation/Json.h"
#include "tests/platform/pdf/TinyPdf.h"
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quarry::test {
namespace {

TEST(PdfCommand, PrintsTheInformation) {
    Surroundings surroundings;
    surroundings.write("a.pdf",
                       halden::test::documentWithPages({halden::test::showing("Words")}, "/Title (T)").bytes());
    const Outcome outcome = surroundings.run({"pdf", "a.pdf"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_EQ(halden::valueFromJson(outcome.out),
              halden::Value(halden::Dictionary{{u"String", u"Words\n"}, {u"PageCount", 1}, {u"Title", u"T"}}));
    EXPECT_TRUE(surroundings.processes().empty());
}

TEST(PdfCommand, WritesRichText) {
    Surroundings surroundings;
    surroundings.write("a.pdf", halden::test::documentWithPages({halden::test::showing("Words")}).bytes());
    const Outcome outcome = surroundings.run({"pdf", "--attributed", "-o", "out.rtfd", "a.pdf"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_TRUE(std::filesystem::exists(surroundings.folder() / "out.rtfd/TXT.rtf"));
    EXPECT_EQ(surroundings.run({"pdf", "-o", "out.rtfd", "a.pdf"}).status, 2);
}

TEST(PdfCommand, WhatIsNoPdfIsNull) {
    Surroundings surroundings;
    surroundings.write("a.pdf", "words");
    const Outcome outcome = surroundings.run({"pdf", "a.pdf"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "null\n");
}

}  // namespace
}  // namespace quarry::test
