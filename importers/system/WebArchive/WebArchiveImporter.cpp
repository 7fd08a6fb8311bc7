// The importer of web archives.
#include "documents/WebArchive.h"
#include "foundation/Unicode.h"
#include "importers/system/HTML/HtmlText.h"
#include "importers/system/support/Attributes.h"
#include "importers/system/support/FileBytes.h"
#include "markup/PageMetaData.h"

namespace {

using quarry::WebArchive;
using quarry::support::Attributes;

constexpr std::size_t kMaxLength = std::size_t{512} << 20;
constexpr std::size_t kMaxTextLength = std::size_t{64} << 20;

/// The texts of the page and of its frames, those that have any, each after the other.
void appendText(std::string& text, const WebArchive& archive) {
    if (text.size() > kMaxTextLength) return;
    if (auto source = archive.documentSource()) {
        const std::string page = quarry::support::textOfMarkup(*std::move(source));
        if (!text.empty() && !page.empty()) text += "\n\n";
        text += page;
    }
    for (const WebArchive& frame : archive.subframeArchives())
        appendText(text, frame);
}

bool importWebArchive(Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, kMaxLength);
    const auto archive = bytes ? WebArchive::archiveWithData(halden::Data::copying(*bytes)) : std::nullopt;
    if (!archive) return false;
    if (const auto source = archive->documentSource()) {
        attributes.setLine("kMDItemTitle", halden::utf8FromUtf16(halden::normalizedHtmlTitle(*source)));
    }
    if (const auto url = archive->baseURL()) {
        const std::string address = halden::utf8FromUtf16(url->absoluteString());
        attributes.setLine("kMDItemURL", address);
        attributes.setLines("kMDItemWhereFroms", {address});
    }
    std::string text;
    appendText(text, *archive);
    attributes.setText("kMDItemTextContent", text);
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeWebArchiveImporter, importWebArchive)
