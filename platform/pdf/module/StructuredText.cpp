#include "platform/pdf/module/StructuredText.h"

#include "foundation/Unicode.h"

#include <string_view>
#include <utility>

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

/// The text of the lines; `onCharacter` is told of each character that gave something, with where it stands.
template <class OnCharacter>
std::u16string textOfLines(const fz_stext_page& page, OnCharacter onCharacter) {
    std::u16string text;
    for (const fz_stext_block* block = page.first_block; block != nullptr; block = block->next) {
        if (block->type != FZ_STEXT_BLOCK_TEXT) continue;
        for (const fz_stext_line* line = block->u.t.first_line; line != nullptr; line = line->next) {
            const std::size_t start = text.size();
            if (start > kMaxPageLength) return text;
            if (!text.empty()) text.push_back(u'\n');
            const std::size_t first = text.size();
            for (const fz_stext_char* c = line->first_char; c != nullptr && text.size() < kMaxPageLength; c = c->next) {
                const std::size_t length = text.size();
                appendCharacter(text, c->c);
                if (text.size() > length) onCharacter(*c, length, text.size());
            }
            // A line of nothing but unknown glyphs is no line.
            if (text.size() == first) text.resize(start);
        }
    }
    return text;
}

/// Embedded fonts with some of their glyphs have a tag of six capitals before their name: "ABCDEF+Times-Bold".
std::string_view withoutSubsetTag(std::string_view name) {
    constexpr std::size_t kTagLength = 6;
    if (name.size() <= kTagLength || name[kTagLength] != '+') return name;
    for (const char c : name.substr(0, kTagLength))
        if (c < 'A' || c > 'Z') return name;
    return name.substr(kTagLength + 1);
}

/// Collects runs of characters that look alike.
class Runs {
public:
    explicit Runs(fz_context* engine) : engine_(engine) {}

    /// A character from `start` to `end`. A line feed before it looks as the run before.
    void add(const fz_stext_char& c, std::size_t start, std::size_t end) {
        const bool isSame = !runs_.empty() && c.font == font_ && c.size == size_ && c.color == color_;
        if (!isSame) {
            if (!runs_.empty()) runs_.back().end = start;
            font_ = c.font;
            size_ = c.size;
            color_ = c.color;
            PdfTextRun run = runOf(c);
            if (runs_.empty() || !looksAs(run, runs_.back())) runs_.push_back(std::move(run));
        }
        runs_.back().end = end;
    }
    [[nodiscard]] std::vector<PdfTextRun> take() { return std::move(runs_); }

private:
    // None of these calls throws.
    [[nodiscard]] PdfTextRun runOf(const fz_stext_char& c) const {
        PdfTextRun run{.size = static_cast<double>(c.size), .color = static_cast<std::uint32_t>(c.color) & 0xFFFFFF};
        if (c.font == nullptr) return run;
        run.font = utf16FromUtf8(withoutSubsetTag(fz_font_name(engine_, c.font)));
        run.bold = fz_font_is_bold(engine_, c.font) != 0;
        run.italic = fz_font_is_italic(engine_, c.font) != 0;
        return run;
    }
    [[nodiscard]] static bool looksAs(PdfTextRun run, const PdfTextRun& other) {
        run.end = other.end;
        return run == other;
    }

    fz_context* engine_;
    const fz_font* font_ = nullptr;
    float size_ = 0;
    int color_ = 0;
    std::vector<PdfTextRun> runs_;
};

/// What the engine makes of a page, dropped on every path.
struct StructuredPage {
    explicit StructuredPage(Context& ownerContext) : context(ownerContext) { context.isReadingText = true; }
    ~StructuredPage() {
        context.isReadingText = false;
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
    bool isRead = false;  // a part of it at least
};

/// Whether there is anything: false for a page that cannot be had.
bool read(StructuredPage& structured, pdf_document* document, int page) {
    Context& context = structured.context;
    const bool isLoaded = context.attempt([&](fz_context* engine) {
        fz_stext_options options{};
        options.flags = FZ_STEXT_PRESERVE_LIGATURES;
        structured.page = fz_load_page(engine, &document->super, page);
        structured.lines = fz_new_stext_page(engine, fz_bound_page(engine, structured.page));
        structured.device = fz_new_stext_device(engine, structured.lines, &options);
    });
    if (!isLoaded || structured.lines == nullptr) return false;
    // Each part on its own: a broken annotation does not take the page's text with it.
    for (const auto run : {fz_run_page_contents, fz_run_page_annots, fz_run_page_widgets}) {
        structured.isRead |= context.attempt([&](fz_context* engine) {
            run(engine, structured.page, structured.device, fz_identity, context.cookie());
        });
    }
    structured.isRead |= context.attempt([&](fz_context* engine) { fz_close_device(engine, structured.device); });
    return true;
}

}  // namespace

std::optional<std::u16string> textOfPage(Context& context, pdf_document* document, int page) {
    StructuredPage structured(context);
    if (!read(structured, document, page)) return std::nullopt;
    auto text = textOfLines(*structured.lines, [](const fz_stext_char&, std::size_t, std::size_t) {});
    if (!structured.isRead && text.empty()) return std::nullopt;
    return text;
}

std::optional<PdfStyledText> styledTextOfPage(Context& context, pdf_document* document, int page) {
    StructuredPage structured(context);
    if (!read(structured, document, page)) return std::nullopt;
    Runs runs(context.get());
    PdfStyledText styled;
    styled.text = textOfLines(*structured.lines, [&](const fz_stext_char& c, std::size_t start, std::size_t end) {
        runs.add(c, start, end);
    });
    if (!structured.isRead && styled.text.empty()) return std::nullopt;
    styled.runs = runs.take();
    return styled;
}

}  // namespace halden::pdf
