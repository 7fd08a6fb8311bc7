#include "importers/system/packages/BookText.h"

#include "importers/system/HTML/HtmlText.h"
#include "importers/system/support/XmlEvents.h"

#include <map>
#include <set>

namespace quarry::packages {
namespace {

using support::XmlElement;

std::string_view localPart(std::string_view name) {
    return name.substr(name.rfind(' ') + 1);
}

int hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// The member that an address in a document of `folder` ("" or "a/b/") names.
std::string memberNamed(std::string_view folder, std::string_view address) {
    std::string path(folder);
    address = address.substr(0, address.find('#'));
    for (std::size_t i = 0; i < address.size(); ++i) {
        const int high = address[i] == '%' && i + 2 < address.size() ? hexDigit(address[i + 1]) : -1;
        const int low = high >= 0 ? hexDigit(address[i + 2]) : -1;
        path.push_back(low >= 0 ? static_cast<char>(high * 16 + low) : address[i]);
        if (low >= 0) i += 2;
    }
    for (std::size_t up = 0; (up = path.find("/../")) != std::string::npos;) {
        const std::size_t before = up > 0 ? path.rfind('/', up - 1) : std::string::npos;
        const std::size_t start = before == std::string::npos ? 0 : before + 1;
        path.erase(start, up + 4 - start);
    }
    return path;
}

std::string packageDocumentOf(std::string_view container) {
    std::string path;
    support::readXml(container, {.start = [&](const XmlElement& element) {
                         const auto name =
                             element.localName() == "rootfile" ? element.attribute("full-path") : std::nullopt;
                         if (name) path = *name;
                         return path.empty();
                     }});
    return path;
}

std::set<std::string, std::less<>> encryptedMembers(std::string_view encryption) {
    std::set<std::string, std::less<>> members;
    support::readXml(encryption, {.start = [&](const XmlElement& element) {
                         const auto name =
                             element.localName() == "CipherReference" ? element.attribute("URI") : std::nullopt;
                         if (name) members.insert(memberNamed("", *name));
                         return true;
                     }});
    return members;
}

/// The package document: Dublin Core, the files, and the order in which they are read.
struct PackageDocument {
    std::map<std::string, std::string> files;
    std::vector<std::string> order;

    void read(std::string_view xml, DocumentInformation& information) {
        std::string value;
        bool isModified = false;
        support::readXml(xml, {.start =
                                   [&](const XmlElement& element) {
                                       value.clear();
                                       const auto event =
                                           element.attribute("property")
                                               .value_or(element.attribute("event").value_or(std::string_view()));
                                       isModified = event == "dcterms:modified" || event == "modification";
                                       addFile(element);
                                       return true;
                                   },
                               .end =
                                   [&](std::string_view name) {
                                       set(localPart(name), support::cleanLine(value), isModified, information);
                                       value.clear();
                                       return true;
                                   },
                               .text =
                                   [&](std::string_view run) {
                                       value += run;
                                       return value.size() < kMaxText;
                                   }});
    }

    void addFile(const XmlElement& element) {
        const auto identifier = element.attribute("id");
        const auto address = element.attribute("href");
        const auto reference = element.attribute("idref");
        if (element.localName() == "item" && identifier && address) files.emplace(*identifier, *address);
        if (element.localName() == "itemref" && reference) order.emplace_back(*reference);
    }

    static void set(std::string_view name, std::string value, bool isModified, DocumentInformation& information) {
        if (value.empty()) return;
        if (isModified)
            information.modified = secondsFromDate(value);
        else if (name == "title" && information.title.empty())
            information.title = std::move(value);
        else if (name == "creator")
            information.authors.push_back(std::move(value));
        else if (name == "publisher")
            information.publishers.push_back(std::move(value));
        else if (name == "language")
            information.languages.push_back(std::move(value));
        else if (name == "subject")
            information.keywords.push_back(std::move(value));
        else if (name == "identifier" && information.identifier.empty())
            information.identifier = std::move(value);
        else if (name == "rights")
            information.rights = std::move(value);
        else if (name == "date")
            information.created = secondsFromDate(value);
        else if (name == "description")
            information.description = support::textOfMarkup(support::markupFromBytes(value).value_or(u""));
    }
};

bool isWanted(std::string_view name) {
    const std::size_t stop = name.rfind('.');
    if (stop == std::string_view::npos) return false;
    for (const char* extension : {".xml", ".opf", ".xhtml", ".html", ".htm", ".xht"}) {
        if (support::isSameNoCase(name.substr(stop), extension)) return true;
    }
    return false;
}

}  // namespace

std::optional<DocumentInformation> informationFromBook(std::string_view bytes) {
    const ZipPackage package = packageFromBytes(bytes, isWanted);
    const std::string path = packageDocumentOf(package.member("META-INF/container.xml"));
    if (path.empty() || package.member(path).empty()) return std::nullopt;
    DocumentInformation information;
    PackageDocument document;
    document.read(package.member(path), information);
    const auto encrypted = encryptedMembers(package.member("META-INF/encryption.xml"));
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    std::set<std::string> done;
    for (const std::string& identifier : document.order) {
        const auto file = document.files.find(identifier);
        if (file == document.files.end() || information.text.size() > kMaxText) continue;
        const std::string name = memberNamed(folder, file->second);
        if (encrypted.contains(name) || !done.insert(name).second) continue;
        auto markup = support::markupFromBytes(package.member(name));
        if (!markup) continue;
        const std::string text = support::textOfMarkup(*std::move(markup));
        if (!text.empty() && !information.text.empty()) information.text += "\n\n";
        information.text += text;
    }
    return information;
}

}  // namespace quarry::packages
