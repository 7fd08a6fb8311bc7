// Pages as pictures.
#pragma once

#include "platform/pdf/module/Context.h"

#include <mupdf/pdf.h>

#include <optional>

namespace halden::pdf {

/// See `PdfDocument::shownSizeOfPage`; nullopt also for a page without an area.
[[nodiscard]] std::optional<Size> shownSizeOfPage(Context& context, pdf_document* document, int page);

/// See `PdfDocument::drawPage`; the document is open and not locked.
[[nodiscard]] std::optional<PdfPicture> drawPage(Context& context, pdf_document* document, int page, int width,
                                                 int height);

}  // namespace halden::pdf
