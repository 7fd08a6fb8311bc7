#include "tests/importers/system/SystemBundles.h"
#include "tests/importers/system/ZipPackage.h"

#include <zlib.h>

#include <cstdlib>

namespace quarry::test {
namespace {

class IWorkImporterTest : public SystemBundles {
protected:
    std::filesystem::path make(const std::string& name, const Members& members, const char* password = nullptr) {
        return writeZipPackage(folder_ / name, members, password);
    }
};

std::string gzipped(const std::string& bytes) {
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY);
    std::string result(deflateBound(&stream, bytes.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}

std::string pages(const std::string& text, const std::string& before = {}) {
    return "<?xml version=\"1.0\"?>" + before +
           "<sl:document xmlns:sl='http://developer.apple.com/namespaces/sl' "
           "xmlns:sf='http://developer.apple.com/namespaces/sf' "
           "xmlns:sfa='http://developer.apple.com/namespaces/sfa' sl:version='92008102400'>"
           "<sf:metadata><sf:title><sf:string sfa:string='A title'/></sf:title>"
           "<sf:authors><sf:string sfa:string='A'/></sf:authors></sf:metadata>"
           "<sf:text-storage sf:kind='body'><sf:text-body><sf:section><sf:layout><sf:p>" +
           text + "<sf:br/></sf:p></sf:layout></sf:section></sf:text-body></sf:text-storage></sl:document>";
}

TEST_F(IWorkImporterTest, ADocumentInXmlGivesItsTitleAndText) {
    for (const Members& members :
         {Members{{"index.xml", pages("Some text")}}, Members{{"index.xml.gz", gzipped(pages("Some text"))}}}) {
        const auto result = metaDataOf(make("a.pages", members));
        EXPECT_EQ(stringOf(result, u"kMDItemTitle"), u"A title");
        EXPECT_NE(stringOf(result, u"kMDItemTextContent").find(u"Some text"), std::u16string::npos);
    }
}

TEST_F(IWorkImporterTest, ADocumentOfObjectsGivesItsText) {
    const char* corpus = std::getenv("QUARRY_CORPUS");
    if (corpus == nullptr) GTEST_SKIP() << "no file to read";
    const auto result = metaDataOf(std::filesystem::path(corpus) / "files" / "testPages2013.pages");
    ASSERT_TRUE(result);
    EXPECT_GT(stringOf(result, u"kMDItemTextContent").size(), 100U);
}

TEST_F(IWorkImporterTest, HostileDocumentsEnd) {
    EXPECT_EQ(metaDataOf(make("a.pages", {{"index.xml", pages("secret")}}, "password")),
              (halden::Dictionary{{u"kMDItemSecurityMethod", u"Password Encrypted"}}));
    EXPECT_FALSE(metaDataOf(make("b.pages", {{"index.xml", pages("&b;", "<!DOCTYPE d [<!ENTITY b 'x'>]>")}})));
    EXPECT_FALSE(metaDataOf(make("c.pages", {{"index.xml.gz", gzipped(std::string(std::size_t{80} << 20, ' '))}})));
    EXPECT_FALSE(metaDataOf(make("d.pages", {{"Index/Document.iwa", std::string("\0\xFF\xFF\x7F", 4)}})));
    EXPECT_FALSE(metaDataOf(make("e.key", {})));
    EXPECT_FALSE(metaData("f.numbers", "PK\3\4"));
    std::string nested;
    for (int i = 0; i < 20000; ++i)
        nested += "<sf:span>";
    (void)metaDataOf(make("g.pages", {{"index.xml", pages(nested)}}));
}

}  // namespace
}  // namespace quarry::test
