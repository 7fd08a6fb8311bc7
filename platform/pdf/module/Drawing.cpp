#include "platform/pdf/module/Drawing.h"

#include "platform/pdf/module/Number.h"

#include <cmath>
#include <cstring>

namespace halden::pdf {
namespace {

/// What drawing needs, dropped on every path.
struct Canvas {
    explicit Canvas(Context& ownerContext) : context(ownerContext) {}
    ~Canvas() {
        fz_drop_device(context.get(), device);
        fz_drop_pixmap(context.get(), pixmap);
        fz_drop_page(context.get(), page);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    Context& context;
    fz_page* page = nullptr;
    fz_pixmap* pixmap = nullptr;
    fz_device* device = nullptr;
};

/// Loads the page and gives its bounds; false when it has no area.
bool loadPage(Canvas& canvas, pdf_document* document, int page, fz_rect& bounds) {
    const bool isLoaded = canvas.context.attempt([&](fz_context* engine) {
        canvas.page = fz_load_page(engine, &document->super, page);
        bounds = fz_bound_page(engine, canvas.page);
    });
    const float width = bounds.x1 - bounds.x0;
    const float height = bounds.y1 - bounds.y0;
    return isLoaded && std::isfinite(width) && std::isfinite(height) && width > 0 && height > 0;
}

}  // namespace

std::optional<Size> shownSizeOfPage(Context& context, pdf_document* document, int page) {
    Canvas canvas(context);
    fz_rect bounds{};
    if (!loadPage(canvas, document, page, bounds)) return std::nullopt;
    return Size{numberAsWritten(bounds.x1 - bounds.x0), numberAsWritten(bounds.y1 - bounds.y0)};
}

std::optional<PdfPicture> drawPage(Context& context, pdf_document* document, int page, int width, int height) {
    Canvas canvas(context);
    fz_rect bounds{};
    if (!loadPage(canvas, document, page, bounds)) return std::nullopt;
    const float across = static_cast<float>(width) / (bounds.x1 - bounds.x0);
    const float down = static_cast<float>(height) / (bounds.y1 - bounds.y0);
    const fz_matrix matrix = fz_concat(fz_translate(-bounds.x0, -bounds.y0), fz_scale(across, down));
    const bool isReady = context.attempt([&](fz_context* engine) {
        canvas.pixmap = fz_new_pixmap(engine, fz_device_rgb(engine), width, height, nullptr, 0);
        fz_clear_pixmap_with_value(engine, canvas.pixmap, 0xFF);
        canvas.device = fz_new_draw_device(engine, matrix, canvas.pixmap);
    });
    if (!isReady) return std::nullopt;
    // Each part on its own: a broken annotation does not take the page with it.
    bool isDrawn = false;
    for (const auto run : {fz_run_page_contents, fz_run_page_annots, fz_run_page_widgets}) {
        isDrawn |= context.attempt(
            [&](fz_context* engine) { run(engine, canvas.page, canvas.device, fz_identity, context.cookie()); });
    }
    isDrawn |= context.attempt([&](fz_context* engine) { fz_close_device(engine, canvas.device); });
    if (!isDrawn) return std::nullopt;
    PdfPicture picture{.width = width, .height = height, .pixels = {}};
    const std::size_t row = 3 * static_cast<std::size_t>(width);
    picture.pixels.resize(row * height);
    for (int y = 0; y < height; ++y)
        std::memcpy(&picture.pixels[row * y], canvas.pixmap->samples + canvas.pixmap->stride * y, row);
    return picture;
}

}  // namespace halden::pdf
