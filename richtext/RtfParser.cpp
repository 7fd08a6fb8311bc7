#include "richtext/RtfParser.h"

#include "foundation/Unicode.h"

#include <algorithm>
#include <utility>

namespace halden {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

/// Whether all bytes are below 0x80.
bool isAscii(std::string_view bytes) noexcept {
    unsigned char all = 0;
    for (const char c : bytes)
        all |= static_cast<unsigned char>(c);
    return all < 0x80;
}

void widen(std::string_view bytes, std::u16string& out) {
    const std::size_t start = out.size();
    out.resize(start + bytes.size());
    char16_t* const units = out.data() + start;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        units[i] = static_cast<unsigned char>(bytes[i]);
}

}  // namespace

std::optional<RtfContent> parsedRtf(std::string_view rtf) {
    if (rtf.size() > kMaxRtfLength) return std::nullopt;
    if (rtf.starts_with(kUtf8Mark)) rtf.remove_prefix(kUtf8Mark.size());
    const std::size_t start = rtf.find_first_not_of(" \t\r\n");
    if (start == rtf.npos || !rtf.substr(start).starts_with("{\\rtf")) return std::nullopt;
    return RtfParser(rtf.substr(start)).parse();
}

RtfContent RtfParser::parse() {
    for (bool done = false; !done;) {
        const RtfToken token = tokenizer_.next();
        if (fallbackLeft_ > 0 && skipsFallback(token)) continue;
        switch (token.kind) {
            case RtfTokenKind::text:
                text(token.text);
                break;
            case RtfTokenKind::word:
                word(token);
                break;
            case RtfTokenKind::hexByte:
                byte(static_cast<std::uint8_t>(token.parameter));
                break;
            case RtfTokenKind::symbol:
                symbol(token.text.front());
                break;
            case RtfTokenKind::groupBegin:
                beginGroup();
                break;
            case RtfTokenKind::groupEnd:
                endGroup();
                done = stack_.empty();  // what follows the document is no part of it
                break;
            case RtfTokenKind::binary:
                flushBytes();
                if (group_.destination == RtfDestination::picture) picture_.appendBytes(token.text);
                break;
            case RtfTokenKind::end:
                done = true;
                break;
        }
    }
    while (!stack_.empty())
        endGroup();
    finishBody();
    return std::move(content_);
}

void RtfParser::beginGroup() {
    flushBytes();
    fallbackLeft_ = 0;
    starred_ = false;
    dropsPlaceholder_ = false;
    if (stack_.size() >= kMaxRtfGroupDepth) {
        tokenizer_.skipGroup();
        return;
    }
    stack_.push_back(group_);
    group_.opener = RtfWord::unknown;
}

void RtfParser::endGroup() {
    flushBytes();
    fallbackLeft_ = 0;
    starred_ = false;
    dropsPlaceholder_ = false;
    if (stack_.empty()) return;
    const RtfWord opener = group_.opener;
    if (opener == RtfWord::unknown) {
        // Entries of the header tables are groups in most files, and separated by semicolons alone in some.
        if (group_.destination == RtfDestination::styleSheet) endStyle();
        if (group_.destination == RtfDestination::fontTable) endFontEntry();
    } else {
        closeDestination(opener);
    }
    group_ = std::move(stack_.back());
    stack_.pop_back();
    dropsPlaceholder_ = std::exchange(placeholderFollows_, false);
}

/// Passes over the rest of the current group, unless that is the whole document.
void RtfParser::passOverGroup() {
    if (stack_.size() < 2) return;
    tokenizer_.skipGroup();
    group_.destination = RtfDestination::ignored;
    group_.opener = RtfWord::unknown;
    endGroup();
}

