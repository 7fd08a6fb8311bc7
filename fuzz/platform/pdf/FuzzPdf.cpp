// Everything that is asked of a document that somebody sent. The engine itself is not instrumented.
#include "platform/pdf/PdfDocument.h"
#include "platform/pdf/PdfEngine.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (halden::pdfEngineStatus().engine == nullptr) std::abort();
    const auto document = halden::PdfDocument::documentWithData(halden::Data::copying({bytes, size}));
    if (!document) return 0;
    (void)document->documentAttributes();
    (void)document->version();
    const int pages = document->pageCount();
    if (pages < 0 || pages > 1'000'000) std::abort();
    for (int page = 0; page < std::min(pages, 8); ++page) {
        (void)document->mediaBoxOfPage(page);
        if (document->textOfPage(page) && document->isLocked()) std::abort();
    }
    return 0;
}
