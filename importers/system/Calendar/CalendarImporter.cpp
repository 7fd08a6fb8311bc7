// The importer of calendars: events and tasks, one or many in a file.
#include "foundation/DateText.h"
#include "foundation/Unicode.h"
#include "importers/system/support/Attributes.h"
#include "importers/system/support/CleanText.h"
#include "importers/system/support/ContentLines.h"
#include "importers/system/support/FileBytes.h"

#include <algorithm>

namespace {

using quarry::support::Attributes;
using quarry::support::ContentLine;

constexpr std::size_t kMaxLength = std::size_t{64} << 20;
constexpr std::size_t kMaxEntries = 10000;

/// A point in time in UTC, or a day, which is its beginning in UTC. Local times are told by zones that the file may
/// define as it likes, and are left out.
std::optional<double> dateOf(const ContentLine& line) {
    constexpr std::size_t kDayLength = 8;
    const bool isPoint = line.value.ends_with('Z');
    if (!isPoint && line.value.size() != kDayLength) return std::nullopt;
    const auto date = halden::dateFromString(halden::utf16FromUtf8(line.value));
    return date ? std::optional(date->unixSeconds()) : std::nullopt;
}

/// What all components of a file say.
struct Components {
    bool isCalendar = false;
    int count = 0;  ///< events, tasks and journal entries
    int depth = 0;  ///< inside of the present one: alarms have descriptions of their own
    bool isInside = false;
    std::string name, title, comment, description, text;
    std::optional<double> due, created;
    std::vector<std::string> participants, addresses;

    static void add(std::vector<std::string>& list, const std::string& value) {
        if (value.empty() || list.size() >= kMaxEntries) return;
        if (std::find(list.begin(), list.end(), value) == list.end()) list.push_back(value);
    }
    void addText(const std::string& value) {
        if (!value.empty()) text.append(value).push_back('\n');
    }

    void addPerson(const ContentLine& line) {
        constexpr std::string_view kMailTo = "mailto:";
        const bool isMail = quarry::support::isSameNoCase(line.value.substr(0, kMailTo.size()), kMailTo);
        const std::string address =
            isMail ? quarry::support::cleanLine(std::string_view(line.value).substr(kMailTo.size())) : std::string();
        const std::string person = quarry::support::cleanLine(line.parameter("CN"));
        if (addresses.size() >= kMaxEntries) return;
        add(addresses, address);
        add(participants, person.empty() ? address : person);
    }

    void begin(const std::string& component) {
        if (isInside) {
            ++depth;
        } else if (component == "VCALENDAR") {
            isCalendar = true;
        } else if (component == "VEVENT" || component == "VTODO" || component == "VJOURNAL") {
            isInside = true;
            ++count;
        }
    }
    void end() {
        if (depth > 0)
            --depth;
        else
            isInside = false;
    }

    void addInside(const ContentLine& line) {
        const std::string value = quarry::support::unescapedText(line.value);
        if (line.name == "SUMMARY") title = value;
        if (line.name == "COMMENT") comment = value;
        if (line.name == "DESCRIPTION") description = value;
        if (line.name == "DUE") due = dateOf(line);
        if (line.name == "CREATED" || line.name == "DCREATED") created = dateOf(line);
        if (line.name == "ATTENDEE" || line.name == "ORGANIZER") addPerson(line);
        for (const std::string_view textual :
             {"SUMMARY", "COMMENT", "DESCRIPTION", "LOCATION", "CATEGORIES", "CONTACT"}) {
            if (line.name == textual) addText(value);
        }
    }

    void addLine(const ContentLine& line) {
        if (line.name == "BEGIN") return begin(line.value);
        if (line.name == "END") return end();
        if (isInside && depth == 0) return addInside(line);
        if (!isInside && line.name == "X-WR-CALNAME") name = quarry::support::unescapedText(line.value);
    }
};

bool importCalendar(Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, kMaxLength);
    if (!bytes) return false;
    Components all;
    quarry::support::readContentLines(*bytes, [&all](ContentLine&& line) {
        all.addLine(line);
        return true;
    });
    if (!all.isCalendar) return false;
    // What one event says is not what a calendar of many says.
    const bool isOne = all.count == 1;
    attributes.setLine("kMDItemTitle", isOne && !all.title.empty() ? all.title : all.name);
    if (isOne) {
        attributes.setDate("kMDItemDueDate", all.due);
        attributes.setDate("kMDItemContentCreationDate", all.created);
        attributes.setText("kMDItemComment", all.comment);
        attributes.setText("kMDItemDescription", all.description);
    }
    attributes.setLines("kMDItemParticipants", all.participants);
    attributes.setLines("kMDItemEmailAddresses", all.addresses);
    attributes.setText("kMDItemTextContent", all.text);
    return true;
}

}  // namespace

QUARRY_IMPORTER(makeCalendarImporter, importCalendar)
