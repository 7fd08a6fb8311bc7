#include "platform/types/ContentTypes.h"
#include "tests/platform/types/ItemFolder.h"

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <cerrno>

namespace halden {
namespace {

using namespace std::string_view_literals;

/// False where the file system has no attributes.
bool setFinderInfo(const std::string& path, std::string_view info) {
    if (setxattr(path.c_str(), "user.com.apple.FinderInfo", info.data(), info.size(), 0) == 0) return true;
    EXPECT_EQ(errno, ENOTSUP);
    return false;
}

struct Info {
    std::string bytes;
    const char16_t* type;
};

TEST(HfsType, IsTheCodeInQuotes) {
    ItemFolder items;
    const auto path = items.file("a");
    EXPECT_EQ(NSHFSTypeOfFile(path), u"");
    const std::string rest(28, '\0');
    const Info cases[] = {
        {"PDF " + rest, u"'PDF '"},
        {"TEXT", u"'TEXT'"},
        {"TIFFttxt" + std::string(24, '\x7F'), u"'TIFF'"},
        {std::string("\0\0\0\0", 4) + "ttxt" + std::string(24, '\0'), u""},
        {std::string("A\0\0\0", 4) + rest, nullptr},
        {"\x8E\xC4\xDB'" + rest, u"'\u00E9\u0192\u20AC''"},
        {"PDF", u""},
        {"", u""},
        {std::string(33, 'x'), u""},  // no Finder information has this length
    };
    for (const auto& [bytes, type] : cases) {
        if (!setFinderInfo(items.bytes("a"), bytes)) GTEST_SKIP() << "no extended attributes here";
        const std::u16string expected = type == nullptr ? std::u16string(u"'A\0\0\0'", 6) : type;
        EXPECT_EQ(NSHFSTypeOfFile(path), expected) << bytes;
    }
}

TEST(HfsType, FollowsLinksAndLeavesFoldersAlone) {
    ItemFolder items;
    items.file("a");
    const auto folder = items.folder("folder");
    if (!setFinderInfo(items.bytes("a"), "PDF ")) GTEST_SKIP() << "no extended attributes here";
    ASSERT_TRUE(setFinderInfo(items.bytes("folder"), "PDF "));
    EXPECT_EQ(NSHFSTypeOfFile(items.link("link", "a")), u"'PDF '");
    EXPECT_EQ(NSHFSTypeOfFile(folder), u"");
    EXPECT_EQ(NSHFSTypeOfFile(items.link("dangling", "b")), u"");
    EXPECT_EQ(NSHFSTypeOfFile(u""), u"");
}

}  // namespace
}  // namespace halden
