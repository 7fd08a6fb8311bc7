// Reading small RTF texts in tests.
#pragma once

#include "foundation/Unicode.h"
#include "richtext/RtfContent.h"

#include <string>
#include <string_view>

namespace halden::testing {

/// A document of version 1 around `body`.
inline std::string documentOf(std::string_view body) {
    return "{\\rtf1\\ansi\n" + std::string(body) + "}";
}

inline RtfContent contentOf(std::string_view body) {
    return parsedRtf(documentOf(body)).value();
}

/// The text of a document, in UTF-8.
inline std::string textOf(std::string_view body) {
    return utf8FromUtf16(contentOf(body).text);
}

/// The formatting of the character at `position`.
inline const RtfCharacter& characterAt(const RtfContent& content, std::size_t position) {
    for (const RtfRun& run : content.runs) {
        if (position < run.end) return content.characters.formats()[run.format];
    }
    return content.characters.formats().back();
}

/// The formatting of the paragraph that holds the character at `position`.
inline const RtfParagraph& paragraphAt(const RtfContent& content, std::size_t position) {
    for (const RtfParagraphRun& paragraph : content.paragraphs) {
        if (position < paragraph.end) return content.paragraphFormats.formats()[paragraph.format];
    }
    return content.paragraphFormats.formats().back();
}

}  // namespace halden::testing
