#include "importers/system/Mobi/BookInformation.h"

#include "foundation/DateText.h"
#include "foundation/Unicode.h"
#include "importers/system/HTML/HtmlText.h"
#include "importers/system/Mobi/BookText.h"
#include "markup/Entities.h"

#include <mobi.h>

#include <algorithm>

namespace quarry::mobi {
namespace {

enum Tag : std::uint32_t {
    kAuthor = 100,
    kPublisher = 101,
    kDescription = 103,
    kIsbn = 104,
    kSubject = 105,
    kDate = 106,
    kContributor = 108,
    kRights = 109,
    kStoreNumber = 113,
    kProgram = 204,
    kProgramMajor = 205,
    kProgramMinor = 206,
    kTitle = 503,
    kOtherStoreNumber = 504,
    kLanguage = 524
};

std::u16string decoded(std::string_view bytes, bool isUtf8) {
    if (isUtf8) return halden::utf16FromUtf8(bytes);
    return support::markupFromBytes(bytes, "windows-1252").value_or(u"");
}

class Reader {
public:
    explicit Reader(const BookHeader& header) : header_(header) {}

    /// Values may hold entities, but for descriptions no elements.
    [[nodiscard]] std::string line(std::string_view bytes) const {
        return support::cleanLine(
            halden::utf8FromUtf16(halden::stringByConvertingEntitiesToCharacters(decoded(bytes, header_.isUtf8))));
    }
    [[nodiscard]] std::string line(Tag tag) const { return line(header_.tag(tag).value_or(std::string_view())); }
    [[nodiscard]] std::vector<std::string> lines(Tag tag) const {
        std::vector<std::string> lines;
        for (const auto& [number, bytes] : header_.tags) {
            if (number != tag) continue;
            if (std::string found = line(bytes); !found.empty()) lines.push_back(std::move(found));
        }
        return lines;
    }
    [[nodiscard]] std::string text(Tag tag) const {
        return support::textOfMarkup(decoded(header_.tag(tag).value_or(std::string_view()), header_.isUtf8));
    }
    [[nodiscard]] std::optional<std::uint32_t> number(Tag tag) const {
        const auto bytes = header_.tag(tag);
        return bytes && bytes->size() == 4 ? std::optional(number32(*bytes, 0)) : std::nullopt;
    }

private:
    const BookHeader& header_;
};

/// The program that made the book: one that names itself among the contributors, with its address, or the number that
/// the vendors' own programs have.
std::string programOf(const Reader& reader, const std::vector<std::string>& contributors) {
    for (const std::string& name : contributors) {
        if (name.ends_with(']') && name.find("[http") != name.npos) return name.substr(0, name.find(" ["));
    }
    static constexpr std::pair<std::uint32_t, std::string_view> kPrograms[] = {
        {1, "mobigen"}, {2, "Mobipocket Creator"}, {200, "kindlegen"}, {201, "kindlegen"}, {202, "kindlegen"}};
    const auto number = reader.number(kProgram);
    const auto* program = std::ranges::find_if(kPrograms, [&](const auto& pair) { return pair.first == number; });
    if (program == std::end(kPrograms)) return {};
    std::string name(program->second);
    const auto major = reader.number(kProgramMajor), minor = reader.number(kProgramMinor);
    if (major && minor) name += " " + std::to_string(*major) + "." + std::to_string(*minor);
    return name;
}

std::vector<std::string> languagesOf(const Reader& reader, const BookHeader& header) {
    std::vector<std::string> languages = reader.lines(kLanguage);
    const char* language = languages.empty() && header.locale != 0 ? mobi_get_locale_string(header.locale) : nullptr;
    if (language != nullptr) languages.emplace_back(language);
    return languages;
}

void readTags(const BookHeader& header, BookInformation& information) {
    const Reader reader(header);
    packages::DocumentInformation& document = information.document;
    document.title = reader.line(kTitle);
    if (document.title.empty()) document.title = reader.line(header.name);
    document.authors = reader.lines(kAuthor);
    document.publishers = reader.lines(kPublisher);
    document.description = reader.text(kDescription);
    for (const std::string& subjects : reader.lines(kSubject)) {
        for (std::string& subject : support::cleanList(subjects, ";"))
            document.keywords.push_back(std::move(subject));
    }
    document.languages = languagesOf(reader, header);
    for (const Tag tag : {kIsbn, kStoreNumber, kOtherStoreNumber}) {
        if (document.identifier.empty()) document.identifier = reader.line(tag);
    }
    document.rights = reader.line(kRights);
    const auto date = halden::dateFromString(halden::utf16FromUtf8(reader.line(kDate)));
    if (date) document.created = date->unixSeconds();
    information.contributors = reader.lines(kContributor);
    document.creator = programOf(reader, information.contributors);
    std::erase_if(information.contributors,
                  [](const std::string& name) { return name.ends_with(']') && name.find("[http") != name.npos; });
}

}  // namespace

std::optional<BookInformation> informationFromBook(std::string_view bytes) {
    const auto database = databaseFromBytes(bytes);
    if (!database || (database->type() != "BOOKMOBI" && database->type() != "TEXtREAd")) return std::nullopt;
    const auto header = headerFromRecord(database->records[0]);
    if (!header) return std::nullopt;
    BookInformation information;
    if (header->isMobipocket)
        readTags(*header, information);
    else
        information.document.title = Reader(*header).line(database->name());
    information.isEncrypted = header->encryption != 0;
    if (!information.isEncrypted) information.document.text = textOfBook(*database, *header);
    return information;
}

}  // namespace quarry::mobi
