#include "documents/Recognition.h"

#include "documents/CompoundFile.h"
#include "documents/PlainText.h"
#include "documents/XmlRoot.h"
#include "documents/ZipArchive.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

namespace quarry {
namespace {

/// As far as a root element may be from the beginning, and a member that tells a package's kind may be long.
constexpr std::size_t kLongestBeginning = std::size_t{256} * 1024;

std::string_view viewOf(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

DocumentKind kindOfCompoundFile(std::span<const std::uint8_t> bytes) {
    // An encrypted newer document is wrapped in a compound file, too, and cannot be read without its password.
    return compoundFileHasStream(bytes, "WordDocument") ? DocumentKind::doc : DocumentKind::unknown;
}

DocumentKind kindOfPackage(std::span<const std::uint8_t> bytes) {
    constexpr std::array<std::string_view, 4> kMainParts{
        "application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml",
        "application/vnd.openxmlformats-officedocument.wordprocessingml.template.main+xml",
        "application/vnd.ms-word.document.macroEnabled.main+xml",
        "application/vnd.ms-word.template.macroEnabledTemplate.main+xml",
    };
    if (const auto types = contentsOfZipMember(bytes, "[Content_Types].xml", kLongestBeginning)) {
        const bool isWord = std::ranges::any_of(
            kMainParts, [&](std::string_view part) { return types->find(part) != std::string::npos; });
        return isWord ? DocumentKind::docx : DocumentKind::unknown;
    }
    if (const auto type = contentsOfZipMember(bytes, "mimetype", 256)) {
        const std::string_view name = std::string_view(*type).substr(0, type->find_last_not_of(" \r\n") + 1);
        const bool isTextDocument = name == "application/vnd.oasis.opendocument.text" ||
                                    name == "application/vnd.oasis.opendocument.text-template";
        return isTextDocument ? DocumentKind::odt : DocumentKind::unknown;
    }
    return DocumentKind::unknown;
}

/// The beginning as bytes in which markup is ASCII: UTF-16 loses what is not.
std::string asciiBeginning(std::string_view bytes) {
    const bool isLittle = bytes.starts_with("\xFF\xFE") || bytes.starts_with(std::string_view("<\0", 2));
    const bool isBig = bytes.starts_with("\xFE\xFF") || bytes.starts_with(std::string_view("\0<", 2));
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    if (!isLittle && !isBig) return std::string(bytes.substr(0, kLongestBeginning));
    std::string text;
    bytes = bytes.substr(0, 2 * kLongestBeginning);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const char high = bytes[isLittle ? i + 1 : i];
        const char low = bytes[isLittle ? i : i + 1];
        if (high == '\0') text.push_back(low);
    }
    return text;
}

DocumentKind kindOfRoot(const XmlRoot& root, std::string_view beginning) {
    if (root.localName() == "document" && root.namespaceUri() == "urn:oasis:names:tc:opendocument:xmlns:office:1.0") {
        const std::string prefix = root.name.substr(0, root.name.find(':'));
        const std::string_view type = root.attribute(prefix + ":mimetype");
        return type.starts_with("application/vnd.oasis.opendocument.text") ? DocumentKind::fodt : DocumentKind::unknown;
    }
    if (root.localName() == "wordDocument" &&
        root.namespaceUri() == "http://schemas.microsoft.com/office/word/2003/wordml")
        return DocumentKind::wordML;
    if (root.localName() == "package" && root.namespaceUri() == "http://schemas.microsoft.com/office/2006/xmlPackage")
        return beginning.find("Word.Document") != std::string_view::npos ? DocumentKind::flatDocx
                                                                         : DocumentKind::unknown;
    if (root.namespaceUri() == "http://www.w3.org/1999/xhtml") return DocumentKind::html;
    return DocumentKind::unknown;
}

bool equalIgnoringCase(std::string_view a, std::string_view lower) {
    return a.size() == lower.size() && std::ranges::equal(a, lower, [](char x, char y) {
               return (x >= 'A' && x <= 'Z' ? static_cast<char>(x + 0x20) : x) == y;
           });
}

/// Whether text begins as pages do, after comments and declarations.
bool beginsLikePage(std::string_view text) {
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n\f"), text.size()));
        const std::string_view end = text.starts_with("<!--") ? "-->" : "?>";
        if (!text.starts_with("<!--") && !text.starts_with("<?xml")) break;
        const std::size_t place = text.find(end);
        if (place == std::string_view::npos) return false;
        text.remove_prefix(place + end.size());
    }
    constexpr std::array<std::string_view, 5> kBeginnings{"<!doctype html", "<html", "<head", "<body", "<title"};
    return std::ranges::any_of(kBeginnings, [&](std::string_view beginning) {
        const std::string_view follower = text.substr(std::min(beginning.size(), text.size()), 1);
        return equalIgnoringCase(text.substr(0, beginning.size()), beginning) && !follower.empty() &&
               std::string_view(" \t\r\n\f>/").find(follower[0]) != std::string_view::npos;
    });
}

bool isWebArchive(std::string_view bytes) {
    constexpr std::string_view kKey = "WebMainResource";
    if (bytes.starts_with("bplist")) return bytes.find(kKey) != std::string_view::npos;
    if (!bytes.starts_with("<?xml") && !bytes.starts_with("<!DOCTYPE plist") && !bytes.starts_with("<plist"))
        return false;
    return bytes.substr(0, 1024).find("<plist") != std::string_view::npos && bytes.find(kKey) != std::string_view::npos;
}

/// As RTF, where a mark of UTF-8 and blank lines stand before the document at most.
bool beginsAsRtf(std::string_view bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    bytes.remove_prefix(std::min(bytes.find_first_not_of(" \t\r\n"), bytes.size()));
    return bytes.starts_with("{\\rtf");
}

/// What has a signature at its very beginning; nullopt for anything else.
std::optional<DocumentKind> kindOfSignature(std::span<const std::uint8_t> bytes) {
    const std::string_view view = viewOf(bytes);
    if (beginsAsRtf(view)) return DocumentKind::rtf;
    if (view.starts_with(std::string_view("rtfd\0\0\0\0", 8))) return DocumentKind::flatRtfd;
    if (isCompoundFile(bytes)) return kindOfCompoundFile(bytes);
    if (isZipArchive(bytes)) return kindOfPackage(bytes);
    if (isWebArchive(view)) return DocumentKind::webArchive;
    return std::nullopt;
}

}  // namespace

DocumentKind recognizeDocument(std::span<const std::uint8_t> bytes, TypeHint hint) {
    if (const auto kind = kindOfSignature(bytes)) return *kind;
    const std::string beginning = asciiBeginning(viewOf(bytes));
    if (const auto root = xmlRootOf(beginning)) {
        const DocumentKind kind = kindOfRoot(*root, beginning);
        if (kind != DocumentKind::unknown && !(kind == DocumentKind::html && hint == TypeHint::text)) return kind;
    }
    const bool isDeclaredText = hint == TypeHint::text || hint == TypeHint::html;
    if (hint == TypeHint::other || !isText(bytes, isDeclaredText)) return DocumentKind::unknown;
    const bool isPage = hint == TypeHint::html || (hint == TypeHint::none && beginsLikePage(beginning));
    return isPage ? DocumentKind::html : DocumentKind::plainText;
}

}  // namespace quarry
