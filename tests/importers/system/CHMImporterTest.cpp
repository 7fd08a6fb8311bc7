#include "tests/importers/system/SystemBundles.h"

namespace quarry::test {
namespace {

using halden::Dictionary;

using CHMImporterTest = SystemBundles;
using Objects = std::vector<std::pair<std::string, std::string>>;  ///< sorted by path

std::string little(std::size_t value, int length) {
    std::string bytes;
    for (int i = 0; i < length; ++i)
        bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
    return bytes;
}

/// Seven bits a byte, the highest first; all but the last byte have the upper bit set.
std::string packed(std::size_t value) {
    std::string bytes(1, static_cast<char>(value & 0x7F));
    while (value >>= 7)
        bytes.insert(bytes.begin(), static_cast<char>(0x80 | (value & 0x7F)));
    return bytes;
}

/// A help file of which nothing is compressed: header, directory of one block, contents. `next` is the directory block
/// that is said to follow.
std::string help(const Objects& objects, std::size_t next = 0xFFFFFFFF) {
    constexpr std::size_t kBlock = 4096, kHeader = 0x60, kSection = 0x18, kDirectoryHeader = 0x54;
    std::string entries, contents;
    for (const auto& [path, bytes] : objects) {
        entries += packed(path.size()) + path + packed(0) + packed(contents.size()) + packed(bytes.size());
        contents += bytes;
    }
    const std::size_t free = kBlock - 0x14 - entries.size();
    std::string block = "PMGL" + little(free, 4) + little(0, 4) + little(0xFFFFFFFF, 4) + little(next, 4) + entries;
    block.resize(kBlock, '\0');
    const std::string directory =
        "ITSP" + little(1, 4) + little(kDirectoryHeader, 4) + little(10, 4) + little(kBlock, 4) + little(2, 4) +
        little(1, 4) + little(0xFFFFFFFF, 4) + little(0, 4) + little(0, 4) + little(0xFFFFFFFF, 4) + little(1, 4) +
        little(0x409, 4) + std::string(16, 'u') + little(kDirectoryHeader, 4) + std::string(12, '\xFF') + block;
    const std::string section = little(0x1FE, 4) + little(0, 4) + std::string(kSection - 8, '\0');
    const std::size_t begin = kHeader + section.size();
    return "ITSF" + little(3, 4) + little(kHeader, 4) + little(1, 4) + little(0, 4) + little(0x409, 4) +
           std::string("\x10\xFD\x01\x7C\xAA\x7B\xD0\x11\x9E\x0C\0\xA0\xC9\x22\xE6\xEC", 16) +
           std::string("\x11\xFD\x01\x7C\xAA\x7B\xD0\x11\x9E\x0C\0\xA0\xC9\x22\xE6\xEC", 16) + little(kHeader, 8) +
           little(section.size(), 8) + little(begin, 8) + little(directory.size(), 8) +
           little(begin + directory.size(), 8) + section + directory + contents;
}

const std::string kSettings = little(3, 4) + little(4, 2) + little(2, 2) + "x" + std::string(1, '\0') + little(3, 2) +
                              little(7, 2) + "A help" + std::string(1, '\0');

TEST_F(CHMImporterTest, HelpGivesItsTitleAndTheTextOfItsPages) {
    const Objects objects{{"/#SYSTEM", kSettings},
                          {"/a.htm", "<html><head><title>no</title></head><body><p>One &amp; more</p></body></html>"},
                          {"/b.gif", "GIF89a"},
                          {"/sub/C.HTML", "<p>Two</p>"}};
    EXPECT_EQ(metaData("a.chm", help(objects)),
              (Dictionary{{u"kMDItemTitle", u"A help"}, {u"kMDItemTextContent", u"One & more\nTwo\n"}}));
}

TEST_F(CHMImporterTest, DamagedHelpEnds) {
    EXPECT_FALSE(metaData("a.chm", ""));
    EXPECT_FALSE(metaData("b.chm", "ITSF"));
    const std::string whole = help({{"/#SYSTEM", kSettings}, {"/a.htm", "<p>One</p>"}});
    for (std::size_t length = 0x58; length < whole.size(); length += 331)
        (void)metaData("c" + std::to_string(length) + ".chm", whole.substr(0, length));
    // A directory that goes round in circles gives each page once.
    EXPECT_EQ(stringOf(metaData("d.chm", help({{"/a.htm", "<p>One</p>"}}, 0)), u"kMDItemTextContent"), u"One\n");
    // A page of more bytes than there are.
    std::string long_ = help({{"/a.htm", std::string(200, 'x')}});
    long_.resize(long_.size() - 100);
    (void)metaData("e.chm", long_);
}

}  // namespace
}  // namespace quarry::test
