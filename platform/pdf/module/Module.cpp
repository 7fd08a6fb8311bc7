// The entry of the module.
#include "platform/pdf/PdfEngine.h"
#include "platform/pdf/module/MuPdfDocument.h"

namespace halden::pdf {
namespace {

class MuPdfEngine final : public PdfEngine {
public:
    [[nodiscard]] std::string version() const override { return "MuPDF " FZ_VERSION; }
    [[nodiscard]] std::unique_ptr<PdfDocument> documentWithData(const Data& data,
                                                                const PdfLimits& limits) const override {
        return MuPdfDocument::open(data, limits);
    }
};

}  // namespace
}  // namespace halden::pdf

extern "C" __attribute__((visibility("default"))) const halden::PdfEngine* quarry_pdf_module_4() {
    static const halden::pdf::MuPdfEngine engine;
    return &engine;
}
