// The importer of FictionBook, an electronic book in one XML document.
#include "importers/system/FictionBook/Book.h"
#include "importers/system/support/Attributes.h"
#include "importers/system/support/FileBytes.h"

namespace {

using quarry::support::Attributes;

constexpr std::size_t kMaxLength = std::size_t{512} << 20;

bool importFictionBook(Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, kMaxLength);
    if (!bytes) return false;
    const auto book = quarry::fictionbook::bookFromXml(*bytes);
    if (!book) return false;
    attributes.setLine("kMDItemTitle", book->title);
    attributes.setLines("kMDItemAuthors", book->authors);
    attributes.setLines("kMDItemKeywords", book->keywords);
    attributes.setLines("kMDItemLanguages", book->languages);
    attributes.setLines("kMDItemPublishers", book->publishers);
    attributes.setLine("kMDItemIdentifier", book->isbn);
    attributes.setText("kMDItemDescription", book->annotation);
    attributes.setText("kMDItemTextContent", book->text);
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeFictionBookImporter, importFictionBook)
