#include "platform/pdf/module/MuPdfDocument.h"

#include "foundation/Unicode.h"
#include "platform/pdf/module/DateText.h"
#include "platform/pdf/module/Rebuild.h"

#include <cmath>

namespace halden::pdf {
namespace {

// Fonts and images pile up in the store; emptied now and then, memory stays flat over thousands of pages.
constexpr int kPagesBetweenEmptying = 50;
// No page of text is longer; a page that repeats itself without end is cut here.
constexpr std::size_t kMaxPageLength = 16U * 1024 * 1024;

/// Whether the crypt filter under `key` leaves its data as they are: /Identity, which is also the default.
bool isIdentity(fz_context* engine, pdf_obj* encryption, pdf_obj* key) {
    pdf_obj* filter = pdf_dict_get(engine, encryption, key);
    return filter == nullptr || pdf_name_eq(engine, filter, PDF_NAME(Identity)) != 0;
}

void appendCharacter(std::u16string& text, int character) {
    if (character <= 0 || character > 0x10FFFF || character == kReplacementCharacter) return;
    if (character < 0x10000) {
        if (!isSurrogate(static_cast<char16_t>(character))) text.push_back(static_cast<char16_t>(character));
        return;
    }
    text.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
    text.push_back(static_cast<char16_t>(0xDC00 + (character & 0x3FF)));
}

std::u16string textOfStructuredPage(const fz_stext_page& page) {
    std::u16string text;
    for (const fz_stext_block* block = page.first_block; block != nullptr; block = block->next) {
        if (block->type != FZ_STEXT_BLOCK_TEXT) continue;
        for (const fz_stext_line* line = block->u.t.first_line; line != nullptr; line = line->next) {
            if (text.size() > kMaxPageLength) return text;
            if (!text.empty()) text.push_back(u'\n');
            for (const fz_stext_char* c = line->first_char; c != nullptr; c = c->next)
                appendCharacter(text, c->c);
        }
    }
    return text;
}

/// A page's text as the engine structures it, dropped on every path.
class StructuredPage {
public:
    StructuredPage(Context& context, pdf_document* document, int number) : context_(context) {
        fz_page* page = nullptr;
        fz_device* device = nullptr;
        fz_var(page);
        fz_var(device);
        succeeded_ = context.attempt([&](fz_context* engine) {
            fz_stext_options options{};
            options.flags = FZ_STEXT_PRESERVE_LIGATURES;
            page = fz_load_page(engine, &document->super, number);
            page_ = fz_new_stext_page(engine, fz_bound_page(engine, page));
            device = fz_new_stext_device(engine, page_, &options);
            fz_run_page(engine, page, device, fz_identity, nullptr);
            fz_close_device(engine, device);
        });
        fz_drop_device(context.get(), device);
        fz_drop_page(context.get(), page);
    }
    ~StructuredPage() { fz_drop_stext_page(context_.get(), page_); }
    StructuredPage(const StructuredPage&) = delete;
    StructuredPage& operator=(const StructuredPage&) = delete;

