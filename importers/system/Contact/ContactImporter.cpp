// The importer of contacts: one card or many in a file.
#include "importers/system/support/Attributes.h"
#include "importers/system/support/CleanText.h"
#include "importers/system/support/ContentLines.h"
#include "importers/system/support/FileBytes.h"

#include <algorithm>
#include <array>

namespace {

using quarry::support::Attributes;
using quarry::support::ContentLine;

constexpr std::size_t kMaxLength = std::size_t{64} << 20;
constexpr std::size_t kMaxEntries = 10000;

constexpr std::array<std::string_view, 9> kMessengers{"IMPP", "X-AIM",   "X-ICQ",   "X-JABBER",  "X-MSN",
                                                      "X-QQ", "X-SKYPE", "X-YAHOO", "X-GADUGADU"};

/// What all cards of a file say.
struct Cards {
    int count = 0;
    std::vector<std::string> names, keywords, addresses, phones, messengers, organizations, cities, countries;
    std::string text;

    static void add(std::vector<std::string>& list, std::string_view value) {
        std::string line = quarry::support::cleanLine(value);
        if (!line.empty() && list.size() < kMaxEntries) list.push_back(std::move(line));
    }
    void addText(std::string_view value) {
        if (value.empty()) return;
        text.append(value).push_back('\n');
    }

    /// Post office box, extension, street, city, region, code, country.
    void addAddress(const std::string& value) {
        const auto parts = quarry::support::unescapedParts(value, ';');
        std::string line;
        for (const std::string& part : parts)
            line.append(part).push_back(' ');
        addText(quarry::support::cleanLine(line));
        if (parts.size() > 3) add(cities, parts[3]);
        if (parts.size() > 6) add(countries, parts[6]);
    }

    void addOrganization(const std::string& value) {
        const auto parts = quarry::support::unescapedParts(value, ';');
        add(organizations, parts.front());
        for (const std::string& part : parts)
            addText(part);
    }

    void addLine(const ContentLine& line) {
        const bool isMessenger = std::find(kMessengers.begin(), kMessengers.end(), line.name) != kMessengers.end();
        const std::string value = quarry::support::unescapedText(line.value);
        if (line.name == "BEGIN") {
            if (quarry::support::isSameNoCase(value, "VCARD")) ++count;
        } else if (line.name == "ADR") {
            addAddress(line.value);
        } else if (line.name == "ORG") {
            addOrganization(line.value);
        } else if (line.name == "CATEGORIES") {
            for (const std::string& keyword : quarry::support::unescapedParts(line.value, ','))
                add(keywords, keyword);
            addText(value);
        } else if (line.name == "TEL") {
            add(phones, value.starts_with("tel:") ? value.substr(4) : value);
            addText(value);
        } else if (line.name == "FN" || line.name == "EMAIL" || isMessenger) {
            add(line.name == "FN" ? names : line.name == "EMAIL" ? addresses : messengers, value);
            addText(value);
        } else if (line.name == "NICKNAME" || line.name == "NOTE" || line.name == "TITLE" || line.name == "ROLE" ||
                   line.name == "URL") {
            addText(value);
        }
    }
};

bool importContacts(Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, kMaxLength);
    if (!bytes) return false;
    Cards cards;
    quarry::support::readContentLines(*bytes, [&cards](ContentLine&& line) {
        if (cards.count > 0 || line.name == "BEGIN") cards.addLine(line);
        return true;
    });
    if (cards.count == 0) return false;
    // Of many people there is no one name, and no one place.
    if (cards.count == 1 && !cards.names.empty()) attributes.setLine("kMDItemTitle", cards.names.front());
    if (cards.count == 1 && cards.cities.size() == 1) attributes.setLine("kMDItemCity", cards.cities.front());
    if (cards.count == 1 && cards.countries.size() == 1) attributes.setLine("kMDItemCountry", cards.countries.front());
    attributes.setLines("kMDItemContactKeywords", cards.keywords);
    attributes.setLines("kMDItemEmailAddresses", cards.addresses);
    attributes.setLines("kMDItemPhoneNumbers", cards.phones);
    attributes.setLines("kMDItemInstantMessageAddresses", cards.messengers);
    attributes.setLines("kMDItemOrganizations", cards.organizations);
    attributes.setText("kMDItemTextContent", cards.text);
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeContactImporter, importContacts)
