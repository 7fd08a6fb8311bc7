#include "platform/pdf/module/Rebuild.h"

namespace halden::pdf {
namespace {

constexpr int kMaxPages = 1'000'000;

bool hasFirstPage(Context& context, pdf_document* document) {
    bool isThere = false;
    context.attempt(
        [&](fz_context* engine) { isThere = pdf_is_dict(engine, pdf_lookup_page_obj(engine, document, 0)) != 0; });
    return isThere;
}

/// The page count, or 0 when the tree leads to no page.
int usablePageCount(Context& context, pdf_document* document) {
    const int pages = plausiblePageCount(context, document);
    return pages > 0 && hasFirstPage(context, document) ? pages : 0;
}

/// Objects that the engine counts references of, dropped on every path.
struct Holder {
    explicit Holder(Context& ownerContext) : context(ownerContext) {}
    ~Holder() { pdf_drop_obj(context.get(), object); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    Context& context;
    pdf_obj* object = nullptr;
};

bool isPage(fz_context* engine, pdf_obj* object) {
    return pdf_is_dict(engine, object) != 0 &&
           pdf_name_eq(engine, pdf_dict_get(engine, object, PDF_NAME(Type)), PDF_NAME(Page)) != 0;
}

/// Adds object number `number` to `pages` when it is a page.
bool collectPage(Context& context, pdf_document* document, pdf_obj* pages, int number) {
    Holder page(context);
    bool isAdded = false;
    context.attempt([&](fz_context* engine) {
        page.object = pdf_new_indirect(engine, document, number, 0);
        if (!isPage(engine, page.object)) return;
        pdf_array_push(engine, pages, page.object);
        isAdded = true;
    });
    return isAdded;
}

/// The catalog, made when there is none.
pdf_obj* catalog(fz_context* engine, pdf_document* document, Holder& made) {
    pdf_obj* root = pdf_dict_get(engine, pdf_trailer(engine, document), PDF_NAME(Root));
    if (pdf_is_dict(engine, root) != 0) return root;
    made.object = pdf_add_object_drop(engine, document, pdf_new_dict(engine, document, 2));
    pdf_dict_put(engine, made.object, PDF_NAME(Type), PDF_NAME(Catalog));
    pdf_dict_put(engine, pdf_trailer(engine, document), PDF_NAME(Root), made.object);
    return made.object;
}

/// Makes the array of pages the document's page tree.
bool plantTree(Context& context, pdf_document* document, pdf_obj* pages, int count) {
    Holder tree(context);
    Holder root(context);
    return context.attempt([&](fz_context* engine) {
        tree.object = pdf_add_object_drop(engine, document, pdf_new_dict(engine, document, 4));
        pdf_dict_put(engine, tree.object, PDF_NAME(Type), PDF_NAME(Pages));
        pdf_dict_put(engine, tree.object, PDF_NAME(Kids), pages);
        pdf_dict_put_int(engine, tree.object, PDF_NAME(Count), count);
        for (int i = 0; i < count; ++i) {
            pdf_dict_put(engine, pdf_array_get(engine, pages, i), PDF_NAME(Parent), tree.object);
        }
        pdf_dict_put(engine, catalog(engine, document, root), PDF_NAME(Pages), tree.object);
    });
}

bool plantTreeOfAllPages(Context& context, pdf_document* document) {
    Holder pages(context);
    int objects = 0;
    const bool isReady = context.attempt([&](fz_context* engine) {
        objects = pdf_xref_len(engine, document);
        pages.object = pdf_new_array(engine, document, 8);
    });
    if (!isReady) return false;
    int count = 0;
    for (int number = 1; number < objects && count < kMaxPages; ++number) {
        if (collectPage(context, document, pages.object, number)) ++count;
    }
    return count > 0 && plantTree(context, document, pages.object, count);
}

}  // namespace

int plausiblePageCount(Context& context, pdf_document* document) {
    int pages = 0;
    context.attempt([&](fz_context* engine) { pages = pdf_count_pages(engine, document); });
    return pages > 0 && pages <= kMaxPages ? pages : 0;
}

int pageCountAfterRebuild(Context& context, pdf_document* document) {
    if (const int pages = usablePageCount(context, document); pages > 0) return pages;
    context.attempt([&](fz_context* engine) {
        if (pdf_was_repaired(engine, document) != 0) return;
        pdf_repair_xref(engine, document);
        pdf_repair_obj_stms(engine, document);
    });
    if (const int pages = usablePageCount(context, document); pages > 0) return pages;
    return plantTreeOfAllPages(context, document) ? usablePageCount(context, document) : 0;
}

}  // namespace halden::pdf
