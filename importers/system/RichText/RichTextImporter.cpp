// The importer of rich text: files, packages, and packages in one file.
#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "importers/system/support/Attributes.h"
#include "importers/system/support/FileBytes.h"
#include "richtext/DocumentAttributes.h"
#include "richtext/FlatRtfd.h"
#include "richtext/RtfReader.h"
#include "richtext/RtfdPackage.h"

namespace {

using halden::RichTextDocument;
using quarry::support::Attributes;

// Pictures stand in the file as digits.
constexpr std::size_t kMaxLength = std::size_t{256} << 20;

std::optional<RichTextDocument> documentOfFile(std::string_view contentType, const char* path) {
    if (contentType == "com.apple.rtfd") {
        return halden::documentFromRtfdPackage(halden::stringFromPathBytes(path));
    }
    const auto bytes = quarry::support::bytesOfFile(path, kMaxLength);
    if (!bytes) return std::nullopt;
    if (contentType == "com.apple.flat-rtfd") return halden::documentFromRtfd(halden::Data::copying(*bytes));
    return halden::documentFromRtf(*bytes);
}

/// The characters, without the places of attachments; breaks inside paragraphs are line feeds.
std::string textOf(const halden::AttributedString& string) {
    std::u16string text;
    text.reserve(string.length());
    for (const char16_t unit : string.string()) {
        if (unit == u'\uFFFC') continue;
        text.push_back(unit == u'\u2028' || unit == u'\u2029' ? u'\n' : unit);
    }
    return halden::utf8FromUtf16(text);
}

std::string stringOf(const halden::Dictionary& dictionary, std::u16string_view key) {
    return halden::utf8FromUtf16(halden::stringAttribute(dictionary, key));
}

std::vector<std::string> stringsOf(const halden::Dictionary& dictionary, std::u16string_view key) {
    std::vector<std::string> strings;
    const auto* value = dictionary.find(key);
    const auto* array = value != nullptr ? value->as<halden::Array>() : nullptr;
    if (array == nullptr) return strings;
    for (const auto& entry : *array) {
        if (const auto* string = entry.as<std::u16string>()) strings.push_back(halden::utf8FromUtf16(*string));
    }
    return strings;
}

void setDate(Attributes& attributes, const char* key, const halden::Value* value) {
    const auto* date = value != nullptr ? value->as<halden::Date>() : nullptr;
    if (date != nullptr) attributes.setDate(key, date->unixSeconds());
}

bool importRichText(Attributes& attributes, std::string_view contentType, const char* path) {
    const auto document = documentOfFile(contentType, path);
    if (!document) return false;
    const halden::Dictionary& said = document->documentAttributes;
    attributes.setLine("kMDItemTitle", stringOf(said, halden::kTitleKey));
    attributes.setLines("kMDItemAuthors", {stringOf(said, halden::kAuthorKey)});
    attributes.setLines("kMDItemEditors", {stringOf(said, halden::kEditorKey)});
    attributes.setLines("kMDItemOrganizations", {stringOf(said, halden::kCompanyKey)});
    attributes.setLine("kMDItemDescription", stringOf(said, halden::kSubjectKey));
    attributes.setLines("kMDItemKeywords", stringsOf(said, halden::kKeywordsKey));
    attributes.setLine("kMDItemCopyright", stringOf(said, halden::kCopyrightKey));
    attributes.setLine("kMDItemComment", stringOf(said, halden::kCommentKey));
    setDate(attributes, "kMDItemContentCreationDate", said.find(halden::kCreationTimeKey));
    setDate(attributes, "kMDItemContentModificationDate", said.find(halden::kModificationTimeKey));
    attributes.setText("kMDItemTextContent", textOf(document->text));
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeRichTextImporter, importRichText)
