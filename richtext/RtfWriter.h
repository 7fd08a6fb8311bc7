// Attributed strings written as RTF, in the dialect of the platform's text system.
//
// What `documentFromRtf` reads back is the same, as far as the format goes: lengths are rounded to twentieths of a
// point, sizes of fonts to thousandths, baselines to halves, colours to 8 bits or hundred-thousandths; languages that
// have no number are dropped, and so are widths and colours of lines that are not drawn. Paragraph separators of every
// kind come back as line feeds, U+0000 not at all, lone surrogates as U+FFFD. The last paragraph of a cell gets a
// separator where it has none, and so does a cell that ends in another table. Rows without cells are left out; columns
// that a row does not fill before one that it does become empty cells; columns of which no width is known share the
// width of a page. Marks of a list stand in the text: up to the first tab, or the second where the paragraph begins
// with one.
#pragma once

#include "richtext/AttributedString.h"

#include <span>
#include <string>

namespace halden {

struct RtfWriteOptions {
    /// For a package: the name of the file of each attachment, in the order of `AttributedString::attachments`; one
    /// name for each. Empty for RTF that stands alone: then pictures of the types that RTF knows (PNG, JPEG, EMF, WMF,
    /// Windows bitmaps, Macintosh pictures) become part of the text, and all other attachments are left out with the
    /// character that stands for them.
    std::span<const std::u16string> fileNames{};
};

/// The document as RTF: 7-bit characters, apart from the mark of attachments in packages.
[[nodiscard]] std::string rtfFromDocument(const RichTextDocument& document, const RtfWriteOptions& options = {});

}  // namespace halden
