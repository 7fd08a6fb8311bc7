#include "platform/pdf/module/Rebuild.h"

namespace halden::pdf {
namespace {

constexpr int kMaxPages = 1'000'000;

bool isPlausible(int pages) {
    return pages > 0 && pages <= kMaxPages;
}

int countPages(Context& context, pdf_document* document) {
    int pages = 0;
    fz_var(pages);
    if (!context.attempt([&](fz_context* engine) { pages = pdf_count_pages(engine, document); })) return 0;
    return pages;
}

bool hasFirstPage(Context& context, pdf_document* document) {
    return context.attempt(
        [&](fz_context* engine) { fz_drop_page(engine, fz_load_page(engine, &document->super, 0)); });
}

bool isPage(fz_context* engine, pdf_obj* object) {
    return pdf_is_dict(engine, object) != 0 &&
           pdf_name_eq(engine, pdf_dict_get(engine, object, PDF_NAME(Type)), PDF_NAME(Page)) != 0;
}

/// Adds object number `number` to `pages` when it is a page.
bool collectPage(Context& context, pdf_document* document, pdf_obj* pages, int number) {
    pdf_obj* object = nullptr;
    bool isAdded = false;
    fz_var(object);
    fz_var(isAdded);
    context.attempt([&](fz_context* engine) {
        object = pdf_new_indirect(engine, document, number, 0);
        if (isPage(engine, object)) {
            pdf_array_push(engine, pages, object);
            isAdded = true;
        }
    });
    pdf_drop_obj(context.get(), object);
    return isAdded;
}

/// Makes the array of pages the document's page tree.
void plantTree(fz_context* engine, pdf_document* document, pdf_obj* pages, int count) {
    pdf_obj* tree = pdf_add_object_drop(engine, document, pdf_new_dict(engine, document, 4));
    pdf_dict_put(engine, tree, PDF_NAME(Type), PDF_NAME(Pages));
    pdf_dict_put(engine, tree, PDF_NAME(Kids), pages);
    pdf_dict_put_int(engine, tree, PDF_NAME(Count), count);
    for (int i = 0; i < count; ++i) {
        pdf_dict_put(engine, pdf_array_get(engine, pages, i), PDF_NAME(Parent), tree);
    }
    pdf_obj* root = pdf_dict_get(engine, pdf_trailer(engine, document), PDF_NAME(Root));
    if (pdf_is_dict(engine, root) == 0) {
        root = pdf_add_object_drop(engine, document, pdf_new_dict(engine, document, 2));
        pdf_dict_put(engine, root, PDF_NAME(Type), PDF_NAME(Catalog));
        pdf_dict_put_drop(engine, pdf_trailer(engine, document), PDF_NAME(Root), root);
    }
    pdf_dict_put_drop(engine, root, PDF_NAME(Pages), tree);
}

int countAfterNewTree(Context& context, pdf_document* document) {
    pdf_obj* pages = nullptr;
    int objects = 0;
    fz_var(pages);
    fz_var(objects);
    const bool isReady = context.attempt([&](fz_context* engine) {
        objects = pdf_xref_len(engine, document);
        pages = pdf_new_array(engine, document, 8);
    });
    int count = 0;
    for (int number = 1; isReady && number < objects && count < kMaxPages; ++number) {
        if (collectPage(context, document, pages, number)) ++count;
    }
    const bool isPlanted =
        count > 0 && context.attempt([&](fz_context* engine) { plantTree(engine, document, pages, count); });
    pdf_drop_obj(context.get(), pages);
    if (!isPlanted) return 0;
    const int pageCount = countPages(context, document);
    return isPlausible(pageCount) ? pageCount : 0;
}

}  // namespace

int pageCountAfterRebuild(Context& context, pdf_document* document) {
    int pages = countPages(context, document);
    if (isPlausible(pages)) return pages;
    context.attempt([&](fz_context* engine) {
        if (pdf_was_repaired(engine, document) != 0) return;
        pdf_repair_xref(engine, document);
        pdf_repair_obj_stms(engine, document);
    });
    pages = countPages(context, document);
    if (isPlausible(pages) && hasFirstPage(context, document)) return pages;
    return countAfterNewTree(context, document);
}

}  // namespace halden::pdf
