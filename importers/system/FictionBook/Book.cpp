#include "importers/system/FictionBook/Book.h"

#include "importers/system/support/CleanText.h"
#include "importers/system/support/XmlEvents.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quarry::fictionbook {
namespace {

using quarry::support::XmlElement;

/// Elements that begin a line of their own.
bool isLine(std::string_view name) {
    static constexpr std::array<std::string_view, 8> kLines{"p",  "v",     "subtitle", "text-author",
                                                            "tr", "title", "date",     "stanza"};
    return std::ranges::find(kLines, name) != kLines.end();
}

/// Cells of a table stand in one line, tabs between them.
bool isCell(std::string_view name) {
    return name == "td" || name == "th";
}

/// Gathers a book from the elements of its document.
class BookReader {
public:
    void start(const XmlElement& element) {
        const std::string_view name = element.localName();
        path_.emplace_back(name);
        if (path_.size() == 1) isBook_ = name == "FictionBook";
        if (isIn("title-info") || isIn("document-info") || isIn("publish-info")) value_.clear();
        if (isIn("author") && name == "author") author_.clear();
        if (isIn("title-info") && name == "annotation") book_.annotation.clear();
    }
    void end() {
        if (path_.empty()) return;
        const std::string name = path_.back();
        if (isIn("title-info") && !isIn("annotation")) {
            endOfTitleInformation(name);
        } else if (isIn("publish-info")) {
            if (name == "publisher") book_.publishers.push_back(value_);
            if (name == "isbn") book_.isbn = value_;
        }
        if (std::string* text = textHere()) {
            if (isLine(name)) endLine(*text);
            if (isCell(name)) endCell(*text);
        }
        path_.pop_back();
    }
    void text(std::string_view text) {
        if (std::string* gathered = textHere()) {
            append(*gathered, text);
        } else if (!isIn("binary") && value_.size() + text.size() <= kMaxText) {
            value_ += text;
        }
    }
    /// nullopt for what is no book.
    [[nodiscard]] std::optional<Book> take() && {
        if (!isBook_) return std::nullopt;
        return std::move(book_);
    }

private:
    [[nodiscard]] bool isIn(std::string_view name) const { return std::ranges::find(path_, name) != path_.end(); }
    /// Where text is gathered here; null where it is a value or nothing.
    [[nodiscard]] std::string* textHere() {
        if (isIn("body")) return &book_.text;
        return isIn("title-info") && isIn("annotation") ? &book_.annotation : nullptr;
    }
    /// A run of white space, which may be a break of the document's own lines, is one space; none begins a line.
    static void append(std::string& gathered, std::string_view text) {
        if (gathered.size() + text.size() > kMaxText) return;
        for (const char letter : text) {
            const bool isSpace = letter == ' ' || letter == '\t' || letter == '\r' || letter == '\n';
            if (!isSpace) {
                gathered += letter;
            } else if (!gathered.empty() && std::string_view{" \t\n"}.find(gathered.back()) == std::string_view::npos) {
                gathered += ' ';
            }
        }
    }
    static void endCell(std::string& text) {
        if (!text.empty() && text.back() == ' ') text.pop_back();
        if (!text.empty() && text.back() != '\n') text += '\t';
    }
    static void endLine(std::string& text) {
        while (!text.empty() && (text.back() == '\t' || text.back() == ' '))
            text.pop_back();
        if (!text.empty() && text.back() != '\n') text += '\n';
    }
    void endOfTitleInformation(std::string_view name) {
        const std::string line = quarry::support::cleanLine(value_);
        if (isIn("author")) {
            const bool isOfName = name == "first-name" || name == "middle-name" || name == "last-name";
            if (isOfName || (name == "nickname" && author_.empty())) author_ += (author_.empty() ? "" : " ") + line;
            if (name == "author" && !author_.empty()) book_.authors.push_back(author_);
        } else if (name == "book-title") {
            book_.title = line;
        } else if (name == "lang") {
            book_.languages.push_back(line);
        } else if (name == "keywords") {
            for (std::string& keyword : quarry::support::cleanList(value_))
                book_.keywords.push_back(std::move(keyword));
        }
    }

    std::vector<std::string> path_;  // the elements around
    bool isBook_ = false;
    std::string value_, author_;
    Book book_;
};

}  // namespace

std::optional<Book> bookFromXml(std::string_view document) {
    BookReader reader;
    quarry::support::readXml(document, {.start =
                                            [&](const XmlElement& element) {
                                                reader.start(element);
                                                return true;
                                            },
                                        .end =
                                            [&](std::string_view) {
                                                reader.end();
                                                return true;
                                            },
                                        .text =
                                            [&](std::string_view text) {
                                                reader.text(text);
                                                return true;
                                            }});
    return std::move(reader).take();
}

}  // namespace quarry::fictionbook
