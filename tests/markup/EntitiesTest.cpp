#include "foundation/Characters.h"
#include "foundation/Json.h"
#include "foundation/Unicode.h"
#include "markup/Entities.h"
#include "markup/EntityTable.h"
#include "tests/markup/Corpus.h"
#include "tests/markup/ReferenceEntities.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <string_view>

namespace halden {
namespace {

std::string shown(std::u16string_view text) {
    return utf8FromUtf16(text);
}

TEST(Entities, AreDecodedOnce) {
    const struct {
        std::u16string_view source, all, withoutSpecials, numeric;
    } cases[] = {
        {u"&amp;lt;", u"&lt;", u"&amp;lt;", u"&amp;lt;"},
        {u"a &#60; b", u"a < b", u"a &#60; b", u"a &#60; b"},
        {u"&eacute ", u"é ", u"é ", u"&eacute "},
        {u"&eacute", u"é", u"é", u"&eacute"},
        {u"&eacutex", u"&eacutex", u"&eacutex", u"&eacutex"},
        {u"&hellip;", u"…", u"…", u"&hellip;"},
        {u"&epsilon;", u"&epsilon;", u"&epsilon;", u"&epsilon;"},
        {u"&epsilon", u"ε", u"ε", u"&epsilon"},  // cut by the end, it is one unit shorter
        {u"&thetasym;", u"&thetasym;", u"&thetasym;", u"&thetasym;"},
        {u"&thetasym", u"&thetasym", u"&thetasym", u"&thetasym"},
        {u"&#x41;&#X41;&#65;", u"AAA", u"AAA", u"AAA"},
        {u"&#x20AC;", u"€", u"€", u"€"},
        {u"&#x1F600;", u"&#x1F600;", u"&#x1F600;", u"&#x1F600;"},
        {u"&#65601;", u"A", u"A", u"A"},  // 16 bits are kept
        {u"&#0065;", u"A", u"A", u"A"},
        {u"&#00065;", u"A", u"A", u"A"},
        {u"&#000065;", u"&#000065;", u"&#000065;", u"&#000065;"},
        {u"&#;&;&# &#x; ", u"&#;&;&# &#x; ", u"&#;&;&# &#x; ", u"&#;&;&# &#x; "},
        {u"&#65abc", u"Aabc", u"Aabc", u"Aabc"},
        {u"&cedil;&fnof;", u"&cedil;&fnof;", u"&cedil;&fnof;", u"&cedil;&fnof;"},
        {u"&apos;&aposx", u"''x", u"''x", u"''x"},
        {u"&nbsp;&nbspx", u"\u00A0\u00A0x", u"\u00A0\u00A0x", u"\u00A0\u00A0x"},
        {u"&quot;&quotx", u"\"\"x", u"&quot;&quotx", u"&quot;&quotx"},
        {u"&ltx&gt&amp", u"<x>&", u"&ltx&gt&amp", u"&ltx&gt&amp"},
        {u"&ampx;", u"&x;", u"&ampx;", u"&ampx;"},
        {u"&Aacute;&aacute;&AACUTE;", u"Áá&AACUTE;", u"Áá&AACUTE;", u"&Aacute;&aacute;&AACUTE;"},
        {u"&sup2;&frac12;&there4;", u"²½∴", u"²½∴", u"&sup2;&frac12;&there4;"},
        {u"abc&", u"abc&", u"abc&", u"abc&"},
        {u"&e;", u"&e;", u"&e;", u"&e;"},
        {u"&&eacute;", u"&é", u"&é", u"&&eacute;"},
        {u"&lt", u"&lt", u"&lt", u"&lt"},  // shorter than four units
    };
    for (const auto& c : cases) {
        const std::u16string source(c.source);
        EXPECT_EQ(shown(stringByConvertingEntitiesToCharacters(source)), shown(c.all)) << shown(source);
        EXPECT_EQ(shown(stringByConvertingEntitiesToCharacters(source, {})), shown(c.withoutSpecials)) << shown(source);
        EXPECT_EQ(shown(stringByConvertingEntitiesToCharacters(source, {.onlyNumeric = true})), shown(c.numeric))
            << shown(source);
    }
}

TEST(Entities, FoldDiacriticsOnlyWhereSomethingWasDecoded) {
    EXPECT_EQ(stringByConvertingEntitiesToCharactersNonUmlauted(u"ä&eacute;", Umlauts::drop), u"ae");
    EXPECT_EQ(stringByConvertingEntitiesToCharactersNonUmlauted(u"äé&x;", Umlauts::drop), u"äé&x;");
    EXPECT_EQ(stringByConvertingEntitiesToCharactersNonUmlauted(u"ä&eacute;", Umlauts::keep), u"äé");
    char16_t units[] = u"äöü";
    EXPECT_EQ(convertEntities2Characters(units, units, 1, 2, {.nonUmlauted = true}), 2U);
    EXPECT_EQ(std::u16string_view(units), u"ouü");
}

TEST(Entities, StandardOnesNeedTheirSemicolon) {
    const struct {
        std::u16string_view source, decoded;
    } cases[] = {
        {u"&quot;&amp;&lt;&gt;", u"\"&<>"},
        {u"&amp;lt;", u"&lt;"},
        {u"&amp &lt &quot", u"&amp &lt &quot"},
        {u"&lt;a;", u"&lt;a;"},  // the sixth unit is a ";", and this is no "&quot;"
        {u"&amp;;", u"&amp;;"},
        {u"&lt;ab;", u"<ab;"},
        {u"&eacute;&#65;", u"&eacute;&#65;"},
        {u"&lt;", u"<"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(shown(stringByConvertingStandardEntitiesToCharacters(std::u16string(c.source))), shown(c.decoded))
            << shown(c.source);
    }
}

TEST(Entities, AreWritten) {
    EXPECT_EQ(stringByConvertingCharactersToEntities(u"é<\u4E2D\u00A0\u0192"), u"&eacute;<&#20013;&nbsp;&#402;");
    EXPECT_EQ(stringByConvertingCharactersToEntities(u"ε\U0001F600"), u"&epsilon;&#55357;&#56832;");
    EXPECT_EQ(stringByConvertingHighCharactersToEntities(u"é<\U0001F600\u007F\u0080"),
              u"&#233;<&#55357;&#56832;\u007F&#128;");
    EXPECT_EQ(stringByConvertingCharactersToStandardEntities(u"<a href=\"x\">'&'"),
              u"&lt;a href=&quot;x&quot;&gt;'&amp;'");
    EXPECT_EQ(stringByConvertingCharactersToJSON(u"\t/\\\"\b\n\f\r\u0001é"), u"\\t\\/\\\\\\\"\\b\\n\\f\\r\u0001é");
}

TEST(Entities, TableHoldsEachNameAndCharacterOnce) {
    std::set<std::string_view> names;
    std::set<char16_t> characters;
    for (const NamedEntity& entity : namedEntities()) {
        names.insert(entity.name);
        characters.insert(entity.character);
        EXPECT_EQ(entityOfCharacter(entity.character), entity.name);
        const std::u16string wide(entity.name.begin(), entity.name.end());
        EXPECT_EQ(characterOfEntity(wide), entity.character) << entity.name;
        EXPECT_EQ(characterOfEntity(wide + u"\u0141"), std::nullopt);
    }
    EXPECT_EQ(names.size(), 246U);
    EXPECT_EQ(characters.size(), 246U);
    EXPECT_EQ(namedEntities().front().name, "AElig");
    EXPECT_EQ(namedEntities().back().name, "euro");
    for (const char16_t missing : std::u16string_view(u"\"&<>\u00B8\u0192"))
        EXPECT_EQ(entityOfCharacter(missing), "");
    for (const std::u16string_view missing : {u"quot", u"amp", u"lt", u"gt", u"cedil", u"fnof"})
        EXPECT_EQ(characterOfEntity(missing), std::nullopt);
    // The low bytes of these units spell a name.
    EXPECT_EQ(characterOfEntity(u"\u0165\u0175\u0172\u016F"), std::nullopt);
}

TEST(Entities, ComeBackWhereTheyAreShortEnough) {
    for (const NamedEntity& entity : namedEntities()) {
        if (entity.name.size() > 6) continue;
        const std::u16string text{u' ', entity.character, u' '};
        EXPECT_EQ(stringByConvertingEntitiesToCharacters(stringByConvertingCharactersToEntities(text)), text);
    }
}

TEST(Entities, AgreeWithThePlainRules) {
    static constexpr std::u16string_view kPieces[] = {
        u"&",        u"amp", u"lt", u"gt",     u"quot", u"apos", u"nbsp", u"eacute", u"hellip",
        u"thetasym", u";",   u"#",  u"x",      u"X",    u"4",    u"1",    u"65",     u"3c",
        u"a",        u"é",   u" ",  u"\u0660", u"&#",   u"&#x",  u"&lt;", u"&quo",   u"&eacute"};
    std::mt19937 random(43);
    for (int round = 0; round < 40000; ++round) {
        std::u16string source;
        for (std::size_t i = random() % 24; i > 0; --i)
            source += kPieces[random() % std::size(kPieces)];
        const EntityDecoding decoding{
            .decodesSpecials = random() % 2 == 0, .onlyNumeric = random() % 2 == 0, .nonUmlauted = random() % 2 == 0};
        const std::u16string expected = reference::convertEntities(source, decoding);
        std::u16string decoded(source.size(), u'?');
        decoded.resize(convertEntities2Characters(source.data(), decoded.data(), 0, source.size(), decoding));
        ASSERT_EQ(shown(decoded), shown(expected)) << shown(source);
        std::u16string inPlace = source;
        inPlace.resize(convertEntities2Characters(inPlace.data(), inPlace.data(), 0, inPlace.size(), decoding));
        ASSERT_EQ(inPlace, expected) << shown(source);
        ASSERT_EQ(shown(stringByConvertingStandardEntitiesToCharacters(source)),
                  shown(source.size() < 4 ? source : reference::convertStandardEntities(source)))
            << shown(source);
    }
}

// Blocks and their rests: a reference, and every kind of unit, at every place in strings of every short length.
TEST(Entities, AreFoundAndWrittenAtEveryPlace) {
    std::mt19937 random(47);
    static constexpr std::u16string_view kUnits = u"&<>\"\\/\b\t\n\v\f\r\u0007\u000E\u007F\u0080é\u0192…\u4E2D\uFFFF";
    for (std::size_t length = 0; length <= 200; ++length) {
        std::u16string source(length, u'a');
        for (std::size_t at = 0; at + 5 <= length; ++at) {
            std::u16string one = source;
            one.replace(at, 5, u"&amp;");
            std::u16string expected = source.substr(4);
            expected[at] = u'&';
            ASSERT_EQ(stringByConvertingEntitiesToCharacters(one), expected);
            ASSERT_EQ(stringByConvertingStandardEntitiesToCharacters(one), expected);
        }
        for (char16_t& unit : source) {
            if (random() % 8 == 0) unit = kUnits[random() % kUnits.size()];
        }
        using namespace reference;
        ASSERT_EQ(stringByConvertingCharactersToEntities(source), convertUnits(source, entityOf));
        ASSERT_EQ(stringByConvertingHighCharactersToEntities(source), convertUnits(source, numberOf));
        ASSERT_EQ(stringByConvertingCharactersToStandardEntities(source), convertUnits(source, standardEntityOf));
        ASSERT_EQ(stringByConvertingCharactersToJSON(source), convertUnits(source, jsonEscapeOf));
    }
}

TEST(Entities, PassWhatHasNoneWithoutCopying) {
    const std::u16string text = std::u16string(300, u'a') + u"\u00E4 & b";
    const auto isPassed = [](std::u16string source, auto convert) {
        const char16_t* const units = source.data();
        const std::u16string before = source;
        const std::u16string after = convert(std::move(source));
        return after.data() == units && after == before;
    };
    const auto decode = [](EntityDecoding decoding) {
        return [=](std::u16string s) { return stringByConvertingEntitiesToCharacters(std::move(s), decoding); };
    };
    EXPECT_TRUE(isPassed(text, decode({.decodesSpecials = true})));
    EXPECT_TRUE(isPassed(text, decode({.nonUmlauted = true})));
    EXPECT_TRUE(isPassed(text, stringByConvertingStandardEntitiesToCharacters));
    EXPECT_TRUE(isPassed(text, stringByConvertingCharactersToJSON));
    const std::u16string ascii(300, u'a');
    EXPECT_TRUE(isPassed(ascii, stringByConvertingCharactersToEntities));
    EXPECT_TRUE(isPassed(ascii, stringByConvertingHighCharactersToEntities));
    EXPECT_TRUE(isPassed(ascii, stringByConvertingCharactersToStandardEntities));
}

TEST(Entities, OfPagesAgreeWithThePlainRules) {
    const auto files = filesUnder(corpusFolder("html-pages"));
    if (files.empty()) GTEST_SKIP() << "no corpus";
    unsigned mode = 0;
    for (const auto& file : files) {
        const std::u16string source = textOfFile(file);
        ++mode;
        const EntityDecoding decoding{
            .decodesSpecials = (mode & 1) != 0, .onlyNumeric = mode % 5 == 0, .nonUmlauted = (mode & 2) != 0};
        std::u16string decoded(source.size(), u'?');
        decoded.resize(convertEntities2Characters(source.data(), decoded.data(), 0, source.size(), decoding));
        EXPECT_TRUE(decoded == reference::convertEntities(source, decoding)) << file;
    }
}

// The names of later HTML are those of HTML 4 and more; only the angle brackets have moved.
TEST(Entities, TableIsThatOfHtml) {
    const std::filesystem::path path = corpusFolder("entities") / "entities.json";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no corpus";
    const auto list = valueFromJson(bytesOfFile(path));
    ASSERT_TRUE(list && list->is<Dictionary>());
    for (const NamedEntity& entity : namedEntities()) {
        const std::u16string name = u"&" + std::u16string(entity.name.begin(), entity.name.end()) + u";";
        const Value* const row = list->as<Dictionary>()->find(name);
        ASSERT_NE(row, nullptr) << entity.name;
        const bool hasMoved = entity.name == "lang" || entity.name == "rang";
        EXPECT_EQ(*row->as<Dictionary>()->find(u"characters") == Value(std::u16string(1, entity.character)), !hasMoved)
            << entity.name;
    }
}

}  // namespace
}  // namespace halden
