// PdfDocument by MuPDF.
#pragma once

#include "platform/pdf/PdfDocument.h"
#include "platform/pdf/module/Context.h"

#include <mupdf/pdf.h>

namespace halden::pdf {

class MuPdfDocument final : public PdfDocument {
public:
    [[nodiscard]] static std::unique_ptr<PdfDocument> open(const Data& data, const PdfLimits& limits);
    ~MuPdfDocument() override;

    [[nodiscard]] bool isLocked() const noexcept override { return isLocked_; }
    [[nodiscard]] bool isEncrypted() const noexcept override { return isEncrypted_; }
    [[nodiscard]] int pageCount() const noexcept override { return pageCount_; }
    [[nodiscard]] std::string version() override;
    [[nodiscard]] std::optional<Size> mediaBoxOfPage(int page) override;
    [[nodiscard]] std::optional<Size> shownSizeOfPage(int page) override;
    [[nodiscard]] std::optional<PdfPicture> drawPage(int page, int width, int height) override;
    [[nodiscard]] std::optional<std::u16string> textOfPage(int page) override;
    [[nodiscard]] std::optional<PdfStyledText> styledTextOfPage(int page) override;
    [[nodiscard]] Dictionary documentAttributes() override;

private:
    MuPdfDocument(const Data& data, const PdfLimits& limits) : data_(data), context_(limits) {}

    [[nodiscard]] bool openDocument();
    [[nodiscard]] bool openStream(fz_stream* (*newStream)(fz_context* engine, const Data& data));
    void lock();
    void readEncryption();
    void preparePageMap(int page);
    void emptyGrownStore();

    Data data_;  // the engine reads from these bytes as long as it lives
    Context context_;
    pdf_document* document_ = nullptr;
    int pageCount_ = 0;
    bool isLocked_ = false;
    bool isEncrypted_ = false;
    bool stringsAreReadable_ = true;
    bool triedPageMap_ = false;
    bool hasPageMap_ = false;
    std::size_t heldAtEmptying_ = 0;
};

}  // namespace halden::pdf
