#include "helper/PdfFiles.h"

#include "foundation/Path.h"
#include "platform/bundles/DirectoryContents.h"
#include "platform/types/ContentTypes.h"

#include <algorithm>

namespace quarry {
namespace {

constexpr std::u16string_view kPDFType = u"'PDF '";

/// `word` is in lower case and ASCII.
bool equalsIgnoringCase(std::u16string_view text, std::u16string_view word) {
    return std::ranges::equal(text, word, [](char16_t a, char16_t b) {
        return (a >= u'A' && a <= u'Z' ? static_cast<char16_t>(a + (u'a' - u'A')) : a) == b;
    });
}

}  // namespace

bool isRealPDFExtension(std::u16string_view extension, std::u16string_view type) {
    return equalsIgnoringCase(extension, u"pdf") || type == kPDFType;
}

bool isRealPDFFile(std::u16string_view path) {
    return isRealPDFExtension(halden::pathExtension(path), halden::NSHFSTypeOfFile(path));
}

bool isPDFBundleExtension(std::optional<std::u16string_view> extension) {
    return extension && equalsIgnoringCase(*extension, u"pdfd");
}

bool isPDFBundle(std::optional<std::u16string_view> path) {
    return path && isPDFBundleExtension(halden::pathExtension(*path));
}

std::u16string pathToPDF(std::u16string_view path) {
    if (!isPDFBundle(path)) return std::u16string(path);
    std::u16string name(halden::deletingPathExtension(halden::lastPathComponent(path)));
    std::u16string named = halden::appendingPathComponent(path, name + u".pdf");
    if (halden::fileExistsAtPath(named)) return named;
    auto documents = halden::directoryContentsAtPath(path, u"pdf", halden::EntryForm::fullPath);
    return documents.empty() ? std::u16string(path) : std::move(documents.front());
}

}  // namespace quarry
