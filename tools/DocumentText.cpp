#include "tools/DocumentText.h"

#include "richtext/FlatRtfd.h"

#include <algorithm>
#include <utility>

namespace quarry::tools {
namespace {

using halden::Dictionary;

constexpr std::u16string_view kText = u"kMDItemTextContent";

std::optional<std::u16string> stringOf(const std::optional<Dictionary>& from, std::u16string_view key) {
    const halden::Value* value = from ? from->find(key) : nullptr;
    const auto* text = value != nullptr ? value->as<std::u16string>() : nullptr;
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<std::u16string> ofImporter(halden::HaldenImExportProxy& proxy, std::u16string_view path) {
    return stringOf(proxy.metaDataForFile(path), kText);
}

std::optional<std::u16string> ofPdf(halden::HaldenImExportProxy& proxy, std::u16string_view path) {
    const auto pdf = proxy.PDFImageRepOfFile(path);
    return pdf ? stringOf(proxy.attributedStringWithPDF(*pdf, {}), u"String") : std::nullopt;
}

std::optional<std::u16string> ofRichText(halden::HaldenImExportProxy& proxy, std::u16string_view path) {
    const auto answer = proxy.attributedStringWithContentsOfFile(path);
    const halden::Value* value = answer ? answer->find(u"Rtfd") : nullptr;
    const auto* rtfd = value != nullptr ? value->as<halden::Data>() : nullptr;
    const auto document = rtfd != nullptr ? halden::documentFromRtfd(*rtfd) : std::nullopt;
    return document ? std::optional(std::u16string(document->text.string())) : std::nullopt;
}

std::optional<std::u16string> ofWebArchive(halden::HaldenImExportProxy& proxy, std::u16string_view path) {
    return stringOf(proxy.searchableTextOfWebArchive(path), u"String");
}

constexpr TextSource kSources[] = {ofImporter, ofPdf, ofRichText, ofWebArchive};

}  // namespace

std::span<const TextSource> textSources() noexcept {
    return kSources;
}

bool saysSomething(std::u16string_view text) noexcept {
    return std::ranges::any_of(
        text, [](char16_t unit) { return unit > u' ' && unit != u'\u00A0' && unit != u'\u2028' && unit != u'\uFFFC'; });
}

std::optional<Dictionary> metadataAndText(halden::HaldenImExportProxy& helper, std::u16string_view path) {
    std::optional<Dictionary> metadata = helper.metaDataForFile(path);
    if (const auto own = stringOf(metadata, kText); own && saysSomething(*own)) {
        return metadata;
    }
    if (metadata && metadata->contains(u"kMDItemSecurityMethod")) {
        return metadata;  // the other readers have no password either
    }
    for (const TextSource source : textSources().subspan(1)) {
        auto text = source(helper, path);
        if (text && saysSomething(*text)) {
            if (!metadata) {
                metadata.emplace();
            }
            metadata->set(std::u16string(kText), std::move(*text));
            break;
        }
    }
    return metadata;
}

}  // namespace quarry::tools
