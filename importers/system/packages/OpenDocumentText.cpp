#include "importers/system/packages/OpenDocumentText.h"

#include "importers/system/support/XmlEvents.h"

#include <algorithm>
#include <charconv>

namespace quarry::packages {
namespace {

using support::XmlElement;

constexpr std::string_view kTextSpace = "urn:oasis:names:tc:opendocument:xmlns:text:1.0";
constexpr std::string_view kOfficeSpace = "urn:oasis:names:tc:opendocument:xmlns:office:1.0";

long numberOf(std::string_view text) {
    long number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// Reads the elements of content.xml, of meta.xml, and of a flat file, which has both.
class Reader {
public:
    explicit Reader(DocumentInformation& information) : information_(information) {}

    [[nodiscard]] bool isDocument() const { return isDocument_; }

    void read(std::string_view xml) {
        path_.clear();
        paragraphs_ = passedOver_ = 0;
        support::readXml(xml, {.start = [this](const XmlElement& element) { return start(element); },
                               .end = [this](std::string_view) { return end(); },
                               .text = [this](std::string_view run) { return add(run); }});
    }

private:
    enum class Kind { other, meta, paragraph, passedOver };
    struct Open {
        Kind kind = Kind::other;
        std::string name{};
    };

    static bool isPassedOver(const XmlElement& element) {
        return element.space() == kTextSpace && element.localName() == "tracked-changes";
    }

    bool start(const XmlElement& element) {
        const std::string_view name = element.localName();
        Open open{.name = std::string(name)};
        if (element.space() == kOfficeSpace) {
            if (name.starts_with("document")) isDocument_ = true;
            if (name == "meta") open.kind = Kind::meta;
        }
        if (isPassedOver(element)) open.kind = Kind::passedOver;
        if (element.space() == kTextSpace) startText(element, open);
        if (name == "document-statistic") {
            if (const auto pages = element.attribute("page-count")) information_.pages = numberOf(*pages);
        }
        paragraphs_ += open.kind == Kind::paragraph;
        passedOver_ += open.kind == Kind::passedOver;
        path_.push_back(std::move(open));
        value_.clear();
        return true;
    }

    void startText(const XmlElement& element, Open& open) {
        constexpr long kMaxSpaces = 1000;
        const std::string_view name = element.localName();
        if (name == "p" || name == "h") open.kind = Kind::paragraph;
        if (paragraphs_ == 0 || passedOver_ > 0) return;
        if (name == "tab") information_.text.push_back('\t');
        if (name == "line-break") information_.text.push_back('\n');
        if (name == "s") {
            const auto count = element.attribute("c");
            information_.text.append(static_cast<std::size_t>(std::clamp(count ? numberOf(*count) : 1, 1L, kMaxSpaces)),
                                     ' ');
        }
    }

    bool end() {
        if (path_.empty()) return false;
        const Open open = std::move(path_.back());
        path_.pop_back();
        if (open.kind == Kind::paragraph) {
            --paragraphs_;
            if (passedOver_ == 0) information_.text.push_back('\n');
        }
        passedOver_ -= open.kind == Kind::passedOver;
        if (!path_.empty() && path_.back().kind == Kind::meta) setProperty(open.name, support::cleanLine(value_));
        value_.clear();
        return true;
    }

    bool add(std::string_view run) {
        if (paragraphs_ > 0 && passedOver_ == 0) information_.text += run;
        constexpr std::size_t kMaxValue = 1 << 20;
        if (value_.size() < kMaxValue) value_ += run;
        return information_.text.size() < kMaxText;
    }

    void setProperty(const std::string& name, std::string value) {
        if (value.empty()) return;
        if (name == "title")
            information_.title = std::move(value);
        else if (name == "subject")
            information_.subject = std::move(value);
        else if (name == "description")
            information_.description = std::move(value);
        else if (name == "initial-creator")
            information_.authors = {std::move(value)};
        else if (name == "creator")
            information_.editors = {std::move(value)};
        else if (name == "generator")
            information_.creator = std::move(value);
        else if (name == "language")
            information_.languages = {std::move(value)};
        else if (name == "keyword") {
            for (std::string& keyword : support::cleanList(value))
                information_.keywords.push_back(std::move(keyword));
        } else if (name == "creation-date")
            information_.created = secondsFromDate(value);
        else if (name == "date")
            information_.modified = secondsFromDate(value);
    }

    DocumentInformation& information_;
    std::vector<Open> path_;
    std::string value_;
    int paragraphs_ = 0;
    int passedOver_ = 0;
    bool isDocument_ = false;
};

bool hasEncryptedMembers(std::string_view manifest) {
    bool isEncrypted = false;
    support::readXml(manifest, {.start = [&](const XmlElement& element) {
                         isEncrypted = isEncrypted || element.localName() == "encryption-data";
                         return !isEncrypted;
                     }});
    return isEncrypted;
}

}  // namespace

std::optional<DocumentInformation> informationFromOpenDocument(std::string_view bytes, bool& isEncrypted) {
    DocumentInformation information;
    Reader reader(information);
    isEncrypted = false;
    if (!bytes.starts_with("PK")) {
        reader.read(bytes);
    } else {
        const ZipPackage package = packageFromBytes(bytes, [](std::string_view name) {
            return name == "content.xml" || name == "meta.xml" || name == "META-INF/manifest.xml";
        });
        isEncrypted = package.isEncrypted || hasEncryptedMembers(package.member("META-INF/manifest.xml"));
        reader.read(package.member("meta.xml"));
        if (!isEncrypted) reader.read(package.member("content.xml"));
    }
    return reader.isDocument() || isEncrypted ? std::optional(std::move(information)) : std::nullopt;
}

}  // namespace quarry::packages
