#include "helper/RichTextSource.h"

#include "foundation/Path.h"
#include "platform/types/ContentTypes.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <array>

namespace quarry {
namespace {

using halden::Data;
using halden::OfficeFormat;

bool isFolder(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isRegularFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

TypeHint hintOfType(std::u16string_view path) {
    const auto type = halden::contentTypeOfFile(path);
    const halden::ContentTypes types;
    if (!type || *type == u"public.data" || *type == u"public.unix-executable" || type->starts_with(u"dyn."))
        return TypeHint::none;
    if (types.conformsTo(*type, u"public.html") || types.conformsTo(*type, u"public.xhtml")) return TypeHint::html;
    // Its bytes would have told.
    if (types.conformsTo(*type, u"public.rtf")) return TypeHint::other;
    return types.conformsTo(*type, u"public.text") ? TypeHint::text : TypeHint::other;
}

/// What other systems' file servers keep of a text's encoding.
halden::CFStringEncoding declaredEncoding(const std::string& path) {
    std::array<char, 256> text{};
    const ssize_t length = getxattr(path.c_str(), "user.com.apple.TextEncoding", text.data(), text.size());
    return encodingFromAttribute({text.data(), length > 0 ? static_cast<std::size_t>(length) : 0});
}

std::optional<RichTextSource> plainText(const Data& bytes, const std::string& path) {
    if (bytes.length() > RichTextSources::kLongestText) return std::nullopt;
    auto text = plainTextFromBytes(bytes.span(), declaredEncoding(path));
    if (!text) return std::nullopt;
    RichTextSource source{.form = RichTextSource::Form::plainText, .text = std::move(text->text)};
    source.attributes.set(u"DocumentType", u"NSPlainText");
    source.attributes.set(u"CharacterEncoding", std::int64_t{text->encoding});
    source.attributes.set(u"UTI", u"public.plain-text");
    return source;
}

struct Conversion {
    DocumentKind kind;
    OfficeFormat format;
    const char16_t* documentType;
    const char16_t* identifier;
};

constexpr Conversion kConversions[] = {
    {DocumentKind::doc, OfficeFormat::doc, u"NSDocFormat", u"com.microsoft.word.doc"},
    {DocumentKind::docx, OfficeFormat::docx, u"NSOfficeOpenXML", u"org.openxmlformats.wordprocessingml.document"},
    {DocumentKind::odt, OfficeFormat::odt, u"NSOpenDocument", u"org.oasis-open.opendocument.text"},
    {DocumentKind::fodt, OfficeFormat::fodt, u"NSOpenDocument", u"org.oasis-open.opendocument.text"},
    {DocumentKind::wordML, OfficeFormat::wordML2003, u"NSWordML", u"com.microsoft.word.wordml"},
};

}  // namespace

std::optional<RichTextSource> RichTextSources::converted(const Data& document, DocumentKind kind) {
    for (const Conversion& conversion : kConversions) {
        if (conversion.kind != kind) continue;
        auto rtf = office_.rtfFromDocument(document, conversion.format);
        if (!rtf) return std::nullopt;
        RichTextSource source{.form = RichTextSource::Form::rtf, .bytes = std::move(*rtf)};
        source.isConverted = true;
        source.attributes.set(u"DocumentType", conversion.documentType);
        source.attributes.set(u"UTI", conversion.identifier);
        return source;
    }
    return std::nullopt;
}

std::optional<RichTextSource> RichTextSources::sourceOfFile(std::u16string_view path) {
    using Form = RichTextSource::Form;
    const auto file = halden::pathBytesFromString(path);
    if (!file) return std::nullopt;
    if (isFolder(*file)) {
        if (!isRegularFile(*file + "/TXT.rtf")) return std::nullopt;
        return RichTextSource{.form = Form::package, .path = std::u16string(path)};
    }
    const auto bytes = Data::contentsOfFile(*file, kLongestDocument);
    if (!bytes) return std::nullopt;
    switch (const DocumentKind kind = recognizeDocument(bytes->span(), hintOfType(path))) {
        case DocumentKind::rtf:
            return RichTextSource{.form = Form::rtf, .bytes = *bytes};
        case DocumentKind::flatRtfd:
            return RichTextSource{.form = Form::flatRtfd, .bytes = *bytes};
        case DocumentKind::plainText:
            return plainText(*bytes, *file);
        case DocumentKind::html:
            return RichTextSource{.form = Form::page, .bytes = *bytes, .path = std::u16string(path)};
        case DocumentKind::webArchive:
            return RichTextSource{.form = Form::webArchive, .bytes = *bytes};
        case DocumentKind::flatDocx:
        case DocumentKind::unknown:
            return std::nullopt;
        default:
            return converted(*bytes, kind);
    }
}

}  // namespace quarry
