#include "richtext/RtfControlWords.h"
#include "richtext/RtfTokenizer.h"

#include <gtest/gtest.h>

#include <string>

namespace halden {
namespace {

/// The tokens of `input`, one after the other, in a form to compare: { } word(name,number) symbol(c) hex(n) text
/// binary.
std::string tokensOf(std::string_view input) {
    RtfTokenizer tokenizer(input);
    std::string all;
    for (;;) {
        const RtfToken token = tokenizer.next();
        if (!all.empty()) all += ' ';
        switch (token.kind) {
            case RtfTokenKind::end:
                if (!all.empty()) all.pop_back();
                return all;
            case RtfTokenKind::groupBegin:
                all += '{';
                break;
            case RtfTokenKind::groupEnd:
                all += '}';
                break;
            case RtfTokenKind::word:
                EXPECT_EQ(token.hash, rtfWordHash(token.text));
                all += "word(" + std::string(token.text);
                if (token.hasParameter) all += "," + std::to_string(token.parameter);
                all += ')';
                break;
            case RtfTokenKind::symbol:
                all += "symbol(" + (token.text == "\n" ? std::string("LF") : std::string(token.text)) + ")";
                break;
            case RtfTokenKind::hexByte:
                all += "hex(" + std::to_string(token.parameter) + ")";
                break;
            case RtfTokenKind::text:
                all += "text(" + std::string(token.text) + ")";
                break;
            case RtfTokenKind::binary:
                all += "binary(" + std::string(token.text) + ")";
                break;
        }
    }
}

struct Case {
    std::string_view input;
    std::string_view tokens;
};

TEST(RtfTokenizer, SplitsByTheRulesOfTheFormat) {
    const Case cases[] = {
        {"", ""},
        {"{\\rtf1 a}", "{ word(rtf,1) text(a) }"},
        // One space belongs to the word, the next is text; any other character ends the word and stays.
        {"\\b x", "word(b) text(x)"},
        {"\\b  x", "word(b) text( x)"},
        {"\\b0x", "word(b,0) text(x)"},
        {"\\b;x", "word(b) text(;x)"},
        {"\\b\nx", "word(b) text(x)"},
        {"\\b\\i", "word(b) word(i)"},
        // A minus sign is part of the word only before a digit.
        {"\\li-720x", "word(li,-720) text(x)"},
        {"\\li-x", "word(li) text(-x)"},
        {"\\li-", "word(li) text(-)"},
        {"\\CocoaLigature0 x", "word(CocoaLigature,0) text(x)"},
        // Numbers beyond the type are held to its range.
        {"\\u99999999999999999999999 ", "word(u,2147483647)"},
        {"\\u-99999999999999999999999 ", "word(u,-2147483647)"},
        {"\\'e9\\'EA", "hex(233) hex(234)"},
        // Broken bytes yield nothing; what follows stays text.
        {"\\'xyz", "text(xyz)"},
        {"\\'e", "text(e)"},
        {"\\'", ""},
        {"\\", ""},
        {"a\\", "text(a)"},
        {"\\~\\_\\-\\{\\}\\\\\\*", "symbol(~) symbol(_) symbol(-) symbol({) symbol(}) symbol(\\) symbol(*)"},
        // A line end after a backslash is a sign, one pair counting once; others are nothing.
        {"a\\\r\nb\\\nc\\\rd", "text(a) symbol(LF) text(b) symbol(LF) text(c) symbol(LF) text(d)"},
        {"a\r\nb\nc", "text(a) text(b) text(c)"},
        {std::string_view("a\0b", 3), "text(a) text(b)"},
        // Binary runs may hold anything, and are cut to what is there.
        {"\\bin5 {}\\a\\b", "binary({}\\a\\) text(b)"},
        {"\\bin3abc}", "binary(abc) }"},
        {"\\bin99 ab", "binary(ab)"},
        {"\\bin-1 ab", "binary() text(ab)"},
        {"\\bin ab", "binary() text(ab)"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(tokensOf(c.input), c.tokens) << c.input;
}

TEST(RtfTokenizer, PassesOverAGroupWithWhatItHolds) {
    const Case cases[] = {
        {"a}b", "text(b)"},
        {"{a}{{b}}c}d", "text(d)"},
        {"\\}\\{a}b", "text(b)"},     // escaped braces are no braces
        {"\\bin2 }}x}b", "text(b)"},  // nor are those of binary runs
        {"\\\\}b", "text(b)"},
        {"{a", ""},
        {"", ""},
    };
    for (const Case& c : cases) {
        RtfTokenizer tokenizer(c.input);
        tokenizer.skipGroup();
        EXPECT_EQ(tokensOf(c.input.substr(tokenizer.offset())), c.tokens) << c.input;
    }
}

TEST(RtfControlWords, AreFoundByTheirExactSpelling) {
    const auto wordOf = [](std::string_view input) {
        RtfTokenizer tokenizer(input);
        return rtfControlWord(tokenizer.next());
    };
    EXPECT_EQ(wordOf("\\par").word, RtfWord::par);
    EXPECT_EQ(wordOf("\\par").subject, RtfSubject::special);
    EXPECT_EQ(wordOf("\\pard0").word, RtfWord::pard);
    EXPECT_EQ(wordOf("\\operator").word, RtfWord::operator_);
    EXPECT_EQ(wordOf("\\NeXTGraphic1867 x").word, RtfWord::NeXTGraphic);
    EXPECT_EQ(wordOf("\\clwWidth5").word, RtfWord::clwWidth);
    EXPECT_EQ(wordOf("\\footnote").subject, RtfSubject::skipped);
    EXPECT_EQ(wordOf("\\Par").word, RtfWord::unknown);
    EXPECT_EQ(wordOf("\\pa").word, RtfWord::unknown);
    EXPECT_EQ(wordOf("\\zzyzx").subject, RtfSubject::unknown);
}

}  // namespace
}  // namespace halden
