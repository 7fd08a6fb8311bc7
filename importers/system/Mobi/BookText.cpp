#include "importers/system/Mobi/BookText.h"

#include "foundation/Unicode.h"
#include "importers/system/HTML/HtmlText.h"
#include "importers/system/Mobi/Huffman.h"

#include <mobi.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>

namespace quarry::mobi {
namespace {

struct Release {
    void operator()(MOBIData* book) const noexcept { mobi_free(book); }
    void operator()(MOBIRawml* parts) const noexcept { mobi_free_rawml(parts); }
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using Book = std::unique_ptr<MOBIData, Release>;
using Parts = std::unique_ptr<MOBIRawml, Release>;
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

bool isMedia(std::string_view record) {
    static constexpr std::array<std::string_view, 9> kBegins{"\xFF\xD8", "GIF8", "\x89PNG", "BM",  "FONT",
                                                             "AUDI",     "VIDE", "SRCS",    "RESC"};
    return std::ranges::any_of(kBegins, [record](std::string_view begin) { return record.starts_with(begin); });
}

/// The form as a file for the library, with what only the text needs: it trusts lengths that files name, so it gets no
/// tags, no pictures and fonts, and no more text than there is.
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
        if (isMedia(records[i])) records[i] = {};
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

/// The newer form keeps each chapter as a frame and what goes into it, which the library puts together.
std::string textOfChapters(const MOBIData* book) {
    const Parts parts(mobi_init_rawml(book));
    if (!parts || mobi_parse_rawml_opt(parts.get(), book, false, false, false) != MOBI_SUCCESS) return {};
    std::string text;
    for (const MOBIPart* part = parts->markup; part != nullptr && text.size() <= kMaxMarkup; part = part->next) {
        if (part->type != T_HTML || part->data == nullptr) continue;
        const std::string chapter = textOf({reinterpret_cast<const char*>(part->data), part->size}, true);
        if (!chapter.empty() && !text.empty()) text += "\n\n";
        text += chapter;
    }
    return text;
}

/// Chapters whose parts do not fit together: all that there is, in the order of the file. Behind it lie style sheets.
std::string textOfDamagedChapters(const Form& form, std::string markup) {
    constexpr std::size_t kSectionsPlace = 192, kEndOfFirstSection = 16;
    const std::size_t sections = number32(form.records[0], kSectionsPlace);
    if (sections < form.records.size() && form.records[sections].starts_with("FDST"))
        markup.resize(std::min<std::size_t>(markup.size(), number32(form.records[sections], kEndOfFirstSection)));
    std::string text;
    for (std::string_view rest = markup; !rest.empty() && text.size() <= kMaxMarkup;) {
        // Frames end where what goes into them begins.
        constexpr std::string_view kEnd = "</html>";
        const std::size_t end = std::min(rest.find(kEnd), rest.size());
        const std::size_t frame = std::min(rest.substr(0, end).find("<?xml"), end);
        for (const std::string_view piece : {rest.substr(0, frame), rest.substr(frame, end - frame)}) {
            const std::string found = textOf(piece, form.header.isUtf8);
            if (!found.empty() && !text.empty()) text += "\n";
            text += found;
        }
        rest.remove_prefix(std::min(end + kEnd.size(), rest.size()));
    }
    return text;
}

std::string textOfForm(const PalmDatabase& database, const Form& form) {
    const std::size_t textRecords = textRecordsOf(form);
    if (form.header.encryption != 0 || textRecords == 0 || !isHarmless(form)) return {};
    std::string bytes = fileOf(database, form, textRecords);
    const Book book = bookFromFile(bytes);
    if (!book) return {};
    const bool isNewer = form.header.version == kNewerForm;
    if (std::string text = isNewer ? textOfChapters(book.get()) : std::string(); !text.empty()) return text;
    std::string markup = markupOf(book.get());
    if (markup.starts_with("%MOP")) return {};  // a PDF document in place of the text
    if (!form.header.isMobipocket && markup.find("<html") == markup.npos && markup.find("<HTML") == markup.npos)
        return halden::utf8FromUtf16(support::markupFromBytes(markup).value_or(u""));
    if (isNewer) return textOfDamagedChapters(form, std::move(markup));
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
