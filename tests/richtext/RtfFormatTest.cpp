// Which formatting the characters and paragraphs of a document have.
#include "tests/richtext/RtfTesting.h"

#include <gtest/gtest.h>

#include <functional>

namespace halden {
namespace {

using testing::characterAt;
using testing::contentOf;
using testing::paragraphAt;

TEST(RtfFormat, SetsCharacterProperties) {
    struct Case {
        std::string_view words;
        std::function<void(RtfCharacter&)> change;  // of the default
    };
    const Case cases[] = {
        {"\\b", [](auto& c) { c.bold = true; }},
        {"\\b\\b0", [](auto&) {}},
        {"\\i1", [](auto& c) { c.italic = true; }},
        {"\\f3", [](auto& c) { c.font = 3; }},
        {"\\fs27", [](auto& c) { c.size = 13500; }},
        {"\\fs28\\fsmilli14100", [](auto& c) { c.size = 14100; }},
        {"\\fs0\\fs-4", [](auto&) {}},
        {"\\ul", [](auto& c) { c.underline = RtfUnderline::single; }},
        {"\\uldb\\ulc2", [](auto& c) { c.underline = RtfUnderline::doubled, c.underlineColor = 2; }},
        {"\\ulwave", [](auto& c) { c.underline = RtfUnderline::wave; }},
        {"\\ul\\ulnone", [](auto&) {}},
        {"\\ul\\ul0", [](auto&) {}},
        {"\\strike\\strikec3", [](auto& c) { c.strike = 1, c.strikeColor = 3; }},
        {"\\striked1", [](auto& c) { c.strike = 2; }},
        {"\\cf2\\cb3", [](auto& c) { c.color = 2, c.background = 3; }},
        {"\\highlight4", [](auto& c) { c.background = 4; }},
        {"\\chcbpat5", [](auto& c) { c.background = 5; }},
        {"\\super", [](auto& c) { c.superscript = 1; }},
        {"\\sub2", [](auto& c) { c.superscript = -2; }},
        {"\\super\\nosupersub", [](auto&) {}},
        {"\\up", [](auto& c) { c.baseline = 6; }},
        {"\\dn4", [](auto& c) { c.baseline = -4; }},
        {"\\expnd4\\expndtw17", [](auto& c) { c.kern = 17; }},
        {"\\expnd4", [](auto& c) { c.kern = 20; }},
        {"\\lang1031", [](auto& c) { c.language = 1031; }},
        {"\\caps\\scaps", [](auto& c) { c.caps = c.smallCaps = true; }},
        {"\\outl\\strokewidth60\\strokec2", [](auto& c) { c.outline = true, c.strokeWidth = 60, c.strokeColor = 2; }},
        {"\\shad\\shadx20\\shady-20\\shadr40\\shado80\\shadc1",
         [](auto& c) {
             c.shadow = true, c.shadowOpacity = 80, c.shadowX = 20, c.shadowY = -20, c.shadowRadius = 40,
             c.shadowColor = 1;
         }},
        {"\\CocoaLigature0\\expansion3\\obliqueness4",
         [](auto& c) { c.ligature = 0, c.expansion = 3, c.obliqueness = 4; }},
        {"\\b\\i\\fs40\\cf3\\plain", [](auto&) {}},
        {"{\\b}", [](auto&) {}},
    };
    for (const Case& c : cases) {
        RtfCharacter expected;
        c.change(expected);
        EXPECT_TRUE(characterAt(contentOf(std::string(c.words) + " x"), 0) == expected) << c.words;
    }
}

TEST(RtfFormat, SetsParagraphProperties) {
    struct Case {
        std::string_view words;
        std::function<void(RtfParagraph&)> change;
    };
    const auto tabs = [](std::initializer_list<RtfTab> stops) {
        return std::make_shared<const std::vector<RtfTab>>(stops);
    };
    const Case cases[] = {
        {"\\qc", [](auto& p) { p.alignment = RtfAlignment::center; }},
        {"\\qc\\ql", [](auto& p) { p.alignment = RtfAlignment::left; }},
        {"\\qj", [](auto& p) { p.alignment = RtfAlignment::justified; }},
        {"\\qr\\qnatural", [](auto&) {}},
        {"\\li720\\ri360\\fi-360", [](auto& p) { p.leftIndent = 720, p.rightIndent = 360, p.firstIndent = -360; }},
        {"\\lin720\\rin360", [](auto& p) { p.leftIndent = 720, p.rightIndent = 360; }},
        {"\\sb120\\sa240", [](auto& p) { p.spaceBefore = 120, p.spaceAfter = 240; }},
        {"\\sl360\\slmult1", [](auto& p) { p.lineSpacing = 360, p.multipleLineSpacing = true; }},
        {"\\slleading40\\slminimum200\\slmaximum300",
         [](auto& p) { p.leading = 40, p.minimumLineHeight = 200, p.maximumLineHeight = 300; }},
        {"\\tx560\\tqr\\tx1120\\tqc\\tx1200\\tqdec\\tx1300\\tx1400",
         [&](auto& p) {
             p.tabs = tabs({{560, RtfTabKind::left},
                            {1120, RtfTabKind::right},
                            {1200, RtfTabKind::center},
                            {1300, RtfTabKind::decimal},
                            {1400, RtfTabKind::left}});
         }},
        {"\\pardeftab720", [](auto& p) { p.tabInterval = 720; }},
        {"\\rtlpar", [](auto& p) { p.direction = RtfDirection::rightToLeft; }},
        {"\\pardirnatural", [](auto& p) { p.direction = RtfDirection::natural; }},
        {"\\partightenfactor0\\hyphpar0", [](auto& p) { p.hyphenated = false; }},
        {"\\outlinelevel2", [](auto& p) { p.outlineLevel = 3; }},
        {"\\outlinelevel9", [](auto&) {}},
        {"\\cbpat2", [](auto& p) { p.background = 2; }},
        {"\\qc\\li720\\tx400\\pard", [](auto&) {}},
        {"{\\qc}", [](auto&) {}},
    };
    for (const Case& c : cases) {
        RtfParagraph expected;
        c.change(expected);
        EXPECT_TRUE(paragraphAt(contentOf(std::string(c.words) + " x\\par"), 0) == expected) << c.words;
        // Without an end of its own the paragraph has what held for its last character.
        if (c.words.front() != '{') {
            EXPECT_TRUE(paragraphAt(contentOf("{" + std::string(c.words) + " x}"), 0) == expected) << c.words;
        }
    }
}

TEST(RtfFormat, TakesTheFormattingOfTheParagraphsEnd) {
    const RtfContent content = contentOf("\\ql a\\qc\\par b\\par");
    EXPECT_EQ(paragraphAt(content, 0).alignment, RtfAlignment::center);
    EXPECT_EQ(paragraphAt(content, 2).alignment, RtfAlignment::center);
}

TEST(RtfFormat, MakesOneRunOfEqualFormatting) {
    const RtfContent content = contentOf("a{\\b b}{\\b c}\\b0 d\\i\\i0 e\\par f");
    ASSERT_EQ(content.runs.size(), 3u);
    EXPECT_EQ(content.runs[0].end, 1u);
    EXPECT_EQ(content.runs[1].end, 3u);
    EXPECT_EQ(content.runs[2].end, content.text.size());
    EXPECT_EQ(content.runs[0].format, content.runs[2].format);
    EXPECT_EQ(content.characters.formats().size(), 2u);
}

TEST(RtfFormat, AppliesStylesBelowWhatIsStated) {
    constexpr std::string_view kStyles =
        "{\\stylesheet{\\s0 Normal;}{\\s1\\qc\\b\\fs40\\sbasedon2 Heading;}{\\s2\\i\\li720\\sbasedon1 Base;}"
        "{\\*\\cs5\\additive\\ul Link;}}";
    const auto read = [&](std::string_view body) { return contentOf(std::string(kStyles) + std::string(body)); };

    RtfContent content = read("\\pard\\plain\\s1 a\\par");
    EXPECT_TRUE(characterAt(content, 0).bold);
    EXPECT_TRUE(characterAt(content, 0).italic);  // of the base, although the two are based on each other
    EXPECT_EQ(characterAt(content, 0).size, 20000);
    EXPECT_EQ(paragraphAt(content, 0).alignment, RtfAlignment::center);
    EXPECT_EQ(paragraphAt(content, 0).leftIndent, 720);

    content = read("\\pard\\plain\\s1\\b0\\qr a\\par");
    EXPECT_FALSE(characterAt(content, 0).bold);
    EXPECT_EQ(paragraphAt(content, 0).alignment, RtfAlignment::right);

    content = read("\\pard\\plain{\\cs5 a}b");
    EXPECT_EQ(characterAt(content, 0).underline, RtfUnderline::single);
    EXPECT_EQ(characterAt(content, 1).underline, RtfUnderline::none);
}

}  // namespace
}  // namespace halden
