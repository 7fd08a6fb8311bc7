#include "helper/PdfRichText.h"

#include "foundation/Exception.h"
#include "richtext/FontNames.h"

#include <cmath>
#include <memory>
#include <utility>

namespace quarry {
namespace {

using halden::AttributedString;
using halden::CharacterAttributes;
using halden::Color;
using halden::Dictionary;
using halden::PdfDocument;
using halden::PdfStyledText;
using halden::PdfTextRun;

Color colorOf(std::uint32_t rgb) {
    const auto part = [rgb](unsigned shift) { return static_cast<double>((rgb >> shift) & 0xFFU) / 255; };
    return {.red = part(16), .green = part(8), .blue = part(0)};
}

CharacterAttributes attributesOf(const PdfTextRun& run) {
    CharacterAttributes attributes;
    // The name is left as the document has it: the font may be bold without saying so.
    if (!run.font.empty())
        attributes.font = halden::fontNamed(run.font, halden::FontNaming::postScript, run.size, false, false);
    const double size = std::abs(run.size);
    attributes.font.size = std::isfinite(size) && size > 0 ? size : halden::Font{}.size;
    attributes.font.bold |= run.bold;
    attributes.font.italic |= run.italic;
    if (run.color != 0) attributes.foreground = colorOf(run.color);
    return attributes;
}

/// Of a page that throws there is none, and the others stay.
std::optional<PdfStyledText> styledTextOfPage(PdfDocument& document, int page) {
    return halden::guarded([&] { return document.styledTextOfPage(page); }, std::optional<PdfStyledText>());
}

void append(AttributedString::Parts& parts, PdfTextRun& last, const PdfStyledText& page) {
    if (!parts.text.empty()) {
        parts.text.push_back(u'\n');
        parts.characterRuns.back().end = parts.text.size();
    }
    const std::size_t start = parts.text.size();
    parts.text += page.text;
    for (PdfTextRun run : page.runs) {
        const std::size_t end = start + run.end;
        run.end = 0;
        if (parts.characterRuns.empty() || run != last)
            parts.characterRuns.push_back({end, std::make_shared<const CharacterAttributes>(attributesOf(run))});
        parts.characterRuns.back().end = end;
        last = std::move(run);
    }
}

}  // namespace

std::optional<AttributedString> attributedStringOfPdf(PdfDocument& document, double timeout,
                                                      const SecondsClock& clock) {
    if (document.isLocked() || document.pageCount() <= 0) return std::nullopt;
    AttributedString::Parts parts;
    PdfTextRun last;
    PageTimes times(timeout, clock);
    for (int page = 0; page < document.pageCount(); ++page) {
        times.pageBegins();
        const auto styled = styledTextOfPage(document, page);
        if (styled && !styled->text.empty() && !styled->runs.empty()) append(parts, last, *styled);
        if (times.isOverAfterPage()) break;
    }
    if (!parts.text.empty())
        parts.paragraphRuns.push_back({parts.text.size(), std::make_shared<const halden::ParagraphAttributes>()});
    return AttributedString(std::move(parts));
}

Dictionary propertyListOfAttributedString(const AttributedString& text) {
    halden::Array runs;
    std::size_t start = 0;
    for (const auto& run : text.characterRuns()) {
        const auto& font = run.attributes->font;
        const Color color = run.attributes->foreground.value_or(Color{});
        runs.push_back(Dictionary{{u"Length", static_cast<std::int64_t>(run.end - start)},
                                  {u"Font", font.name},
                                  {u"Family", font.family},
                                  {u"Size", font.size},
                                  {u"Bold", font.bold},
                                  {u"Italic", font.italic},
                                  {u"Color", halden::Array{color.red, color.green, color.blue}}});
        start = run.end;
    }
    return {{u"String", std::u16string(text.string())}, {u"Runs", std::move(runs)}};
}

}  // namespace quarry
