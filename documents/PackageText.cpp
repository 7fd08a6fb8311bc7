#include "documents/PackageText.h"

#include "foundation/CompressedData.h"
#include "foundation/Path.h"
#include "foundation/StringSearch.h"
#include "foundation/StringWhiteSpace.h"
#include "markup/Entities.h"
#include "markup/MarkupDecoder.h"
#include "markup/Stripping.h"
#include "platform/plists/PropertyList.h"

#include <array>
#include <filesystem>
#include <string>

namespace quarry {
namespace {

using halden::Data;
using halden::Dictionary;
using halden::Value;

constexpr std::u16string_view kTextContent = u"kMDItemTextContent";

bool isPlaceholder(const std::u16string& string) {
    return halden::firstCharacter(string) == u'<' && halden::lastCharacter(string) == u'>' &&
           !halden::containsWhiteCharacter(string);
}

bool holdsPlaceholder(const Value& value) {
    const Value* only = &value;
    if (const auto* array = value.as<halden::Array>()) {
        if (array->size() != 1) return false;
        only = &array->front();
    }
    const auto* string = only->as<std::u16string>();
    return string != nullptr && isPlaceholder(*string);
}

std::optional<Dictionary> dictionaryWithText(std::optional<std::u16string> text) {
    if (!text) return std::nullopt;
    return Dictionary{{std::u16string(kTextContent), Value(*std::move(text))}};
}

// --- Outlines ------------------------------------------------------------------------------------------------------

/// The bytes of the package's contents, inflated when they do not begin like XML.
std::optional<Data> contentsOfOutline(std::u16string_view path) {
    constexpr std::string_view kXml = "<?xml";
    const auto file = halden::pathBytesFromString(halden::appendingPathComponent(path, u"contents.xml"));
    if (!file) return std::nullopt;
    std::optional<Data> data = Data::contentsOfFile(*file, kLargestPackageText);
    if (!data || data->length() < kXml.size() || data->view().starts_with(kXml)) return data;
    return halden::dataByInflatingData(*data, kLargestPackageText);
}

std::u16string textOfOutline(std::u16string markup) {
    static const std::array<std::u16string, 4> kWithoutText{u"<style-attribute", u"<editor", u"<print-info>",
                                                            u"<auto-generate-level-styles>"};
    markup = halden::stripTagBodies(std::move(markup), kWithoutText).value_or(u"");
    markup = halden::stringByConvertingEntitiesToCharacters(halden::stripTags(markup));
    return halden::stringByRemovingMultipleSpacesAndFeeds(std::move(markup), halden::CollapsedSet::white);
}

std::optional<Dictionary> outlineText(std::u16string_view path) {
    const std::optional<Data> data = contentsOfOutline(path);
    if (!data) return std::nullopt;
    std::optional<std::u16string> markup = halden::initWithData(data->view(), halden::kNSUTF8StringEncoding);
    if (markup && !markup->empty()) markup = textOfOutline(*std::move(markup));
    return dictionaryWithText(std::move(markup));
}

// --- Chats ---------------------------------------------------------------------------------------------------------

/// The path of the only XML file in the folder.
std::optional<std::u16string> onlyXmlFile(std::u16string_view folder) {
    const auto bytes = halden::pathBytesFromString(folder);
    if (!bytes) return std::nullopt;
    std::optional<std::u16string> found;
    std::error_code error;
    std::filesystem::directory_iterator entry(*bytes, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::u16string path = halden::stringFromPathBytes(entry->path().native());
        const std::u16string_view extension = halden::pathExtension(path);
        if (extension.size() != 3 || !halden::hasPrefixNoCase(extension, u"xml")) continue;
        if (found) return std::nullopt;
        found = std::move(path);
    }
    return error ? std::nullopt : found;
}

std::optional<std::string> xmlFormOfPropertyList(std::string_view bytes) {
    const std::optional<Value> value = halden::propertyListFromData(Data::copying(bytes));
    const std::optional<Data> xml = value ? halden::xmlPropertyList(*value) : std::nullopt;
    return xml ? std::optional(std::string(xml->view())) : std::nullopt;
}

std::optional<Dictionary> chatText(std::u16string_view path) {
    const std::optional<std::u16string> file = onlyXmlFile(path);
    if (!file) return std::nullopt;
    std::optional<std::u16string> markup =
        halden::stringWithMarkupContentsOfFile(*file, halden::kNSUTF8StringEncoding, xmlFormOfPropertyList);
    if (!markup) return std::nullopt;
    return dictionaryWithText(halden::stringByConvertingEntitiesToCharacters(halden::stripTags(*markup)));
}

}  // namespace

void cleanUpPackageAttributes(Dictionary& attributes, std::u16string_view path) {
    if (halden::hasSuffixNoCase(path, u".mellel")) attributes.removeIf(holdsPlaceholder);
}

std::optional<Dictionary> textOfPackage(std::u16string_view path) {
    if (halden::hasSuffixNoCase(path, u".oo3")) return outlineText(path);
    if (halden::hasSuffixNoCase(path, u".chatlog")) return chatText(path);
    return std::nullopt;
}

}  // namespace quarry
