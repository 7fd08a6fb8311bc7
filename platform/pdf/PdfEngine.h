// The PDF engine: a module of its own, loaded on first use.
#pragma once

#include "platform/modules/EngineModule.h"
#include "platform/pdf/PdfDocument.h"

#include <memory>
#include <string>
#include <vector>

namespace halden {

/// What the module quarry-pdf.so offers.
class PdfEngine {
public:
    virtual ~PdfEngine() = default;
    /// "MuPDF 1.21.1".
    [[nodiscard]] virtual std::string version() const = 0;
    /// See `PdfDocument::documentWithData`.
    [[nodiscard]] virtual std::unique_ptr<PdfDocument> documentWithData(const Data& data,
                                                                        const PdfLimits& limits) const = 0;
};

/// The name of the module's one entry, a function without arguments that returns a pointer to its PdfEngine. The number
/// changes whenever PdfEngine, PdfDocument or a type that they pass does.
inline constexpr const char* kPdfModuleEntry = "quarry_pdf_module_4";

using PdfEngineStatus = EngineStatus<PdfEngine>;

/// Loads the first quarry-pdf.so of `folders`, and no other one should that fail. It is never unloaded.
[[nodiscard]] PdfEngineStatus loadPdfEngine(const std::vector<std::string>& folders);

/// The engine of this process, loaded on the first call from the folders of `engineModuleFolders`. A failure is logged,
/// once. Thread-safe.
[[nodiscard]] const PdfEngineStatus& pdfEngineStatus();

}  // namespace halden
