#include "tests/importers/system/SystemBundles.h"

namespace quarry::test {
namespace {

using halden::Dictionary;

using DjVuImporterTest = SystemBundles;

std::string big(std::size_t value, int length) {
    std::string bytes;
    for (int i = length; i-- > 0;)
        bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
    return bytes;
}

std::string chunk(const std::string& name, const std::string& contents) {
    return name + big(contents.size(), 4) + contents + (contents.size() % 2 != 0 ? std::string(1, '\0') : "");
}

/// A page of 100 by 50 points without a picture, with its hidden text as one zone.
std::string page(const std::string& text, const std::string& annotations = {}) {
    const std::string information = big(100, 2) + big(50, 2) + std::string("\x18\0\x64\0\x16\0", 6);
    const auto place = [](int value) { return big(static_cast<std::size_t>(0x8000 + value), 2); };
    std::string zones = "\1\1";  // the version; a page
    zones += place(0) + place(0) + place(100) + place(50) + place(0) + big(text.size(), 3) + big(0, 3);
    std::string form = "DJVU" + chunk("INFO", information);
    if (!text.empty()) form += chunk("TXTa", big(text.size(), 3) + text + zones);
    if (!annotations.empty()) form += chunk("ANTa", annotations);
    return "AT&T" + chunk("FORM", form);
}

TEST_F(DjVuImporterTest, APageGivesItsText) {
    EXPECT_EQ(metaData("a.djvu", page("Wool and\nwater \xE2\x82\xAC")),
              (Dictionary{{u"kMDItemNumberOfPages", 1}, {u"kMDItemTextContent", u"Wool and\nwater \u20AC\n"}}));
    EXPECT_EQ(metaData("a.djv", page("")), (Dictionary{{u"kMDItemNumberOfPages", 1}}));
}

TEST_F(DjVuImporterTest, DamagedDocumentsEnd) {
    EXPECT_FALSE(metaData("a.djvu", ""));
    EXPECT_FALSE(metaData("b.djvu", "AT&TFORM"));
    EXPECT_FALSE(metaData("c.djvu", "no document"));
    const std::string whole = page("Text", "(metadata (title \"T\"))");
    for (std::size_t length = 12; length < whole.size(); length += 7)
        (void)metaData("d" + std::to_string(length) + ".djvu", whole.substr(0, length));
    const std::string nested = page("Text", std::string(100000, '('));
    EXPECT_EQ(stringOf(metaData("e.djvu", nested), u"kMDItemTextContent"), u"Text\n");
}

// A document of many files names the others; none of them is opened.
TEST_F(DjVuImporterTest, OtherFilesAreNotRead) {
    folder_.write("other.djvu", page("Secret"));
    // The directory of an indirect document, packed as the library packs it, is not needed to see that a page that is
    // included is not fetched.
    std::string form = page("Here").substr(12);
    form += chunk("INCL", "other.djvu");
    EXPECT_EQ(stringOf(metaData("a.djvu", "AT&T" + chunk("FORM", form)), u"kMDItemTextContent").find(u"Secret"),
              std::u16string::npos);
}

}  // namespace
}  // namespace quarry::test
