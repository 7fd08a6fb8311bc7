#include "foundation/Path.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace halden {
namespace {

TEST(Path, EveryPathOfBytesComesBack) {
    std::mt19937 random(2);
    for (int round = 0; round < 5000; ++round) {
        std::string bytes = "/";
        for (std::size_t length = random() % 10; length > 0; --length) {
            bytes += random() % 3 == 0 ? "é" : std::string(1, static_cast<char>(1 + random() % 255));
        }
        ASSERT_EQ(pathBytesFromString(stringFromPathBytes(bytes)), bytes);
    }
}

TEST(Path, BytesThatAreNoUtf8BecomeLowSurrogates) {
    EXPECT_EQ(stringFromPathBytes("caf\xE9.txt"), u"caf\xDCE9.txt");
    // A surrogate spelled in three bytes is not well-formed: each byte is kept by itself.
    EXPECT_EQ(stringFromPathBytes("\xED\xA0\x80"), u"\xDCED\xDCA0\xDC80");
}

TEST(Path, StringsThatNoFileCanHave) {
    const std::u16string_view impossible[] = {u"", std::u16string_view(u"a\0b", 3), u"\xD800", u"\xDC00", u"\xDD00"};
    for (const auto path : impossible)
        EXPECT_FALSE(pathBytesFromString(path));
}

struct Parts {
    std::u16string_view path, last, extension, parent, withoutExtension;
};

const Parts kParts[] = {
    {u"/a/b.txt", u"b.txt", u"txt", u"/a", u"/a/b"},
    {u"/a/b.tar.gz", u"b.tar.gz", u"gz", u"/a", u"/a/b.tar"},
    {u"/a/b.rtfd/", u"b.rtfd", u"rtfd", u"/a", u"/a/b"},
    {u"/a.d/b", u"b", u"", u"/a.d", u"/a.d/b"},
    {u"/.profile", u".profile", u"", u"/", u"/.profile"},
    {u"..", u"..", u"", u"", u".."},
    {u"b.", u"b.", u"", u"", u"b"},
    {u"/", u"/", u"", u"/", u"/"},
    {u"//a", u"a", u"", u"/", u"//a"},
    {u"", u"", u"", u"", u""},
};

TEST(Path, Parts) {
    for (const auto& row : kParts) {
        const std::string name(row.path.begin(), row.path.end());
        EXPECT_EQ(lastPathComponent(row.path), row.last) << name;
        EXPECT_EQ(pathExtension(row.path), row.extension) << name;
        EXPECT_EQ(deletingLastPathComponent(row.path), row.parent) << name;
        EXPECT_EQ(deletingPathExtension(row.path), row.withoutExtension) << name;
    }
}

TEST(Path, AppendingLeavesExactlyOneSlash) {
    EXPECT_EQ(appendingPathComponent(u"/a", u"b"), u"/a/b");
    EXPECT_EQ(appendingPathComponent(u"/a/", u"/b"), u"/a/b");
    EXPECT_EQ(appendingPathComponent(u"/", u"b"), u"/b");
    EXPECT_EQ(appendingPathComponent(u"", u"b"), u"b");
    EXPECT_EQ(appendingPathComponent(u"/a", u""), u"/a");
}

TEST(Path, OnlyALeadingTildeOfOnesOwnIsExpanded) {
    setenv("HOME", "/home/caf\xC3\xA9", 1);
    EXPECT_EQ(expandingTilde(u"~"), u"/home/caf\u00E9");
    EXPECT_EQ(expandingTilde(u"~/x"), u"/home/caf\u00E9/x");
    EXPECT_EQ(expandingTilde(u"~other/x"), u"~other/x");
    EXPECT_EQ(expandingTilde(u"/x/~"), u"/x/~");
}

}  // namespace
}  // namespace halden
