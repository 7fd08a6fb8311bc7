#include "platform/pdf/module/MuPdfDocument.h"

#include "platform/pdf/module/Drawing.h"
#include "platform/pdf/module/Information.h"
#include "platform/pdf/module/MaskedStream.h"
#include "platform/pdf/module/Number.h"
#include "platform/pdf/module/PageText.h"
#include "platform/pdf/module/Rebuild.h"

#include <algorithm>
#include <cmath>

namespace halden::pdf {
namespace {

// Fonts and images pile up in the store; emptied after so much growth, memory stays flat over thousands of pages. They
// are dear to read: as long as they are few they stay.
constexpr std::size_t kGrowthBetweenEmptying = std::size_t{32} << 20;
// What a page without a usable box is drawn on.
constexpr Size kLetter{612, 792};

// Where readers look for the header.
constexpr std::size_t kHeaderReach = 1024;
constexpr std::string_view kHeader = "%PDF-";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The "1.7" that `text` begins with, else nothing.
std::string versionAtStart(std::string_view text) {
    const bool isVersion = text.size() >= 3 && isDigit(text[0]) && text[1] == '.' && isDigit(text[2]);
    return std::string(isVersion ? text.substr(0, 3) : std::string_view());
}

/// Whether the crypt filter under `key` leaves its data as they are: /Identity, which is also the default.
bool isIdentity(fz_context* engine, pdf_obj* encryption, pdf_obj* key) {
    pdf_obj* filter = pdf_dict_get(engine, encryption, key);
    return filter == nullptr || pdf_name_eq(engine, filter, PDF_NAME(Identity)) != 0;
}

fz_stream* newStreamOfBytes(fz_context* engine, const Data& data) {
    return fz_open_memory(engine, data.bytes(), data.length());
}

}  // namespace

std::unique_ptr<PdfDocument> MuPdfDocument::open(const Data& data, const PdfLimits& limits) {
    std::unique_ptr<MuPdfDocument> document(new MuPdfDocument(data, limits));
    if (document->context_.get() == nullptr || !document->openDocument()) return nullptr;
    return document;
}

MuPdfDocument::~MuPdfDocument() {
    if (hasPageMap_) pdf_drop_page_tree(context_.get(), document_);
    pdf_drop_document(context_.get(), document_);
}

bool MuPdfDocument::openStream(fz_stream* (*newStream)(fz_context* engine, const Data& data)) {
    fz_stream* stream = nullptr;
    const bool isOpen = context_.attempt([&](fz_context* engine) {
        stream = newStream(engine, data_);
        document_ = pdf_open_document_with_stream(engine, stream);
    });
    fz_drop_stream(context_.get(), stream);
    return isOpen;
}

bool MuPdfDocument::openDocument() {
    if (data_.empty()) return false;
    if (openStream(newStreamOfBytes)) {
        readEncryption();
    } else if (mentionsEncryption(data_) && openStream(newMaskedStream)) {
        lock();
    } else {
        return false;
    }
    // There is nothing to rebuild from what cannot be read.
    pageCount_ = isLocked_ ? plausiblePageCount(context_, document_) : pageCountAfterRebuild(context_, document_);
    return true;
}

void MuPdfDocument::lock() {
    isEncrypted_ = isLocked_ = true;
    stringsAreReadable_ = false;
}

void MuPdfDocument::readEncryption() {
    const bool isRead = context_.attempt([this](fz_context* engine) {
        pdf_obj* encryption = pdf_dict_get(engine, pdf_trailer(engine, document_), PDF_NAME(Encrypt));
        isEncrypted_ = pdf_is_dict(engine, encryption) != 0;
        if (!isEncrypted_ || pdf_needs_password(engine, document_) == 0) return;
        // Crypt filters came with version 4; before it, everything is encrypted.
        const bool hasFilters = pdf_dict_get_int(engine, encryption, PDF_NAME(V)) >= 4;
        stringsAreReadable_ = hasFilters && isIdentity(engine, encryption, PDF_NAME(StrF));
        const bool streamsAreReadable = hasFilters && isIdentity(engine, encryption, PDF_NAME(StmF));
        isLocked_ = !(stringsAreReadable_ && streamsAreReadable);
    });
    // An encryption that cannot even be read is not one that anybody gets through.
    if (!isRead) lock();
}

std::string MuPdfDocument::version() {
    context_.beginCall();
    const char* name = "";
    context_.attempt([&](fz_context* engine) {
        pdf_obj* root = pdf_dict_get(engine, pdf_trailer(engine, document_), PDF_NAME(Root));
        name = pdf_to_name(engine, pdf_dict_get(engine, root, PDF_NAME(Version)));
    });
    // The header may come after what a mail program or a server has put before it.
    const std::string_view start = data_.view().substr(0, kHeaderReach);
    const std::size_t header = start.find(kHeader);
    const std::string_view after =
        header != std::string_view::npos ? start.substr(header + kHeader.size()) : std::string_view();
    return std::max(versionAtStart(name), versionAtStart(after));
}

void MuPdfDocument::preparePageMap(int page) {
    // Without the map every page is looked for from the first on, which is as good for the first.
    if (page == 0 || triedPageMap_) return;
    triedPageMap_ = true;
    hasPageMap_ = context_.attempt([this](fz_context* engine) { pdf_load_page_tree(engine, document_); });
}

std::optional<Size> MuPdfDocument::mediaBoxOfPage(int page) {
    if (page < 0 || page >= pageCount_) return std::nullopt;
    context_.beginCall();
    preparePageMap(page);
    float box[4] = {};
    const bool isRead = context_.attempt([&](fz_context* engine) {
        pdf_obj* object = pdf_lookup_page_obj(engine, document_, page);
        pdf_obj* corners = pdf_dict_get_inheritable(engine, object, PDF_NAME(MediaBox));
        for (int i = 0; i < 4; ++i)
            box[i] = pdf_array_get_real(engine, corners, i);
    });
    if (!isRead) return std::nullopt;
    const Size size{std::abs(numberAsWritten(box[2]) - numberAsWritten(box[0])),
                    std::abs(numberAsWritten(box[3]) - numberAsWritten(box[1]))};
    const bool isUsable = size.width > 0 && size.height > 0 && std::isfinite(size.width) && std::isfinite(size.height);
    return isUsable ? size : kLetter;
}

std::optional<Size> MuPdfDocument::shownSizeOfPage(int page) {
    if (isLocked_ || page < 0 || page >= pageCount_) return std::nullopt;
    context_.beginCall();
    preparePageMap(page);
    return pdf::shownSizeOfPage(context_, document_, page);
}

std::optional<PdfPicture> MuPdfDocument::drawPage(int page, int width, int height) {
    constexpr int kLargestSide = 16384;
    const bool isPossible = width > 0 && height > 0 && width <= kLargestSide && height <= kLargestSide;
    if (isLocked_ || page < 0 || page >= pageCount_ || !isPossible) return std::nullopt;
    context_.beginCall();
    preparePageMap(page);
    return pdf::drawPage(context_, document_, page, width, height);
}

std::optional<std::u16string> MuPdfDocument::textOfPage(int page) {
    if (isLocked_ || page < 0 || page >= pageCount_) return std::nullopt;
    context_.beginCall();
    preparePageMap(page);
    auto text = pdf::textOfPage(context_, document_, page);
    emptyGrownStore();
    return text;
}

std::optional<PdfStyledText> MuPdfDocument::styledTextOfPage(int page) {
    if (isLocked_ || page < 0 || page >= pageCount_) return std::nullopt;
    context_.beginCall();
    preparePageMap(page);
    auto text = pdf::styledTextOfPage(context_, document_, page);
    emptyGrownStore();
    return text;
}

void MuPdfDocument::emptyGrownStore() {
    if (context_.heldMemory() < heldAtEmptying_ + kGrowthBetweenEmptying) return;
    fz_empty_store(context_.get());
    heldAtEmptying_ = context_.heldMemory();
}

Dictionary MuPdfDocument::documentAttributes() {
    if (!stringsAreReadable_) return {};
    context_.beginCall();
    return attributesOfDocument(context_, document_);
}

}  // namespace halden::pdf
