// Damaged documents made readable.
#pragma once

#include "platform/pdf/module/Context.h"

#include <mupdf/pdf.h>

namespace halden::pdf {

/// The number of pages that the document's page tree speaks of, from 1 to a million; 0 when it says anything else.
[[nodiscard]] int plausiblePageCount(Context& context, pdf_document* document);

/// The number of pages once the page tree is usable: when the tree says none or more than a million, or when not even
/// its first page is there, the cross-reference table and the object streams are repaired; when that does not help, a
/// new page tree is made of every object whose type is Page, in object-number order.
[[nodiscard]] int pageCountAfterRebuild(Context& context, pdf_document* document);

}  // namespace halden::pdf
