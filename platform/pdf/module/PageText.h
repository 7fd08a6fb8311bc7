// The text of one page, in lines.
#pragma once

#include "platform/pdf/module/Context.h"

#include <mupdf/pdf.h>

#include <optional>
#include <string>

namespace halden::pdf {

/// See `PdfDocument::textOfPage`; the document is open and not locked.
[[nodiscard]] std::optional<std::u16string> textOfPage(Context& context, pdf_document* document, int page);

/// See `PdfDocument::styledTextOfPage`; the document is open and not locked.
[[nodiscard]] std::optional<PdfStyledText> styledTextOfPage(Context& context, pdf_document* document, int page);

}  // namespace halden::pdf