    [[nodiscard]] std::optional<std::u16string> text() const {
        if (!succeeded_ || page_ == nullptr) return std::nullopt;
        return textOfStructuredPage(*page_);
    }

private:
    Context& context_;
    fz_stext_page* page_ = nullptr;
    bool succeeded_ = false;
};

Array keywordsOf(std::u16string_view text) {
    const char16_t separator = text.find(u',') != std::u16string_view::npos ? u',' : u';';
    constexpr std::u16string_view kSpaces = u" \t\r\n\u00A0";
    Array keywords;
    while (!text.empty()) {
        const std::size_t end = text.find(separator);
        const std::u16string_view part = text.substr(0, end);
        text = end == std::u16string_view::npos ? std::u16string_view() : text.substr(end + 1);
        const std::size_t first = part.find_first_not_of(kSpaces);
        if (first == std::u16string_view::npos) continue;
        keywords.emplace_back(part.substr(first, part.find_last_not_of(kSpaces) - first + 1));
    }
    return keywords;
}

}  // namespace

std::unique_ptr<PdfDocument> MuPdfDocument::open(const Data& data) {
    std::unique_ptr<MuPdfDocument> document(new MuPdfDocument(data));
    if (document->context_.get() == nullptr || !document->openDocument()) return nullptr;
    return document;
}

MuPdfDocument::~MuPdfDocument() {
    pdf_drop_document(context_.get(), document_);
}

bool MuPdfDocument::openDocument() {
    if (data_.empty()) return false;
    fz_stream* stream = nullptr;
    fz_var(stream);
    const bool isOpen = context_.attempt([&](fz_context* engine) {
        stream = fz_open_memory(engine, data_.bytes(), data_.length());
        document_ = pdf_open_document_with_stream(engine, stream);
    });
    fz_drop_stream(context_.get(), stream);
    if (!isOpen) return false;
    readEncryption();
    if (isLocked_) {
        // Nothing to rebuild from what cannot be read.
        context_.attempt([this](fz_context* engine) { pageCount_ = pdf_count_pages(engine, document_); });
        if (pageCount_ < 0) pageCount_ = 0;
        return true;
    }
    pageCount_ = pageCountAfterRebuild(context_, document_);
    return true;
}

void MuPdfDocument::readEncryption() {
    context_.attempt([this](fz_context* engine) {
        pdf_obj* encryption = pdf_dict_get(engine, pdf_trailer(engine, document_), PDF_NAME(Encrypt));
        isEncrypted_ = pdf_is_dict(engine, encryption) != 0;
        if (!isEncrypted_ || pdf_needs_password(engine, document_) == 0) return;
        // Crypt filters came with version 4; before it, everything is encrypted.
        const bool hasFilters = pdf_dict_get_int(engine, encryption, PDF_NAME(V)) >= 4;
        stringsAreReadable_ = hasFilters && isIdentity(engine, encryption, PDF_NAME(StrF));
        const bool streamsAreReadable = hasFilters && isIdentity(engine, encryption, PDF_NAME(StmF));
        isLocked_ = !(stringsAreReadable_ && streamsAreReadable);
    });
}

std::string MuPdfDocument::version() const {
    const int version = pdf_version(context_.get(), document_);
    return std::to_string(version / 10) + "." + std::to_string(version % 10);
}

std::optional<Size> MuPdfDocument::mediaBoxOfPage(int page) {
    if (page < 0 || page >= pageCount_) return std::nullopt;
    fz_rect box{};
    const bool isRead = context_.attempt([&](fz_context* engine) {
        pdf_obj* object = pdf_lookup_page_obj(engine, document_, page);
        box = pdf_to_rect(engine, pdf_dict_get_inheritable(engine, object, PDF_NAME(MediaBox)));
    });
    if (!isRead) return std::nullopt;
    const Size size{static_cast<double>(box.x1) - box.x0, static_cast<double>(box.y1) - box.y0};
    // A page without a usable box is drawn on a letter.
    if (!(std::abs(size.width) > 0 && std::abs(size.height) > 0)) return Size{612, 792};
    return Size{std::abs(size.width), std::abs(size.height)};
}

std::optional<std::u16string> MuPdfDocument::textOfPage(int page) {
    if (isLocked_ || page < 0 || page >= pageCount_) return std::nullopt;
    auto text = StructuredPage(context_, document_, page).text();
    if (++pagesSinceEmptying_ >= kPagesBetweenEmptying) {
        fz_empty_store(context_.get());
        pagesSinceEmptying_ = 0;
    }
    return text;
}

std::optional<std::u16string> MuPdfDocument::informationString(const char* key) {
    const char* utf8 = nullptr;
    fz_var(utf8);
    context_.attempt([&](fz_context* engine) {
        pdf_obj* information = pdf_dict_get(engine, pdf_trailer(engine, document_), PDF_NAME(Info));
        pdf_obj* string = pdf_dict_gets(engine, information, key);
        if (pdf_is_string(engine, string) != 0) utf8 = pdf_to_text_string(engine, string);
    });
    if (utf8 == nullptr) return std::nullopt;
    return utf16FromUtf8(utf8);
}

Dictionary MuPdfDocument::documentAttributes() {
    Dictionary attributes;
    if (!stringsAreReadable_) return attributes;
    for (const char* key : {"Title", "Author", "Subject", "Creator", "Producer"}) {
        if (auto text = informationString(key)) attributes.set(utf16FromUtf8(key), *std::move(text));
    }
    for (const char* key : {"CreationDate", "ModDate"}) {
        const auto text = informationString(key);
        const auto date = text ? dateFromText(utf8FromUtf16(*text)) : std::nullopt;
        if (date) attributes.set(utf16FromUtf8(key), *date);
    }
    if (const auto text = informationString("Keywords")) {
        Array keywords = keywordsOf(*text);
        if (!keywords.empty()) attributes.set(u"Keywords", std::move(keywords));
    }
    return attributes;
}

}  // namespace halden::pdf
