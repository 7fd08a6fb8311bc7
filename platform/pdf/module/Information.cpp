#include "platform/pdf/module/Information.h"

#include "foundation/Unicode.h"
#include "platform/pdf/module/DateText.h"

#include <algorithm>
#include <optional>

namespace halden::pdf {
namespace {

// No title is longer; the whole of a file may be one string.
constexpr std::size_t kMaxStringLength = std::size_t{64} * 1024;

std::u16string fromUtf16(std::string_view bytes, std::size_t highByte) {
    std::u16string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto high = static_cast<unsigned char>(bytes[i + highByte]);
        const auto low = static_cast<unsigned char>(bytes[i + 1 - highByte]);
        text.push_back(static_cast<char16_t>(high << 8 | low));
    }
    return text;
}

std::u16string fromDocEncoding(std::string_view bytes) {
    std::u16string text;
    text.reserve(bytes.size());
    for (const char byte : bytes) {
        const char16_t unit = fz_unicode_from_pdf_doc_encoding[static_cast<unsigned char>(byte)];
        if (unit != 0 || byte == 0) text.push_back(unit);
    }
    return text;
}

/// Drops "ESC language country ESC", which says in which language the text goes on.
void dropLanguageCodes(std::u16string& text) {
    constexpr char16_t kEscape = u'\x1B';
    for (std::size_t start = text.find(kEscape); start != std::u16string::npos; start = text.find(kEscape, start)) {
        const std::size_t end = text.find(kEscape, start + 1);
        if (end == std::u16string::npos) return;
        text.erase(start, end + 1 - start);
    }
}

std::optional<std::string_view> entry(Context& context, pdf_document* document, const char* key) {
    const char* bytes = nullptr;
    std::size_t length = 0;
    context.attempt([&](fz_context* engine) {
        pdf_obj* information = pdf_dict_get(engine, pdf_trailer(engine, document), PDF_NAME(Info));
        pdf_obj* string = pdf_dict_gets(engine, information, key);
        if (pdf_is_string(engine, string) != 0) bytes = pdf_to_string(engine, string, &length);
    });
    if (bytes == nullptr) return std::nullopt;
    return std::string_view(bytes, std::min(length, kMaxStringLength));
}

Array keywordsOf(std::u16string_view text) {
    constexpr std::u16string_view kSpaces = u" \t\r\n\u00A0";
    const char16_t separator = text.find(u',') != std::u16string_view::npos ? u',' : u';';
    Array keywords;
    while (!text.empty()) {
        const std::size_t end = text.find(separator);
        const std::u16string_view part = text.substr(0, end);
        text = end == std::u16string_view::npos ? std::u16string_view() : text.substr(end + 1);
        const std::size_t first = part.find_first_not_of(kSpaces);
        if (first == std::u16string_view::npos) continue;
        keywords.emplace_back(part.substr(first, part.find_last_not_of(kSpaces) - first + 1));
    }
    return keywords;
}

}  // namespace

std::u16string stringFromTextString(std::string_view bytes) {
    std::u16string text;
    if (bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xFF\xFE")) {
        text = fromUtf16(bytes.substr(2), bytes.front() == '\xFE' ? 0 : 1);
        dropLanguageCodes(text);
    } else if (bytes.starts_with("\xEF\xBB\xBF")) {
        text = utf16FromUtf8(bytes.substr(3));
        dropLanguageCodes(text);
    } else {
        text = fromDocEncoding(bytes);
    }
    text.resize(text.find_last_not_of(u'\0') + 1);
    return text;
}

Dictionary attributesOfDocument(Context& context, pdf_document* document) {
    Dictionary attributes;
    for (const char* key : {"Title", "Author", "Subject", "Creator", "Producer"}) {
        if (const auto bytes = entry(context, document, key)) {
            attributes.set(utf16FromUtf8(key), stringFromTextString(*bytes));
        }
    }
    for (const char* key : {"CreationDate", "ModDate"}) {
        const auto bytes = entry(context, document, key);
        const auto date = bytes ? dateFromText(utf8FromUtf16(stringFromTextString(*bytes))) : std::nullopt;
        if (date) attributes.set(utf16FromUtf8(key), *date);
    }
    if (const auto bytes = entry(context, document, "Keywords")) {
        Array keywords = keywordsOf(stringFromTextString(*bytes));
        if (!keywords.empty()) attributes.set(u"Keywords", std::move(keywords));
    }
    return attributes;
}

}  // namespace halden::pdf
