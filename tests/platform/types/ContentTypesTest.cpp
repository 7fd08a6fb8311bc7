#include "foundation/Unicode.h"
#include "platform/types/ContentTypes.h"
#include "tests/platform/types/ItemFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

namespace halden {
namespace {

using namespace std::string_view_literals;

using Identifier = std::optional<std::u16string>;

struct Named {
    const char* name;
    const char16_t* type;
};

TEST(ContentTypeOfFile, ComesFromTheExtension) {
    ItemFolder items;
    const Named cases[] = {
        {"a.pdf", u"com.adobe.pdf"},
        {"a.PdF", u"com.adobe.pdf"},
        {"a.txt", u"public.plain-text"},
        {"a.md", u"net.daringfireball.markdown"},
        {"a.c", u"public.c-source"},
        {"a.html", u"public.html"},
        {"a.webarchive", u"com.apple.webarchive"},
        {"a.chm", u"com.microsoft.chm-archive"},
        {"a.tar.gz", u"org.gnu.gnu-zip-archive"},
        {"a.c++", u"public.c-plus-plus-source"},
        // Types that are no data are passed over while there is one that is.
        {"a.pages", u"com.apple.iWork.Pages.sffpages"},
        {"a.key", u"com.apple.iWork.Keynote.sffkey"},
        {"a.app", u"com.apple.application-file"},
        // None of the types is data: the first one all the same.
        {"a.oo3", u"com.omnigroup.omnioutliner.oo3"},
        {"a.rtfd", u"com.apple.rtfd"},
        {"a.mellel", u"dyn.ah62d4rv4ge8043pqrvw02"},
        {"a.chatlog", u"dyn.ah62d4rv4ge80g4dbsv0g832"},
        {"a.\xC3\x89", u"dyn.ah62d4rv4ge86hnk"},
    };
    for (const auto& [name, type] : cases)
        EXPECT_EQ(contentTypeOfFile(items.file(name)), Identifier(type)) << name;
}

// The importer of text declares the types of these extensions; a type that moves would leave its files without text.
TEST(ContentTypeOfFile, KnowsEveryTextExtension) {
    ItemFolder items;
    std::ifstream table(QUARRY_SOURCE_DIR "/tests/platform/types/text_extensions.tsv");
    std::string line;
    int rows = 0;
    while (std::getline(table, line)) {
        const std::size_t tab = line.find('\t');
        if (line.starts_with("#") || tab == std::string::npos) continue;
        const Identifier type = utf16FromUtf8(line.substr(tab + 1));
        EXPECT_EQ(contentTypeOfFile(items.file("a." + line.substr(0, tab))), type) << line;
        EXPECT_EQ(ContentTypes().contentTypeOfExtension(utf16FromUtf8(line.substr(0, tab))), *type) << line;
        ++rows;
    }
    EXPECT_EQ(rows, 351);
}

TEST(ContentTypeOfFile, KnowsPackagesFromFolders) {
    ItemFolder items;
    const Named cases[] = {
        {"a.rtfd", u"com.apple.rtfd"},
        {"a.Pages", u"com.apple.iWork.Pages.pages"},
        {"a.app", u"com.apple.application-bundle"},
        {"a.mdimporter", u"com.apple.metadata-importer"},
        {"a.framework", u"com.apple.framework"},
        {"a.oo3", u"com.omnigroup.omnioutliner.oo3"},
        {"a.txt", u"public.folder"},
        {"a.iconset", u"public.folder"},
        {"a.chatlog", u"public.folder"},
        {"a", u"public.folder"},
    };
    for (const auto& [name, type] : cases)
        EXPECT_EQ(contentTypeOfFile(items.folder(name)), Identifier(type)) << name;
    EXPECT_EQ(contentTypeOfFile(items.path("a.rtfd/")), Identifier(u"com.apple.rtfd"));
}

struct Content {
    const char* name;
    std::string_view bytes;
    const char16_t* type;
};

TEST(ContentTypeOfFile, LooksAtTheFirstBytesWhenThereIsNoExtension) {
    ItemFolder items;
    const Content cases[] = {
        {"pdf", "%PDF-1.4\n%", u"com.adobe.pdf"},
        {"png", "\x89PNG\r\n\x1A\n\0\0\0\rIHDR"sv, u"public.png"},
        {"gzip", "\x1F\x8B\x08\0\0\0\0\0"sv, u"org.gnu.gnu-zip-archive"},
        {"html", "<!DOCTYPE html><html>", u"public.html"},
        {"xml", "<?xml version='1.0'?><a/>", u"public.xml"},
        {"script", "#!/bin/sh\ntrue\n", u"public.shell-script"},
        {"rtf", "{\\rtf1 a}", u"public.rtf"},
        {"README", "Read me first.\n", u"public.plain-text"},
        {".profile", "export A=1\n", u"public.plain-text"},
        {"ends.", "Some text.\n", u"public.plain-text"},
        {"noise", "\0\x01\x02\x03\xFF\xFE"sv, u"public.data"},
        {"empty", "", u"public.data"},
        // With an extension the bytes say nothing.
        {"pdf.txt", "%PDF-1.4\n%", u"public.plain-text"},
    };
    for (const auto& [name, bytes, type] : cases)
        EXPECT_EQ(contentTypeOfFile(items.file(name, bytes)), Identifier(type)) << name;
}

TEST(ContentTypeOfFile, KnowsProgramsByTheirMode) {
    ItemFolder items;
    const auto noise = items.file("noise", "\0\x01\x02\x03"sv);
    const auto pdf = items.file("pdf", "%PDF-1.4\n%");
    const auto withExtension = items.file("a.unheard", "\0"sv);
    for (const char* name : {"noise", "pdf", "a.unheard"})
        ASSERT_EQ(chmod(items.bytes(name).c_str(), 0710), 0);
    EXPECT_EQ(contentTypeOfFile(noise), Identifier(u"public.unix-executable"));
    EXPECT_EQ(contentTypeOfFile(pdf), Identifier(u"com.adobe.pdf"));
    EXPECT_EQ(contentTypeOfFile(withExtension), dynamicIdentifierForExtension(u"unheard"));
}

TEST(ContentTypeOfFile, FollowsLinks) {
    ItemFolder items;
    items.file("target", "%PDF-1.4\n%");
    items.folder("folder");
    EXPECT_EQ(contentTypeOfFile(items.link("link", "target")), Identifier(u"com.adobe.pdf"));
    // The name is the link's.
    EXPECT_EQ(contentTypeOfFile(items.link("link.txt", "target")), Identifier(u"public.plain-text"));
    EXPECT_EQ(contentTypeOfFile(items.link("link.rtfd", "folder")), Identifier(u"com.apple.rtfd"));
    EXPECT_EQ(contentTypeOfFile(items.link("dangling.txt", "missing")), std::nullopt);
    EXPECT_EQ(contentTypeOfFile(items.link("loop.txt", "loop.txt")), std::nullopt);
}

TEST(ContentTypeOfFile, IsNothingForWhatIsNotThere) {
    ItemFolder items;
    EXPECT_EQ(contentTypeOfFile(items.path("missing.txt")), std::nullopt);
    EXPECT_EQ(contentTypeOfFile(u""), std::nullopt);
    EXPECT_EQ(contentTypeOfFile(std::u16string_view(u"/tmp\0x", 6)), std::nullopt);
    EXPECT_EQ(contentTypeOfFile(items.file("file") + u"/a.txt"), std::nullopt);
}

// Opening a pipe would wait for a writer for ever.
TEST(ContentTypeOfFile, NeverOpensPipesAndDevices) {
    ItemFolder items;
    ASSERT_EQ(mkfifo(items.bytes("pipe").c_str(), 0600), 0);
    EXPECT_EQ(contentTypeOfFile(items.path("pipe")), Identifier(u"public.item"));
    EXPECT_EQ(contentTypeOfFile(u"/dev/null"), Identifier(u"public.item"));
}

TEST(ContentTypeOfFile, KnowsNamesThatAreNoUtf8) {
    ItemFolder items;
    EXPECT_EQ(contentTypeOfFile(items.file("\xFF\xFE.pdf")), Identifier(u"com.adobe.pdf"));
    const auto type = contentTypeOfFile(items.file("a.\xFF"));
    ASSERT_TRUE(type);
    EXPECT_EQ(extensionOfDynamicIdentifier(*type), std::u16string(1, char16_t{0xDCFF}));
}

struct Conformance {
    const char16_t* identifier;
    const char16_t* ancestor;
    bool expected;
};

TEST(ContentTypesConformance, RunsOverAnyNumberOfSteps) {
    const ContentTypes types;
    const Conformance cases[] = {
        {u"public.c-source", u"public.c-source", true},    {u"public.c-source", u"public.source-code", true},
        {u"public.c-source", u"public.data", true},        {u"PUBLIC.C-Source", u"public.DATA", true},
        {u"public.data", u"public.c-source", false},       {u"com.apple.rtfd", u"com.apple.package", true},
        {u"com.apple.rtfd", u"public.data", false},        {u"com.unheard.of", u"com.unheard.of", true},
        {u"com.unheard.of", u"public.data", false},        {u"public.c-source", u"com.unheard.of", false},
        {u"dyn.ah62d4rv4ge80g4dr", u"public.data", true},  {u"dyn.ah62d4rv4ge80g4dr", u"public.item", true},
        {u"dyn.ah62d4rv4ge80g4dr", u"public.text", false}, {u"", u"public.data", false},
    };
    for (const auto& [identifier, ancestor, expected] : cases)
        EXPECT_EQ(types.conformsTo(identifier, ancestor), expected) << utf8FromUtf16(identifier);
}

TEST(ContentTypesTags, AreFoundByType) {
    const ContentTypes types;
    EXPECT_EQ(types.preferredExtension(u"public.jpeg"), Identifier(u"jpeg"));
    EXPECT_EQ(types.preferredExtension(u"Public.HTML"), Identifier(u"html"));
    EXPECT_EQ(types.preferredExtension(u"dyn.ah62d4rv4ge80g4dr"), Identifier(u"chm"));
    EXPECT_EQ(types.preferredExtension(u"public.data"), std::nullopt);
    EXPECT_EQ(types.preferredExtension(u"com.unheard.of"), std::nullopt);
    EXPECT_EQ(types.contentTypeOfMimeType("application/msword"), Identifier(u"com.microsoft.word.doc"));
    EXPECT_EQ(types.contentTypeOfMimeType("Image/JPEG"), Identifier(u"public.jpeg"));
    EXPECT_EQ(types.contentTypeOfMimeType("no/such"), std::nullopt);
    EXPECT_EQ(types.contentTypeOfMimeType(""), std::nullopt);
}

}  // namespace
}  // namespace halden
