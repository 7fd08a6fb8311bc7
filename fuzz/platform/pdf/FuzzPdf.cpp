// Everything that is asked of a document that somebody sent. The engine's own code is not instrumented, ours around it
// is.
#include "foundation/Unicode.h"
#include "platform/pdf/PdfDocument.h"
#include "platform/pdf/PdfEngine.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr int kMostPages = 8;

void require(bool condition) {
    if (!condition) std::abort();
}

void checkPage(halden::PdfDocument& document, int page) {
    if (const auto size = document.mediaBoxOfPage(page)) {
        require(size->width > 0 && size->height > 0 && std::isfinite(size->width) && std::isfinite(size->height));
    }
    const auto text = document.textOfPage(page);
    if (!text) return;
    require(!document.isLocked());
    require(halden::isWellFormed(*text));
    require(text->find(halden::kReplacementCharacter) == std::u16string::npos);
}

void checkAttributes(const halden::Dictionary& attributes) {
    for (const auto& entry : attributes) {
        const bool isDate = entry.key == u"CreationDate" || entry.key == u"ModDate";
        if (isDate) {
            require(entry.value.is<halden::Date>());
        } else if (entry.key == u"Keywords") {
            require(entry.value.is<halden::Array>() && !entry.value.as<halden::Array>()->empty());
        } else {
            require(entry.value.is<std::u16string>());
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    require(halden::pdfEngineStatus().engine != nullptr);
    // The memory limit is reached in time, and the time limit before libFuzzer's own.
    const halden::PdfLimits limits{.memory = std::size_t{64} * 1024 * 1024, .seconds = 1};
    const auto document = halden::PdfDocument::documentWithData(halden::Data::copying({bytes, size}), limits);
    if (!document) return 0;
    checkAttributes(document->documentAttributes());
    (void)document->version();
    const int pages = document->pageCount();
    require(pages >= 0 && pages <= 1'000'000);
    require(!document->isLocked() || document->isEncrypted());
    for (int page = 0; page < std::min(pages, kMostPages); ++page)
        checkPage(*document, page);
    require(!document->textOfPage(pages) && !document->mediaBoxOfPage(-1));
    return 0;
}
