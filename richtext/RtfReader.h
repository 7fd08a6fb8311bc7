// RTF as Cocoa, Word and LibreOffice write it, read into attributed strings.
//
// Read are: characters in every code page of the format and in Unicode, formatting of characters and paragraphs,
// styles, lists with their markers, tables and tables in them, links and other fields by their results, pictures, the
// attachments of packages, page set-up and information. Left out are headers, footers, footnotes, comments, hidden and
// deleted text. The text of shapes stands in paragraphs of its own where the shape is anchored.
//
// Limits, so that nothing in a file makes the reader recurse, allocate or loop without bound (RtfContent.h, RtfTables.h
// and RtfHeaderTables.h have their names): 1 GiB of file; 4096 groups inside one another; 65536 kinds of character and
// as many of paragraph formatting; 65536 attachments; 65536 colours; 8192 fonts, styles and lists each; 9 levels of a
// list; 16 styles based on one another; 64 tab stops; 1048576 cells, 1024 of a row; 32 tables inside one another; 65536
// units of a name. What exceeds a limit is left out, and reading goes on. Time and memory grow with the length of the
// file.
#pragma once

#include "richtext/AttributedString.h"

#include <functional>
#include <optional>
#include <string_view>

namespace halden {

struct RtfReadOptions {
    /// The file or folder of the package that an attachment names; called with the name as it stands in the text, which
    /// may be anything. Without it, or where it gives none, an attachment has its name and no contents.
    std::function<std::optional<FileNode>(std::u16string_view name)> attachment;
};

/// The document in `rtf`, with its attributes: type, content type, and what `DocumentAttributes.h` names as far as the
/// file says it; page, margins, tab interval, version and the flags of text always.
///
/// nullopt when `rtf` does not begin as RTF or is too long. Everything that begins as RTF is read as far as it goes.
[[nodiscard]] std::optional<RichTextDocument> documentFromRtf(std::string_view rtf, const RtfReadOptions& options = {});

}  // namespace halden
