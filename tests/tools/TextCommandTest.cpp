// The text of any file: the first source that gives some.
#include "tests/importers/TestBundles.h"
#include "tests/platform/pdf/TinyPdf.h"
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <string>

namespace quarry::test {
namespace {

class TextCommand : public ::testing::Test {
protected:
    [[nodiscard]] std::string textOf(const std::string& name, const std::string& contents) const {
        surroundings_.write(name, contents);
        const Outcome outcome = surroundings_.run({"text", name});
        EXPECT_EQ(outcome.status, 0) << name << ": " << outcome.error;
        return outcome.out;
    }
    /// What the user has installed for a type comes before what the system has.
    void addImporter(const std::string& executable, const std::string& type) const {
        makeBundle(surroundings_.folder() / "data/quarry/Spotlight", executable, executable, {.types = {type}});
    }
    Surroundings surroundings_;
};

std::string webArchive(const std::string& page) {
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>WebMainResource</key><dict>"
           "<key>WebResourceURL</key><string>http://h/</string>"
           "<key>WebResourceMIMEType</key><string>text/html</string>"
           "<key>WebResourceTextEncodingName</key><string>utf-8</string>"
           "<key>WebResourceData</key><string>" +
           page + "</string></dict></dict></plist>";
}

std::string pdf() {
    return halden::test::documentWithPages({halden::test::showing("Drawn")}).bytes();
}

TEST_F(TextCommand, TheImporterComesFirst) {
    addImporter("Good", "com.adobe.pdf");
    // It gives the type for a text.
    EXPECT_EQ(textOf("a.pdf", pdf()), "com.adobe.pdf\n");
}

// Without anything from the importer, a PDF document is not read as rich text, which it could be.
TEST_F(TextCommand, ThenTheDrawnText) {
    addImporter("FillsNothing", "com.adobe.pdf");
    EXPECT_EQ(textOf("a.pdf", pdf()), "Drawn\n");
}

TEST_F(TextCommand, ThenTheRichText) {
    addImporter("FillsNothing", "public.rtf");
    EXPECT_EQ(textOf("a.rtf", "{\\rtf1 rich {\\b words}}"), "rich words\n");
}

TEST_F(TextCommand, WebArchivesAreLaidOut) {
    addImporter("FillsNothing", "com.apple.webarchive");
    const std::string page = "&lt;p&gt;a&lt;script&gt;document.write('&lt;p&gt;written')&lt;/script&gt;";
    EXPECT_EQ(textOf("a.webarchive", webArchive(page)), "a\nwritten\n");
}

TEST_F(TextCommand, ThenTheMarkupOfAWebArchive) {
    addImporter("FillsNothing", "com.apple.webarchive");
    // Laid out, the page is empty.
    const std::string page = "&lt;p style='display:none'&gt;hidden&lt;/p&gt;";
    EXPECT_NE(textOf("a.webarchive", webArchive(page)).find("hidden"), std::string::npos);
}

TEST_F(TextCommand, WithoutAnyThereIsNothing) {
    surroundings_.write("a.png", "\x89PNG");
    const Outcome outcome = surroundings_.run({"text", "a.png"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.error, "");
}

}  // namespace
}  // namespace quarry::test
