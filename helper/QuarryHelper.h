// The root object of the helper process.
#pragma once

#include "helper/RichTextReaders.h"
#include "importers/MetaDataImporter.h"
#include "platform/ipc/HaldenImExport.h"
#include "platform/web/HtmlRenderer.h"

#include <memory>
#include <optional>
#include <string_view>

namespace quarry {

/// The service: carries out the operations of `HaldenImExport`, each on the main thread.
///
/// Keeps nothing from one request to the next but the importer host with the plug-ins that it has loaded, and the
/// worker that the readers of rich text start in advance: an operation that iterates the run loop may see another
/// request dispatched inside it, so operations keep their state in locals.
class QuarryHelper final : public halden::HaldenImExport, public halden::ResourceLoadDelegate {
public:
    QuarryHelper();

    std::optional<halden::Data> PDFImageRepOfFile(std::u16string_view path) override;
    std::optional<halden::Dictionary> imageWithContentsOfFile(std::u16string_view path,
                                                              halden::ImageWithContentsOfFileOptions options) override;
    std::optional<halden::Dictionary> attributedStringWithPDF(const halden::Data& pdf,
                                                              halden::AttributedStringWithPDFOptions options) override;
    std::optional<halden::Dictionary> posterImageForMovieWithFile(std::u16string_view path) override;

    /// "Rtfd", the document as RTFD data, and "DocumentAttributes", which is left out when its reader reports none; nil
    /// when the document cannot be read, no reader takes it, or a reader throws.
    std::optional<halden::Dictionary> attributedStringWithContentsOfFile(std::u16string_view path) override;
    /// Never nil: an empty dictionary stands for a file that is no archive.
    std::optional<halden::Dictionary> searchableTextOfWebArchive(std::u16string_view path) override;
    /// Whether the RTFD data was written as a package; false for data that is no RTFD.
    bool writeRTFDDataToFile(const halden::Data& rtfd, std::u16string_view path) override;
    /// The page as RTFD data: nil for nil data, and when there is no web engine or it fails. What does not load within
    /// 15 s is left out. Without remote requests this object is the page's delegate.
    std::optional<halden::Data> RTFDWithHTML(const halden::Data& html, const std::optional<std::u16string>& baseURL,
                                             const std::optional<std::u16string>& charset,
                                             halden::RTFDWithHTMLOptions options) override;

    /// The attributes that the importers report for the file, without the null ones. An exception that is raised while
    /// the importers are looked for travels to the caller.
    std::optional<halden::Dictionary> metaDataForFile(std::u16string_view path) override;
    bool supportsFile(std::u16string_view path) override;

    /// Lets requests for local addresses through, whatever redirected to them, and no others.
    halden::ResourceDecision willSendRequest(const halden::Url& request,
                                             const std::optional<halden::Url>& redirectedFrom) override;

private:
    std::unique_ptr<MetaDataImporter> mdimporter_;
    halden::HtmlRenderer renderer_;
    RichTextReaders readers_;
};

}  // namespace quarry
