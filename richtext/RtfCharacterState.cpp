#include "richtext/RtfCharacterState.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace halden {
namespace {

/// The line styles that have words of their own.
struct LineRow {
    std::int32_t style;
    std::string_view word;
};
constexpr LineRow kUnderlines[] = {{kLineSingle, "ul"},
                                   {kLineDouble, "uldb"},
                                   {kLineThick, "ulth"},
                                   {kLineSingle | kLineByWord, "ulw"},
                                   {kLineSingle | kLinePatternDot, "uld"},
                                   {kLineSingle | kLinePatternDash, "uldash"},
                                   {kLineSingle | kLinePatternDashDot, "uldashd"},
                                   {kLineSingle | kLinePatternDashDotDot, "uldashdd"},
                                   {kLineThick | kLinePatternDot, "ulwave"}};

const LineRow* underlineRow(std::int32_t style) noexcept {
    const auto* const row = std::ranges::find(kUnderlines, style, &LineRow::style);
    return row == std::end(kUnderlines) ? nullptr : row;
}

void set(RtfOutput& output, std::string_view name, std::int32_t& current, std::int32_t wanted) {
    if (current == wanted) return;
    output.word(name, wanted);
    current = wanted;
}

void setFlag(RtfOutput& output, std::string_view name, bool& current, bool wanted) {
    if (current == wanted) return;
    if (wanted) {
        output.word(name);
    } else {
        output.word(name, 0);
    }
    current = wanted;
}

void writeFont(RtfOutput& output, RtfCharacterState& current, const RtfCharacterState& wanted) {
    if (current.font == wanted.font && current.size == wanted.size && current.bold == wanted.bold &&
        current.italic == wanted.italic) {
        return;
    }
    output.newLine();
    set(output, "f", current.font, wanted.font);
    setFlag(output, "i", current.italic, wanted.italic);
    setFlag(output, "b", current.bold, wanted.bold);
    if (current.size != wanted.size) {
        const std::int32_t halves = std::max(1, (wanted.size + 250) / 500);
        output.word("fs", halves);
        if (halves * 500 != wanted.size) output.word("fsmilli", wanted.size);
        current.size = wanted.size;
    }
    output.blank();
}

void writeUnderline(RtfOutput& output, RtfCharacterState& current, const RtfCharacterState& wanted) {
    if (current.underline == wanted.underline) return;
    const bool hadStyle = current.underline != kLineNone && !underlineRow(current.underline);
    if (wanted.underline == kLineNone || hadStyle) output.word("ulnone");
    if (wanted.underline != kLineNone) {
        const LineRow* const row = underlineRow(wanted.underline);
        output.word(row ? row->word : "ul");
        if (!row) output.word("ulstyle", wanted.underline);
    }
    current.underline = wanted.underline;
}

void writeStrike(RtfOutput& output, RtfCharacterState& current, const RtfCharacterState& wanted) {
    if (current.strike == wanted.strike) return;
    const bool hasWord = wanted.strike == kLineNone || wanted.strike == kLineSingle || wanted.strike == kLineDouble;
    if (wanted.strike == kLineNone) {
        output.word("strike", 0);
        output.word("striked", 0);
    } else if (wanted.strike == kLineDouble) {
        output.word("striked", 1);
    } else {
        output.word("strike");
    }
    if (!hasWord) current.usesStrikeStyle = true;
    if (current.usesStrikeStyle) output.word("strikestyle", wanted.strike);
    current.strike = wanted.strike;
}

void writeSuperscript(RtfOutput& output, RtfCharacterState& current, const RtfCharacterState& wanted) {
    if (current.superscript == wanted.superscript) return;
    const std::string_view name = wanted.superscript > 0 ? "super" : "sub";
    const std::int32_t levels = std::abs(wanted.superscript);
    if (levels == 0) {
        output.word("nosupersub");
    } else if (levels == 1) {
        output.word(name);
    } else {
        output.word(name, levels);
    }
    current.superscript = wanted.superscript;
}

void writeShadow(RtfOutput& output, RtfCharacterState& current, const RtfCharacterState& wanted) {
    setFlag(output, "shad", current.shadow, wanted.shadow);
    if (!wanted.shadow) return;
    set(output, "shadx", current.shadowX, wanted.shadowX);
    set(output, "shady", current.shadowY, wanted.shadowY);
    set(output, "shadr", current.shadowRadius, wanted.shadowRadius);
    set(output, "shado", current.shadowOpacity, wanted.shadowOpacity);
    set(output, "shadc", current.shadowColor, wanted.shadowColor);
}

void setShadow(RtfCharacterState& state, const Shadow& shadow, RtfWriteTables& tables) {
    state.shadow = true;
    state.shadowX = rtfNumber(shadow.x);
    state.shadowY = rtfNumber(shadow.y);
    state.shadowRadius = rtfNumber(shadow.blurRadius);
    if (!shadow.color) return;
    state.shadowOpacity = std::clamp(rtfNumber(shadow.color->alpha, 255), 0, 255);
    Color opaque = *shadow.color;
    opaque.alpha = 1;
    if (opaque != Color{}) state.shadowColor = tables.colorNumber(opaque);
}

}  // namespace

