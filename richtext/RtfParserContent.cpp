// What stands in the text: fields, pictures, attachments, shapes, and the groups that hold them.
#include "foundation/Unicode.h"
#include "richtext/RtfFields.h"
#include "richtext/RtfParser.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace halden {
namespace {

/// Digits, perhaps after a sign and among blanks, that fit in 32 bits.
std::optional<std::int32_t> wholeNumberOf(std::u16string_view text) {
    std::string digits;
    for (const char16_t unit : text) {
        if (unit <= u' ') continue;
        if (unit > 0x7F) return std::nullopt;
        digits += static_cast<char>(unit);
    }
    std::int32_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [last, error] = std::from_chars(digits.data(), end, number);
    if (error != std::errc{} || last != end) return std::nullopt;
    return number;
}

}  // namespace

/// A word that has no business where it stands is passed over, and its group stays what it was.
void RtfParser::openContent(RtfWord word, bool starred) {
    using enum RtfDestination;
    const RtfDestination around = group_.destination;
    switch (word) {
        case RtfWord::listtext:
        case RtfWord::pntext:
            openMarker(word);
            break;
        case RtfWord::field:
            fields_.push_back({.instruction = {}, .link = 0, .start = content_.text.size()});
            open(word, around);
            break;
        case RtfWord::fldinst:
            open(word, fieldInstruction);
            break;
        case RtfWord::fldrslt:
            if (fields_.empty() || fields_.back().link == 0) break;
            group_.character.link = fields_.back().link;
            group_.characterFormat = RtfGroup::kNoFormat;
            break;
        case RtfWord::pict:
            picture_ = {};
            open(word, around == body || around == ignored ? picture : ignored);
            break;
        case RtfWord::shptxt:
        case RtfWord::dptxbxtext:
            if (around != ignored || group_.outerDestination != body) break;
            open(word, body);
            openTextBox();
            break;
        case RtfWord::result:
        case RtfWord::ud:
            if (around == ignored) open(word, group_.outerDestination);
            break;
        case RtfWord::NeXTGraphic:
            if (around != body) break;
            attachment_ = {};
            gather(word, attachment);
            break;
        case RtfWord::nesttableprops:
            // In a group of its own always; elsewhere the word stands there by mistake.
            if (starred && around == body) open(word, rowProperties);
            break;
        case RtfWord::background:
            pageFill_.reset();
            pageIsFilled_ = true;
            open(word, around == body ? pageBackground : ignored);
            break;
        case RtfWord::sn:
        case RtfWord::sv:
            openShapeProperty(word);
            break;
        default:  // containers: their text is none of the document's, but they may hold some that is
            if (around != ignored) group_.outerDestination = around;
            open(word, ignored);
            break;
    }
}

/// Properties are looked at in the shape of the page's background. Others are no text, but may hold pictures.
void RtfParser::openShapeProperty(RtfWord word) {
    using enum RtfDestination;
    const RtfDestination around = group_.destination;
    if (around == ignored && group_.outerDestination == pageBackground) {
        gather(word, word == RtfWord::sn ? shapePropertyName : shapePropertyValue);
        return;
    }
    if (around != ignored) group_.outerDestination = around;
    open(word, ignored);
}

void RtfParser::closeShapeProperty() {
    const std::u16string text = takeCollected();
    if (group_.destination == RtfDestination::shapePropertyName) {
        shapePropertyName_ = text;
        return;
    }
    const std::optional<std::int32_t> number = wholeNumberOf(text);
    if (!number) return;
    if (shapePropertyName_ == u"fillColor") pageFill_ = number;
    if (shapePropertyName_ == u"fFilled") pageIsFilled_ = *number != 0;
}

/// Numbers above the three colours are those of the system on which the document was written.
void RtfParser::closePageBackground() {
    if (!pageIsFilled_ || !pageFill_ || *pageFill_ < 0 || *pageFill_ > 0xFFFFFF) return;
    const auto component = [this](int shift) { return ((*pageFill_ >> shift) & 0xFF) / 255.0; };
    content_.properties.background = RtfColor{component(0), component(8), component(16), 1};
}

/// The marker is text of the paragraph. The last one counts where writers left one of a paragraph that never was.
void RtfParser::openMarker(RtfWord word) {
    if (group_.destination == RtfDestination::body && !group_.inMarker) {
        const std::size_t end = content_.text.size();
        const bool isSecond = end > paragraphStart() && markedParagraph_ == paragraphStart() && markerEnd_ == end;
        if (isSecond && content_.properties.cocoaVersion == kRtfUnset) cutBody(markerStart_);
        markerStart_ = content_.text.size();
        open(word, RtfDestination::body);
    }
    group_.inMarker = true;
    markedParagraph_ = paragraphStart();
}

/// White space alone marks nothing: so writers say that a level has no number. Cocoa's own markers stay as they are.
void RtfParser::closeMarker() {
    const auto isBlank = [](char16_t unit) { return unit == u' ' || unit == u'\t' || unit == 0xA0; };
    const bool isCocoa = content_.properties.cocoaVersion != kRtfUnset;
    const std::u16string_view marker =
        std::u16string_view(content_.text).substr(std::min(markerStart_, content_.text.size()));
    if (!isCocoa && std::ranges::all_of(marker, isBlank)) cutBody(markerStart_);
    markerEnd_ = content_.text.size();
}

void RtfParser::pictureWord(RtfWord word, std::int32_t parameter) {
    if (group_.destination == RtfDestination::attachment) {
        if (word == RtfWord::width) attachment_.width = parameter;
        if (word == RtfWord::height) attachment_.height = parameter;
        return;
    }
    if (group_.destination != RtfDestination::picture) return;
    switch (word) {
        case RtfWord::picw:
            picture_.width = parameter;
            break;
        case RtfWord::pich:
            picture_.height = parameter;
            break;
        case RtfWord::picwgoal:
            picture_.goalWidth = parameter;
            break;
        case RtfWord::pichgoal:
            picture_.goalHeight = parameter;
            break;
        case RtfWord::picscalex:
            picture_.scaleX = parameter;
            break;
        case RtfWord::picscaley:
            picture_.scaleY = parameter;
            break;
        case RtfWord::pngblip:
            picture_.kind = RtfPictureKind::png;
            break;
        case RtfWord::jpegblip:
            picture_.kind = RtfPictureKind::jpeg;
            break;
        case RtfWord::emfblip:
            picture_.kind = RtfPictureKind::emf;
            break;
        case RtfWord::wmetafile:
            picture_.kind = RtfPictureKind::wmf;
            break;
        case RtfWord::macpict:
            picture_.kind = RtfPictureKind::pict;
            break;
        case RtfWord::dibitmap:
            picture_.kind = RtfPictureKind::dib;
            break;
        case RtfWord::wbitmap:
            picture_.kind = RtfPictureKind::bitmap;
            break;
        case RtfWord::wbmbitspixel:
            picture_.bitsPerPixel = std::clamp(parameter, 0, 64);
            break;
        case RtfWord::wbmplanes:
            picture_.planes = std::clamp(parameter, 0, 64);
            break;
        case RtfWord::wbmwidthbytes:
            picture_.rowBytes = parameter;
            break;
        default:
            break;
    }
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
