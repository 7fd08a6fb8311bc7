#include "importers/system/Mobi/BookText.h"

#include "foundation/Unicode.h"
#include "importers/system/HTML/HtmlText.h"
#include "importers/system/Mobi/Chapters.h"
#include "importers/system/Mobi/Huffman.h"

#include <mobi.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace quarry::mobi {
namespace {

struct Release {
    void operator()(MOBIData* book) const noexcept { mobi_free(book); }
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using Book = std::unique_ptr<MOBIData, Release>;
using Records = std::vector<std::string_view>;

constexpr std::uint32_t kNewerForm = 8;
constexpr std::size_t kLargestRecord = std::size_t{1} << 16;  // of text; 4096 bytes are usual

/// One of the forms in which a book is kept.
struct Form {
    Records records;
    BookHeader header;
};

/// Where a book is kept in both forms, the newer one is a database of its own behind a record that says so.
std::vector<Form> formsOf(const PalmDatabase& database, const BookHeader& header) {
    constexpr std::uint32_t kBoundary = 121;
    const Records& all = database.records;
    const auto tag = header.tag(kBoundary);
    const std::size_t boundary = tag ? number32(*tag, 0) : 0;
    if (boundary > 1 && boundary < all.size() && all[boundary - 1].starts_with("BOUNDARY")) {
        const auto middle = all.begin() + static_cast<std::ptrdiff_t>(boundary);
        if (const auto newer = headerFromRecord(*middle))
            return {{Records(middle, all.end()), *newer}, {Records(all.begin(), middle - 1), header}};
    }
    return {{all, header}};
}

/// Bytes of a text record, unpacked.
std::size_t largestTextOf(const Form& form) {
    return std::max<std::size_t>(form.header.recordSize, 4096);
}

/// How many records of text there are, as far as they are sound and the library's memory for them is bounded.
std::size_t textRecordsOf(const Form& form) {
    const std::size_t most =
        std::min({std::size_t{form.header.textRecords}, form.records.size() - 1, kMaxMarkup / largestTextOf(form)});
    std::size_t count = 0, bytes = 0;
    while (count < most && form.records[count + 1].size() <= kLargestRecord && bytes <= kMaxMarkup)
        bytes += form.records[++count].size();
    return count;
}

bool isHarmless(const Form& form) {
    if (form.header.compression == kUncompressed || form.header.compression == kPalmDoc) return true;
    const std::size_t first = form.header.huffmanRecord, count = form.header.huffmanRecords;
    if (form.header.compression != kHuffman || first >= form.records.size() || count > form.records.size() - first)
        return false;
    return isHarmlessDictionary(std::span(form.records).subspan(first, count));
}

/// The form as a file for the library, with what unpacking needs: it trusts lengths that files name, so it gets no
/// tags, no indexes and no pictures, and no more text than there is.
std::string fileOf(const PalmDatabase& database, const Form& form, std::size_t textRecords) {
    constexpr std::size_t kLengthPlace = 4, kNamePlace = 84, kTagsPlace = 128;
    std::string first(form.records[0]);
    const auto set = [&first](std::size_t place, std::size_t number, std::size_t length) {
        for (std::size_t i = 0; i < length && place + i < first.size(); ++i)
            first[place + i] = static_cast<char>(number >> (8 * (length - 1 - i)) & 0xFF);
    };
    const std::size_t length = textRecords * largestTextOf(form);
    if (number32(first, kLengthPlace) > length) set(kLengthPlace, length, 4);
    set(kTextRecordsPlace, textRecords, 2);
    if (form.header.isMobipocket) {
        set(kNamePlace, 0, 8);
        set(kTagsPlace, 0, 4);
    }
    Records records = form.records;
    records[0] = first;
    for (std::size_t i = textRecords + 1; i < records.size(); ++i) {
        if (i - form.header.huffmanRecord >= form.header.huffmanRecords) records[i] = {};
    }
    return bytesOfDatabase(database.header, records);
}

Book bookFromFile(std::string& bytes) {
    Book book(mobi_init());
    const std::unique_ptr<std::FILE, Release> file(fmemopen(bytes.data(), bytes.size(), "rb"));
    if (!book || !file || mobi_load_file(book.get(), file.get()) != MOBI_SUCCESS) return nullptr;
    return book;
}

/// Everything that the text records hold. Where one is damaged, what stands before it.
std::string markupOf(const MOBIData* book) {
    const std::size_t most = mobi_get_text_maxsize(book);
    if (most > kMaxMarkup) return {};
    std::string markup(most + 1, '\0');
    std::size_t length = most;
    const bool isWhole = mobi_get_rawml(book, markup.data(), &length) == MOBI_SUCCESS;
    markup.resize(isWhole ? std::min(length, most) : markup.find_last_not_of('\0') + 1);
    return markup;
}

/// Markup that is cut off may end inside a tag.
std::string textOf(std::string_view bytes, bool isUtf8) {
    const std::size_t last = bytes.find_last_of("<>");
    if (last != bytes.npos && bytes[last] == '<') bytes = bytes.substr(0, last);
    const auto markup = support::markupFromBytes(bytes, isUtf8 ? "utf-8" : "windows-1252");
    return markup ? support::textOfMarkup(*markup) : std::string();
}

void appendChapter(std::string& text, const std::string& chapter) {
    if (!chapter.empty() && !text.empty()) text += "\n\n";
    text += chapter;
}

/// Chapters whose parts do not fit together: all that there is, in the order of the file.
void appendPieces(std::string& text, std::string_view markup, bool isUtf8) {
    for (std::size_t count = 0; !markup.empty() && count < kMaxChapters; ++count) {
        // Frames end where what goes into them begins.
        constexpr std::string_view kEnd = "</html>";
        const std::size_t end = std::min(markup.find(kEnd), markup.size());
        const std::size_t frame = std::min(markup.substr(0, end).find("<?xml"), end);
        for (const std::string_view piece : {markup.substr(0, frame), markup.substr(frame, end - frame)})
            appendChapter(text, textOf(piece, isUtf8));
        markup.remove_prefix(std::min(end + kEnd.size(), markup.size()));
    }
}

std::string textOfNewerForm(const Form& form, std::string_view markup) {
    constexpr std::size_t kSections = 192, kFragments = 248, kFrames = 252, kEndOfFirstSection = 16;
    const std::string_view first = form.records[0];
    const std::size_t sections = number32(first, kSections);
    // Behind the text lie style sheets.
    if (sections < form.records.size() && form.records[sections].starts_with("FDST"))
        markup = markup.substr(0, number32(form.records[sections], kEndOfFirstSection));
    const Chapters chapters = chaptersOf(markup, form.records, number32(first, kFrames), number32(first, kFragments));
    std::string text;
    for (const std::string& chapter : chapters.markup)
        appendChapter(text, textOf(chapter, form.header.isUtf8));
    appendPieces(text, markup.substr(chapters.end), form.header.isUtf8);
    return text;
}

std::string textOfForm(const PalmDatabase& database, const Form& form) {
    const std::size_t textRecords = textRecordsOf(form);
    if (form.header.encryption != 0 || textRecords == 0 || !isHarmless(form)) return {};
    std::string bytes = fileOf(database, form, textRecords);
    const Book book = bookFromFile(bytes);
    if (!book) return {};
    const std::string markup = markupOf(book.get());
    if (markup.starts_with("%MOP")) return {};  // a PDF document in place of the text
    if (!form.header.isMobipocket && markup.find("<html") == markup.npos && markup.find("<HTML") == markup.npos)
        return halden::utf8FromUtf16(support::markupFromBytes(markup).value_or(u""));
    if (form.header.version == kNewerForm) return textOfNewerForm(form, markup);
    return textOf(markup, form.header.isUtf8);
}

}  // namespace

std::string textOfBook(const PalmDatabase& database, const BookHeader& header) {
    for (const Form& form : formsOf(database, header)) {
        if (std::string text = textOfForm(database, form); !text.empty()) return text;
    }
    return {};
}

}  // namespace quarry::mobi
