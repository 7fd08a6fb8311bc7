// The document as a whole: page set-up, the tables in front of the text, the information about it.
#include "richtext/RtfParser.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace halden {
namespace {

/// Days from 1970-01-01 to a date of the Gregorian calendar.
std::int64_t daysFromCivil(std::int64_t year, std::int64_t month, std::int64_t day) noexcept {
    year -= month <= 2;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

/// Words that state one number each; without one they state the other.
struct PropertyRow {
    std::int32_t RtfDocumentProperties::*property;
    RtfWord word;
    std::int32_t withoutNumber = 0;
};

constexpr PropertyRow kProperties[] = {
    {&RtfDocumentProperties::defaultFont, RtfWord::deff},
    {&RtfDocumentProperties::defaultAssociatedFont, RtfWord::adeff},
    {&RtfDocumentProperties::paperWidth, RtfWord::paperw},
    {&RtfDocumentProperties::paperHeight, RtfWord::paperh},
    {&RtfDocumentProperties::leftMargin, RtfWord::margl},
    {&RtfDocumentProperties::rightMargin, RtfWord::margr},
    {&RtfDocumentProperties::topMargin, RtfWord::margt},
    {&RtfDocumentProperties::bottomMargin, RtfWord::margb},
    {&RtfDocumentProperties::tabInterval, RtfWord::deftab},
    {&RtfDocumentProperties::viewKind, RtfWord::viewkind},
    {&RtfDocumentProperties::viewScale, RtfWord::viewscale},
    {&RtfDocumentProperties::viewWidth, RtfWord::vieww},
    {&RtfDocumentProperties::viewHeight, RtfWord::viewh},
    {&RtfDocumentProperties::readOnly, RtfWord::readonlydoc, 1},
    {&RtfDocumentProperties::hyphenation, RtfWord::hyphauto, 1},
    {&RtfDocumentProperties::hyphenationFactor, RtfWord::hyphfactor},
    {&RtfDocumentProperties::cocoaVersion, RtfWord::cocoartf},
    {&RtfDocumentProperties::cocoaSubversion, RtfWord::cocoasubrtf},
    {&RtfDocumentProperties::textScaling, RtfWord::cocoatextscaling},
    {&RtfDocumentProperties::screenFonts, RtfWord::cocoascreenfonts, 1},
};

// The page of the first section stands for the document's where the document states none.
constexpr PropertyRow kSectionProperties[] = {
    {&RtfDocumentProperties::paperWidth, RtfWord::pgwsxn},   {&RtfDocumentProperties::paperHeight, RtfWord::pghsxn},
    {&RtfDocumentProperties::leftMargin, RtfWord::marglsxn}, {&RtfDocumentProperties::rightMargin, RtfWord::margrsxn},
    {&RtfDocumentProperties::topMargin, RtfWord::margtsxn},  {&RtfDocumentProperties::bottomMargin, RtfWord::margbsxn},
};

}  // namespace

void RtfParser::documentWord(RtfWord word, std::int32_t parameter, bool hasParameter) {
    RtfDocumentProperties& properties = content_.properties;
    group_.page = nullptr;
    switch (word) {
        case RtfWord::rtf:
            properties.version = hasParameter ? parameter : 1;
            // Documents of version 0 are older than code pages; their writers knew one encoding.
            if (properties.version == 0) documentPage_ = kCodePageNextStep;
            return;
        case RtfWord::ansi:
            if (properties.version != 0) documentPage_ = 1252;
            return;
        case RtfWord::mac:
            documentPage_ = 10000;
            return;
        case RtfWord::pc:
            documentPage_ = 437;
            return;
        case RtfWord::pca:
            documentPage_ = 850;
            return;
        case RtfWord::ansicpg:
            if (parameter > 0) documentPage_ = parameter;
            return;
        default:
            break;
    }
    if (const auto* row = std::ranges::find(kProperties, word, &PropertyRow::word); row != std::end(kProperties)) {
        properties.*row->property = hasParameter ? parameter : row->withoutNumber;
        return;
    }
    const auto* row = std::ranges::find(kSectionProperties, word, &PropertyRow::word);
    if (row != std::end(kSectionProperties) && properties.*row->property == kRtfUnset) {
        properties.*row->property = parameter;
    }
}

void RtfParser::fontWord(RtfWord word, std::int32_t parameter) {
    if (group_.destination != RtfDestination::fontTable) return;
    switch (word) {
        case RtfWord::fnil:
            font_.family = RtfFontFamily::unknown;
            break;
        case RtfWord::froman:
            font_.family = RtfFontFamily::roman;
            break;
        case RtfWord::fswiss:
            font_.family = RtfFontFamily::swiss;
            break;
        case RtfWord::fmodern:
            font_.family = RtfFontFamily::modern;
            break;
        case RtfWord::fscript:
            font_.family = RtfFontFamily::script;
            break;
        case RtfWord::fdecor:
            font_.family = RtfFontFamily::decorative;
            break;
        case RtfWord::ftech:
            font_.family = RtfFontFamily::technical;
            break;
        case RtfWord::fbidi:
            font_.family = RtfFontFamily::bidirectional;
            break;
        case RtfWord::fprq:
            font_.fixedPitch = parameter == 1;
            break;
        case RtfWord::fcharset:
            font_.charset = parameter;
            font_.resolveCodePage(fontStatedPage_);
            group_.page = nullptr;  // the name is written in it
            break;
        case RtfWord::cpg:
            fontStatedPage_ = parameter;
            font_.resolveCodePage(fontStatedPage_);
            group_.page = nullptr;
            break;
        default:
            break;
    }
}

void RtfParser::fontTableText(std::u16string_view units) {
    if (fontNumber_ == kRtfUnset) return;
    for (const char16_t unit : units) {
        // Some writers state the character set after the name's end.
        if (unit == u';') fontNameEnded_ = true;
        if (!fontNameEnded_ && font_.name.size() < kMaxRtfCollected) font_.name += unit;
    }
}

void RtfParser::endFontEntry() {
    if (fontNumber_ == kRtfUnset) return;
    while (!font_.name.empty() && font_.name.back() <= u' ')
        font_.name.pop_back();
    font_.name.erase(0, std::min(font_.name.find_first_not_of(u' '), font_.name.size()));
    font_.takeScriptFromName();
    font_.resolveCodePage(fontStatedPage_);
    content_.header.setFont(fontNumber_, std::exchange(font_, {}));
    fontNumber_ = kRtfUnset;
    fontStatedPage_ = 0;
    fontNameEnded_ = false;
    group_.page = nullptr;
}

void RtfParser::colorWord(RtfWord word, std::int32_t parameter) {
    const auto component = [parameter] { return std::clamp(parameter, 0, 255) / 255.0; };
    if (group_.destination == RtfDestination::colorTable) {
        switch (word) {
            case RtfWord::red:
                color_.red = component();
                break;
            case RtfWord::green:
                color_.green = component();
                break;
            case RtfWord::blue:
                color_.blue = component();
                break;
            default:
                return;
        }
        colorStated_ = true;
        return;
    }
    if (group_.destination != RtfDestination::expandedColorTable) return;
    switch (word) {
        case RtfWord::cssrgb:
        case RtfWord::csgenericrgb:
            colorSpace_ = RtfColorSpace::srgb;
            break;
        case RtfWord::cspthree:
            colorSpace_ = RtfColorSpace::displayP3;
            break;
        case RtfWord::csgray:
        case RtfWord::csgenericgray:
            colorSpace_ = RtfColorSpace::gray;
            break;
        case RtfWord::cscmyk:
        case RtfWord::csgenericcmyk:
            colorSpace_ = RtfColorSpace::cmyk;
            break;
        case RtfWord::c:
            // Hundred-thousandths; no space has more than five components.
            if (colorComponents_.size() < 5) colorComponents_.push_back(parameter / 100000.0);
            break;
        default:
            break;
    }
}

void RtfParser::colorTableText(std::u16string_view units) {
    for (const char16_t unit : units) {
        if (unit != u';') continue;  // blanks, and the names of system colours
        if (group_.destination == RtfDestination::colorTable) {
            content_.header.addColor(colorStated_ ? std::optional(color_) : std::nullopt);
            color_ = {};
            colorStated_ = false;
        } else {
            if (const auto color = rtfColorInSpace(colorSpace_, colorComponents_)) {
                content_.header.setExtendedColor(extendedColorIndex_, *color);
            }
            ++extendedColorIndex_;
            colorSpace_ = RtfColorSpace::none;
            colorComponents_.clear();
        }
    }
}

/// In the style sheet these words number the style that is being defined; in the text they apply one.
void RtfParser::styleWord(RtfWord word, std::int32_t parameter) {
    const bool defines = group_.destination == RtfDestination::styleSheet;
    // Paragraph and character styles are numbered from one sequence; section and table styles have no bearing here.
    switch (word) {
        case RtfWord::s:
        case RtfWord::cs:
            if (defines) {
                styleNumber_ = parameter;
            } else if (group_.destination == RtfDestination::body) {
                applyStyle(parameter, word == RtfWord::s);
            }
            break;
        case RtfWord::ds:
        case RtfWord::ts:
            if (defines) styleNumber_ = kRtfUnset;
            break;
        case RtfWord::sbasedon:
            if (defines) styleBase_ = parameter;
            break;
        default:
            break;
    }
}

void RtfParser::endStyle() {
    // A style without a number is number 0, when its group says anything.
    if (styleNumber_ != kRtfUnset) {
        RtfStyle style{.character = group_.character, .paragraph = group_.paragraph, .basedOn = styleBase_};
        if (style.basedOn == styleNumber_) style.basedOn = kRtfUnset;
        content_.header.setStyle(styleNumber_, std::move(style));
    }
    styleNumber_ = kRtfUnset;
    styleBase_ = kRtfUnset;
}

void RtfParser::infoWord(RtfWord word, std::int32_t parameter) {
    if (group_.destination != RtfDestination::infoDate) return;
    date_[static_cast<std::size_t>(word) - static_cast<std::size_t>(RtfWord::yr)] = parameter;
}

void RtfParser::closeInfoText(RtfWord opener) {
    RtfDocumentProperties& properties = content_.properties;
    std::u16string text = takeCollected();
    switch (opener) {
        case RtfWord::title:
            properties.title = std::move(text);
            break;
        case RtfWord::subject:
            properties.subject = std::move(text);
            break;
        case RtfWord::author:
            properties.author = std::move(text);
            break;
        case RtfWord::manager:
            properties.manager = std::move(text);
            break;
        case RtfWord::company:
            properties.company = std::move(text);
            break;
        case RtfWord::operator_:
            properties.editor = std::move(text);
            break;
        case RtfWord::category:
            properties.category = std::move(text);
            break;
        case RtfWord::keywords:
            properties.keywords = std::move(text);
            break;
        case RtfWord::doccomm:
            properties.comment = std::move(text);
            break;
        case RtfWord::copyright:
            properties.copyright = std::move(text);
            break;
        default:
            break;
    }
}

/// Times carry no zone; they are taken as UTC. A date that no calendar has is none.
void RtfParser::closeInfoDate(RtfWord opener) {
    const auto [year, month, day, hour, minute, second] = date_;
    if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31) return;
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 60) return;
    const std::int64_t seconds = ((daysFromCivil(year, month, day) * 24 + hour) * 60 + minute) * 60 + second;
    const Date date = Date::fromUnixSeconds(static_cast<double>(seconds));
    (opener == RtfWord::creatim ? content_.properties.created : content_.properties.modified) = date;
}

}  // namespace halden
