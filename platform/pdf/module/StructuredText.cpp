#include "platform/pdf/module/StructuredText.h"

#include "foundation/Unicode.h"

namespace halden::pdf {
namespace {

// No honest page has more; one that repeats itself without end is cut here.
constexpr std::size_t kMaxPageLength = std::size_t{16} * 1024 * 1024;

void appendCharacter(std::u16string& text, int character) {
    // U+FFFD stands for a glyph without a mapping.
    if (character <= 0 || character > 0x10FFFF || character == kReplacementCharacter) return;
    if (character < 0x10000) {
        if (!isSurrogate(static_cast<char16_t>(character))) text.push_back(static_cast<char16_t>(character));
        return;
    }
    text.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
    text.push_back(static_cast<char16_t>(0xDC00 + (character & 0x3FF)));
}

std::u16string textOfLines(const fz_stext_page& page) {
    std::u16string text;
    for (const fz_stext_block* block = page.first_block; block != nullptr; block = block->next) {
        if (block->type != FZ_STEXT_BLOCK_TEXT) continue;
        for (const fz_stext_line* line = block->u.t.first_line; line != nullptr; line = line->next) {
            const std::size_t start = text.size();
            if (start > kMaxPageLength) return text;
            if (!text.empty()) text.push_back(u'\n');
            const std::size_t first = text.size();
            for (const fz_stext_char* c = line->first_char; c != nullptr && text.size() < kMaxPageLength; c = c->next)
                appendCharacter(text, c->c);
            // A line of nothing but unknown glyphs is no line.
            if (text.size() == first) text.resize(start);
        }
    }
    return text;
}

/// What the engine makes of a page, dropped on every path.
struct StructuredPage {
    explicit StructuredPage(Context& ownerContext) : context(ownerContext) {}
    ~StructuredPage() {
        fz_drop_device(context.get(), device);
        fz_drop_stext_page(context.get(), lines);
        fz_drop_page(context.get(), page);
    }
    StructuredPage(const StructuredPage&) = delete;
    StructuredPage& operator=(const StructuredPage&) = delete;

    Context& context;
    fz_page* page = nullptr;
    fz_stext_page* lines = nullptr;
    fz_device* device = nullptr;
};

}  // namespace

std::optional<std::u16string> textOfPage(Context& context, pdf_document* document, int page) {
    StructuredPage structured(context);
    const bool isLoaded = context.attempt([&](fz_context* engine) {
        fz_stext_options options{};
        options.flags = FZ_STEXT_PRESERVE_LIGATURES;
        structured.page = fz_load_page(engine, &document->super, page);
        structured.lines = fz_new_stext_page(engine, fz_bound_page(engine, structured.page));
        structured.device = fz_new_stext_device(engine, structured.lines, &options);
    });
    if (!isLoaded || structured.lines == nullptr) return std::nullopt;
    // Each part on its own: a broken annotation does not take the page's text with it.
    bool isRead = false;
    for (const auto run : {fz_run_page_contents, fz_run_page_annots, fz_run_page_widgets}) {
        isRead |= context.attempt([&](fz_context* engine) {
            run(engine, structured.page, structured.device, fz_identity, context.cookie());
        });
    }
    isRead |= context.attempt([&](fz_context* engine) { fz_close_device(engine, structured.device); });
    std::u16string text = textOfLines(*structured.lines);
    if (!isRead && text.empty()) return std::nullopt;
    return text;
}

}  // namespace halden::pdf
