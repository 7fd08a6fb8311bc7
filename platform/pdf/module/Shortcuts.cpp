// What the engine does for pages and nobody here needs. The linker puts these functions in the place of the engine's
// (--wrap).
#include "platform/pdf/module/Context.h"

#include <mupdf/pdf.h>

using halden::pdf::Context;

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

fz_link* __wrap_pdf_load_link_annots(fz_context* engine, pdf_document* document, pdf_page* page, pdf_obj* annotations,
                                     int number, fz_matrix matrix);
fz_rect __real_fz_bound_glyph(fz_context* engine, fz_font* font, int glyph, fz_matrix matrix);
fz_rect __wrap_fz_bound_glyph(fz_context* engine, fz_font* font, int glyph, fz_matrix matrix);
fz_rect __real_fz_expand_rect(fz_rect box, float margin);
fz_rect __wrap_fz_expand_rect(fz_rect box, float margin);
fz_rect __real_fz_union_rect(fz_rect box, fz_rect other);
fz_rect __wrap_fz_union_rect(fz_rect box, fz_rect other);

/// Every page that is loaded has its links looked up, with their destinations. Only what comes with it is kept: each
/// annotation is seen once before any is used, so that a broken one has the document repaired in time.
fz_link* __wrap_pdf_load_link_annots(fz_context* engine, pdf_document*, pdf_page*, pdf_obj* annotations, int,
                                     fz_matrix) {
    const int count = pdf_array_len(engine, annotations);
    for (int i = 0; i < count; ++i) {
        Context::of(engine).attempt([=](fz_context* attempting) {
            (void)pdf_dict_get(attempting, pdf_array_get(attempting, annotations, i), PDF_NAME(Subtype));
        });
    }
    return nullptr;
}

/// The box of a glyph, which must be loaded for it, bounds what is drawn. Where only text is read it bounds nothing.
fz_rect __wrap_fz_bound_glyph(fz_context* engine, fz_font* font, int glyph, fz_matrix matrix) {
    if (!Context::of(engine).isReadingText) return __real_fz_bound_glyph(engine, font, glyph, matrix);
    return fz_infinite_rect;
}

/// Nothing is larger than what has no bounds. Each glyph asks for both.
fz_rect __wrap_fz_expand_rect(fz_rect box, float margin) {
    return fz_is_infinite_rect(box) != 0 ? box : __real_fz_expand_rect(box, margin);
}
fz_rect __wrap_fz_union_rect(fz_rect box, fz_rect other) {
    return fz_is_infinite_rect(box) != 0 ? box : __real_fz_union_rect(box, other);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
