// The importer of web pages.
#include "foundation/Unicode.h"
#include "importers/system/HTML/HtmlText.h"
#include "importers/system/support/Attributes.h"
#include "importers/system/support/CleanText.h"
#include "importers/system/support/FileBytes.h"
#include "markup/PageMetaData.h"

namespace {

using halden::Dictionary;
using quarry::support::Attributes;

// Nobody searches for the words beyond.
constexpr std::size_t kMaxLength = std::size_t{64} << 20;

/// The first of the names that the page has something under.
std::string metaOf(const Dictionary& meta, std::initializer_list<std::u16string_view> names) {
    for (const auto name : names) {
        const auto* value = meta.find(name);
        const auto* text = value != nullptr ? value->as<std::u16string>() : nullptr;
        std::string line = text != nullptr ? quarry::support::cleanLine(halden::utf8FromUtf16(*text)) : std::string();
        if (!line.empty()) return line;
    }
    return {};
}

bool importHtml(Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, kMaxLength);
    auto markup = bytes ? quarry::support::markupFromBytes(*bytes) : std::nullopt;
    if (!markup) return false;
    const Dictionary meta = halden::htmlMetaAttributesByConvertingEntitiesToCharacters(*markup);
    std::string title = quarry::support::cleanLine(halden::utf8FromUtf16(halden::normalizedHtmlTitle(*markup)));
    if (title.empty()) title = metaOf(meta, {u"title", u"dc.title"});
    attributes.setLine("kMDItemTitle", title);
    attributes.setLine("kMDItemDescription", metaOf(meta, {u"description", u"dc.description"}));
    attributes.setLines("kMDItemKeywords", quarry::support::cleanList(metaOf(meta, {u"keywords", u"dc.keywords"})));
    attributes.setLines("kMDItemAuthors", {metaOf(meta, {u"author", u"dc.author", u"dc.creator"})});
    attributes.setLine("kMDItemCopyright", metaOf(meta, {u"copyright", u"dc.rights"}));
    attributes.setText("kMDItemTextContent", quarry::support::textOfMarkup(*std::move(markup)));
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeHtmlImporter, importHtml)
