#include "tests/richtext/Description.h"

#include "foundation/Unicode.h"

#include <cstdio>
#include <map>
#include <sstream>

namespace halden::testing {
namespace {

std::string number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.9g", value == 0 ? 0.0 : value);
    return text;
}

std::string color(const std::optional<Color>& color) {
    if (!color) return "none";
    return number(color->red) + ',' + number(color->green) + ',' + number(color->blue) + ',' + number(color->alpha);
}

class Describer {
public:
    explicit Describer(const AttributedString& text) : text_(text) {}

    std::string describe() {
        describeCharacters();
        describeParagraphs();
        for (const auto& place : text_.attachments()) {
            out_ << "attachment " << place.position << ' ' << utf8FromUtf16(place.attachment->type) << ' '
                 << number(place.attachment->size.width) << 'x' << number(place.attachment->size.height);
            describeFile(place.attachment->file);
            out_ << '\n';
        }
        return out_.str();
    }

private:
    /// Neighbours with equal attributes are one run, however the string is cut.
    void describeCharacters() {
        const auto runs = text_.characterRuns();
        std::size_t start = 0;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            if (i + 1 < runs.size() && *runs[i].attributes == *runs[i + 1].attributes) continue;
            out_ << "run \"" << utf8FromUtf16(text_.string().substr(start, runs[i].end - start)) << "\""
                 << describedCharacters(*runs[i].attributes) << '\n';
            start = runs[i].end;
        }
    }

    void describeParagraphs() {
        const std::u16string_view units = text_.string();
        for (std::size_t start = 0; start < units.size();) {
            const std::size_t end = std::min(units.find(u'\n', start), units.size() - 1) + 1;
            out_ << "paragraph " << start << '-' << end << ':';
            describe(text_.paragraphAttributesAt(start));
            out_ << '\n';
            start = end;
        }
    }

    void describe(const ParagraphAttributes& p) {
        out_ << " align " << static_cast<int>(p.alignment) << " direction " << static_cast<int>(p.writingDirection);
        const std::pair<const char*, double> lengths[] = {{"first", p.firstLineHeadIndent},
                                                          {"head", p.headIndent},
                                                          {"tail", p.tailIndent},
                                                          {"before", p.paragraphSpacingBefore},
                                                          {"after", p.paragraphSpacing},
                                                          {"spacing", p.lineSpacing},
                                                          {"multiple", p.lineHeightMultiple},
                                                          {"minimum", p.minimumLineHeight},
                                                          {"maximum", p.maximumLineHeight},
                                                          {"interval", p.defaultTabInterval},
                                                          {"tightening", p.tighteningFactor},
                                                          {"hyphenation", p.hyphenationFactor},
                                                          {"header", p.headerLevel}};
        for (const auto& [name, value] : lengths) {
            if (value != 0) out_ << ' ' << name << ' ' << number(value);
        }
        for (const TabStop& stop : p.tabStops)
            out_ << " tab " << number(stop.location) << '/' << static_cast<int>(stop.type);
        for (const auto& list : p.lists) {
            const auto [place, isNew] = lists_.try_emplace(list.get(), lists_.size());
            out_ << " list " << place->second;
            if (isNew) out_ << " (" << utf8FromUtf16(list->markerFormat) << " from " << list->startingItemNumber << ')';
        }
        for (const TextTableBlock& block : p.blocks)
            describe(block);
    }

    void describe(const TextTableBlock& block) {
        const auto [place, isNew] = tables_.try_emplace(block.table.get(), tables_.size());
        out_ << " table " << place->second;
        if (isNew) out_ << " (" << block.table->columnCount << " columns)";
        out_ << " row " << block.row << '+' << block.rowSpan << " column " << block.column << '+' << block.columnSpan
             << " width " << number(block.width) << " background " << color(block.style->background) << " height "
             << number(block.style->minimumHeight) << " vertical " << static_cast<int>(block.style->verticalAlignment);
        for (const TableBorder& border : block.style->borders)
            out_ << " border " << number(border.width) << '/' << color(border.color);
        for (const double padding : block.style->padding)
            out_ << " padding " << number(padding);
    }

    void describeFile(const FileNode& file) {
        out_ << ' ' << utf8FromUtf16(file.name);
        if (!file.isFolder) {
            out_ << '=' << file.data.length() << ':' << std::hash<std::string_view>()(file.data.view());
            return;
        }
        out_ << "={";
        for (const FileNode& child : file.children)
            describeFile(child);
        out_ << '}';
    }

    const AttributedString& text_;
    std::ostringstream out_;
    std::map<const TextList*, std::size_t> lists_;
    std::map<const TextTable*, std::size_t> tables_;
};

}  // namespace

std::string describedCharacters(const CharacterAttributes& c) {
    std::ostringstream out;
    out << ' ' << utf8FromUtf16(c.font.name) << " of " << utf8FromUtf16(c.font.family) << ' ' << number(c.font.size)
        << (c.font.bold ? " bold" : "") << (c.font.italic ? " italic" : "");
    const std::pair<const char*, const std::optional<Color>&> colors[] = {{"foreground", c.foreground},
                                                                          {"background", c.background},
                                                                          {"underlined", c.underlineColor},
                                                                          {"struck", c.strikethroughColor},
                                                                          {"stroked", c.strokeColor}};
    for (const auto& [name, value] : colors) {
        if (value) out << ' ' << name << ' ' << color(value);
    }
    const std::pair<const char*, double> numbers[] = {{"underline", c.underline}, {"strike", c.strikethrough},
                                                      {"super", c.superscript},   {"baseline", c.baselineOffset},
                                                      {"kern", c.kern},           {"ligature", c.ligature - 1},
                                                      {"stroke", c.strokeWidth},  {"oblique", c.obliqueness},
                                                      {"expanded", c.expansion}};
    for (const auto& [name, value] : numbers) {
        if (value != 0) out << ' ' << name << ' ' << number(value);
    }
    if (c.shadow) {
        out << " shadow " << number(c.shadow->x) << ' ' << number(c.shadow->y) << ' ' << number(c.shadow->blurRadius)
            << ' ' << color(c.shadow->color);
    }
    if (!c.link.empty()) out << " link " << utf8FromUtf16(c.link);
    if (!c.language.empty()) out << " language " << utf8FromUtf16(c.language);
    return out.str();
}

std::string described(const AttributedString& text) {
    return Describer(text).describe();
}

}  // namespace halden::testing
