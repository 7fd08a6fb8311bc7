// Groups with a purpose of their own: what opens them, and what is done when they end.
#include "foundation/Unicode.h"
#include "richtext/RtfFields.h"
#include "richtext/RtfParser.h"

#include <utility>

namespace halden {

/// The first word of a group makes it a destination. A word that has no business where it stands is passed over, and
/// its group stays what it was.
void RtfParser::openDestination(RtfWord word, bool starred) {
    using enum RtfDestination;
    const RtfDestination around = group_.destination;
    const auto open = [&](RtfDestination destination) {
        group_.destination = destination;
        group_.opener = word;
        group_.page = nullptr;
    };
    const auto openInside = [&](RtfDestination required, RtfDestination destination) {
        if (around == required) open(destination);
    };
    // Parts of a table that stand outside it are no text either.
    const auto openPart = [&](bool isInPlace, RtfDestination destination) { open(isInPlace ? destination : ignored); };
    const auto gather = [&](RtfDestination destination) {
        collected_.clear();
        open(destination);
    };
    // A container whose text is none of the document's, but that may hold some that is.
    const auto openContainer = [&] {
        if (around != ignored) group_.outerDestination = around;
        open(ignored);
    };

    switch (word) {
        case RtfWord::fonttbl:
            fontNumber_ = kRtfUnset;
            open(fontTable);
            break;
        case RtfWord::falt:
            open(ignored);
            break;
        case RtfWord::colortbl:
            color_ = {};
            colorStated_ = false;
            open(colorTable);
            break;
        case RtfWord::expandedcolortbl:
            extendedColorIndex_ = 0;
            colorSpace_ = RtfColorSpace::none;
            colorComponents_.clear();
            open(expandedColorTable);
            break;
        case RtfWord::stylesheet:
            styleNumber_ = kRtfUnset;
            open(styleSheet);
            break;
        case RtfWord::listtable:
            open(listTable);
            break;
        case RtfWord::list:
            list_ = {};
            openPart(around == listTable, list);
            break;
        case RtfWord::listlevel:
            level_ = {};
            openPart(around == list || around == listOverrideLevel, listLevel);
            break;
        case RtfWord::leveltext:
            gather(around == listLevel ? levelText : ignored);
            break;
        case RtfWord::levelmarker:
            gather(around == listLevel ? levelMarker : ignored);
            break;
        case RtfWord::listoverridetable:
            open(listOverrideTable);
            break;
        case RtfWord::listoverride:
            overrideList_ = 0;
            overrideNumber_ = kRtfUnset;
            overrideLevels_.clear();
            openPart(around == listOverrideTable, listOverride);
            break;
        case RtfWord::lfolevel:
            if (around == listOverride && overrideLevels_.size() < RtfHeaderTables::kMaxListLevels) {
                overrideLevels_.emplace_back();
                overridesFormat_ = false;
                open(listOverrideLevel);
            } else {
                open(ignored);
            }
            break;
        case RtfWord::info:
            open(info);
            break;
        case RtfWord::title:
        case RtfWord::subject:
        case RtfWord::author:
        case RtfWord::manager:
        case RtfWord::company:
        case RtfWord::operator_:
        case RtfWord::category:
        case RtfWord::keywords:
        case RtfWord::doccomm:
        case RtfWord::copyright:
            // Outside the information these are headings of another program's making: their text is none.
            if (around == info) {
                gather(infoText);
            } else {
                open(ignored);
            }
            break;
        case RtfWord::creatim:
        case RtfWord::revtim:
            date_.fill(0);
            openInside(info, infoDate);
            break;
        case RtfWord::listtext:
        case RtfWord::pntext:
            group_.inMarker = true;  // the marker is text of the paragraph
            break;
        case RtfWord::pn:
            if (around != body) break;
            oldNumbering_ = {};
            open(oldNumbering);
            break;
        case RtfWord::pntxtb:
            gather(around == oldNumbering ? oldNumberingBefore : ignored);
            break;
        case RtfWord::pntxta:
            gather(around == oldNumbering ? oldNumberingAfter : ignored);
            break;
        case RtfWord::field:
            fields_.push_back({.instruction = {}, .link = 0, .start = content_.text.size()});
            open(around);
            break;
        case RtfWord::fldinst:
            open(fieldInstruction);
            break;
        case RtfWord::fldrslt:
            if (!fields_.empty() && fields_.back().link != 0) {
                group_.character.link = fields_.back().link;
                group_.characterFormat = RtfGroup::kNoFormat;
            }
            break;
        case RtfWord::pict:
            picture_ = {};
            open(around == body || around == ignored ? picture : ignored);
            break;
        case RtfWord::shppict:
            openContainer();
            break;
        case RtfWord::shp:
        case RtfWord::shpgrp:
        case RtfWord::shpinst:
        case RtfWord::sp:
        case RtfWord::sv:
        case RtfWord::do_:
        case RtfWord::object:
        case RtfWord::upr:
            openContainer();
            break;
        case RtfWord::shptxt:
        case RtfWord::dptxbxtext:
            if (around != ignored || group_.outerDestination != body) break;
            open(body);
            openTextBox();
            break;
        case RtfWord::result:
        case RtfWord::ud:
            if (around == ignored) open(group_.outerDestination);
            break;
        case RtfWord::NeXTGraphic:
            if (around != body) break;
            attachment_ = {};
            gather(attachment);
            break;
        case RtfWord::nesttableprops:
            // In a group of its own always; elsewhere the word stands there by mistake.
            if (starred) openInside(body, rowProperties);
            break;
        default:
            break;
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
        default:
            break;
    }
    if (opener == RtfWord::field) closeField();
    if (opener == RtfWord::shptxt || opener == RtfWord::dptxbxtext) endParagraphIfAny();
}

void RtfParser::closeFieldInstruction() {
    if (fields_.empty()) return;
    Field& field = fields_.back();
    if (auto link = linkOfFieldInstruction(field.instruction)) {
        content_.links.push_back(std::move(*link));
        field.link = static_cast<std::int32_t>(content_.links.size());
    }
}

/// A symbol field whose result is empty stands for its character.
void RtfParser::closeField() {
    if (fields_.empty()) return;
    const Field field = std::move(fields_.back());
    fields_.pop_back();
    if (group_.destination != RtfDestination::body || content_.text.size() != field.start) return;
    if (const auto symbol = symbolOfFieldInstruction(field.instruction)) {
        insertSymbol(symbol->number, symbol->font, symbol->isUnicode);
    }
}

void RtfParser::insertSymbol(char32_t number, std::u16string_view font, bool isUnicode) {
    std::u16string units;
    if (isUnicode || number > 0xFF) {
        if (number > 0xFFFF || number == 0 || isSurrogate(static_cast<char16_t>(number))) return;
        units += static_cast<char16_t>(number);
    } else {
        const char byte = static_cast<char>(number);
        const bool isSymbol = font.starts_with(u"Symbol") || font.starts_with(u"Wingdings") ||
                              font.starts_with(u"Webdings") || font.find(u"Dingbats") != font.npos;
        pages_.page(isSymbol ? codePageOfSymbolFont(font) : documentPage_).decode({&byte, 1}, units);
    }
    appendToBody(units);
}

void RtfParser::closePicture() {
    std::optional<RtfPictureFile> file = picture_.takeFile();
    if (!file || group_.outerDestination != RtfDestination::body) return;
    insertAttachment({.position = 0, .name = {}, .picture = std::move(file)});
}

/// The name may stand among blanks and line ends, which are no part of it.
void RtfParser::closeAttachment() {
    std::u16string name = takeCollected();
    const auto isBlank = [](char16_t unit) { return unit <= u' '; };
    while (!name.empty() && isBlank(name.back()))
        name.pop_back();
    std::size_t start = 0;
    while (start < name.size() && isBlank(name[start]))
        ++start;
    name.erase(0, start);
    if (name.empty()) return;
    placeholderFollows_ = true;
    attachment_.name = std::move(name);
    insertAttachment(std::exchange(attachment_, {}));
}

/// The text of a shape stands in paragraphs of its own, where the shape is anchored.
void RtfParser::openTextBox() {
    const std::int32_t level = paragraphLevel();
    endParagraphIfAny();
    group_.textBoxLevel = level;
    group_.paragraph = {};
    group_.paragraphFormat = RtfGroup::kNoFormat;
}

}  // namespace halden
