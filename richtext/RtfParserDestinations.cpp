// Groups with a purpose of their own: what opens those of the header, and what is done when any of them ends.
#include "richtext/RtfParser.h"

#include <utility>

namespace halden {

/// Makes the current group a destination.
void RtfParser::open(RtfWord opener, RtfDestination destination) {
    group_.destination = destination;
    group_.opener = opener;
    group_.page = nullptr;
}

/// The same for destinations whose text is gathered.
void RtfParser::gather(RtfWord opener, RtfDestination destination) {
    collected_.clear();
    open(opener, destination);
}

/// Tables of the header and their parts. Parts that stand outside their table are no text either.
void RtfParser::openTable(RtfWord word) {
    using enum RtfDestination;
    const RtfDestination around = group_.destination;
    const auto within = [&](RtfDestination table, RtfDestination part) { return around == table ? part : ignored; };
    switch (word) {
        case RtfWord::fonttbl:
            fontNumber_ = kRtfUnset;
            open(word, fontTable);
            break;
        case RtfWord::colortbl:
            color_ = {};
            colorStated_ = false;
            open(word, colorTable);
            break;
        case RtfWord::expandedcolortbl:
            extendedColorIndex_ = 0;
            colorSpace_ = RtfColorSpace::none;
            colorComponents_.clear();
            open(word, expandedColorTable);
            break;
        case RtfWord::stylesheet:
            styleNumber_ = kRtfUnset;
            open(word, styleSheet);
            break;
        case RtfWord::listtable:
            open(word, listTable);
            break;
        case RtfWord::list:
            list_ = {};
            open(word, within(listTable, list));
            break;
        case RtfWord::listlevel:
            level_ = {};
            open(word, around == listOverrideLevel ? listLevel : within(list, listLevel));
            break;
        case RtfWord::leveltext:
            gather(word, within(listLevel, levelText));
            break;
        case RtfWord::levelmarker:
            gather(word, within(listLevel, levelMarker));
            break;
        case RtfWord::listoverridetable:
            open(word, listOverrideTable);
            break;
        case RtfWord::listoverride:
            overrideList_ = 0;
            overrideNumber_ = kRtfUnset;
            overrideLevels_.clear();
            open(word, within(listOverrideTable, listOverride));
            break;
        case RtfWord::lfolevel:
            openOverrideLevel();
            break;
        case RtfWord::pn:
            if (around != body) break;
            oldNumbering_ = {};
            open(word, oldNumbering);
            break;
        case RtfWord::pntxtb:
            gather(word, within(oldNumbering, oldNumberingBefore));
            break;
        case RtfWord::pntxta:
            gather(word, within(oldNumbering, oldNumberingAfter));
            break;
        default:  // \falt
            open(word, ignored);
            break;
    }
}

/// The information and its entries. Outside of it these are headings of another program's making: their text is none.
void RtfParser::openInformation(RtfWord word) {
    const bool isInside = group_.destination == RtfDestination::info;
    if (word == RtfWord::info) {
        open(word, RtfDestination::info);
    } else if (!isInside) {
        open(word, RtfDestination::ignored);
    } else if (word == RtfWord::creatim || word == RtfWord::revtim) {
        date_.fill(0);
        open(word, RtfDestination::infoDate);
    } else {
        gather(word, RtfDestination::infoText);
    }
}

/// The group that `opener` made a destination ends; it still is the current one.
void RtfParser::closeDestination(RtfWord opener) {
    switch (group_.destination) {
        case RtfDestination::fontTable:
            endFontEntry();
            return;
        case RtfDestination::styleSheet:
            endStyle();
            return;
        case RtfDestination::list:
            content_.header.addList(std::exchange(list_, {}));
            return;
        case RtfDestination::listOverride:
            closeListOverride();
            return;
        case RtfDestination::listLevel:
            closeListLevel();
            return;
        case RtfDestination::levelText:
        case RtfDestination::levelMarker:
        case RtfDestination::oldNumberingBefore:
        case RtfDestination::oldNumberingAfter:
            closeListText(opener);
            return;
        case RtfDestination::infoText:
            closeInfoText(opener);
            return;
        case RtfDestination::infoDate:
            closeInfoDate(opener);
            return;
        case RtfDestination::oldNumbering:
            if (!stack_.empty()) {
                stack_.back().paragraph.numbering = std::make_shared<const RtfOldNumbering>(oldNumbering_);
                stack_.back().paragraphFormat = RtfGroup::kNoFormat;
            }
            return;
        case RtfDestination::fieldInstruction:
            closeFieldInstruction();
            return;
        case RtfDestination::picture:
            closePicture();
            return;
        case RtfDestination::attachment:
            closeAttachment();
            return;
        case RtfDestination::shapePropertyName:
        case RtfDestination::shapePropertyValue:
            closeShapeProperty();
            return;
        case RtfDestination::pageBackground:
            closePageBackground();
            return;
        default:
            break;
    }
    if (opener == RtfWord::field) closeField();
    if (opener == RtfWord::listtext || opener == RtfWord::pntext) closeMarker();
    if (opener == RtfWord::shptxt || opener == RtfWord::dptxbxtext) endParagraphIfAny();
}

}  // namespace halden
