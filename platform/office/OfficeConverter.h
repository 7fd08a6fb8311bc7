// Word-processor documents, turned into RTF by LibreOffice in a process of its own.
#pragma once

#include "foundation/Data.h"
#include "platform/office/OfficeInstallation.h"
#include "platform/worker/Worker.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

namespace halden {

/// What a document must have been recognised as: given anything else, LibreOffice makes text of noise.
enum class OfficeFormat {
    doc,        ///< Word's binary format
    docx,       ///< Office Open XML
    odt,        ///< OpenDocument in a package
    fodt,       ///< OpenDocument in one XML file
    wordML2003  ///< Word's XML of 2003, in one file
};

struct OfficeLimits {
    std::uint64_t addressSpace = std::uint64_t{2} << 30;  ///< bytes
    std::uint64_t fileSize = std::uint64_t{256} << 20;    ///< bytes of the RTF, and of every temporary file
    std::chrono::seconds cpu{60};
    std::chrono::milliseconds document{60'000};  ///< from handing the document over to its RTF
    std::chrono::seconds idle{60};               ///< how long a process that is ready waits for its document
};

/// Converts documents, each in a worker (`quarry-office`) of its own, which has a profile of its own and is gone with
/// it afterwards, so that nothing travels from one document to the next. Macros, links and the network are off.
///
/// After a document the next worker is started in advance; when no document comes within the idle time it ends by
/// itself. Used by one thread.
class OfficeConverter {
public:
    explicit OfficeConverter(OfficeLimits limits = {});
    ~OfficeConverter();
    OfficeConverter(const OfficeConverter&) = delete;
    OfficeConverter& operator=(const OfficeConverter&) = delete;

    /// The document as RTF, or nullopt with a line in the log: LibreOffice is missing, refuses the document (because it
    /// is damaged or needs a password), crashes, or reaches a limit.
    [[nodiscard]] std::optional<Data> rtfFromDocument(const Data& document, OfficeFormat format);

    /// The worker that waits for the next document; 0 when there is none.
    [[nodiscard]] pid_t waitingProcess();

private:
    [[nodiscard]] std::unique_ptr<Worker> start();
    enum class Outcome { converted, failed, notTaken };
    [[nodiscard]] Outcome convert(Worker& worker, const Data& document, OfficeFormat format);

    OfficeLimits limits_;
    std::optional<OfficeInstallation> installation_;
    std::unique_ptr<Worker> next_;
};

}  // namespace halden
