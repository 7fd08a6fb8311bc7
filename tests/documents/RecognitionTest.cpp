#include "documents/CompoundFile.h"
#include "documents/Recognition.h"
#include "documents/XmlRoot.h"
#include "documents/ZipArchive.h"
#include "tests/documents/MadeFiles.h"

#include <gtest/gtest.h>

#include <string>

namespace quarry {
namespace {

using namespace std::string_literals;
using test::compoundFile;
using test::zipArchive;

std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

constexpr const char* kWordTypes =
    R"(<Types><Override PartName="/word/document.xml" ContentType="application/vnd.openxmlformats-)"
    R"(officedocument.wordprocessingml.document.main+xml"/></Types>)";
constexpr const char* kSheetTypes =
    R"(<Types><Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-)"
    R"(officedocument.spreadsheetml.sheet.main+xml"/></Types>)";
constexpr const char* kFlatText =
    R"(<?xml version="1.0"?><!-- c > --><!DOCTYPE office:document [<!ENTITY a "]>">]><office:document )"
    R"(xmlns:office = 'urn:oasis:names:tc:opendocument:xmlns:office:1.0' )"
    R"(office:mimetype="application/vnd.oasis.opendocument.text">)";

std::string utf16(const std::string& ascii, bool isLittle) {
    std::string result = isLittle ? "\xFF\xFE" : "\xFE\xFF";
    for (const char unit : ascii) {
        result += isLittle ? std::string{unit, '\0'} : std::string{'\0', unit};
    }
    return result;
}

struct Case {
    const char* name;
    std::string bytes;
    TypeHint hint;
    DocumentKind kind;
};

class Recognition : public ::testing::TestWithParam<Case> {};

TEST_P(Recognition, KindOfBytes) {
    EXPECT_EQ(recognizeDocument(bytesOf(GetParam().bytes), GetParam().hint), GetParam().kind);
}

using enum DocumentKind;

