#include "richtext/RtfHeaderTables.h"

#include "richtext/RtfCodePages.h"

#include <algorithm>
#include <cmath>

namespace halden {
namespace {

double linear(double encoded) noexcept {
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

double encoded(double linear) noexcept {
    const double value = std::clamp(linear, 0.0, 1.0);
    return value <= 0.0031308 ? value * 12.92 : 1.055 * std::pow(value, 1 / 2.4) - 0.055;
}

/// Display P3 has sRGB's curve and white, and wider primaries; what sRGB cannot show is cut.
RtfColor srgbOfDisplayP3(double r, double g, double b, double alpha) noexcept {
    r = linear(r);
    g = linear(g);
    b = linear(b);
    return {encoded(1.2249402 * r - 0.2249402 * g), encoded(-0.0420570 * r + 1.0420570 * g),
            encoded(-0.0196376 * r - 0.0786361 * g + 1.0982735 * b), alpha};
}

template <class T>
void inherit(T& value, const T& base, const T& unset) {
    if (value == unset) value = base;
}

}  // namespace

void RtfFont::takeScriptFromName() {
    struct Row {
        std::u16string_view suffix;
        int charset;
    };
    static constexpr Row kRows[] = {{u" CE", 238},       {u" Cyr", 204},          {u" Greek", 161},
                                    {u" Tur", 162},      {u" Baltic", 186},       {u" (Hebrew)", 177},
                                    {u" (Arabic)", 178}, {u" (Vietnamese)", 163}, {u" (Thai)", 222}};
    for (const Row& row : kRows) {
        if (name.size() <= row.suffix.size() || !name.ends_with(row.suffix)) continue;
        name.resize(name.size() - row.suffix.size());
        charset = row.charset;
        return;
    }
}

void RtfFont::resolveCodePage(int stated) {
    // Files of before character sets tell symbol fonts by their family alone.
    const bool isOldSymbol =
        charset < 0 && family == RtfFontFamily::technical && codePageOfSymbolFont(name) != kCodePagePrivateSymbol;
    if (charset == 2 || isOldSymbol) {
        codePage = codePageOfSymbolFont(name);
    } else if (charset == 0) {
        codePage = stated > 0 ? stated : 1252;
    } else {
        const int ofCharset = codePageOfCharset(charset);
        codePage = ofCharset != 0 ? ofCharset : std::max(stated, 0);
    }
}

std::optional<RtfColor> rtfColorInSpace(RtfColorSpace space, const std::vector<double>& components) {
    const auto component = [&](std::size_t index, double missing) {
        return index < components.size() ? std::clamp(components[index], 0.0, 1.0) : missing;
    };
    switch (space) {
        case RtfColorSpace::none:
            return std::nullopt;
        case RtfColorSpace::srgb:
            return RtfColor{component(0, 0), component(1, 0), component(2, 0), component(3, 1)};
        case RtfColorSpace::displayP3:
            return srgbOfDisplayP3(component(0, 0), component(1, 0), component(2, 0), component(3, 1));
        case RtfColorSpace::gray:
            return RtfColor{component(0, 0), component(0, 0), component(0, 0), component(1, 1)};
        case RtfColorSpace::cmyk: {
            const double paper = 1 - component(3, 0);
            return RtfColor{(1 - component(0, 0)) * paper, (1 - component(1, 0)) * paper, (1 - component(2, 0)) * paper,
                            component(4, 1)};
        }
    }
    return std::nullopt;
}

void RtfHeaderTables::setFont(std::int32_t number, RtfFont font) {
    if (fonts_.size() < kMaxFonts || fonts_.contains(number)) fonts_.insert_or_assign(number, std::move(font));
}

void RtfHeaderTables::addColor(std::optional<RtfColor> color) {
    if (colors_.size() < kMaxColors) colors_.push_back(color);
}

void RtfHeaderTables::setExtendedColor(std::size_t index, RtfColor color) {
    if (index < kMaxColors) extendedColors_.insert_or_assign(index, color);
}

void RtfHeaderTables::setStyle(std::int32_t number, RtfStyle style) {
    if (styles_.size() < kMaxStyles || styles_.contains(number)) styles_.insert_or_assign(number, std::move(style));
}

void RtfHeaderTables::addList(RtfList list) {
    if (lists_.size() >= kMaxLists) return;  // overrides with levels of their own share the vector
    listOfId_.insert_or_assign(list.id, lists_.size());
    lists_.push_back(std::move(list));
}

void RtfHeaderTables::addListOverride(std::int32_t number, std::int32_t id,
                                      const std::vector<RtfListOverrideLevel>& levels) {
    const auto base = listOfId_.find(id);
    if (base == listOfId_.end()) return;
    const bool restarts = std::ranges::any_of(levels, [](const auto& level) { return level.start != kRtfUnset; });
    const bool changes = restarts || std::ranges::any_of(levels, [](const auto& level) { return !!level.format; });
    if (!changes) {
        if (listOfOverride_.size() < kMaxLists) listOfOverride_.insert_or_assign(number, base->second);
        return;
    }
    if (lists_.size() >= 2 * kMaxLists) return;
    RtfList list = lists_[base->second];
    if (restarts) list.restartedBy = number;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const RtfListOverrideLevel& level = levels[i];
        if (i >= list.levels.size() && level.format) list.levels.resize(i + 1);
        if (level.format) list.levels[i] = *level.format;
        if (level.start != kRtfUnset && i < list.levels.size()) list.levels[i].start = level.start;
    }
    listOfOverride_.insert_or_assign(number, lists_.size());
    lists_.push_back(std::move(list));
}

const RtfFont* RtfHeaderTables::font(std::int32_t number) const noexcept {
    const auto found = fonts_.find(number);
    return found == fonts_.end() ? nullptr : &found->second;
}

std::optional<RtfColor> RtfHeaderTables::color(std::int32_t index) const noexcept {
    if (index < 0) return std::nullopt;
    const auto place = static_cast<std::size_t>(index);
    if (const auto found = extendedColors_.find(place); found != extendedColors_.end()) return found->second;
    return place < colors_.size() ? colors_[place] : std::nullopt;
}

const RtfStyle* RtfHeaderTables::style(std::int32_t number) {
    const auto found = styles_.find(number);
    if (found == styles_.end()) return nullptr;
    RtfStyle& style = found->second;
    if (style.resolved) return &style;
    style.resolved = true;
    std::int32_t base = style.basedOn;
    for (int depth = 0; depth < kMaxStyleChain; ++depth) {
        const auto next = styles_.find(base);
        if (next == styles_.end()) break;
        inheritRtfFormat(style.character, next->second.character);
        inheritRtfFormat(style.paragraph, next->second.paragraph);
        base = next->second.basedOn;
    }
    return &style;
}

const RtfList* RtfHeaderTables::list(std::int32_t overrideNumber) const noexcept {
    const auto found = listOfOverride_.find(overrideNumber);
    return found == listOfOverride_.end() ? nullptr : &lists_[found->second];
}

void inheritRtfFormat(RtfCharacter& character, const RtfCharacter& base) {
    static const RtfCharacter unset;
    for (const auto member :
         {&RtfCharacter::font, &RtfCharacter::associatedFont, &RtfCharacter::size, &RtfCharacter::associatedSize,
          &RtfCharacter::color, &RtfCharacter::background, &RtfCharacter::underlineColor, &RtfCharacter::strikeColor,
          &RtfCharacter::strokeColor, &RtfCharacter::strokeWidth, &RtfCharacter::baseline, &RtfCharacter::kern,
          &RtfCharacter::language, &RtfCharacter::obliqueness, &RtfCharacter::expansion, &RtfCharacter::superscript,
          &RtfCharacter::cocoaUnderline, &RtfCharacter::cocoaStrike}) {
        inherit(character.*member, base.*member, unset.*member);
    }
    for (const auto member : {&RtfCharacter::bold, &RtfCharacter::italic, &RtfCharacter::associatedBold,
                              &RtfCharacter::associatedItalic, &RtfCharacter::caps, &RtfCharacter::smallCaps,
                              &RtfCharacter::outline, &RtfCharacter::shadow, &RtfCharacter::hidden}) {
        inherit(character.*member, base.*member, unset.*member);
    }
    inherit(character.underline, base.underline, unset.underline);
    inherit(character.strike, base.strike, unset.strike);
}

void inheritRtfFormat(RtfParagraph& paragraph, const RtfParagraph& base) {
    static const RtfParagraph unset;
    for (const auto member :
         {&RtfParagraph::leftIndent, &RtfParagraph::rightIndent, &RtfParagraph::firstIndent, &RtfParagraph::spaceBefore,
          &RtfParagraph::spaceAfter, &RtfParagraph::leading, &RtfParagraph::minimumLineHeight,
          &RtfParagraph::maximumLineHeight, &RtfParagraph::tabInterval, &RtfParagraph::tightening,
          &RtfParagraph::outlineLevel, &RtfParagraph::background}) {
        inherit(paragraph.*member, base.*member, unset.*member);
    }
    if (paragraph.lineSpacing == unset.lineSpacing) {
        paragraph.lineSpacing = base.lineSpacing;
        paragraph.multipleLineSpacing = base.multipleLineSpacing;
    }
    if (paragraph.list == unset.list) {
        paragraph.list = base.list;
        paragraph.listLevel = base.listLevel;
    }
    inherit(paragraph.hyphenated, base.hyphenated, unset.hyphenated);
    inherit(paragraph.alignment, base.alignment, unset.alignment);
    inherit(paragraph.direction, base.direction, unset.direction);
    inherit(paragraph.tabs, base.tabs, unset.tabs);
    inherit(paragraph.numbering, base.numbering, unset.numbering);
}

}  // namespace halden
