// What a document says of itself: the entries of its information dictionary.
#pragma once

#include "foundation/Value.h"
#include "platform/pdf/module/Context.h"

#include <mupdf/pdf.h>

#include <string>
#include <string_view>

namespace halden::pdf {

/// A text string of a document: UTF-16 (either order) or UTF-8 when it begins with that mark, else PDFDocEncoding.
/// Language codes between two escapes are left out, of UTF-16 and UTF-8 only; so is U+0000 at the end.
[[nodiscard]] std::u16string stringFromTextString(std::string_view bytes);

/// See `PdfDocument::documentAttributes`; the document's strings are readable.
[[nodiscard]] Dictionary attributesOfDocument(Context& context, pdf_document* document);

}  // namespace halden::pdf
