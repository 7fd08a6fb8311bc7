// The importer of mail: single messages, and mailboxes.
#include "importers/system/Mail/MailFile.h"
#include "importers/system/Mail/MailMessage.h"
#include "importers/system/support/Attributes.h"
#include "importers/system/support/FileBytes.h"

#include <set>

namespace {

using quarry::mail::Message;
using quarry::mail::Person;
using quarry::support::Attributes;

constexpr std::size_t kMaxMessageLength = std::size_t{256} << 20;
constexpr std::size_t kMaxMailboxLength = std::size_t{512} << 20;
constexpr std::size_t kMaxMailboxText = std::size_t{64} << 20;
constexpr std::size_t kMaxMailboxMessages = 100000;

/// Names and addresses of people, each once, in the order in which they came.
class People {
public:
    void add(const std::vector<Person>& people) {
        for (const Person& person : people) {
            add(names_, knownNames_, person.name.empty() ? person.address : person.name);
            add(addresses_, knownAddresses_, person.address);
        }
    }
    void set(Attributes& attributes, const char* nameKey, const char* addressKey) const {
        attributes.setLines(nameKey, names_);
        attributes.setLines(addressKey, addresses_);
    }

private:
    static void add(std::vector<std::string>& list, std::set<std::string>& known, const std::string& line) {
        if (!line.empty() && list.size() < quarry::mail::kMaxPeople && known.insert(line).second) list.push_back(line);
    }

    std::vector<std::string> names_, addresses_;
    std::set<std::string> knownNames_, knownAddresses_;
};

bool importMessage(Attributes& attributes, const Message& message) {
    People authors;
    authors.add(message.authors);
    People recipients;
    recipients.add(message.recipients);
    attributes.setLine("kMDItemTitle", message.subject);
    attributes.setLine("kMDItemSubject", message.subject);
    attributes.setLine("kMDItemIdentifier", message.identifier);
    attributes.setDate("kMDItemContentCreationDate", message.date);
    authors.set(attributes, "kMDItemAuthors", "kMDItemAuthorEmailAddresses");
    recipients.set(attributes, "kMDItemRecipients", "kMDItemRecipientEmailAddresses");
    attributes.setText("kMDItemTextContent", message.text);
    return true;
}

/// Of many messages there is no one subject and no one date: the people of all, and all texts after their subjects.
bool importMailbox(Attributes& attributes, const std::vector<std::string_view>& messages) {
    People authors;
    People recipients;
    std::string text;
    std::size_t count = 0;
    for (const std::string_view bytes : messages) {
        if (++count > kMaxMailboxMessages || text.size() > kMaxMailboxText) break;
        const auto message = quarry::mail::messageFromBytes(bytes);
        if (!message) continue;
        authors.add(message->authors);
        recipients.add(message->recipients);
        if (!text.empty()) text += text.ends_with('\n') ? "\n" : "\n\n";
        text.append(message->subject).append("\n").append(message->text);
    }
    authors.set(attributes, "kMDItemAuthors", "kMDItemAuthorEmailAddresses");
    recipients.set(attributes, "kMDItemRecipients", "kMDItemRecipientEmailAddresses");
    attributes.setText("kMDItemTextContent", text);
    return true;
}

bool importMail(Attributes& attributes, std::string_view contentType, const char* path) {
    const bool isMailbox = contentType == "com.c-command.mbox";
    const auto bytes = quarry::support::bytesOfFile(path, isMailbox ? kMaxMailboxLength : kMaxMessageLength);
    if (!bytes) return false;
    std::optional<std::string_view> single = *bytes;
    if (isMailbox) {
        const auto messages = quarry::mail::messagesInMbox(*bytes);
        if (messages.empty()) return false;
        if (messages.size() > 1) return importMailbox(attributes, messages);
        single = messages.front();
    } else if (contentType == "com.apple.mail.emlx") {
        single = quarry::mail::messageInEmlx(*bytes);
    }
    const auto message = single ? quarry::mail::messageFromBytes(*single) : std::nullopt;
    return message && importMessage(attributes, *message);
}

}  // namespace

QUARRY_IMPORTER(makeMailImporter, importMail)
