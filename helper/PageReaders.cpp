#include "helper/PageReaders.h"

#include "foundation/Unicode.h"
#include "helper/HtmlReading.h"

#include <utility>

namespace quarry {
namespace {

using halden::Data;
using halden::RichTextDocument;
using halden::Url;

std::optional<RichTextDocument> documentOf(const std::optional<halden::AttributedString>& text, const char16_t* type,
                                           const char16_t* identifier) {
    if (!text) return std::nullopt;
    RichTextDocument document{*text, {}};
    document.documentAttributes.set(u"DocumentType", type);
    document.documentAttributes.set(u"UTI", identifier);
    return document;
}

}  // namespace

halden::ResourceDecision WebArchiveDelegate::willSendRequest(const Url& request, const std::optional<Url>&) {
    using Kind = halden::ResourceDecision::Kind;
    if (const WebResource* resource = archive_.subresourceForURL(request)) {
        Data data = resource->data;
        std::u16string encoding = resource->textEncodingName.value_or(u"");
        if (data.empty() && resource->stringValue) {
            data = Data::copying(halden::utf8FromUtf16(*resource->stringValue));
            encoding = u"utf-8";
        }
        return {.kind = Kind::serve,
                .data = std::move(data),
                .MIMEType = resource->MIMEType.value_or(u""),
                .textEncodingName = std::move(encoding)};
    }
    const bool isItsOwnContents = request.hasScheme(u"data") || request.hasScheme(u"about");
    return {.kind = isItsOwnContents ? Kind::allow : Kind::deny};
}

std::optional<RichTextDocument> documentFromPage(halden::HtmlRenderer& renderer, const Data& page,
                                                 std::u16string_view path, halden::ResourceLoadDelegate* delegate) {
    const auto options = htmlReadingOptions(halden::fileURLWithPath(path), {}, delegate);
    return documentOf(renderer.attributedStringWithHTML(page, options), u"NSHTML", u"public.html");
}

std::optional<RichTextDocument> documentFromWebArchive(halden::HtmlRenderer& renderer, const Data& archive) {
    const auto contents = WebArchive::archiveWithData(archive);
    if (!contents || !contents->mainResource()) return std::nullopt;
    const WebResource& page = *contents->mainResource();
    WebArchiveDelegate delegate(*contents);
    auto options = htmlReadingOptions(contents->baseURL(), page.textEncodingName.value_or(u""), &delegate);
    Data bytes = page.data;
    if (bytes.empty() && page.stringValue) {
        bytes = Data::copying(halden::utf8FromUtf16(*page.stringValue));
        options.textEncodingName = u"utf-8";
    }
    return documentOf(renderer.attributedStringWithHTML(bytes, options), u"NSWebArchive", u"com.apple.webarchive");
}

}  // namespace quarry
