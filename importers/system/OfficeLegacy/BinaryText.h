// The text in the streams of binary office documents. Whatever the bytes are, the readers end, and the text has a
// bound.
#pragma once

#include <string>
#include <string_view>

namespace quarry::legacy {

struct BinaryText {
    std::string text;          ///< UTF-8, not yet clean
    bool isEncrypted = false;  ///< a password is needed; there is no text then
};

/// A text document: its main stream and the two tables, of which it names one.
struct WordStreams {
    std::string_view document, table0, table1;
};
[[nodiscard]] BinaryText textOfWord(const WordStreams& streams);

/// A workbook: its cells of text and its text boxes, in the order of the stream.
[[nodiscard]] BinaryText textOfWorkbook(std::string_view stream);

/// A presentation: its main stream, and the small one that says where the last edit is. Slides in their order, then
/// notes.
[[nodiscard]] BinaryText textOfPresentation(std::string_view stream, std::string_view currentUser);

}  // namespace quarry::legacy
