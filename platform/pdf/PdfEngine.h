// The PDF engine: a module of its own, loaded on first use.
#pragma once

#include "platform/pdf/PdfDocument.h"

#include <memory>
#include <string>

namespace halden {

/// What the module quarry-pdf.so offers.
class PdfEngine {
public:
    virtual ~PdfEngine() = default;
    /// "MuPDF 1.21.1".
    [[nodiscard]] virtual std::string version() const = 0;
    /// See `PdfDocument::documentWithData`.
    [[nodiscard]] virtual std::unique_ptr<PdfDocument> documentWithData(const Data& data) const = 0;
};

/// The name of the module's one entry, a function without arguments that returns a pointer to its PdfEngine. The number
/// changes whenever PdfEngine or PdfDocument do.
inline constexpr const char* kPdfModuleEntry = "quarry_pdf_module_1";

struct PdfEngineStatus {
    const PdfEngine* engine = nullptr;  ///< null when the engine is not there
    std::string path;                   ///< of the module that was loaded
    std::string reason;                 ///< why there is none
};

/// Loads the module on the first call: quarry-pdf.so beside the running program, else in libexec/quarry of the prefix
/// that the program or the object with this function lies in (an importer bundle in lib/quarry/Spotlight). It is never
/// unloaded. Thread-safe.
[[nodiscard]] const PdfEngineStatus& pdfEngineStatus();

}  // namespace halden