/// Takes from `token` what the last \u left to be passed over; false when the token is to be read all the same.
///
/// A byte counts as one character however it is written, and so does a named character or an escaped sign. Everything
/// else ends the count: a file that forgot the fallback loses no words by it.
bool RtfParser::skipsFallback(const RtfToken& token) {
    switch (token.kind) {
        case RtfTokenKind::text: {
            const auto passed = std::min(token.text.size(), static_cast<std::size_t>(fallbackLeft_));
            fallbackLeft_ -= static_cast<std::int32_t>(passed);
            if (passed < token.text.size()) text(token.text.substr(passed));
            return true;
        }
        case RtfTokenKind::hexByte:
        case RtfTokenKind::binary:
            --fallbackLeft_;
            return true;
        case RtfTokenKind::symbol:
            if (token.text.front() == '\n' || token.text.front() == '*') break;
            --fallbackLeft_;
            return true;
        case RtfTokenKind::word: {
            const RtfControlWord word = rtfControlWord(token);
            if (word.subject != RtfSubject::special || word.word < RtfWord::emdash || word.word == RtfWord::u) break;
            --fallbackLeft_;
            return true;
        }
        default:
            break;
    }
    fallbackLeft_ = 0;
    return false;
}

void RtfParser::word(const RtfToken& token) {
    const RtfControlWord known = rtfControlWord(token);
    if (known.word == RtfWord::u) {
        unicode(token.parameter);
        return;
    }
    flushBytes();
    dropsPlaceholder_ = false;
    const bool starred = std::exchange(starred_, false);
    const std::int32_t parameter = token.parameter;
    switch (known.subject) {
        case RtfSubject::unknown:
            // \* says that the group may be passed over by who does not know its word.
            if (starred) passOverGroup();
            break;
        case RtfSubject::skipped:
            passOverGroup();
            break;
        case RtfSubject::tableDestination:
            openTable(known.word);
            break;
        case RtfSubject::infoDestination:
            openInformation(known.word);
            break;
        case RtfSubject::contentDestination:
            openContent(known.word, starred);
            break;
        case RtfSubject::document:
            documentWord(known.word, parameter, token.hasParameter);
            break;
        case RtfSubject::font:
            fontWord(known.word, parameter);
            break;
        case RtfSubject::color:
            colorWord(known.word, parameter);
            break;
        case RtfSubject::style:
            styleWord(known.word, parameter);
            break;
        case RtfSubject::list:
            listWord(known.word, parameter, token.hasParameter);
            break;
        case RtfSubject::info:
            infoWord(known.word, parameter);
            break;
        case RtfSubject::paragraph:
            paragraphWord(known.word, parameter, token.hasParameter);
            break;
        case RtfSubject::character:
            characterWord(known.word, parameter, token.hasParameter);
            break;
        case RtfSubject::special:
            specialWord(known.word);
            break;
        case RtfSubject::picture:
            pictureWord(known.word, parameter);
            break;
        case RtfSubject::table:
            tableWord(known.word, parameter);
            break;
    }
}

void RtfParser::symbol(char c) {
    switch (c) {
        case '\\':
        case '{':
        case '}':
            text({&c, 1});
            return;
        case '*':
            flushBytes();
            starred_ = true;
            return;
        case '~':
            flushBytes();
            emitUnit(0x00A0);
            return;
        case '-':
            flushBytes();
            emitUnit(0x00AD);
            return;
        case '_':
            flushBytes();
            emitUnit(0x2011);
            return;
        case '\t':
            flushBytes();
            emitUnit(u'\t');
            return;
        case '\n':
            flushBytes();
            specialWord(RtfWord::par);
            return;
        default:  // \| \: and what no one defines
            flushBytes();
            return;
    }
}

const RtfCodePage& RtfParser::page() {
    if (!group_.page) {
        int number = documentPage_;
        if (group_.destination == RtfDestination::body || group_.destination == RtfDestination::fieldInstruction) {
            const RtfFont* font = content_.header.font(content_.properties.fontOf(group_.character));
            if (font && font->codePage != 0) number = font->codePage;
        } else if (group_.destination == RtfDestination::fontTable && font_.charset != 2 && font_.codePage != 0) {
            number = font_.codePage;
        }
        group_.page = &pages_.page(number);
    }
    return *group_.page;
}

void RtfParser::byte(std::uint8_t value) {
    const char c = static_cast<char>(value);
    if (group_.destination == RtfDestination::levelText) {
        // Counts and level numbers stand among the text as bytes below 0x20.
        if (value < 0x20) {
            flushBytes();
            emitUnit(value);
            return;
        }
    }
    text({&c, 1}, true);
}

