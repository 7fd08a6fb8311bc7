// The importer of PDF documents.
#include "foundation/Unicode.h"
#include "importers/sdk/quarry_importer.h"
#include "platform/pdf/PdfDocument.h"

#include <cstring>

namespace {

using halden::PdfDocument;
using halden::Value;

constexpr quarry_uuid kTypeID = QUARRY_IMPORTER_TYPE_ID;
constexpr quarry_uuid kInterfaceID = QUARRY_IMPORTER_INTERFACE_ID;
constexpr quarry_uuid kUnknownID = QUARRY_UNKNOWN_INTERFACE_ID;

// More text than anybody searches; a document made of endless pages must not fill the memory.
constexpr std::size_t kMaxTextLength = 64U * 1024 * 1024;

bool isSame(const quarry_uuid& a, const quarry_uuid& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Puts values into the dictionary that the host has handed in.
class Attributes {
public:
    explicit Attributes(quarry_attributes* attributes) : attributes_(attributes), functions_(*attributes->functions) {}

    void setString(const char* key, const std::u16string& text) {
        const std::string utf8 = halden::utf8FromUtf16(text);
        functions_.set_string(attributes_, key, utf8.data(), utf8.size());
    }
    void setStrings(const char* key, const halden::Array& strings) {
        functions_.open_array(attributes_, key);
        for (const Value& string : strings) {
            if (const auto* text = string.as<std::u16string>()) setString(nullptr, *text);
        }
        functions_.close(attributes_);
    }
    void setInteger(const char* key, std::int64_t number) { functions_.set_integer(attributes_, key, number); }
    void setReal(const char* key, double number) { functions_.set_real(attributes_, key, number); }
    void setDate(const char* key, halden::Date date) { functions_.set_date(attributes_, key, date.unixSeconds()); }

private:
    quarry_attributes* attributes_;
    const quarry_attributes_functions& functions_;
};

/// Which attribute an entry of the document's information becomes.
struct Mapping {
    std::u16string_view entry;
    const char* attribute;
    bool isList;  ///< the attribute is an array of strings
};

constexpr Mapping kMappings[] = {
    {u"Title", "kMDItemTitle", false},
    {u"Author", "kMDItemAuthors", true},
    {u"Subject", "kMDItemDescription", false},
    {u"Keywords", "kMDItemKeywords", true},
    {u"Creator", "kMDItemCreator", false},
    {u"Producer", "kMDItemEncodingApplications", true},
    {u"CreationDate", "kMDItemContentCreationDate", false},
    {u"ModDate", "kMDItemContentModificationDate", false},
};

void setMapped(Attributes& attributes, const Mapping& mapping, const Value& value) {
    if (const auto* date = value.as<halden::Date>()) {
        attributes.setDate(mapping.attribute, *date);
    } else if (const auto* list = value.as<halden::Array>()) {
        attributes.setStrings(mapping.attribute, *list);
    } else if (const auto* text = value.as<std::u16string>(); text != nullptr && !text->empty()) {
        if (mapping.isList)
            attributes.setStrings(mapping.attribute, {value});
        else
            attributes.setString(mapping.attribute, *text);
    }
}

void appendCleanText(std::u16string& text, const std::u16string& page) {
    for (const char16_t unit : page) {
        const bool isControl = unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
        if (!isControl || unit == u'\n' || unit == u'\t') text.push_back(unit);
    }
}

/// The text of all pages, each ended by a line feed.
std::u16string textOfDocument(PdfDocument& document) {
    std::u16string text;
    for (int page = 0; page < document.pageCount() && text.size() < kMaxTextLength; ++page) {
        const auto pageText = document.textOfPage(page);
        if (!pageText || pageText->empty()) continue;
        appendCleanText(text, *pageText);
        text.push_back(u'\n');
    }
    return text;
}

void setAttributes(Attributes& attributes, PdfDocument& document) {
    const halden::Dictionary information = document.documentAttributes();
    for (const Mapping& mapping : kMappings) {
        if (const Value* value = information.find(mapping.entry)) setMapped(attributes, mapping, *value);
    }
    if (document.pageCount() > 0 || !document.isLocked()) {
        attributes.setInteger("kMDItemNumberOfPages", document.pageCount());
    }
    if (const auto size = document.mediaBoxOfPage(0)) {
        attributes.setReal("kMDItemPageWidth", size->width);
        attributes.setReal("kMDItemPageHeight", size->height);
    }
    attributes.setString("kMDItemVersion", halden::utf16FromUtf8(document.version()));
    attributes.setString("kMDItemSecurityMethod", document.isEncrypted() ? u"Password Encrypted" : u"None");
    // The text comes last: should a page take the helper's memory or patience, it is the attributes that matter.
    if (const std::u16string text = textOfDocument(document); !text.empty()) {
        attributes.setString("kMDItemTextContent", text);
    }
}

std::uint8_t importPdf(quarry_importer*, quarry_attributes* dictionary, const char*, const char* path) {
    // Mapped: a document of a gigabyte is not copied into memory to be read.
    const auto data = halden::Data::mappedContentsOfFile(path);
    const auto document = data ? PdfDocument::documentWithData(*data) : nullptr;
    if (!document) return 0;
    Attributes attributes(dictionary);
    setAttributes(attributes, *document);
    return 1;
}

// The importer has no state: one instance serves everybody and is never freed.
std::uint32_t countReference(quarry_importer*) {
    return 1;
}
quarry_result queryInterface(quarry_importer* self, quarry_uuid id, void** interface);

constexpr quarry_importer_functions kFunctions = {nullptr, queryInterface, countReference, countReference, importPdf};
quarry_importer theImporter = {&kFunctions};

quarry_result queryInterface(quarry_importer* self, quarry_uuid id, void** interface) {
    const bool isKnown = isSame(id, kInterfaceID) || isSame(id, kUnknownID);
    *interface = isKnown ? self : nullptr;
    return isKnown ? QUARRY_OK : QUARRY_NO_INTERFACE;
}

}  // namespace

extern "C" QUARRY_IMPORTER_EXPORT void* makePdfImporter(void*, quarry_uuid type) {
    return isSame(type, kTypeID) ? &theImporter : nullptr;
}
