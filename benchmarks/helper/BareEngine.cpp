#include "benchmarks/helper/BareEngine.h"

#include <mupdf/fitz.h>

namespace quarry::bench {
namespace {

void ignoreMessage(void*, const char*) {}

std::size_t lengthOfPage(fz_context* engine, fz_document* document, int number, fz_stext_options& options) {
    fz_stext_page* page = nullptr;
    fz_buffer* text = nullptr;
    std::size_t length = 0;
    fz_var(page);
    fz_var(text);
    fz_var(length);
    fz_try(engine) {
        page = fz_new_stext_page_from_page_number(engine, document, number, &options);
        text = fz_new_buffer_from_stext_page(engine, page);
        length = fz_buffer_storage(engine, text, nullptr);
    }
    fz_always(engine) {
        fz_drop_buffer(engine, text);
        fz_drop_stext_page(engine, page);
    }
    fz_catch(engine) {
        length = 0;
    }
    return length;
}

}  // namespace

std::size_t readTextWithBareEngine(const halden::Data& pdf) {
    fz_context* engine = fz_new_context(nullptr, nullptr, FZ_STORE_DEFAULT);
    if (engine == nullptr) return 0;
    fz_set_warning_callback(engine, ignoreMessage, nullptr);
    fz_set_error_callback(engine, ignoreMessage, nullptr);
    fz_stext_options options{};
    options.flags = FZ_STEXT_PRESERVE_LIGATURES;
    fz_stream* stream = nullptr;
    fz_document* document = nullptr;
    std::size_t length = 0;
    fz_var(stream);
    fz_var(document);
    fz_var(length);
    fz_try(engine) {
        fz_register_document_handlers(engine);
        stream = fz_open_memory(engine, pdf.bytes(), pdf.length());
        document = fz_open_document_with_stream(engine, "application/pdf", stream);
        const int pages = fz_needs_password(engine, document) != 0 ? 0 : fz_count_pages(engine, document);
        for (int page = 0; page < pages; ++page)
            length += lengthOfPage(engine, document, page, options);
    }
    fz_always(engine) {
        fz_drop_document(engine, document);
        fz_drop_stream(engine, stream);
    }
    fz_catch(engine) {}
    fz_drop_context(engine);
    return length;
}

}  // namespace quarry::bench
