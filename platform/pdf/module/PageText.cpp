#include "platform/pdf/module/PageText.h"

#include "foundation/Unicode.h"
#include "platform/pdf/module/LineText.h"
#include "platform/pdf/module/TextDevice.h"

#include <string_view>
#include <utility>

namespace halden::pdf {
namespace {

/// The text of the lines; `onCharacter` is told of each character that gave something, with where it stands.
template <class OnCharacter>
std::u16string textOfLines(const fz_stext_page& page, OnCharacter onCharacter) {
    LineText text;
    for (const fz_stext_block* block = page.first_block; block != nullptr; block = block->next) {
        if (block->type != FZ_STEXT_BLOCK_TEXT) continue;
        for (const fz_stext_line* line = block->u.t.first_line; line != nullptr && !text.isFull(); line = line->next) {
            text.beginLine();
            for (const fz_stext_char* c = line->first_char; c != nullptr; c = c->next) {
                const std::size_t length = text.size();
                if (text.add(c->c)) onCharacter(*c, length, text.size());
            }
        }
    }
    return text.take();
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

/// A page and what the engine runs it into, dropped on every path.
class RunningPage {
public:
    explicit RunningPage(Context& context) : context_(context) { context_.isReadingText = true; }
    ~RunningPage() {
        context_.isReadingText = false;
        fz_drop_device(context_.get(), device_);
        fz_drop_page(context_.get(), page_);
    }
    RunningPage(const RunningPage&) = delete;
    RunningPage& operator=(const RunningPage&) = delete;

    /// Runs it into `newDevice(engine, page)`. False for a page that cannot be had.
    template <class NewDevice>
    bool run(pdf_document* document, int page, NewDevice newDevice) {
        const bool isLoaded = context_.attempt([&](fz_context* engine) {
            page_ = fz_load_page(engine, &document->super, page);
            device_ = newDevice(engine, page_);
        });
        if (!isLoaded || device_ == nullptr) return false;
        // Each part on its own: a broken annotation does not take the page's text with it.
        for (const auto part : {fz_run_page_contents, fz_run_page_annots, fz_run_page_widgets}) {
            isRead_ |= context_.attempt(
                [&](fz_context* engine) { part(engine, page_, device_, fz_identity, context_.cookie()); });
        }
        isRead_ |= context_.attempt([&](fz_context* engine) { fz_close_device(engine, device_); });
        return true;
    }

    /// A part of it at least.
    [[nodiscard]] bool isRead() const noexcept { return isRead_; }

private:
    Context& context_;
    fz_page* page_ = nullptr;
    fz_device* device_ = nullptr;
    bool isRead_ = false;
};

/// The engine's own lines of a page.
class StructuredPage {
public:
    explicit StructuredPage(Context& context) : context_(context) {}
    ~StructuredPage() { fz_drop_stext_page(context_.get(), lines_); }
    StructuredPage(const StructuredPage&) = delete;
    StructuredPage& operator=(const StructuredPage&) = delete;

    [[nodiscard]] fz_device* newDevice(fz_context* engine, fz_page* page) {
        fz_stext_options options{};
        options.flags = FZ_STEXT_PRESERVE_LIGATURES;
        lines_ = fz_new_stext_page(engine, fz_bound_page(engine, page));
        return fz_new_stext_device(engine, lines_, &options);
    }
    [[nodiscard]] const fz_stext_page& lines() const noexcept { return *lines_; }

private:
    Context& context_;
    fz_stext_page* lines_ = nullptr;
};

}  // namespace

std::optional<std::u16string> textOfPage(Context& context, pdf_document* document, int page) {
    LineText lines;
    RunningPage running(context);
    if (!running.run(document, page, [&](fz_context* engine, fz_page*) { return newTextDevice(engine, lines); }))
        return std::nullopt;
    std::u16string text = lines.take();
    if (!running.isRead() && text.empty()) return std::nullopt;
    return text;
}

std::optional<PdfStyledText> styledTextOfPage(Context& context, pdf_document* document, int page) {
    StructuredPage structured(context);
    RunningPage running(context);
    const auto newDevice = [&](fz_context* engine, fz_page* loaded) { return structured.newDevice(engine, loaded); };
    if (!running.run(document, page, newDevice)) return std::nullopt;
    Runs runs(context.get());
    PdfStyledText styled;
    styled.text = textOfLines(structured.lines(), [&](const fz_stext_char& c, std::size_t start, std::size_t end) {
        runs.add(c, start, end);
    });
    if (!running.isRead() && styled.text.empty()) return std::nullopt;
    styled.runs = runs.take();
    return styled;
}

}  // namespace halden::pdf
