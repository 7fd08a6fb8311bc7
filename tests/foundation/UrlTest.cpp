#include "foundation/Unicode.h"
#include "foundation/Url.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace halden {
namespace {

using namespace std::string_view_literals;
using Part = std::optional<std::u16string_view>;

Url urlOf(std::u16string_view string) {
    const std::optional<Url> url = URLWithString(string);
    if (!url) throw std::invalid_argument(utf8FromUtf16(string));
    return *url;
}

TEST(Url, HasItsParts) {
    const struct {
        std::u16string_view string, scheme, resourceSpecifier;
        Part authority;
        std::u16string_view host, path;
        Part query, fragment;
    } cases[] = {
        {u"http://u:p@h.org:80/a/b?c?#d/?", u"http", u"//u:p@h.org:80/a/b?c?#d/?", u"u:p@h.org:80", u"h.org", u"/a/b",
         u"c?", u"d/?"},
        {u"HTTP://H", u"HTTP", u"//H", u"H", u"H", u"", {}, {}},
        {u"http://h/?#", u"http", u"//h/?#", u"h", u"h", u"/", u"", u""},
        {u"mailto:a@b?c", u"mailto", u"a@b?c", {}, u"", u"a@b", u"c", {}},
        {u"file:///a", u"file", u"///a", u"", u"", u"/a", {}, {}},
        {u"feed:http://h/a", u"feed", u"http://h/a", {}, u"", u"http://h/a", {}, {}},
        {u"//h/a", u"", u"//h/a", u"h", u"h", u"/a", {}, {}},
        {u"a/b:c", u"", u"a/b:c", {}, u"", u"a/b:c", {}, {}},
        {u"?q", u"", u"?q", {}, u"", u"", u"q", {}},
        {u"#f", u"", u"#f", {}, u"", u"", {}, u"f"},
        {u"x-a+b.c:", u"x-a+b.c", u"", {}, u"", u"", {}, {}},
        {u"http://[2001:db8::1]:8080/",
         u"http",
         u"//[2001:db8::1]:8080/",
         u"[2001:db8::1]:8080",
         u"2001:db8::1",
         u"/",
         {},
         {}},
        {u"http://[v1.a:b]", u"http", u"//[v1.a:b]", u"[v1.a:b]", u"v1.a:b", u"", {}, {}},
        {u"http://b%C3%BCcher.de:/",
         u"http",
         u"//b%C3%BCcher.de:/",
         u"b%C3%BCcher.de:",
         u"b\u00FCcher.de",
         u"/",
         {},
         {}},
        {u"http://a%FF%2E", u"http", u"//a%FF%2E", u"a%FF%2E", u"a\uFFFD.", u"", {}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(utf8FromUtf16(c.string));
        const Url url = urlOf(c.string);
        EXPECT_EQ(url.absoluteString(), c.string);
        EXPECT_EQ(url.scheme(), c.scheme);
        EXPECT_EQ(url.resourceSpecifier(), c.resourceSpecifier);
        EXPECT_EQ(url.authority(), c.authority);
        EXPECT_EQ(url.host(), c.host);
        EXPECT_EQ(url.path(), c.path);
        EXPECT_EQ(url.query(), c.query);
        EXPECT_EQ(url.fragment(), c.fragment);
    }
}

TEST(Url, IsNoneWithoutTheRightCharacters) {
    static constexpr std::u16string_view kStrings[] = {u"",
                                                       u"http://h/a b",
                                                       u"http://h/\u00E4",
                                                       u"http://h/%",
                                                       u"http://h/%4",
                                                       u"http://h/%4g",
                                                       u"http://h/a[b]",
                                                       u"http://h:8o/",
                                                       u"http://h:1:2/",
                                                       u"http://[::1",
                                                       u"http://[::g]/",
                                                       u"http://[]/",
                                                       u"http://::1/",
                                                       u"http://a@b@c/",
                                                       u"a#b#c",
                                                       u":a",
                                                       u"1a:b",
                                                       u"http://h/\\a",
                                                       u"http://h/\0"sv,
                                                       u"http://[v.a]/",
                                                       u"http://[v1.]/",
                                                       u"http://[::1]x/",
                                                       u"http://x[::1]/",
                                                       u"http://h/{a}|\"<>^`"};
    for (const std::u16string_view string : kStrings) {
        EXPECT_FALSE(URLWithString(string)) << utf8FromUtf16(string);
    }
}

TEST(Url, EscapesWhatPeopleWrite) {
    const struct {
        std::u16string_view string;
        Part result;
    } cases[] = {
        {u"http://h/a b", u"http://h/a%20b"},
        {u"http://h/\u00E4\u20AC\U0001F600", u"http://h/%C3%A4%E2%82%AC%F0%9F%98%80"},
        {u"http://h/\xD83D\x0041\xDE00"sv, u"http://h/%EF%BF%BDA%EF%BF%BD"},
        {u"http://h/\xD83D"sv, u"http://h/%EF%BF%BD"},
        {u"http://b\u00FCcher.de/", u"http://b%C3%BCcher.de/"},
        {u"http://h/%41%e4%2", u"http://h/%41%e4%252"},
        {u"http://h/100%", u"http://h/100%25"},
        {u"http://h/a?b c#d e#f", u"http://h/a?b%20c#d%20e%23f"},
        {u"http://h/a[1]?b[]=c", u"http://h/a%5B1%5D?b%5B%5D=c"},
        {u"http://h/\"<>\\^`{|}\u007F\u0001", u"http://h/%22%3C%3E%5C%5E%60%7B%7C%7D%7F%01"},
        {u"http://a@b@c/", u"http://a%40b@c/"},
        {u"http://h\\x/", u"http://h%5Cx/"},
        {u"2010: a year", u"2010%3A%20a%20year"},
        {u":a/:b", u"%3Aa/:b"},
        {u"a/b:c", u"a/b:c"},
        {u" http://h", u"%20http%3A//h"},
        {u"", {}},
        {u"http://h:8o/", {}},
        {u"http://[::1", {}},
        {u"http://h:\uFF11/", {}},
    };
    for (const auto& c : cases) {
        const std::optional<Url> url = URLWithNormalizedStringURL(c.string);
        EXPECT_EQ(url ? Part(url->absoluteString()) : Part(), c.result) << utf8FromUtf16(c.string);
    }
}

// The examples of RFC 3986, 5.4, and the cases between them.
TEST(Url, ResolvesReferences) {
    constexpr std::u16string_view kBase = u"http://a/b/c/d;p?q";
    const struct {
        std::u16string_view base, reference;
        Part result;
    } cases[] = {
        {kBase, u"g:h", u"g:h"},
        {kBase, u"g", u"http://a/b/c/g"},
        {kBase, u"./g", u"http://a/b/c/g"},
        {kBase, u"g/", u"http://a/b/c/g/"},
        {kBase, u"/g", u"http://a/g"},
        {kBase, u"//g", u"http://g"},
        {kBase, u"?y", u"http://a/b/c/d;p?y"},
        {kBase, u"g?y", u"http://a/b/c/g?y"},
        {kBase, u"#s", u"http://a/b/c/d;p?q#s"},
        {kBase, u"g#s", u"http://a/b/c/g#s"},
        {kBase, u"g?y#s", u"http://a/b/c/g?y#s"},
        {kBase, u";x", u"http://a/b/c/;x"},
        {kBase, u"g;x", u"http://a/b/c/g;x"},
        {kBase, u"g;x?y#s", u"http://a/b/c/g;x?y#s"},
        {kBase, u"", u"http://a/b/c/d;p?q"},
        {kBase, u".", u"http://a/b/c/"},
        {kBase, u"./", u"http://a/b/c/"},
        {kBase, u"..", u"http://a/b/"},
        {kBase, u"../", u"http://a/b/"},
        {kBase, u"../g", u"http://a/b/g"},
        {kBase, u"../..", u"http://a/"},
        {kBase, u"../../", u"http://a/"},
        {kBase, u"../../g", u"http://a/g"},
        // 5.4.2: abnormal ones
        {kBase, u"../../../g", u"http://a/g"},
        {kBase, u"../../../../g", u"http://a/g"},
        {kBase, u"/./g", u"http://a/g"},
        {kBase, u"/../g", u"http://a/g"},
        {kBase, u"g.", u"http://a/b/c/g."},
        {kBase, u".g", u"http://a/b/c/.g"},
        {kBase, u"g..", u"http://a/b/c/g.."},
        {kBase, u"..g", u"http://a/b/c/..g"},
        {kBase, u"./../g", u"http://a/b/g"},
        {kBase, u"./g/.", u"http://a/b/c/g/"},
        {kBase, u"g/./h", u"http://a/b/c/g/h"},
        {kBase, u"g/../h", u"http://a/b/c/h"},
        {kBase, u"g;x=1/./y", u"http://a/b/c/g;x=1/y"},
        {kBase, u"g;x=1/../y", u"http://a/b/c/y"},
        {kBase, u"g?y/./x", u"http://a/b/c/g?y/./x"},
        {kBase, u"g?y/../x", u"http://a/b/c/g?y/../x"},
        {kBase, u"g#s/./x", u"http://a/b/c/g#s/./x"},
        {kBase, u"g#s/../x", u"http://a/b/c/g#s/../x"},
        {kBase, u"http:g", u"http:g"},
        // Further ones
        {u"http://a", u"g", u"http://a/g"},
        {u"http://a", u"../g", u"http://a/g"},
        {u"http://a?q#f", u"", u"http://a?q"},
        {u"http://a?q#f", u"?", u"http://a?"},
        {u"http://a/b/../c", u"#f", u"http://a/b/../c#f"},
        {u"http://a/b/../c", u"d", u"http://a/d"},
        {u"http://a/b", u"http://c/d/../e", u"http://c/e"},
        {u"http://a/b", u"//c/./d", u"http://c/d"},
        {u"http://a/b", u"c//..//d", u"http://a/c//d"},
        {u"http://a/b/c?d/e", u"f", u"http://a/b/f"},
        {u"mailto:a@b", u"c", u"mailto:c"},
        {u"mailto:a@b", u"/c", u"mailto:/c"},
        {u"file:///a/b", u"../../c", u"file:///c"},
        {u"a:/b/c", u"..//d", u"a:/.//d"},
        {u"a:/.//d", u"e", u"a:/.//e"},
        {u"a:b", u"./c:d", u"a:c:d"},
        {u"http://a/b", u"c d\u00E4", u"http://a/c%20d%C3%A4"},
        {u"http://a/b", u"2010: x", u"http://a/2010%3A%20x"},
        {u"/b/c", u"http://a/./d", u"http://a/d"},
        {u"/b/c", u"d", {}},
        {u"/b/c", u"", {}},
        {u"http://a/b", u"//c:d", {}},
    };
    for (const auto& c : cases) {
        const std::optional<Url> url = URLRelativeTo(c.reference, urlOf(c.base));
        EXPECT_EQ(url ? Part(url->absoluteString()) : Part(), c.result)
            << utf8FromUtf16(c.reference) << " at " << utf8FromUtf16(c.base);
        ASSERT_TRUE(!url || urlOf(url->absoluteString()).path() == url->path());
    }
}

TEST(Url, TakesAnAnchor) {
    EXPECT_EQ(URLWithAnchor(urlOf(u"http://h/a?b#c"), u"d e"), urlOf(u"http://h/a?b#d%20e"));
    EXPECT_EQ(URLWithAnchor(urlOf(u"http://h/a?b"), u"d#e"), urlOf(u"http://h/a?b#d%23e"));
    EXPECT_EQ(URLWithAnchor(urlOf(u"http://h/a?b#c"), u""), urlOf(u"http://h/a?b"));
    EXPECT_EQ(URLWithAnchor(urlOf(u"#c"), u""), std::nullopt);
}

TEST(Url, NamesFiles) {
    const struct {
        std::u16string_view path, url;
    } paths[] = {
        {u"/", u"file:///"},
        {u"/a b/\u00E4%3F?#;.txt", u"file:///a%20b/%C3%A4%253F%3F%23;.txt"},
        {u"//a", u"file:////a"},
        {u"/\xDCFF"sv, u"file:///%FF"},
    };
    for (const auto& c : paths) {
        const std::optional<Url> url = fileURLWithPath(c.path);
        ASSERT_TRUE(url);
        EXPECT_EQ(url->absoluteString(), c.url);
        EXPECT_TRUE(url->isFileURL());
        EXPECT_EQ(url->filePath(), c.path);
    }
    for (const std::u16string_view path : {u""sv, u"a/b"sv, u"/a\0b"sv, u"/\xD800"sv})
        EXPECT_FALSE(fileURLWithPath(path));

    EXPECT_EQ(urlOf(u"FILE://localhost/a%2Fb?c").filePath(), u"/a/b");
    EXPECT_EQ(urlOf(u"file:/a").filePath(), u"/a");
    for (const std::u16string_view url : {u"file:a", u"file://h", u"file:///a%00b", u"http://h/a", u"/a"})
        EXPECT_EQ(urlOf(url).filePath(), std::nullopt) << utf8FromUtf16(url);
}

TEST(Url, TellsWhatTheWebEngineFetches) {
    const struct {
        std::u16string_view url;
        bool isRemote;
    } cases[] = {
        {u"http://h", true},       {u"HTTPS://h/a b", true},    {u"Feed://h/a", true},  {u"feed:http://h/a", false},
        {u"ftp://h/", false},      {u"http:/h", false},         {u"http:///a", false},  {u"http://.-_/", false},
        {u"http://a...b/", false}, {u"http://%2E%2E/", false},  {u"http://1/", true},   {u"http://\u4E00/", true},
        {u"http://[::1]/", true},  {u"//h/a", false},           {u"a", false},          {u"", false},
        {u"http://h:x/", false},   {u"http://a%2E..b/", false}, {u"http://u@/", false}, {u"httpx://h", false},
        {u"http://h/a...b", true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(isRemoteWebKitStringURL(c.url), c.isRemote) << utf8FromUtf16(c.url);
}

TEST(Url, TellsBookmarklets) {
    const struct {
        std::u16string_view link;
        bool isBookmarklet;
    } cases[] = {
        {u"javascript:(function(){alert(1)})()", true},
        {u"JavaScript:location.href='http://h/?u='+encodeURIComponent(location.href)", true},
        {u"javascript:void%20%28%66unction%28%29%7B%7D%29%28%29", true},
        {u"javascript:(()=>{})()", true},
        {u"javascript:q=document.title;void(0)", true},
        {u"javascript:void(0)", false},
        {u"javascript:;", false},
        {u"javascript:", false},
        {u"javascript", false},
        {u"javascript:history.back()", false},
        {u"javascript:openPicture('a')", false},
        {u"http://h/function", false},
        {u"", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(stringURLIsBookmarklet(c.link), c.isBookmarklet) << utf8FromUtf16(c.link);
}

}  // namespace
}  // namespace halden