INSTANTIATE_TEST_SUITE_P(
    Signatures, Recognition,
    ::testing::Values(
        Case{"rtf", "{\\rtf1 x}", TypeHint::none, rtf}, Case{"rtfNamedAsText", "{\\rtf1 x}", TypeHint::text, rtf},
        Case{"rtfNamedAsPicture", "{\\rtf1 x}", TypeHint::other, rtf},
        Case{"rtfAfterBlanks", "\xEF\xBB\xBF \r\n{\\rtf1 x}", TypeHint::text, rtf},
        Case{"rtfAfterText", "x{\\rtf1 x}", TypeHint::text, plainText},
        Case{"almostRtf", "{\\rt1 x}", TypeHint::other, unknown},
        Case{"flatRtfd", "rtfd\0\0\0\0\3\0\0\0"s, TypeHint::none, flatRtfd},
        Case{"wordBinary", compoundFile({"Other", "WordDocument"}), TypeHint::none, doc},
        Case{"workbookBinary", compoundFile({"Workbook"}), TypeHint::other, unknown},
        Case{"encrypted", compoundFile({"EncryptionInfo", "EncryptedPackage"}), TypeHint::other, unknown},
        Case{"compoundNamedText", compoundFile({"Workbook"}), TypeHint::text, unknown},
        Case{"cutCompoundFile", compoundFile({"WordDocument"}).substr(0, 600), TypeHint::none, unknown},
        Case{"docx", zipArchive({{"[Content_Types].xml", kWordTypes}}), TypeHint::none, docx},
        Case{"docxStored", zipArchive({{"a", "b"}, {"[Content_Types].xml", kWordTypes}}, false), TypeHint::none, docx},
        Case{"xlsx", zipArchive({{"[Content_Types].xml", kSheetTypes}}), TypeHint::other, unknown},
        Case{"odt", zipArchive({{"mimetype", "application/vnd.oasis.opendocument.text"}}, false), TypeHint::none, odt},
        Case{"odtLineEnd", zipArchive({{"mimetype", "application/vnd.oasis.opendocument.text\r\n"}}), TypeHint::none,
             odt},
        Case{"ods", zipArchive({{"mimetype", "application/vnd.oasis.opendocument.spreadsheet"}}, false), TypeHint::none,
             unknown},
        Case{"zip", zipArchive({{"readme.txt", "text"}}), TypeHint::none, unknown},
        Case{"cutZip", zipArchive({{"[Content_Types].xml", kWordTypes}}).substr(0, 100), TypeHint::none, unknown},
        Case{"webArchive", "bplist00\xD1\1\2_\x10\x0FWebMainResource", TypeHint::none, webArchive},
        Case{"webArchiveXml", "<?xml version=\"1.0\"?><!DOCTYPE plist><plist><dict><key>WebMainResource</key>",
             TypeHint::none, webArchive},
        Case{"otherList", "bplist00\xD1\1\2", TypeHint::other, unknown}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Roots, Recognition,
    ::testing::Values(Case{"fodt", kFlatText, TypeHint::text, fodt},
                      Case{"fodtMarked", "\xEF\xBB\xBF"s + kFlatText, TypeHint::none, fodt},
                      Case{"fodtUtf16", utf16(kFlatText, true), TypeHint::text, fodt},
                      Case{"fodtUtf16Big", utf16(kFlatText, false), TypeHint::text, fodt},
                      Case{"flatSheet",
                           R"(<o:document xmlns:o="urn:oasis:names:tc:opendocument:xmlns:office:1.0" )"
                           R"(o:mimetype="application/vnd.oasis.opendocument.spreadsheet">)",
                           TypeHint::none, plainText},
                      Case{"wordML",
                           R"(<?mso-application progid="Word.Document"?><w:wordDocument )"
                           R"(xmlns:w="http://schemas.microsoft.com/office/word/2003/wordml">)",
                           TypeHint::text, wordML},
                      Case{"otherNamespace", R"(<w:wordDocument xmlns:w="urn:other">)", TypeHint::text, plainText},
                      Case{"flatDocx",
                           R"(<?xml version="1.0"?><?mso-application progid="Word.Document"?><pkg:package )"
                           R"(xmlns:pkg="http://schemas.microsoft.com/office/2006/xmlPackage">)",
                           TypeHint::text, flatDocx},
                      Case{"flatXlsx",
                           R"(<?mso-application progid="Excel.Sheet"?><pkg:package )"
                           R"(xmlns:pkg="http://schemas.microsoft.com/office/2006/xmlPackage">)",
                           TypeHint::text, plainText},
                      Case{"xhtml", R"(<?xml version="1.0"?><html xmlns="http://www.w3.org/1999/xhtml">)",
                           TypeHint::none, html},
                      Case{"cutInTheRoot", "<w:wordDocument xmlns:w=\"http", TypeHint::text, plainText}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(Text, Recognition,
                         ::testing::Values(Case{"empty", "", TypeHint::none, plainText},
                                           Case{"emptyOfAnotherType", "", TypeHint::other, unknown},
                                           Case{"utf8", "na\xC3\xAFve\n", TypeHint::none, plainText},
                                           Case{"latinDeclared", "na\xEFve\n", TypeHint::text, plainText},
                                           Case{"latinUnknown", "na\xEFve\n", TypeHint::none, unknown},
                                           Case{"textOfAnotherType", "%PDF-1.4 text", TypeHint::other, unknown},
                                           Case{"zeros", "text\0text"s, TypeHint::text, unknown},
                                           Case{"controls", "a\1\2\3\4\5\6", TypeHint::text, unknown},
                                           Case{"utf16", utf16("text", true), TypeHint::none, plainText},
                                           Case{"utf16Unmarked", utf16("some text", false).substr(2), TypeHint::text,
                                                plainText},
                                           Case{"page", " <!-- c --><!DOCTYPE HTML><p>", TypeHint::none, html},
                                           Case{"pageTag", "<HTML >", TypeHint::none, html},
                                           Case{"pageAsText", "<html><p>", TypeHint::text, plainText},
                                           Case{"pageByType", "just words", TypeHint::html, html},
                                           Case{"noPage", "<htmlish>", TypeHint::none, plainText}),
                         [](const auto& row) { return row.param.name; });

TEST(CompoundFile, ADirectoryThatGoesRoundInCirclesEnds) {
    std::string file = compoundFile({"Other"});
    // The directory's sector is followed by itself.
    file[test::kTableSectorOffset + 4 * test::kDirectorySector] = static_cast<char>(test::kDirectorySector);
    EXPECT_FALSE(compoundFileHasStream(bytesOf(file), "WordDocument"));
    EXPECT_TRUE(compoundFileHasStream(bytesOf(file), "Other"));
}

TEST(CompoundFile, LongDirectoriesAreFollowed) {
    std::vector<std::string> names(30, "Other");
    names.emplace_back("WordDocument");
    EXPECT_TRUE(compoundFileHasStream(bytesOf(compoundFile(names)), "WordDocument"));
}

TEST(ZipArchive, MembersHaveTheirContents) {
    const std::string longText(100'000, 'x');
    const std::string archive = zipArchive({{"first", "one"}, {"second", longText}});
    EXPECT_EQ(contentsOfZipMember(bytesOf(archive), "first", 100), "one");
    EXPECT_EQ(contentsOfZipMember(bytesOf(archive), "second", 1'000'000), longText);
    EXPECT_EQ(contentsOfZipMember(bytesOf(archive), "second", 10), "xxxxxxxxxx");
    EXPECT_EQ(contentsOfZipMember(bytesOf(archive), "third", 10), std::nullopt);
}

TEST(XmlRoot, IsFoundBehindAnyPrologue) {
    const auto root = xmlRootOf("\n<?a b?><!--x--><!DOCTYPE r [<!ENTITY e '>'>]><p:r a='1' xmlns:p=\"u\"/>");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->localName(), "r");
    EXPECT_EQ(root->namespaceUri(), "u");
    EXPECT_EQ(root->attribute("a"), "1");
    EXPECT_EQ(root->attribute("b"), "");
    for (const char* text : {"", "text", "<", "<a", "<a b", "<a b>", "<a b='", "<!--", "<?x", "<!DOCTYPE a [", "< a>"})
        EXPECT_FALSE(xmlRootOf(text)) << text;
}

}  // namespace
}  // namespace quarry
