// Damaged documents made readable.
#pragma once

#include "platform/pdf/module/Context.h"

#include <mupdf/pdf.h>

namespace halden::pdf {

/// The number of pages, from 0 to a million. When the page tree says none or more,
/// the cross-reference table and the object streams are repaired; when that does not help, a new page tree is made of
/// every object whose type is Page, in object-number order.
[[nodiscard]] int pageCountAfterRebuild(Context& context, pdf_document* document);

}  // namespace halden::pdf
