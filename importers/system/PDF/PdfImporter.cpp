// The importer of PDF documents.
#include "foundation/Unicode.h"
#include "importers/sdk/quarry_importer.h"
#include "platform/pdf/PdfDocument.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using halden::PdfDocument;
using halden::Value;

constexpr quarry_uuid kTypeID = QUARRY_IMPORTER_TYPE_ID;
constexpr quarry_uuid kInterfaceID = QUARRY_IMPORTER_INTERFACE_ID;
constexpr quarry_uuid kUnknownID = QUARRY_UNKNOWN_INTERFACE_ID;

// More text than anybody searches, and more time than anybody waits for it: a document made of endless pages ends here,
// and keeps what there is until then.
constexpr std::size_t kMaxTextLength = std::size_t{64} * 1024 * 1024;
constexpr std::chrono::seconds kMaxTime{60};

// Up to this size a file is read: reading costs little, and who shortens the file meanwhile does not take the process
// down. Larger ones are mapped, since a gigabyte is not copied to be looked at.
constexpr std::size_t kMaxReadSize = std::size_t{64} * 1024 * 1024;

bool isSame(const quarry_uuid& a, const quarry_uuid& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Puts values into the dictionary that the host has handed in.
class Attributes {
public:
    explicit Attributes(quarry_attributes* attributes) : attributes_(attributes), functions_(*attributes->functions) {}

    void setString(const char* key, std::u16string_view text) {
        const std::string utf8 = halden::utf8FromUtf16(text);
        functions_.set_string(attributes_, key, utf8.data(), utf8.size());
    }
    void setStrings(const char* key, const std::vector<std::u16string>& strings) {
        functions_.open_array(attributes_, key);
        for (const auto& string : strings)
            setString(nullptr, string);
        functions_.close(attributes_);
    }
    void setInteger(const char* key, std::int64_t number) { functions_.set_integer(attributes_, key, number); }
    void setReal(const char* key, double number) { functions_.set_real(attributes_, key, number); }
    void setDate(const char* key, halden::Date date) { functions_.set_date(attributes_, key, date.unixSeconds()); }

private:
    quarry_attributes* attributes_;
    const quarry_attributes_functions& functions_;
};

/// `text` without control characters; line feeds and tabs stay.
std::u16string cleanText(std::u16string text) {
    std::erase_if(text, [](char16_t unit) {
        const bool isControl = unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
        return isControl && unit != u'\n' && unit != u'\t';
    });
    return text;
}

/// A title or a name: clean, and without white space around it.
std::u16string cleanLine(const std::u16string& text) {
    constexpr std::u16string_view kSpaces = u" \t\n\u00A0";
    std::u16string clean = cleanText(text);
    clean.erase(clean.find_last_not_of(kSpaces) + 1);
    clean.erase(0, std::min(clean.find_first_not_of(kSpaces), clean.size()));
    return clean;
}

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

std::vector<std::u16string> cleanLines(const Value& value) {
    std::vector<std::u16string> lines;
    const auto add = [&lines](const Value& string) {
        const auto* text = string.as<std::u16string>();
        std::u16string line = text != nullptr ? cleanLine(*text) : std::u16string();
        if (!line.empty()) lines.push_back(std::move(line));
    };
    if (const auto* list = value.as<halden::Array>())
        std::for_each(list->begin(), list->end(), add);
    else
        add(value);
    return lines;
}

/// Empty strings and lists are left out: they say nothing.
void setMapped(Attributes& attributes, const Mapping& mapping, const Value& value) {
    if (const auto* date = value.as<halden::Date>()) {
        attributes.setDate(mapping.attribute, *date);
        return;
    }
    const auto lines = cleanLines(value);
    if (lines.empty()) return;
    if (mapping.isList)
        attributes.setStrings(mapping.attribute, lines);
    else
        attributes.setString(mapping.attribute, lines.front());
}

/// The text of all pages, each ended by a line feed.
std::u16string textOfDocument(PdfDocument& document, Clock::time_point end) {
    std::u16string text;
    for (int page = 0; page < document.pageCount() && text.size() < kMaxTextLength && Clock::now() < end; ++page) {
        std::u16string pageText = cleanText(document.textOfPage(page).value_or(u""));
        if (!pageText.empty()) text.append(pageText).push_back(u'\n');
    }
    return text;
}

void setAttributes(Attributes& attributes, PdfDocument& document, Clock::time_point end) {
    const halden::Dictionary information = document.documentAttributes();
    for (const Mapping& mapping : kMappings) {
        if (const Value* value = information.find(mapping.entry)) setMapped(attributes, mapping, *value);
    }
    // A locked document may hide its pages; then their number is not known.
    if (document.pageCount() > 0 || !document.isLocked()) {
        attributes.setInteger("kMDItemNumberOfPages", document.pageCount());
    }
    if (const auto size = document.mediaBoxOfPage(0)) {
        attributes.setReal("kMDItemPageWidth", size->width);
        attributes.setReal("kMDItemPageHeight", size->height);
    }
    if (const std::string version = document.version(); !version.empty()) {
        attributes.setString("kMDItemVersion", halden::utf16FromUtf8(version));
    }
    attributes.setString("kMDItemSecurityMethod", document.isEncrypted() ? u"Password Encrypted" : u"None");
    // The text comes last: should a page take the helper's memory or patience, it is the attributes that matter.
    if (const std::u16string text = textOfDocument(document, end); !text.empty()) {
        attributes.setString("kMDItemTextContent", text);
    }
}

std::optional<halden::Data> contentsOfFile(const char* path) {
    auto data = halden::Data::contentsOfFile(path, kMaxReadSize);
    return data ? data : halden::Data::mappedContentsOfFile(path);
}

std::uint8_t importPdf(quarry_importer*, quarry_attributes* dictionary, const char*, const char* path) {
    const auto end = Clock::now() + kMaxTime;
    const auto data = contentsOfFile(path);
    const double seconds = std::chrono::duration<double>(kMaxTime).count();
    const halden::PdfLimits limits{.seconds = seconds, .secondsInAll = seconds};
    const auto document = data ? PdfDocument::documentWithData(*data, limits) : nullptr;
    if (!document) return 0;
    Attributes attributes(dictionary);
    setAttributes(attributes, *document, end);
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
