// Formatting words: what they change of the characters and paragraphs that follow.
#include "richtext/RtfParser.h"

#include <algorithm>
#include <utility>

namespace halden {

void RtfParser::paragraphWord(RtfWord word, std::int32_t parameter, bool hasParameter) {
    if (word == RtfWord::ls && group_.destination == RtfDestination::listOverride) {
        overrideNumber_ = parameter;
        return;
    }
    RtfParagraph& paragraph = group_.paragraph;
    group_.paragraphFormat = RtfGroup::kNoFormat;
    const auto addTab = [&](RtfTabKind kind) {
        auto tabs = paragraph.tabs ? *paragraph.tabs : std::vector<RtfTab>();
        if (tabs.size() >= kMaxRtfTabs) return;
        tabs.push_back({.position = parameter, .kind = std::exchange(tabKind_, RtfTabKind::left)});
        if (kind != RtfTabKind::left) tabs.back().kind = kind;
        paragraph.tabs = std::make_shared<const std::vector<RtfTab>>(std::move(tabs));
    };
    switch (word) {
        case RtfWord::pard:
            paragraph = {};
            tabKind_ = RtfTabKind::left;
            border_ = &ignoredBorder_;
            break;
        case RtfWord::ql:
            paragraph.alignment = RtfAlignment::left;
            break;
        case RtfWord::qr:
            paragraph.alignment = RtfAlignment::right;
            break;
        case RtfWord::qc:
            paragraph.alignment = RtfAlignment::center;
            break;
        case RtfWord::qj:
        case RtfWord::qd:
            paragraph.alignment = RtfAlignment::justified;
            break;
        case RtfWord::qnatural:
            paragraph.alignment = RtfAlignment::natural;
            break;
        case RtfWord::li:
        case RtfWord::lin:
            paragraph.leftIndent = parameter;
            break;
        case RtfWord::ri:
        case RtfWord::rin:
            paragraph.rightIndent = parameter;
            break;
        case RtfWord::fi:
            paragraph.firstIndent = parameter;
            break;
        case RtfWord::sb:
            paragraph.spaceBefore = parameter;
            break;
        case RtfWord::sa:
            paragraph.spaceAfter = parameter;
            break;
        case RtfWord::sl:
            paragraph.lineSpacing = parameter;
            break;
        case RtfWord::slmult:
            paragraph.multipleLineSpacing = parameter != 0;
            break;
        case RtfWord::slleading:
            paragraph.leading = parameter;
            break;
        case RtfWord::slminimum:
            paragraph.minimumLineHeight = parameter;
            break;
        case RtfWord::slmaximum:
            paragraph.maximumLineHeight = parameter;
            break;
        case RtfWord::tx:
            addTab(RtfTabKind::left);
            break;
        case RtfWord::tb:  // a bar is drawn, text does not stop at it
            tabKind_ = RtfTabKind::left;
            break;
        case RtfWord::tqr:
            tabKind_ = RtfTabKind::right;
            break;
        case RtfWord::tqc:
            tabKind_ = RtfTabKind::center;
            break;
        case RtfWord::tqdec:
            tabKind_ = RtfTabKind::decimal;
            break;
        case RtfWord::pardeftab:
            paragraph.tabInterval = parameter;
            break;
        case RtfWord::pardirnatural:
            paragraph.direction = RtfDirection::natural;
            break;
        case RtfWord::rtlpar:
            paragraph.direction = RtfDirection::rightToLeft;
            break;
        case RtfWord::ltrpar:
            paragraph.direction = RtfDirection::leftToRight;
            break;
        case RtfWord::partightenfactor:
            paragraph.tightening = parameter;
            break;
        case RtfWord::hyphpar:
            paragraph.hyphenated = !hasParameter || parameter != 0;
            break;
        case RtfWord::outlinelevel:
            // 0 to 8 in the file, 9 for body text.
            paragraph.outlineLevel = parameter >= 0 && parameter < 9 ? parameter + 1 : 0;
            break;
        case RtfWord::ls:
            paragraph.list = parameter;
            break;
        case RtfWord::ilvl:
            paragraph.listLevel = std::clamp<std::int32_t>(parameter, 0, RtfHeaderTables::kMaxListLevels - 1);
            break;
        case RtfWord::intbl:
            paragraph.inTable = !hasParameter || parameter != 0;
            break;
        case RtfWord::itap:
            paragraph.nesting = std::clamp<std::int32_t>(parameter, 0, RtfTables::kMaxNesting);
            break;
        case RtfWord::cbpat:
            paragraph.background = parameter;
            break;
        default:
            break;
    }
}

void RtfParser::characterWord(RtfWord word, std::int32_t parameter, bool hasParameter) {
    RtfCharacter& character = group_.character;
    group_.characterFormat = RtfGroup::kNoFormat;
    const bool on = !hasParameter || parameter != 0;
    const auto setFont = [&](std::int32_t& font) {
        font = parameter;
        group_.page = nullptr;
    };
    switch (word) {
        case RtfWord::plain: {
            const std::int32_t link = character.link;
            character = {};
            character.link = link;
            group_.page = nullptr;
            break;
        }
        case RtfWord::f:
            if (group_.destination == RtfDestination::fontTable) {
                endFontEntry();
                font_ = {};
                fontNumber_ = hasParameter ? parameter : 0;
                break;
            }
            setFont(character.font);
            break;
        case RtfWord::af:
            setFont(character.associatedFont);
            break;
        case RtfWord::fs:
            if (hasParameter && parameter > 0) character.size = std::min(parameter, 65535) * 500;
            break;
        case RtfWord::afs:
            if (parameter > 0) character.associatedSize = std::min(parameter, 65535) * 500;
            break;
        case RtfWord::ab:
            character.associatedBold = on;
            break;
        case RtfWord::ai:
            character.associatedItalic = on;
            break;
        case RtfWord::fsmilli:
            if (parameter > 0) character.size = std::min(parameter, 65535 * 500);
            break;
        case RtfWord::b:
            character.bold = on;
            break;
        case RtfWord::i:
            character.italic = on;
            break;
        case RtfWord::ulc:
            character.underlineColor = parameter;
            break;
        case RtfWord::ulstyle:
            character.cocoaUnderline = parameter;
            break;
        case RtfWord::strike:
            character.strike = on ? 1 : 0;
            break;
        case RtfWord::striked:
            character.strike = on ? 2 : 0;
            break;
        case RtfWord::strikec:
            character.strikeColor = parameter;
            break;
        case RtfWord::strikestyle:
            character.cocoaStrike = parameter;
            break;
        case RtfWord::cf:
            character.color = parameter;
            break;
        case RtfWord::cb:
        case RtfWord::highlight:
        case RtfWord::chcbpat:
            character.background = parameter;
            break;
        case RtfWord::super:
            character.superscript = on ? (hasParameter ? parameter : 1) : 0;
            break;
        case RtfWord::sub:
            character.superscript = on ? -(hasParameter ? parameter : 1) : 0;
            break;
        case RtfWord::nosupersub:
            character.superscript = 0;
            break;
        case RtfWord::up:
            character.baseline = hasParameter ? parameter : 6;
            break;
        case RtfWord::dn:
            character.baseline = -(hasParameter ? parameter : 6);
            break;
        case RtfWord::expnd:  // quarter points
            character.kern = std::clamp(parameter, -65535, 65535) * 5;
            break;
        case RtfWord::expndtw:
            character.kern = parameter;
            break;
        case RtfWord::caps:
            character.caps = on;
            break;
        case RtfWord::scaps:
            character.smallCaps = on;
            break;
        case RtfWord::outl:
            character.outline = on;
            break;
        case RtfWord::shad:
            character.shadow = on;
            break;
        case RtfWord::shadx:
            character.shadowX = parameter;
            break;
        case RtfWord::shady:
            character.shadowY = parameter;
            break;
        case RtfWord::shadr:
            character.shadowRadius = parameter;
            break;
        case RtfWord::shado:
            character.shadowOpacity = std::clamp(parameter, 0, 255);
            break;
        case RtfWord::shadc:
            character.shadowColor = parameter;
            break;
        case RtfWord::strokewidth:
            character.strokeWidth = parameter;
            break;
        case RtfWord::strokec:
            character.strokeColor = parameter;
            break;
        case RtfWord::expansion:
            character.expansion = parameter;
            break;
        case RtfWord::obliqueness:
            character.obliqueness = parameter;
            break;
        case RtfWord::CocoaLigature:
            character.ligature = parameter;
            break;
        case RtfWord::v:
            character.hidden = on;
            break;
        case RtfWord::deleted:
            character.deleted = on;
            break;
        case RtfWord::lang:
            character.language = parameter;
            break;
        case RtfWord::rtlch:
        case RtfWord::ltrch:
            character.rightToLeft = word == RtfWord::rtlch;
            group_.page = nullptr;
            break;
        case RtfWord::uc:
            group_.fallbackLength = std::clamp(parameter, 0, 255);
            break;
        case RtfWord::loch:
        case RtfWord::hich:
        case RtfWord::dbch:
        case RtfWord::fcs:
            break;  // the font that follows says the same
        default:
            underlineWord(word, on);
            break;
    }
}

void RtfParser::underlineWord(RtfWord word, bool on) {
    RtfUnderline style = RtfUnderline::none;
    switch (word) {
        case RtfWord::ul:
            style = RtfUnderline::single;
            break;
        case RtfWord::ulw:
            style = RtfUnderline::word;
            break;
        case RtfWord::uldb:
        case RtfWord::ululdbwave:
            style = RtfUnderline::doubled;
            break;
        case RtfWord::ulth:
            style = RtfUnderline::thick;
            break;
        case RtfWord::uld:
        case RtfWord::ulthd:
            style = RtfUnderline::dotted;
            break;
        case RtfWord::uldash:
        case RtfWord::ulldash:
        case RtfWord::ulthdash:
        case RtfWord::ulthldash:
            style = RtfUnderline::dashed;
            break;
        case RtfWord::uldashd:
        case RtfWord::ulthdashd:
            style = RtfUnderline::dashDotted;
            break;
        case RtfWord::uldashdd:
        case RtfWord::ulthdashdd:
            style = RtfUnderline::dashDotDotted;
            break;
        case RtfWord::ulwave:
        case RtfWord::ulhwave:
            style = RtfUnderline::wave;
            break;
        case RtfWord::ulnone:
            group_.character.cocoaUnderline = kRtfUnset;
            break;
        default:
            return;
    }
    group_.character.underline = on ? style : RtfUnderline::none;
    if (!on) group_.character.cocoaUnderline = kRtfUnset;
}

/// A style gives what the text so far has not stated itself: writers state a style first and its particulars after it.
void RtfParser::applyStyle(std::int32_t number, bool paragraphToo) {
    const RtfStyle* style = content_.header.style(number);
    if (!style) return;
    inheritRtfFormat(group_.character, style->character);
    group_.characterFormat = RtfGroup::kNoFormat;
    group_.page = nullptr;
    if (!paragraphToo) return;
    inheritRtfFormat(group_.paragraph, style->paragraph);
    group_.paragraphFormat = RtfGroup::kNoFormat;
}

}  // namespace halden
