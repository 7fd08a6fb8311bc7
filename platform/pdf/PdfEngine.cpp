#include "platform/pdf/PdfEngine.h"

namespace halden {
namespace {

constexpr const char* kModuleName = "quarry-pdf.so";

}  // namespace

PdfEngineStatus loadPdfEngine(const std::vector<std::string>& folders) {
    return loadEngine<PdfEngine>(kModuleName, kPdfModuleEntry, folders);
}

const PdfEngineStatus& pdfEngineStatus() {
    static const PdfEngineStatus status = installedEngine<PdfEngine>("PDF engine", kModuleName, kPdfModuleEntry);
    return status;
}

std::unique_ptr<PdfDocument> PdfDocument::documentWithData(const Data& data, const PdfLimits& limits) {
    const PdfEngine* engine = pdfEngineStatus().engine;
    return engine != nullptr ? engine->documentWithData(data, limits) : nullptr;
}

}  // namespace halden
