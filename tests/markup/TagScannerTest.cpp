#include "foundation/Unicode.h"
#include "markup/TagScanner.h"
#include "markup/TagScannerPaths.h"
#include "tests/markup/Allocations.h"
#include "tests/markup/Corpus.h"
#include "tests/markup/RandomMarkup.h"
#include "tests/markup/ReferenceScanner.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

void PrintTo(const reference::Call& call, std::ostream* out) {
    *out << "{kind " << static_cast<int>(call.kind) << ", name " << call.nameLocation << "+" << call.nameLength
         << ", tag " << call.tagLocation << "+" << call.tagLength << ", text " << call.textLocation << "}";
}

namespace {

using reference::Call;
using Calls = std::vector<Call>;

bool collectCalls(const Tag& tag, void* context) {
    static_cast<Calls*>(context)->push_back(
        {tag.kind, tag.nameLocation, tag.nameLength, tag.tagLocation, tag.tagLength, tag.textLocation});
    return false;
}

Calls scan(std::u16string_view text) {
    Calls calls;
    GetTagsOfString(text, collectCalls, &calls);
    return calls;
}

struct Path {
    const char* name;
    void (*scan)(const TagScan&);
};

/// The ways that this machine can go.
std::vector<Path> paths() {
    std::vector<Path> result = {{"portable", scanTagsPortably}, {"wide", scanTagsWide}};
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2")) result.push_back({"avx2", scanTagsAvx2});
#endif
    return result;
}

/// Compares every path with the plain rules. The text is given a buffer of its very size, so that a sanitizer sees a
/// read past its end.
void compare(std::u16string_view text) {
    if (text.empty()) return;
    const Calls wanted = reference::calls(text);
    const auto exact = std::make_unique<char16_t[]>(text.size());
    text.copy(exact.get(), text.size());
    for (const Path& path : paths()) {
        Calls calls;
        path.scan({.units = exact.get(), .length = text.size(), .handler = collectCalls, .context = &calls});
        ASSERT_EQ(calls, wanted) << path.name << ": " << utf8FromUtf16(text.substr(0, 2000));
    }
}

// --- The rules -----------------------------------------------------------------------------------------------------

struct Case {
    std::u16string_view text;
    Calls calls;
};

constexpr auto kEnd = TagKind::end;
constexpr auto kTag = TagKind::tag;
constexpr auto kRemark = TagKind::remark;
constexpr auto kMeta = TagKind::meta;
constexpr std::size_t kNone = kNotFound;

TEST(TagScanner, CutsTokens) {
    const Case cases[] = {
        {u"plain text", {{kEnd, kNone, 0, 10, 0, 0}}},
        {u"a<b>c", {{kTag, 2, 1, 1, 3, 0}, {kEnd, kNone, 0, 5, 0, 4}}},
        {u"<a href='x>y'>t</a>", {{kTag, 1, 1, 0, 14, 0}, {kTag, 17, 1, 15, 4, 14}, {kEnd, kNone, 0, 19, 0, 19}}},
        {u"<a title'x>y'>", {{kTag, 1, 1, 0, 11, 0}, {kEnd, kNone, 0, 14, 0, 11}}},
        {u"<a b= c 'x>'>", {{kTag, 1, 1, 0, 13, 0}, {kEnd, kNone, 0, 13, 0, 13}}},
        {u"<a b=\"'>\">", {{kTag, 1, 1, 0, 10, 0}, {kEnd, kNone, 0, 10, 0, 10}}},
        {u"<a b='=\">'>", {{kTag, 1, 1, 0, 11, 0}, {kEnd, kNone, 0, 11, 0, 11}}},
        {u"a < b > c", {{kTag, 4, 1, 2, 5, 0}, {kEnd, kNone, 0, 9, 0, 7}}},
        {u"<>", {{kTag, kNone, 0, 0, 2, 0}, {kEnd, kNone, 0, 2, 0, 2}}},
        {u"<!>", {{kTag, kNone, 0, 0, 3, 0}, {kEnd, kNone, 0, 3, 0, 3}}},
        {u"<1 2>", {{kTag, kNone, 0, 0, 5, 0}, {kEnd, kNone, 0, 5, 0, 5}}},
        {u"</ p>", {{kTag, 3, 1, 0, 5, 0}, {kEnd, kNone, 0, 5, 0, 5}}},
        {u"<!DOCTYPE html>", {{kTag, 2, 7, 0, 15, 0}, {kEnd, kNone, 0, 15, 0, 15}}},
        {u"<?xml a='?>'?>", {{kTag, 2, 3, 0, 14, 0}, {kEnd, kNone, 0, 14, 0, 14}}},
        {u"<h1\u00A0x>", {{kTag, 1, 2, 0, 6, 0}, {kEnd, kNone, 0, 6, 0, 6}}},
        {u"<éa\u0001/>", {{kTag, 1, 3, 0, 6, 0}, {kEnd, kNone, 0, 6, 0, 6}}},
        {u"text <b", {{kEnd, kNone, 0, 7, 0, 0}}},
        {u"x <b a='>", {{kEnd, kNone, 0, 9, 0, 0}}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(scan(c.text), c.calls) << utf8FromUtf16(c.text);
}

TEST(TagScanner, CutsCommentsAndMarkedSections) {
    const Case cases[] = {
        {u"<!-- a > b -->", {{kRemark, kNone, 0, 0, 14, 0}, {kEnd, kNone, 0, 14, 0, 14}}},
        {u"<!-x->", {{kRemark, kNone, 0, 0, 6, 0}, {kEnd, kNone, 0, 6, 0, 6}}},
        {u"<!->", {{kRemark, kNone, 0, 0, 4, 0}, {kEnd, kNone, 0, 4, 0, 4}}},
        {u"<!-->x", {{kRemark, kNone, 0, 0, 5, 0}, {kEnd, kNone, 0, 6, 0, 5}}},
        {u"<!-- -> -->", {{kRemark, kNone, 0, 0, 11, 0}, {kEnd, kNone, 0, 11, 0, 11}}},
        {u"<!-- x --!>", {{kRemark, kNone, 0, 0, 11, 0}, {kEnd, kNone, 0, 11, 0, 11}}},
        {u"<!-x--!>->", {{kRemark, kNone, 0, 0, 10, 0}, {kEnd, kNone, 0, 10, 0, 10}}},
        {u"<!-- -!> -->", {{kRemark, kNone, 0, 0, 12, 0}, {kEnd, kNone, 0, 12, 0, 12}}},
        {u"<![CDATA[ a > b ]]>", {{kMeta, kNone, 0, 0, 19, 0}, {kEnd, kNone, 0, 19, 0, 19}}},
        {u"<![if !IE]>", {{kMeta, kNone, 0, 0, 11, 0}, {kEnd, kNone, 0, 11, 0, 11}}},
        {u"<![endif]-->", {{kMeta, kNone, 0, 0, 12, 0}, {kEnd, kNone, 0, 12, 0, 12}}},
        {u"<![a]->]>", {{kMeta, kNone, 0, 0, 9, 0}, {kEnd, kNone, 0, 9, 0, 9}}},
        {u"<![>]>", {{kMeta, kNone, 0, 0, 6, 0}, {kEnd, kNone, 0, 6, 0, 6}}},
        {u"x <!-- open", {{kRemark, kNone, 0, 2, 9, 0}, {kEnd, kNone, 0, 11, 0, 11}}},
        {u"x <![ open", {{kMeta, kNone, 0, 2, 8, 0}, {kEnd, kNone, 0, 10, 0, 10}}},
        {u"<!-", {{kRemark, kNone, 0, 0, 3, 0}, {kEnd, kNone, 0, 3, 0, 3}}},
        {u"<!", {{kEnd, kNone, 0, 2, 0, 0}}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(scan(c.text), c.calls) << utf8FromUtf16(c.text);
}

TEST(TagScanner, SwallowsBodiesOfScriptsAndStyles) {
    const Case cases[] = {
        {u"<script>if (a<b) x='</p>';</script>after", {{kTag, 1, 6, 0, 35, 0}, {kEnd, kNone, 0, 40, 0, 35}}},
        {u"<script><!-- document.write('</script>') --></script>",
         {{kTag, 1, 6, 0, 53, 0}, {kEnd, kNone, 0, 53, 0, 53}}},
        {u"<script><!-->x</script>", {{kTag, 1, 6, 0, 23, 0}, {kEnd, kNone, 0, 23, 0, 23}}},
        {u"<script><!--</script>", {{kTag, 1, 6, 0, 21, 0}, {kEnd, kNone, 0, 21, 0, 21}}},
        {u"<script><!--</script>-->", {{kTag, 1, 6, 0, 21, 0}, {kEnd, kNone, 0, 24, 0, 21}}},
        {u"<STYLE a=b>x</sTyLe >y", {{kTag, 1, 5, 0, 21, 0}, {kEnd, kNone, 0, 22, 0, 21}}},
        {u"<script>never closed", {{kTag, 1, 6, 0, 8, 0}, {kEnd, kNone, 0, 20, 0, 8}}},
        {u"<script>x</script", {{kTag, 1, 6, 0, 18, 0}, {kEnd, kNone, 0, 17, 0, 18}}},
        {u"<script/>x</script>", {{kTag, 1, 6, 0, 9, 0}, {kTag, 12, 6, 10, 9, 9}, {kEnd, kNone, 0, 19, 0, 19}}},
        {u"<scripts>x</scripts>", {{kTag, 1, 7, 0, 9, 0}, {kTag, 12, 7, 10, 10, 9}, {kEnd, kNone, 0, 20, 0, 20}}},
        {u"<script>x</scripts>", {{kTag, 1, 6, 0, 19, 0}, {kEnd, kNone, 0, 19, 0, 19}}},
        // A long s is no s, and the end tag may stand inside the start tag.
        {u"<\u017Ftyle>x</style>", {{kTag, 1, 5, 0, 7, 0}, {kTag, 10, 5, 8, 8, 7}, {kEnd, kNone, 0, 16, 0, 16}}},
        {u"<script a='</script>'>b", {{kTag, 1, 6, 0, 20, 0}, {kEnd, kNone, 0, 23, 0, 20}}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(scan(c.text), c.calls) << utf8FromUtf16(c.text);
}

TEST(TagScanner, HandsOutTextsThatNeverLeaveTheString) {
    struct Texts {
        std::u16string tags, names, texts;
    } texts;
    const auto collect = [](const Tag& tag, void* context) {
        auto& all = *static_cast<Texts*>(context);
        all.tags.append(tag.tag()).append(u"|");
        all.names.append(tag.name()).append(u"|");
        all.texts.append(tag.text()).append(u"|");
        EXPECT_EQ(tag.string, nullptr);
        return false;
    };
    EXPECT_TRUE(GetTagsOfString(u"a<!b>c<!--d--><style>e</style", collect, &texts));
    EXPECT_EQ(texts.tags, u"<!b>|<!--d-->|<style>e</style||");
    EXPECT_EQ(texts.names, u"b||style||");
    EXPECT_EQ(texts.texts, u"a|c|||");
}

// --- The protocol --------------------------------------------------------------------------------------------------

TEST(TagScanner, MakesNoCallForNothing) {
    Calls calls;
    EXPECT_FALSE(GetTagsOfString(std::u16string_view(), collectCalls, &calls));
    EXPECT_FALSE(GetTagsOfString(u"", collectCalls, &calls));
    EXPECT_FALSE(GetTagsOfString(static_cast<std::u16string*>(nullptr), collectCalls, &calls));
    std::u16string empty;
    EXPECT_FALSE(GetTagsOfString(&empty, collectCalls, &calls));
    EXPECT_TRUE(calls.empty());
}

TEST(TagScanner, StopsWhenTheHandlerSaysSo) {
    std::size_t calls = 0;
    const auto stop = [](const Tag&, void* context) { return ++*static_cast<std::size_t*>(context) == 2; };
    EXPECT_TRUE(GetTagsOfString(u"<a><b><c>", stop, &calls));
    EXPECT_EQ(calls, 2U);
    // The calls after the end of the text are made whatever they return.
    calls = 1;
    EXPECT_TRUE(GetTagsOfString(u"<!-- open", stop, &calls));
    EXPECT_EQ(calls, 3U);
}

TEST(TagScanner, LetsHandlersEditTheStringInMutableMode) {
    // Drops every tag: the scan goes on over the copy, and locations are mapped by the difference so far.
    struct Context {
        const std::u16string* string;
        std::size_t dropped = 0;
    };
    const auto drop = [](const Tag& tag, void* context) {
        auto& state = *static_cast<Context*>(context);
        EXPECT_EQ(tag.string, state.string);
        EXPECT_EQ(tag.characters, u"a<b>c</b>d");
        tag.string->erase(tag.tagLocation - state.dropped, tag.tagLength);
        state.dropped += tag.tagLength;
        tag.string->shrink_to_fit();
        return false;
    };
    std::u16string string = u"a<b>c</b>d";
    Context context{&string};
    EXPECT_TRUE(GetTagsOfString(&string, drop, &context));
    EXPECT_EQ(string, u"acd");
}

TEST(TagScanner, LetsExceptionsPass) {
    const auto fail = [](const Tag&, void*) -> bool { throw std::runtime_error("no"); };
    std::u16string string = u"<a>";
    EXPECT_THROW(GetTagsOfString(string, fail, nullptr), std::runtime_error);
    EXPECT_THROW(GetTagsOfString(&string, fail, nullptr), std::runtime_error);
}

TEST(TagScanner, AllocatesNothingButTheCopy) {
    const auto look = [](const Tag& tag, void* context) {
        *static_cast<std::size_t*>(context) += tag.tag().size();
        return false;
    };
    std::mt19937 random(1);
    std::u16string text = randomMarkup(random, 2000);
    std::size_t units = 0;
    GetTagsOfString(text, look, &units);  // the tables of characters are made once
    std::size_t before = allocations();
    GetTagsOfString(text, look, &units);
    EXPECT_EQ(allocations(), before);
    before = allocations();
    GetTagsOfString(&text, look, &units);
    EXPECT_EQ(allocations(), before + 1);
}

TEST(TagScanner, MakesNoCallWithoutMemoryForTheCopy) {
    Calls calls;
    std::u16string text(1000, u'x');
    {
        const FailingAllocations failing(1000);
        EXPECT_FALSE(GetTagsOfString(&text, collectCalls, &calls));
    }
    EXPECT_TRUE(calls.empty());
}

// --- Against the plain rules ---------------------------------------------------------------------------------------

TEST(TagScanner, FollowsThePlainRulesOnRandomMarkup) {
    std::mt19937 random(2);
    for (std::size_t round = 0; round < 6000; ++round)
        compare(randomMarkup(random, 1 + round % 60));
}

TEST(TagScanner, FollowsThePlainRulesAtEveryLengthAndAlignment) {
    constexpr std::u16string_view kUnits = u"<<<<>>>>===\"\"''!!--[]/ as\u3C00\uFF3C";
    std::mt19937 random(3);
    std::u16string buffer(200 + 16, u'<');
    for (std::size_t length = 0; length <= 200; ++length) {
        for (std::size_t alignment = 0; alignment < 16; ++alignment) {
            // What stands around the text must not count.
            for (char16_t& unit : buffer)
                unit = random() % 3 == 0 ? kUnits[random() % kUnits.size()] : u'x';
            const std::u16string_view text = std::u16string_view(buffer).substr(alignment, length);
            Calls calls;
            if (length == 0) continue;
            const Calls wanted = reference::calls(text);
            for (const Path& path : paths()) {
                calls.clear();
                path.scan({.units = text.data(), .length = length, .handler = collectCalls, .context = &calls});
                ASSERT_EQ(calls, wanted) << path.name << ": " << utf8FromUtf16(text);
            }
        }
    }
}

TEST(TagScanner, FollowsThePlainRulesOnRealFiles) {
    const auto files = filesUnder(corpusFolder(""));
    if (files.empty()) GTEST_SKIP() << "no corpus";
    for (const auto& file : files) {
        if (std::filesystem::file_size(file) > 1'000'000) continue;
        compare(textOfFile(file));
        if (HasFatalFailure()) FAIL() << file;
    }
}

TEST(TagScanner, FollowsThePlainRulesWhereItGoesBack) {
    constexpr std::u16string_view kPieces[] = {u"<script", u"</script", u"</style", u"<style ", u" =\"", u"='",
                                               u"\"",      u"'",        u">",       u"/>",      u"<!-",  u"-->",
                                               u"<a ",     u"x",        u" ",       u"="};
    std::mt19937 random(6);
    for (int round = 0; round < 15000; ++round) {
        std::u16string text;
        for (std::size_t i = random() % 40; i > 0; --i)
            text += kPieces[random() % std::size(kPieces)];
        compare(text);
        if (HasFatalFailure()) return;
    }
}

// --- Hostile texts -------------------------------------------------------------------------------------------------
// None of these ends in time unless the scan is linear.

std::u16string repeated(std::u16string_view piece, std::size_t times) {
    std::u16string text;
    text.reserve(piece.size() * times);
    for (std::size_t i = 0; i < times; ++i)
        text += piece;
    return text;
}

std::size_t callsFor(const std::u16string& text) {
    std::size_t calls = 0;
    const auto count = [](const Tag&, void* context) {
        ++*static_cast<std::size_t*>(context);
        return false;
    };
    GetTagsOfString(text, count, &calls);
    return calls;
}

TEST(TagScanner, IsLinearInHostileTexts) {
    constexpr std::size_t kMany = 200'000;
    struct Hostile {
        const char* what;
        std::u16string text;
        std::size_t calls;
    };
    const Hostile texts[] = {
        {"open tags", std::u16string(10'000'000, u'<'), 1},
        {"a long value", u"<a b='" + std::u16string(20'000'000, u'x') + u"'>", 2},
        {"nested quotes", u"<a b" + repeated(u"='\"'=\"'\"", kMany) + u">", 2},
        {"quotes without a value", u"<a " + repeated(u"\"'", kMany) + u">", 2},
        {"scripts without an end", repeated(u"<script>", kMany), kMany + 1},
        {"styles and scripts without an end", repeated(u"<style><script>", kMany), 2 * kMany + 1},
        {"scripts with a comment that never ends", repeated(u"<script><!-</script>", kMany), kMany + 1},
        {"scripts with a comment that ends far away", repeated(u"<script><!-</script>", kMany) + u"-->", kMany + 1},
        {"an end far away for every script", repeated(u"<script ", kMany) + u"></script>", 2},
        {"hyphens", u"<!--" + std::u16string(10'000'000, u'-'), 2},
        {"hyphens in a script", u"<script><!-" + repeated(u"- ", kMany) + u"</script>", 2},
        {"ends of other comments", u"<!--" + repeated(u"->", kMany), 2},
        {"brackets", u"<![" + repeated(u"->", kMany), 2},
        {"tags without a letter", repeated(u"<1>", kMany), kMany + 1},
        {"end tags of others", u"<script>" + repeated(u"</scrip></style>", kMany), 2 * kMany + 2},
        {"starts that end together", repeated(u"<script \" =\"</script>", kMany) + u"\">", kMany + 1},
        {"ends inside the start", repeated(u"<script a='</script><script a=\"</script>", kMany), 2 * kMany - 1},
    };
    for (const Hostile& hostile : texts) {
        const std::size_t calls = callsFor(hostile.text);
        EXPECT_EQ(calls, hostile.calls) << hostile.what;
    }
}

}  // namespace
}  // namespace halden