void RtfParser::text(std::string_view bytes, bool isHex) {
    starred_ = false;
    if (dropsPlaceholder_) {
        dropsPlaceholder_ = false;
        bytes.remove_prefix(1);
        if (bytes.empty()) return;
    }
    switch (group_.destination) {
        case RtfDestination::ignored:
        case RtfDestination::rowProperties:
            return;
        case RtfDestination::picture:
            picture_.appendHex(bytes);
            return;
        default:
            break;
    }
    const RtfCodePage& codePage = page();
    if (codePage.isMultiByte() && (!pendingBytes_.empty() || !isAscii(bytes))) {
        pendingBytes_ += bytes;
        // Some writers leave a second byte as it is where it looks like a sign of the format.
        if (!isHex && codePage.endsInLeadByte(pendingBytes_)) pendingBytes_ += tokenizer_.takeSign();
        return;
    }
    if (codePage.isAsciiCompatible() && isAscii(bytes)) {
        if (group_.destination == RtfDestination::body) {
            if (noteFormatOfBody()) widen(bytes, content_.text);
            return;
        }
        decoded_.clear();
        widen(bytes, decoded_);
    } else {
        decoded_.clear();
        codePage.decode(bytes, decoded_);
    }
    emit(decoded_);
}

void RtfParser::flushBytes() {
    if (pendingBytes_.empty()) return;
    decoded_.clear();
    const RtfCodePage& codePage = page();
    // A first byte without a second one is no character of the page: it stands for one of the document's.
    const bool broken = codePage.endsInLeadByte(pendingBytes_);
    const std::string_view bytes(pendingBytes_);
    codePage.decode(bytes.substr(0, bytes.size() - (broken ? 1 : 0)), decoded_);
    if (broken) pages_.page(documentPage_).decode(bytes.substr(bytes.size() - 1), decoded_);
    pendingBytes_.clear();
    emit(decoded_);
}

/// \u: a UTF-16 unit as a signed number of 16 bits. Some writers give whole code points.
void RtfParser::unicode(std::int32_t number) {
    flushBytes();
    starred_ = false;
    dropsPlaceholder_ = false;
    fallbackLeft_ = group_.fallbackLength;
    if (number < 0) number += 0x10000;
    const bool isNumber = number == 0 && group_.destination == RtfDestination::levelText;
    if (number < 0 || number > 0x10FFFF || (number == 0 && !isNumber)) return;
    if (number > 0xFFFF) {
        const auto rest = static_cast<std::uint32_t>(number - 0x10000);
        const char16_t units[] = {static_cast<char16_t>(0xD800 + (rest >> 10)),
                                  static_cast<char16_t>(0xDC00 + (rest & 0x3FF))};
        emit({units, 2});
        return;
    }
    auto unit = static_cast<char16_t>(number);
    if (unit >= 0xF020 && unit <= 0xF0FF) unit = page().symbolUnit(unit);
    emitUnit(unit);
}

void RtfParser::emit(std::u16string_view units) {
    switch (group_.destination) {
        case RtfDestination::body:
            appendToBody(units);
            break;
        case RtfDestination::fontTable:
            fontTableText(units);
            break;
        case RtfDestination::colorTable:
        case RtfDestination::expandedColorTable:
            colorTableText(units);
            break;
        case RtfDestination::levelText:
        case RtfDestination::levelMarker:
        case RtfDestination::infoText:
        case RtfDestination::oldNumberingBefore:
        case RtfDestination::oldNumberingAfter:
        case RtfDestination::attachment:
        case RtfDestination::shapePropertyName:
        case RtfDestination::shapePropertyValue:
            collect(units);
            break;
        case RtfDestination::fieldInstruction:
            if (!fields_.empty() && fields_.back().instruction.size() < kMaxRtfCollected) {
                fields_.back().instruction += units.substr(0, kMaxRtfCollected - fields_.back().instruction.size());
            }
            break;
        default:
            break;
    }
}

void RtfParser::collect(std::u16string_view units) {
    if (collected_.size() < kMaxRtfCollected) collected_ += units.substr(0, kMaxRtfCollected - collected_.size());
}

std::u16string RtfParser::takeCollected() {
    return std::exchange(collected_, {});
}

}  // namespace halden
