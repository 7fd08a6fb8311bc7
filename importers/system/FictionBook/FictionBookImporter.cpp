// The importer of FictionBook, an electronic book in one XML document.
#include "importers/system/support/Attributes.h"
#include "importers/system/support/CleanText.h"
#include "importers/system/support/FileBytes.h"
#include "importers/system/support/XmlEvents.h"

#include <algorithm>
#include <array>

namespace {

using quarry::support::Attributes;
using quarry::support::XmlElement;

constexpr std::size_t kMaxLength = std::size_t{512} << 20;
constexpr std::size_t kMaxText = std::size_t{64} << 20;

/// Elements that begin a line of their own.
bool isLine(std::string_view name) {
    static constexpr std::array<std::string_view, 8> kLines{"p",  "v",     "subtitle", "text-author",
                                                            "tr", "title", "date",     "stanza"};
    return std::ranges::find(kLines, name) != kLines.end();
}

/// What is gathered of one book.
class Book {
public:
    void start(const XmlElement& element) {
        const std::string_view name = element.localName();
        path_.emplace_back(name);
        if (path_.size() == 1) isBook_ = name == "FictionBook";
        if (isIn("title-info") || isIn("document-info") || isIn("publish-info")) value_.clear();
        if (isIn("author") && name == "author") author_.clear();
        if (isIn("title-info") && name == "annotation") annotation_.clear();
    }
    void end() {
        if (path_.empty()) return;
        const std::string name = path_.back();
        if (isIn("title-info") && !isIn("annotation")) {
            endOfTitleInformation(name);
        } else if (isIn("publish-info")) {
            if (name == "publisher") publishers_.push_back(value_);
            if (name == "isbn") isbn_ = value_;
        }
        if (isIn("body") && isLine(name)) endLine(text_);
        if (isIn("annotation") && isLine(name)) endLine(annotation_);
        path_.pop_back();
    }
    void text(std::string_view text) {
        if (isIn("body")) {
            if (text_.size() + text.size() <= kMaxText && !isBlankBetween(text)) text_ += text;
        } else if (isIn("annotation")) {
            if (isIn("title-info") && annotation_.size() < kMaxText && !isBlankBetween(text)) annotation_ += text;
        } else if (!isIn("binary") && value_.size() < kMaxText) {
            value_ += text;
        }
    }
    /// False for what is no book.
    bool set(Attributes& attributes) const {
        if (!isBook_) return false;
        attributes.setLine("kMDItemTitle", title_);
        attributes.setLines("kMDItemAuthors", authors_);
        attributes.setLines("kMDItemKeywords", keywords_);
        attributes.setLines("kMDItemLanguages", languages_);
        attributes.setLines("kMDItemPublishers", publishers_);
        attributes.setLine("kMDItemIdentifier", isbn_);
        attributes.setText("kMDItemDescription", annotation_);
        attributes.setText("kMDItemTextContent", text_);
        return true;
    }

private:
    [[nodiscard]] bool isIn(std::string_view name) const { return std::ranges::find(path_, name) != path_.end(); }
    /// White space that lays the document out, between elements that hold text.
    [[nodiscard]] bool isBlankBetween(std::string_view text) const {
        return text.find_first_not_of(" \t\r\n") == text.npos && !isInsideLine();
    }
    [[nodiscard]] bool isInsideLine() const {
        return std::ranges::any_of(path_, [](const std::string& name) { return isLine(name) && name != "title"; });
    }
    static void endLine(std::string& text) {
        if (!text.empty() && text.back() != '\n') text += '\n';
    }
    void endOfTitleInformation(std::string_view name) {
        const std::string line = quarry::support::cleanLine(value_);
        if (isIn("author")) {
            const bool isOfName = name == "first-name" || name == "middle-name" || name == "last-name";
            if (isOfName || (name == "nickname" && author_.empty())) author_ += (author_.empty() ? "" : " ") + line;
            if (name == "author" && !author_.empty()) authors_.push_back(author_);
        } else if (name == "book-title") {
            title_ = line;
        } else if (name == "lang") {
            languages_.push_back(line);
        } else if (name == "keywords") {
            for (std::string& keyword : quarry::support::cleanList(value_))
                keywords_.push_back(std::move(keyword));
        }
    }

    std::vector<std::string> path_;  // the elements around
    bool isBook_ = false;
    std::string value_, author_, title_, isbn_, annotation_, text_;
    std::vector<std::string> authors_, keywords_, languages_, publishers_;
};

bool importFictionBook(Attributes& attributes, std::string_view, const char* path) {
    const auto bytes = quarry::support::bytesOfFile(path, kMaxLength);
    if (!bytes) return false;
    Book book;
    quarry::support::readXml(*bytes, {.start =
                                          [&](const XmlElement& element) {
                                              book.start(element);
                                              return true;
                                          },
                                      .end =
                                          [&](std::string_view) {
                                              book.end();
                                              return true;
                                          },
                                      .text =
                                          [&](std::string_view text) {
                                              book.text(text);
                                              return true;
                                          }});
    return book.set(attributes);
}

}  // namespace

QUARRY_IMPORTER(makeFictionBookImporter, importFictionBook)
