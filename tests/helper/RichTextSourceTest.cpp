#include "foundation/Path.h"
#include "helper/RichTextSource.h"
#include "tests/documents/MadeFiles.h"
#include "tests/importers/TestBundles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <filesystem>

namespace quarry {
namespace {

namespace fs = std::filesystem;
using Form = RichTextSource::Form;
using halden::Dictionary;

class RichTextSourceTest : public ::testing::Test {
protected:
    std::optional<RichTextSource> source(const std::string& name, const std::string& bytes) {
        return sources_.sourceOfFile(halden::stringFromPathBytes(folder_.write(name, bytes).string()));
    }
    std::optional<RichTextSource> sourceAt(const fs::path& path) {
        return sources_.sourceOfFile(halden::stringFromPathBytes(path.string()));
    }

    test::TemporaryFolder folder_;
    RichTextSources sources_;
};

constexpr const char* kFlatText =
    R"(<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" )"
    R"(xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" office:version="1.2" )"
    R"(office:mimetype="application/vnd.oasis.opendocument.text"><office:body><office:text>)"
    R"(<text:p>from the word processor</text:p></office:text></office:body></office:document>)";

TEST_F(RichTextSourceTest, BytesCountNotNames) {
    EXPECT_EQ(source("a.rtf", "{\\rtf1 x}")->form, Form::rtf);
    EXPECT_EQ(source("a.doc", "{\\rtf1 x}")->form, Form::rtf);
    EXPECT_EQ(source("a.txt", "{\\rtf1 x}")->form, Form::rtf);
    EXPECT_EQ(source("flat.rtfd", std::string("rtfd\0\0\0\0\3", 9))->form, Form::flatRtfd);
    EXPECT_EQ(source("a", std::string("rtfd\0\0\0\0\3", 9))->form, Form::flatRtfd);
    // A name alone makes no document.
    EXPECT_FALSE(source("b.rtf", "just words"));
    EXPECT_FALSE(source("b.doc", "just words"));
    EXPECT_FALSE(source("b.docx", "just words"));
    EXPECT_FALSE(source("b.png", "just words"));
}

TEST_F(RichTextSourceTest, PlainTextSaysItsEncoding) {
    const auto text = source("a.txt", "caf\xC3\xA9\r\n");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->form, Form::plainText);
    EXPECT_EQ(text->text, u"café\r\n");
    EXPECT_EQ(
        text->attributes,
        (Dictionary{{u"DocumentType", u"NSPlainText"}, {u"CharacterEncoding", 4}, {u"UTI", u"public.plain-text"}}));
    EXPECT_EQ(source("script.py", "print(1)\n")->text, u"print(1)\n");
    EXPECT_EQ(source("no-extension", "words\n")->text, u"words\n");
    EXPECT_EQ(source("a.unheard-of", "words\n")->text, u"words\n");
    EXPECT_EQ(source("empty.txt", "")->text, u"");
}

TEST_F(RichTextSourceTest, TheExtendedAttributeNamesTheEncoding) {
    const fs::path path = folder_.write("a.txt", "\xEF\xF0\xE8");
    const std::string value = "windows-1251;1282";
    if (setxattr(path.c_str(), "user.com.apple.TextEncoding", value.data(), value.size(), 0) != 0)
        GTEST_SKIP() << "no extended attributes here";
    const auto text = sourceAt(path);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->text, u"при");
    EXPECT_EQ(*text->attributes.find(u"CharacterEncoding"), halden::Value(11));
}

TEST_F(RichTextSourceTest, NoiseIsNil) {
    std::string noise;
    for (int i = 0; i < 1000; ++i)
        noise.push_back(static_cast<char>(i * 7919 >> 3));
    for (const char* name : {"a.txt", "a", "a.rtf", "a.unheard-of", "a.doc"})
        EXPECT_FALSE(source(name, noise)) << name;
    EXPECT_FALSE(source("a.docx", test::zipArchive({{"readme.txt", "text"}})));
    EXPECT_FALSE(source("a.odt", test::zipArchive({{"mimetype", "application/vnd.oasis.opendocument.graphics"}})));
    EXPECT_FALSE(source("a.doc", test::compoundFile({"Workbook"})));
}

