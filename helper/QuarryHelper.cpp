#include "helper/QuarryHelper.h"

#include "documents/WebArchive.h"
#include "foundation/Exception.h"
#include "helper/HtmlReading.h"
#include "helper/ImageLoader.h"
#include "helper/MoviePoster.h"
#include "helper/PdfInformation.h"
#include "platform/ipc/RunLoop.h"
#include "platform/net/LocalUrl.h"
#include "richtext/FlatRtfd.h"
#include "richtext/RtfdPackage.h"

#include <ctime>
#include <utility>

namespace quarry {

using halden::Data;
using halden::Dictionary;
using halden::Value;

QuarryHelper::QuarryHelper() : mdimporter_(std::make_unique<MetaDataImporter>()), readers_(renderer_, *this) {}

std::optional<Dictionary> QuarryHelper::metaDataForFile(std::u16string_view path) {
    std::optional<Dictionary> attributes = mdimporter_->metaDataOfFileAtPath(path);
    if (attributes) attributes->removeIf([](const Value& value) { return value.isNull(); });
    return attributes;
}

bool QuarryHelper::supportsFile(std::u16string_view path) {
    return mdimporter_->supportsFileAtPath(path);
}

std::optional<Dictionary> QuarryHelper::searchableTextOfWebArchive(std::u16string_view path) {
    return quarry::searchableTextOfWebArchive(path);
}

std::optional<Dictionary> QuarryHelper::attributedStringWithContentsOfFile(std::u16string_view path) {
    return halden::guarded(
        [&]() -> std::optional<Dictionary> {
            auto document = readers_.documentAtPath(path);
            if (!document) return std::nullopt;
            auto rtfd = halden::rtfdFromDocument(*document, static_cast<std::uint32_t>(std::time(nullptr)));
            if (!rtfd) return std::nullopt;
            Dictionary result{{u"Rtfd", std::move(*rtfd)}};
            if (!document->documentAttributes.empty())
                result.set(u"DocumentAttributes", std::move(document->documentAttributes));
            return result;
        },
        std::optional<Dictionary>());
}

bool QuarryHelper::writeRTFDDataToFile(const Data& rtfd, std::u16string_view path) {
    return halden::guarded(
        [&] {
            const auto document = halden::documentFromRtfd(rtfd);
            return document && halden::writePackage(halden::packageFromDocument(*document), path);
        },
        false);
}

std::optional<Data> QuarryHelper::PDFImageRepOfFile(std::u16string_view path) {
    return quarry::PDFImageRepOfFile(path);
}

std::optional<Dictionary> QuarryHelper::imageWithContentsOfFile(std::u16string_view path,
                                                                halden::ImageWithContentsOfFileOptions options) {
    const PdfInformation information = [this](const Data& pdf, std::optional<std::u16string_view> file, bool size) {
        return informationOfPdf(pdf, {.path = file, .size = size}, [this](std::u16string_view document) {
            return mdimporter_->textContentOfFileAtPath(document);
        });
    };
    return quarry::imageWithContentsOfFile(
        path, {.stringFromPDF = options.stringFromPDF, .canUseSpotlight = options.canUseSpotlight}, information);
}

std::optional<Data> QuarryHelper::RTFDWithHTML(const Data& html, const std::optional<std::u16string>& baseURL,
                                               const std::optional<std::u16string>& charset,
                                               halden::RTFDWithHTMLOptions options) {
    return halden::guarded(
        [&]() -> std::optional<Data> {
            const auto base = baseURL ? halden::URLWithNormalizedStringURL(*baseURL) : std::nullopt;
            const auto reading = htmlReadingOptions(base, charset.value_or(std::u16string()),
                                                    options.allowRemoteRequest ? nullptr : this);
            const auto text = renderer_.attributedStringWithHTML(html, reading);
            if (!text) return std::nullopt;
            return halden::rtfdFromDocument({*text, {}}, static_cast<std::uint32_t>(std::time(nullptr)));
        },
        std::optional<Data>());
}

halden::ResourceDecision QuarryHelper::willSendRequest(const halden::Url& request, const std::optional<halden::Url>&) {
    using Kind = halden::ResourceDecision::Kind;
    return {.kind = halden::isLocalURL(request) ? Kind::allow : Kind::deny};
}

std::optional<Dictionary> QuarryHelper::attributedStringWithPDF(const Data& pdf,
                                                                halden::AttributedStringWithPDFOptions options) {
    return halden::guarded([&] { return informationOfPdf(pdf, {.attributed = options.attributed}, nullptr); },
                           std::optional<Dictionary>());
}

std::optional<Dictionary> QuarryHelper::posterImageForMovieWithFile(std::u16string_view path) {
    return quarry::posterImageForMovieWithFile(path, halden::runForTimeInterval);
}

}  // namespace quarry
