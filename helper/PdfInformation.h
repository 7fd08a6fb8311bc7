// The text of PDF documents, and what they say of themselves.
#pragma once

#include "foundation/Data.h"
#include "foundation/Value.h"
#include "helper/PageTimes.h"
#include "platform/pdf/PdfDocument.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quarry {

[[nodiscard]] double steadySeconds();

/// Asks the importers for the text of a file.
using ImporterText = std::function<std::optional<std::u16string>(std::u16string_view path)>;

/// The version of the foundation classes that this system stands for. From kFirstWithRtfd on, attributed strings are
/// sent as RTFD.
inline constexpr double kFoundationVersion = 1259;
inline constexpr double kFirstWithRtfd = 833.1;

/// The time, in seconds, that the text of a document may take.
inline constexpr double kLongestReading = 60;

struct PdfInformationOptions {
    bool attributed = false;                    ///< "String" is rich text
    std::optional<std::u16string_view> path{};  ///< of the document; without one no importer is asked
    bool size = false;                          ///< add "Size", "PixelSize" and "Alpha"
    double foundationVersion = kFoundationVersion;
    /// What the engine may take; the time of opening and of all pages together is that of the text, about.
    halden::PdfLimits limits{.seconds = kLongestReading, .secondsInAll = kLongestReading};
};

/// "String" or "Locked"; "PageCount"; the document attributes; and, when they are asked for and there is a
/// page, "Size" and "PixelSize" of the first one's media box and "Alpha", which is false. nullopt for data that are no
/// PDF.
///
/// "String" is the text; or rich text as RTFD data, and for a foundation older than kFirstWithRtfd the rich text itself
/// (see `propertyListOfAttributedString`).
///
/// For plain text the importers are asked first where there is a path, unless the producer is one whose documents they
/// read badly. The document's own text, plain or rich, takes at most about a minute: the pages after it are missing.
[[nodiscard]] std::optional<halden::Dictionary> informationOfPdf(const halden::Data& pdf,
                                                                 const PdfInformationOptions& options,
                                                                 const ImporterText& importerText);

/// Whether the importers may be asked for the text of a document by this producer: not when it is empty, holds
/// "Compart" or "Ghostscript", or ends with "Quartz PDFContext", all in any case.
[[nodiscard]] bool importersMayRead(std::u16string_view producer);

/// The text of all pages, repaired and normalised, each with a line feed after it; pages without text add nothing.
/// nullopt for a document without pages.
///
/// `timeout` is the limit of `PageTimes`: pages after it are missing.
[[nodiscard]] std::optional<std::u16string> fixedAndNormalizedStringUsingTimeout(
    halden::PdfDocument& document, double timeout, const SecondsClock& clock = steadySeconds);
/// The same without a limit.
[[nodiscard]] std::optional<std::u16string> fixedAndNormalizedString(halden::PdfDocument& document);

}  // namespace quarry