RtfCharacterState rtfState(const CharacterAttributes& attributes, RtfWriteTables& tables) {
    constexpr std::int32_t kDefaultSize = 12000;
    constexpr std::int32_t kMostSize = 32767000;
    RtfCharacterState state;
    state.font = tables.fontNumber(attributes.font);
    const std::int32_t size = rtfNumber(attributes.font.size, 1000);
    state.size = size > 0 ? std::min(size, kMostSize) : kDefaultSize;
    state.bold = attributes.font.bold;
    state.italic = attributes.font.italic;
    state.color = tables.colorNumber(attributes.foreground);
    state.background = tables.colorNumber(attributes.background);
    state.underline = attributes.underline;
    if (state.underline != kLineNone) state.underlineColor = tables.colorNumber(attributes.underlineColor);
    state.strike = attributes.strikethrough;
    if (state.strike != kLineNone) state.strikeColor = tables.colorNumber(attributes.strikethroughColor);
    state.superscript = attributes.superscript;
    state.baseline = rtfNumber(attributes.baselineOffset, 2);
    state.kern = rtfNumber(attributes.kern);
    state.ligature = attributes.ligature;
    state.strokeWidth = rtfNumber(attributes.strokeWidth);
    if (state.strokeWidth != 0) state.strokeColor = tables.colorNumber(attributes.strokeColor);
    state.obliqueness = rtfNumber(attributes.obliqueness);
    state.expansion = rtfNumber(attributes.expansion);
    if (attributes.shadow) setShadow(state, *attributes.shadow, tables);
    state.language = tables.languageNumber(attributes.language);
    return state;
}

void writeRtfState(RtfOutput& output, RtfCharacterState& current, const RtfCharacterState& wanted) {
    writeFont(output, current, wanted);
    set(output, "cf", current.color, wanted.color);
    if (current.background != wanted.background) {
        output.word("cb", wanted.background);
        output.word("chcbpat", wanted.background);  // for readers that know no other
        current.background = wanted.background;
    }
    if (current.kern != wanted.kern) {
        // Quarter points for readers of before the finer unit, which counts.
        output.word("kerning", 1);
        output.word("expnd", wanted.kern / 5);
        output.word("expndtw", wanted.kern);
        current.kern = wanted.kern;
    }
    if (current.baseline != wanted.baseline) {
        output.word(wanted.baseline < 0 ? "dn" : "up", std::abs(wanted.baseline));
        current.baseline = wanted.baseline;
    }
    writeSuperscript(output, current, wanted);
    writeUnderline(output, current, wanted);
    set(output, "ulc", current.underlineColor, wanted.underlineColor);
    writeStrike(output, current, wanted);
    set(output, "strikec", current.strikeColor, wanted.strikeColor);
    if (current.strokeWidth != wanted.strokeWidth && wanted.strokeWidth == 0) output.word("outl", 0);
    set(output, "strokewidth", current.strokeWidth, wanted.strokeWidth);
    set(output, "strokec", current.strokeColor, wanted.strokeColor);
    set(output, "CocoaLigature", current.ligature, wanted.ligature);
    set(output, "obliqueness", current.obliqueness, wanted.obliqueness);
    set(output, "expansion", current.expansion, wanted.expansion);
    writeShadow(output, current, wanted);
    set(output, "lang", current.language, wanted.language);
}

}  // namespace halden
