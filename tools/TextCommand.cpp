#include "foundation/Unicode.h"
#include "richtext/FlatRtfd.h"
#include "tools/Commands.h"
#include "tools/Documents.h"

#include <algorithm>

namespace quarry::tools {

namespace {

using halden::Dictionary;
using Source = std::optional<std::u16string> (*)(halden::HaldenImExportProxy&, std::u16string_view path);

std::optional<std::u16string> stringOf(const std::optional<Dictionary>& from, std::u16string_view key) {
    const halden::Value* value = from ? from->find(key) : nullptr;
    const auto* text = value != nullptr ? value->as<std::u16string>() : nullptr;
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<std::u16string> ofImporter(halden::HaldenImExportProxy& proxy, std::u16string_view path) {
    return stringOf(proxy.metaDataForFile(path), u"kMDItemTextContent");
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

/// In this order; the first that gives anything but white space is the text.
constexpr Source kSources[] = {ofImporter, ofPdf, ofRichText, ofWebArchive};

bool saysSomething(const std::u16string& text) {
    return std::ranges::any_of(
        text, [](char16_t unit) { return unit > u' ' && unit != u'\u00A0' && unit != u'\u2028' && unit != u'\uFFFC'; });
}

}  // namespace

Status textCommand(const Invocation& invocation) {
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        Status status = Status::none;
        for (const Source source : kSources) {
            const auto text = answerAbout(
                session, file, status,
                [&](halden::HaldenImExportProxy& proxy, std::u16string_view path) { return source(proxy, path); });
            if (!text) {
                return status;
            }
            if (*text && saysSomething(**text)) {
                print(halden::utf8FromUtf16(**text));
                print((*text)->ends_with(u'\n') ? "" : "\n");
                return Status::result;
            }
        }
        return Status::none;
    });
}

}  // namespace quarry::tools
