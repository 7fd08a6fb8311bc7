// Lists: the tables of lists and of their overrides, and the numbering of before there were such tables.
#include "richtext/RtfParser.h"

#include <algorithm>
#include <utility>

namespace halden {

void RtfParser::openOverrideLevel() {
    const bool isInPlace =
        group_.destination == RtfDestination::listOverride && overrideLevels_.size() < RtfHeaderTables::kMaxListLevels;
    open(RtfWord::lfolevel, isInPlace ? RtfDestination::listOverrideLevel : RtfDestination::ignored);
    if (!isInPlace) return;
    overrideLevels_.emplace_back();
    overridesFormat_ = false;
}

void RtfParser::listWord(RtfWord word, std::int32_t parameter, bool hasParameter) {
    using Kind = RtfOldNumbering::Kind;
    const RtfDestination destination = group_.destination;
    if (destination == RtfDestination::listOverride && word == RtfWord::listid) overrideList_ = parameter;
    if (destination == RtfDestination::list && word == RtfWord::listid) list_.id = parameter;
    if (destination == RtfDestination::listOverrideLevel && word == RtfWord::listoverrideformat) {
        overridesFormat_ = true;
    }
    if (destination == RtfDestination::listOverrideLevel && word == RtfWord::levelstartat) {
        overrideLevels_.back().start = parameter;
    }
    if (destination == RtfDestination::listLevel) {
        if (word == RtfWord::levelnfc || word == RtfWord::levelnfcn) level_.numberKind = parameter;
        if (word == RtfWord::levelstartat) level_.start = parameter;
    }
    if (destination != RtfDestination::oldNumbering) return;
    switch (word) {
        case RtfWord::pnlvlblt:
            oldNumbering_.kind = Kind::bullet;
            break;
        case RtfWord::pnlvl:
            oldNumbering_.level = hasParameter ? std::clamp(parameter, 1, 9) - 1 : 0;
            [[fallthrough]];
        case RtfWord::pnlvlbody:
        case RtfWord::pndec:
        case RtfWord::pncard:
            oldNumbering_.kind = Kind::decimal;
            break;
        case RtfWord::pnucltr:
            oldNumbering_.kind = Kind::upperLetter;
            break;
        case RtfWord::pnucrm:
            oldNumbering_.kind = Kind::upperRoman;
            break;
        case RtfWord::pnlcltr:
            oldNumbering_.kind = Kind::lowerLetter;
            break;
        case RtfWord::pnlcrm:
            oldNumbering_.kind = Kind::lowerRoman;
            break;
        case RtfWord::pnlvlcont:
            oldNumbering_.kind = Kind::none;
            break;
        case RtfWord::pnstart:
            oldNumbering_.start = parameter;
            break;
        default:
            break;
    }
}

void RtfParser::closeListText(RtfWord opener) {
    std::u16string text = takeCollected();
    switch (opener) {
        case RtfWord::pntxtb:
            oldNumbering_.before = std::move(text);
            return;
        case RtfWord::pntxta:
            oldNumbering_.after = std::move(text);
            return;
        default:
            break;
    }
    if (opener == RtfWord::levelmarker) {
        level_.marker = text.substr(0, RtfHeaderTables::kMaxLevelText);
        return;
    }
    // The first unit counts the ones that follow; a semicolon ends them all.
    if (!text.empty() && text.front() < 0x20) {
        const std::size_t length = text.front();
        text = text.substr(1, length);
    } else if (!text.empty() && text.back() == u';') {
        text.pop_back();
    }
    level_.text = text.substr(0, RtfHeaderTables::kMaxLevelText);
}

/// Bullets are often given in the private units of symbol fonts, and the font after the text.
void RtfParser::closeListLevel() {
    const RtfFont* font = content_.header.font(group_.character.font);
    const RtfCodePage& symbols =
        pages_.page(font && font->charset == 2 ? font->codePage : static_cast<int>(kCodePageSymbol));
    for (char16_t& unit : level_.text)
        unit = symbols.symbolUnit(unit);
    RtfListLevel level = std::exchange(level_, {});
    if (stack_.empty()) return;
    if (stack_.back().destination == RtfDestination::listOverrideLevel) {
        if (overridesFormat_ && !overrideLevels_.empty()) overrideLevels_.back().format = std::move(level);
    } else if (list_.levels.size() < RtfHeaderTables::kMaxListLevels) {
        list_.levels.push_back(std::move(level));
    }
}

/// An override without levels of its own is another name of the list.
void RtfParser::closeListOverride() {
    const std::vector<RtfListOverrideLevel> levels = std::exchange(overrideLevels_, {});
    if (overrideNumber_ != kRtfUnset) content_.header.addListOverride(overrideNumber_, overrideList_, levels);
}

}  // namespace halden