TEST_F(RichTextSourceTest, PagesAreToldByBytesOrType) {
    EXPECT_EQ(source("a.html", "<!DOCTYPE html><p>text").value().form, Form::page);
    EXPECT_EQ(source("a", "<!DOCTYPE html><p>text").value().form, Form::page);
    EXPECT_EQ(source("a.webarchive", "bplist00\xD1\1\2_\x10\x0FWebMainResource").value().form, Form::webArchive);
    EXPECT_TRUE(source("a.txt", "<!DOCTYPE html><p>text"));
}

TEST_F(RichTextSourceTest, FoldersArePackagesByWhatTheyHold) {
    fs::create_directories(folder_ / "a.rtfd");
    EXPECT_FALSE(sourceAt(folder_ / "a.rtfd"));
    folder_.write("a.rtfd/TXT.rtf", "{\\rtf1 x}");
    const auto package = sourceAt(folder_ / "a.rtfd");
    ASSERT_TRUE(package);
    EXPECT_EQ(package->form, Form::package);
    fs::create_directories(folder_ / "b.rtfd/TXT.rtf");
    EXPECT_FALSE(sourceAt(folder_ / "b.rtfd"));
}

TEST_F(RichTextSourceTest, WhatCannotBeReadIsNil) {
    EXPECT_FALSE(sources_.sourceOfFile(u"/nowhere"));
    EXPECT_FALSE(sources_.sourceOfFile(u""));
    EXPECT_FALSE(sources_.sourceOfFile(u"/dev/zero"));
    const fs::path pipe = folder_ / "pipe.txt";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(sourceAt(pipe));
    // Above the limit, and sparse, so that it costs nothing.
    const fs::path huge = folder_.write("huge.txt", "x");
    fs::resize_file(huge, RichTextSources::kLongestDocument + 1);
    EXPECT_FALSE(sourceAt(huge));
    fs::resize_file(huge, 0);
    EXPECT_FALSE(source("long.txt", std::string(RichTextSources::kLongestText + 1, 'x')));
}

TEST_F(RichTextSourceTest, WordProcessorDocumentsBecomeRtf) {
    if (halden::findOfficeInstallation().folder.empty()) GTEST_SKIP() << halden::findOfficeInstallation().reason;
    const auto flat = source("named-as-text.txt", kFlatText);
    ASSERT_TRUE(flat);
    EXPECT_EQ(flat->form, Form::rtf);
    EXPECT_TRUE(flat->isConverted);
    EXPECT_NE(flat->bytes.view().find("from the word processor"), std::string_view::npos);
    EXPECT_EQ(flat->attributes,
              (Dictionary{{u"DocumentType", u"NSOpenDocument"}, {u"UTI", u"org.oasis-open.opendocument.text"}}));
    const auto docx = source(
        "a.docx",
        test::zipArchive(
            {{"[Content_Types].xml",
              R"(<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"><Default Extension="rels" )"
              R"(ContentType="application/vnd.openxmlformats-package.relationships+xml"/><Override )"
              R"(PartName="/word/document.xml" ContentType="application/vnd.openxmlformats-officedocument.)"
              R"(wordprocessingml.document.main+xml"/></Types>)"},
             {"_rels/.rels",
              R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship )"
              R"(Id="r" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" )"
              R"(Target="word/document.xml"/></Relationships>)"},
             {"word/document.xml",
              R"(<w:document xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main"><w:body><w:p>)"
              R"(<w:r><w:t>packed words</w:t></w:r></w:p></w:body></w:document>)"}}));
    ASSERT_TRUE(docx);
    EXPECT_NE(docx->bytes.view().find("packed words"), std::string_view::npos);
    EXPECT_EQ(*docx->attributes.find(u"DocumentType"), halden::Value(u"NSOfficeOpenXML"));
}

}  // namespace
}  // namespace quarry
