// What bundles declare adds to the table and never changes it.
#include "platform/types/ContentTypes.h"
#include "tests/platform/types/ItemFolder.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

using Identifier = std::optional<std::u16string>;

Dictionary declaration(const char16_t* identifier, Value extensions, Value conformsTo) {
    return Dictionary{{u"UTTypeIdentifier", identifier},
                      {u"UTTypeTagSpecification", Dictionary{{u"public.filename-extension", std::move(extensions)}}},
                      {u"UTTypeConformsTo", std::move(conformsTo)}};
}

Dictionary exporting(Dictionary type) {
    return Dictionary{{u"UTExportedTypeDeclarations", Array{std::move(type)}}};
}

Dictionary importing(Dictionary type) {
    return Dictionary{{u"UTImportedTypeDeclarations", Array{std::move(type)}}};
}

TEST(Declarations, GiveTypesToExtensions) {
    ContentTypes types;
    types.addDeclarations(exporting(declaration(u"org.example.Note", Array{u"Note", u"noted"}, u"public.plain-text")));
    types.addDeclarations(importing(declaration(u"org.example.box", u"box", Array{u"com.apple.package"})));

    EXPECT_EQ(types.contentTypeOfExtension(u"NOTE"), u"org.example.Note");
    EXPECT_EQ(types.contentTypeOfExtension(u"noted"), u"org.example.Note");
    EXPECT_TRUE(types.conformsTo(u"ORG.example.note", u"public.data"));
    EXPECT_EQ(types.preferredExtension(u"org.example.note"), Identifier(u"note"));

    ItemFolder items;
    EXPECT_EQ(types.contentTypeOfFile(items.file("a.note")), Identifier(u"org.example.Note"));
    EXPECT_EQ(types.contentTypeOfFile(items.folder("a.box")), Identifier(u"org.example.box"));
    EXPECT_EQ(types.contentTypeOfFile(items.folder("b.note")), Identifier(u"public.folder"));
    EXPECT_EQ(contentTypeOfFile(items.path("a.note")), dynamicIdentifierForExtension(u"note"));
}

TEST(Declarations, GiveTypesToMimeTypes) {
    ContentTypes types;
    const Dictionary tags{{u"public.mime-type", Array{u"application/X-Note", u"image/png"}}};
    types.addDeclarations(exporting({{u"UTTypeIdentifier", u"org.example.note"}, {u"UTTypeTagSpecification", tags}}));
    EXPECT_EQ(types.contentTypeOfMimeType("application/x-note"), Identifier(u"org.example.note"));
    EXPECT_EQ(types.contentTypeOfMimeType("image/png"), Identifier(u"public.png"));
}

TEST(Declarations, NeverChangeTheTable) {
    ContentTypes types;
    types.addDeclarations(exporting(declaration(u"com.Adobe.PDF", u"newpdf", u"public.folder")));
    types.addDeclarations(exporting(declaration(u"org.example.pdf", u"pdf", u"public.data")));
    EXPECT_EQ(types.contentTypeOfExtension(u"pdf"), u"com.adobe.pdf");
    EXPECT_EQ(types.contentTypeOfExtension(u"newpdf"), dynamicIdentifierForExtension(u"newpdf"));
    EXPECT_FALSE(types.conformsTo(u"com.adobe.pdf", u"public.folder"));
    EXPECT_EQ(types.preferredExtension(u"com.adobe.pdf"), Identifier(u"pdf"));
}

// The table has no data type for .oo3, so a declared one is what a flat file is.
TEST(Declarations, FillInWhereTheTableHasNoDataType) {
    ContentTypes types;
    types.addDeclarations(importing(declaration(u"org.example.flat-outline", u"oo3", u"public.data")));
    EXPECT_EQ(types.contentTypeOfExtension(u"oo3"), u"org.example.flat-outline");
}

TEST(Declarations, FirstOneCountsButExportedReplacesImported) {
    ContentTypes types;
    types.addDeclarations(importing(declaration(u"org.example.a", u"first", u"public.data")));
    types.addDeclarations(importing(declaration(u"org.example.a", u"second", u"public.data")));
    EXPECT_EQ(types.preferredExtension(u"org.example.a"), Identifier(u"first"));
    types.addDeclarations(exporting(declaration(u"org.example.A", u"third", u"public.text")));
    types.addDeclarations(exporting(declaration(u"org.example.a", u"fourth", u"public.data")));
    EXPECT_EQ(types.preferredExtension(u"org.example.a"), Identifier(u"third"));
    EXPECT_TRUE(types.conformsTo(u"org.example.a", u"public.text"));
    EXPECT_EQ(types.contentTypeOfExtension(u"third"), u"org.example.A");
    for (const char16_t* extension : {u"first", u"second", u"fourth"})
        EXPECT_EQ(types.contentTypeOfExtension(extension), dynamicIdentifierForExtension(extension));
}

TEST(Declarations, FirstDataTypeOfAnExtensionIsTaken) {
    ContentTypes types;
    types.addDeclarations(exporting(declaration(u"org.example.a", u"x1", u"public.directory")));
    types.addDeclarations(exporting(declaration(u"org.example.b", u"x1", u"org.example.c")));
    EXPECT_EQ(types.contentTypeOfExtension(u"x1"), u"org.example.a");
    types.addDeclarations(exporting(declaration(u"org.example.c", Value(), u"public.data")));
    EXPECT_EQ(types.contentTypeOfExtension(u"x1"), u"org.example.b");
}

TEST(Declarations, MayFormCycles) {
    ContentTypes types;
    types.addDeclarations(exporting(declaration(u"org.example.a", u"x1", Array{u"org.example.b", u"org.example.a"})));
    types.addDeclarations(exporting(declaration(u"org.example.b", u"x2", u"org.example.a")));
    EXPECT_TRUE(types.conformsTo(u"org.example.a", u"org.example.b"));
    EXPECT_TRUE(types.conformsTo(u"org.example.b", u"org.example.a"));
    EXPECT_FALSE(types.conformsTo(u"org.example.a", u"public.data"));
}

TEST(Declarations, IgnoreWhatHasAnotherKind) {
    const Value oddities[] = {
        Value(),
        u"org.example.a",
        Array{u"org.example.a", 1, Dictionary{{u"UTTypeIdentifier", 1}}, Dictionary{{u"UTTypeIdentifier", u""}}},
        Array{Dictionary{{u"UTTypeIdentifier", u"org.example.a"}, {u"UTTypeTagSpecification", u"x1"}}},
        Array{declaration(u"org.example.a", Array{1, u"", Array{u"x1"}}, Dictionary())},
    };
    for (const Value& oddity : oddities) {
        ContentTypes types;
        types.addDeclarations({{u"UTExportedTypeDeclarations", oddity}, {u"UTImportedTypeDeclarations", oddity}});
        EXPECT_EQ(types.contentTypeOfExtension(u"x1"), dynamicIdentifierForExtension(u"x1"));
        EXPECT_FALSE(types.conformsTo(u"org.example.a", u"public.data"));
        EXPECT_EQ(types.preferredExtension(u"org.example.a"), std::nullopt);
    }
}

}  // namespace
}  // namespace halden
