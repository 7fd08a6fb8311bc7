#include "foundation/Unicode.h"
#include "markup/DeclaredCharset.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

struct Declaration {
    std::u16string_view markup;
    std::u16string_view charset;
    Range tag;
};

const Declaration kDeclarations[] = {
    {u"<meta charset=utf-8>", u"utf-8", {0, 20}},
    {u"<META CharSet = 'Shift_JIS' >", u"Shift_JIS", {0, 29}},
    {u"<meta http-equiv=x content=\"text/html; charset=koi8-r\">", u"koi8-r", {0, 55}},
    {u"<meta content='text/html;charset = \"big5\"' charset=gbk>", u"big5", {0, 55}},
    // The content is looked at first, and its own rules end the value.
    {u"<meta content='text/html' charset=gbk>", u"gbk", {0, 38}},
    {u"<meta content='charset=a;b'>", u"a", {0, 28}},
    {u"<meta content='charset='>", u"", {}},
    {u"<meta content='x' name=y><meta charset=utf-8>", u"utf-8", {25, 20}},
    // Entities are converted in meta tags, and only there.
    {u"<meta content=\"a; charset='x&amp;y'\">", u"x&y", {0, 37}},
    {u"<meta charset='x&amp;y'>", u"x&y", {0, 24}},
    {u"<?xml version='1.0' encoding='x&amp;y'?>", u"x&amp;y", {0, 40}},
    {u"<?XML ENCODING=\"ISO-8859-2\" ?>", u"ISO-8859-2", {0, 30}},
    {u"<?xml version='1.0'?><meta charset=utf-8>", u"utf-8", {21, 20}},
    {u"<xml encoding='utf-8'><meta charset=koi8-r>", u"koi8-r", {22, 21}},
    {u"< ?xml encoding='utf-8'?>", u"", {}},
    // End tags declare nothing.
    {u"</meta charset=utf-8>", u"", {}},
    // Nothing counts behind the start or the end of the body.
    {u"<BODY><meta charset=utf-8>", u"", {}},
    {u"</body><meta charset=utf-8>", u"", {}},
    {u"<bodyx><meta charset=utf-8>", u"utf-8", {7, 20}},
    // Tags in comments and scripts are none.
    {u"<!-- <meta charset=a> --><meta charset=b>", u"b", {25, 16}},
    {u"<script>'<meta charset=a>'</script><meta charset=b>", u"b", {35, 16}},
    {u"<metal charset=utf-8>", u"", {}},
    {u"text", u"", {}},
    {u"", u"", {}},
    {u"<", u"", {}},
    {u"<meta charset=utf-8", u"", {}},
    // A meta tag whose content holds markup.
    {u"<meta name=d content='<b>x</b>; charset=utf-8'>", u"utf-8", {0, 47}},
};

TEST(DeclaredCharset, IsTheFirstDeclaration) {
    for (const auto& row : kDeclarations) {
        EXPECT_EQ(markupCharset(row.markup), row.charset) << utf8FromUtf16(row.markup);
        EXPECT_EQ(markupCharsetRange(row.markup), row.tag) << utf8FromUtf16(row.markup);
    }
}

TEST(DeclaredCharset, Encodings) {
    struct Row {
        std::u16string_view markup;
        NSStringEncoding declared;
        NSStringEncoding forURLs;
    };
    const Row rows[] = {
        {u"<meta charset=iso-8859-1>", 5, 5},
        {u"<meta charset=utf-8>", 4, 4},
        {u"<meta charset=windows-1252>", 12, 4},
        {u"<meta charset=auto>", kInvalidEncoding, 4},
        {u"", kInvalidEncoding, 4},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(markupEncoding(row.markup), row.declared) << utf8FromUtf16(row.markup);
        EXPECT_EQ(defaultURLEncoding(row.markup), row.forURLs) << utf8FromUtf16(row.markup);
    }
}

TEST(DeclaredCharset, HeaderValues) {
    struct Row {
        std::u16string_view value;
        std::optional<std::u16string> charset;
        NSStringEncoding encoding;
    };
    const Row rows[] = {
        {u"text/html; charset=utf-8", u"utf-8", 4},
        {u"text/html;CHARSET = \"koi8-r\"; x=y", u"koi8-r", 0x80000A02},
        {u"text/html; charset='big5'", u"big5", 0x80000A03},
        {u"text/html; charset=utf-8;q=1", u"utf-8", 4},
        {u"text/html; charset=utf-8 x", u"utf-8", 4},
        {u"text/html", std::nullopt, kInvalidEncoding},
        {u"charset", std::nullopt, kInvalidEncoding},
        {u"", std::nullopt, kInvalidEncoding},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(headerCharset(row.value), row.charset) << utf8FromUtf16(row.value);
        EXPECT_EQ(headerEncoding(row.value), row.encoding) << utf8FromUtf16(row.value);
    }
}

TEST(DeclaredCharset, Refresh) {
    struct Row {
        std::u16string_view value;
        std::optional<std::u16string> url;
        std::int64_t seconds;
    };
    const Row rows[] = {
        {u"5; URL=http://example.org/", u"http://example.org/", 5},
        {u"0;url='http://example.org/a b'", u"http://example.org/a b", 0},
        {u"10;url=http://example.org/;x", u"http://example.org/;x", 10},  // a semicolon is part of it
        {u" 7", std::nullopt, 7},
        {u"-3; url=/x", u"/x", -3},
        {u"soon", std::nullopt, 0},
        {u"", std::nullopt, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(headerRefresh(row.value), row.url) << utf8FromUtf16(row.value);
        EXPECT_EQ(refreshInterval(row.value), row.seconds) << utf8FromUtf16(row.value);
    }
}

}  // namespace
}  // namespace halden
