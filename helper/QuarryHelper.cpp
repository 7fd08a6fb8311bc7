#include "helper/QuarryHelper.h"

#include "documents/WebArchive.h"

namespace quarry {

using halden::Data;
using halden::Dictionary;
using halden::Value;

QuarryHelper::QuarryHelper() : mdimporter_(std::make_unique<MetaDataImporter>()) {}

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

// The operations below wait for their engines. Until then each answers what it answers for a document that it cannot
// read: nil or NO.

std::optional<Data> QuarryHelper::PDFImageRepOfFile(std::u16string_view) {
    return std::nullopt;
}

std::optional<Dictionary> QuarryHelper::imageWithContentsOfFile(std::u16string_view,
                                                                halden::ImageWithContentsOfFileOptions) {
    return std::nullopt;
}

std::optional<Dictionary> QuarryHelper::attributedStringWithPDF(const Data&, halden::AttributedStringWithPDFOptions) {
    return std::nullopt;
}

std::optional<Dictionary> QuarryHelper::posterImageForMovieWithFile(std::u16string_view) {
    return std::nullopt;
}

std::optional<Dictionary> QuarryHelper::attributedStringWithContentsOfFile(std::u16string_view) {
    return std::nullopt;
}

bool QuarryHelper::writeRTFDDataToFile(const Data&, std::u16string_view) {
    return false;
}

std::optional<Data> QuarryHelper::RTFDWithHTML(const Data&, const std::optional<std::u16string>&,
                                               const std::optional<std::u16string>&, halden::RTFDWithHTMLOptions) {
    return std::nullopt;
}

}  // namespace quarry
