#include "importers/system/packages/OpenXmlText.h"

#include "importers/system/support/XmlEvents.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace quarry::packages {
namespace {

using support::XmlElement;

bool isOf(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string_view localPart(std::string_view name) {
    return name.substr(name.rfind(' ') + 1);
}

/// The text of runs: elements "t", with ends of paragraphs, breaks and tabs. It serves all three kinds of document,
/// whose elements have the same names in spaces of their own.
class RunText {
public:
    explicit RunText(std::string& text) : text_(text) {}

    void read(std::string_view xml) {
        passedOver_ = 0;
        isInText_ = isInRun_ = false;
        support::readXml(xml, {.start = [this](const XmlElement& element) { return start(element.localName()); },
                               .end = [this](std::string_view name) { return end(localPart(name)); },
                               .text =
                                   [this](std::string_view run) {
                                       if (isInText_ && passedOver_ == 0) text_ += run;
                                       return text_.size() < kMaxText;
                                   }});
    }

private:
    // A drawing's fallback says again what its newer form says; the sounds of words are no words.
    static bool isPassedOver(std::string_view name) { return isOf(name, {"Fallback", "rPh", "del", "moveFrom"}); }

    bool start(std::string_view name) {
        if (isPassedOver(name)) ++passedOver_;
        if (name == "t") isInText_ = true;
        if (passedOver_ > 0) return true;
        if (name == "tab" && isInRun_) text_.push_back('\t');
        if (isOf(name, {"br", "cr"})) text_.push_back('\n');
        if (name == "r") isInRun_ = true;
        if (name == "noBreakHyphen") text_.push_back('-');
        return true;
    }
    bool end(std::string_view name) {
        if (isPassedOver(name)) --passedOver_;
        if (name == "t") isInText_ = false;
        if (name == "r") isInRun_ = false;
        if (passedOver_ == 0 && isOf(name, {"p", "si", "is"}) && !text_.empty()) text_.push_back('\n');
        return true;
    }

    std::string& text_;
    int passedOver_ = 0;
    bool isInText_ = false;
    bool isInRun_ = false;
};

long numberOf(std::string_view text) {
    long number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// Tells the name and the text of every element that has no other in it.
template <class Handler>
void readProperties(std::string_view xml, Handler&& handle) {
    std::string text;
    support::readXml(xml, {.start =
                               [&](const XmlElement&) {
                                   text.clear();
                                   return true;
                               },
                           .end =
                               [&](std::string_view name) {
                                   handle(localPart(name), support::cleanLine(text));
                                   text.clear();
                                   return true;
                               },
                           .text =
                               [&](std::string_view run) {
                                   text += run;
                                   return text.size() < kMaxText;
                               }});
}

void readCoreProperties(std::string_view xml, DocumentInformation& information) {
    readProperties(xml, [&](std::string_view name, const std::string& value) {
        if (value.empty()) return;
        if (name == "title") information.title = value;
        if (name == "creator") information.authors = support::cleanList(value, ";");
        if (name == "subject") information.subject = value;
        if (name == "description") information.description = value;
        if (name == "keywords") information.keywords = support::cleanList(value);
        if (name == "lastModifiedBy") information.editors = {value};
        if (name == "language") information.languages = {value};
        if (name == "created") information.created = secondsFromDate(value);
        if (name == "modified") information.modified = secondsFromDate(value);
    });
}

void readApplicationProperties(std::string_view xml, DocumentInformation& information) {
    readProperties(xml, [&](std::string_view name, const std::string& value) {
        if (value.empty()) return;
        if (name == "Application") information.creator = value;
        if (name == "Company") information.organizations = {value};
        if (name == "Pages" || name == "Slides") information.pages = numberOf(value);
    });
}

/// The number in "ppt/slides/slide12.xml".
long numberInName(std::string_view name) {
    const std::size_t digit = name.find_last_not_of("0123456789", name.size() - 5);
    return numberOf(name.substr(digit + 1));
}

/// Members are kept by name; slides and sheets are shown by number.
std::vector<std::string_view> partsInOrder(const ZipPackage& package, std::string_view prefix) {
    std::vector<std::string_view> parts;
    for (const auto& [name, contents] : package.members) {
        if (name.starts_with(prefix)) parts.push_back(name);
    }
    std::ranges::stable_sort(parts, {}, numberInName);
    return parts;
}

// What holds text, in the order in which it is given: the document first, what stands beside it after that.
constexpr std::array<std::string_view, 5> kTextParts{"word/document.xml", "word/footnotes.xml", "word/endnotes.xml",
                                                     "word/comments.xml", "xl/sharedStrings.xml"};
constexpr std::array<std::string_view, 6> kNumberedTextParts{"word/header",         "word/footer",
                                                             "xl/worksheets/sheet", "xl/comments",
                                                             "ppt/slides/slide",    "ppt/notesSlides/notesSlide"};

bool isWanted(std::string_view name) {
    if (!name.ends_with(".xml")) return false;
    return isOf(name, {"docProps/core.xml", "docProps/app.xml", "xl/workbook.xml", "ppt/presentation.xml"}) ||
           std::ranges::find(kTextParts, name) != kTextParts.end() ||
           std::ranges::any_of(kNumberedTextParts, [name](std::string_view start) { return name.starts_with(start); });
}

}  // namespace

std::optional<DocumentInformation> informationFromOpenXml(std::string_view bytes) {
    const ZipPackage package = packageFromBytes(bytes, isWanted);
    const bool isDocument = std::ranges::any_of(
        std::array{"word/document.xml", "xl/workbook.xml", "ppt/presentation.xml", "docProps/core.xml"},
        [&](const char* name) { return !package.member(name).empty(); });
    if (!isDocument) return std::nullopt;
    DocumentInformation information;
    readCoreProperties(package.member("docProps/core.xml"), information);
    readApplicationProperties(package.member("docProps/app.xml"), information);
    RunText text(information.text);
    for (const std::string_view name : kTextParts) {
        if (!package.member(name).empty()) text.read(package.member(name));
    }
    for (const std::string_view prefix : kNumberedTextParts) {
        for (const std::string_view name : partsInOrder(package, prefix))
            text.read(package.member(name));
    }
    return information;
}

}  // namespace quarry::packages
