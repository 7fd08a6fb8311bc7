#include "platform/web/PageReader.h"

#include "foundation/Json.h"
#include "foundation/Unicode.h"
#include "platform/web/CssValues.h"
#include "platform/web/DataUrl.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <utility>

namespace halden::web {
namespace {

using CharacterStyle = std::shared_ptr<const CharacterAttributes>;
using ParagraphStyle = std::shared_ptr<const ParagraphAttributes>;

constexpr char16_t kAttachment = u'\uFFFC';
constexpr double kLongest = 20000;
constexpr std::int64_t kMostColumns = 200;
constexpr std::int64_t kMostRows = 1000000;

double numberOf(const Value* value) {
    if (value == nullptr) return 0;
    double number = 0;
    if (const auto* integer = value->as<std::int64_t>()) number = static_cast<double>(*integer);
    if (const auto* real = value->as<double>()) number = *real;
    return std::isfinite(number) ? std::clamp(number, -kLongest, kLongest) : 0;
}
double number(const Dictionary& from, std::u16string_view key) {
    return numberOf(from.find(key));
}
std::int64_t integer(const Dictionary& from, std::u16string_view key, std::int64_t least, std::int64_t most) {
    const Value* value = from.find(key);
    const auto* found = value != nullptr ? value->as<std::int64_t>() : nullptr;
    return found != nullptr ? std::clamp(*found, least, most) : least;
}
std::u16string_view text(const Dictionary& from, std::u16string_view key) {
    const Value* value = from.find(key);
    const auto* found = value != nullptr ? value->as<std::u16string>() : nullptr;
    return found != nullptr ? std::u16string_view(*found) : std::u16string_view();
}
std::span<const Value> array(const Dictionary& from, std::u16string_view key) {
    const Value* value = from.find(key);
    const auto* found = value != nullptr ? value->as<Array>() : nullptr;
    return found != nullptr ? std::span<const Value>(*found) : std::span<const Value>();
}

template <class T>
const T* at(const std::vector<T>& list, const Value& index) {
    const auto* number = index.as<std::int64_t>();
    if (number == nullptr || *number < 0 || static_cast<std::uint64_t>(*number) >= list.size()) return nullptr;
    return &list[static_cast<std::size_t>(*number)];
}

int lineOfCss(std::u16string_view style) {
    if (style.empty()) return kLineNone;
    if (style == u"double") return kLineDouble;
    if (style == u"dotted") return kLineSingle | kLinePatternDot;
    if (style == u"dashed") return kLineSingle | kLinePatternDash;
    return kLineSingle;
}

CharacterStyle characterStyle(const Dictionary& from) {
    CharacterAttributes style;
    const double size = number(from, u"s");
    style.font = fontOfCss(text(from, u"f"), size > 0 ? size : 12, from.contains(u"b"), from.contains(u"i"));
    style.foreground = colorOfCss(text(from, u"c"));
    if (style.foreground == Color{}) style.foreground.reset();
    style.background = colorOfCss(text(from, u"g"));
    style.underline = lineOfCss(text(from, u"u"));
    style.underlineColor = colorOfCss(text(from, u"uc"));
    style.strikethrough = lineOfCss(text(from, u"k"));
    style.strikethroughColor = colorOfCss(text(from, u"kc"));
    style.superscript = static_cast<int>(std::clamp(number(from, u"p"), -3.0, 3.0));
    style.kern = number(from, u"ls");
    style.shadow = shadowOfCss(text(from, u"sh"));
    style.link = text(from, u"h");
    style.language = text(from, u"l");
    return std::make_shared<const CharacterAttributes>(std::move(style));
}

/// Everything that paragraphs refer to by number.
class Vocabulary {
public:
    explicit Vocabulary(const Dictionary& page) {
        for (const Value& value : array(page, u"styles"))
            characters_.push_back(characterStyle(dictionary(value)));
        for (const Value& value : array(page, u"lists")) {
            const Dictionary& list = dictionary(value);
            lists_.push_back(std::make_shared<const TextList>(TextList{
                std::u16string(text(list, u"m")), static_cast<int>(integer(list, u"n", -kMostRows, kMostRows))}));
        }
        for (const Value& value : array(page, u"tables"))
            tables_.push_back(std::make_shared<const TextTable>(
                TextTable{static_cast<int>(integer(dictionary(value), u"c", 1, kMostColumns))}));
        for (const Value& value : array(page, u"cells"))
            cells_.push_back(cell(dictionary(value)));
        for (const Value& value : array(page, u"ps"))
            paragraphs_.push_back(paragraph(dictionary(value)));
    }

    [[nodiscard]] const CharacterStyle* characters(const Value& index) const { return at(characters_, index); }
    [[nodiscard]] const ParagraphStyle* paragraph(const Value& index) const { return at(paragraphs_, index); }

    static const Dictionary& dictionary(const Value& value) {
        static const Dictionary kEmpty;
        const auto* found = value.as<Dictionary>();
        return found != nullptr ? *found : kEmpty;
    }

private:
    [[nodiscard]] TextTableBlock cell(const Dictionary& from) const {
        static const auto kTable = std::make_shared<const TextTable>();
        TextTableCellStyle style;
        style.background = colorOfCss(text(from, u"g"));
        const auto borders = array(from, u"b");
        const auto padding = array(from, u"p");
        for (std::size_t edge = 0; edge < 4; ++edge) {
            if (edge < padding.size()) style.padding[edge] = std::max(0.0, numberOf(&padding[edge]));
            const auto* border = edge < borders.size() ? borders[edge].as<Array>() : nullptr;
            if (border == nullptr || border->size() != 2) continue;
            style.borders[edge].width = std::max(0.0, numberOf(&(*border)[0]));
            if (const auto* color = (*border)[1].as<std::u16string>();
                color != nullptr && style.borders[edge].width > 0)
                style.borders[edge].color = colorOfCss(*color);
        }
        if (text(from, u"v") == u"middle") style.verticalAlignment = VerticalAlignment::middle;
        if (text(from, u"v") == u"bottom") style.verticalAlignment = VerticalAlignment::bottom;
        const Value* table = from.find(u"t");
        const auto* found = table != nullptr ? at(tables_, *table) : nullptr;
        TextTableBlock block;
        block.table = found != nullptr ? *found : kTable;
        block.style = std::make_shared<const TextTableCellStyle>(style);
        block.width = std::max(0.0, number(from, u"w"));
        block.row = static_cast<int>(integer(from, u"r", 0, kMostRows));
        block.rowSpan = static_cast<int>(integer(from, u"rs", 1, kMostRows));
        block.column = static_cast<int>(integer(from, u"c", 0, block.table->columnCount - 1));
        block.columnSpan = static_cast<int>(integer(from, u"cs", 1, block.table->columnCount - block.column));
        return block;
    }

    [[nodiscard]] ParagraphStyle paragraph(const Dictionary& from) const {
        ParagraphAttributes style;
        const std::u16string_view alignment = text(from, u"al");
        if (alignment == u"left") style.alignment = TextAlignment::left;
        if (alignment == u"right") style.alignment = TextAlignment::right;
        if (alignment == u"center") style.alignment = TextAlignment::center;
        if (alignment == u"justify") style.alignment = TextAlignment::justified;
        if (from.contains(u"rtl")) style.writingDirection = WritingDirection::rightToLeft;
        style.firstLineHeadIndent = number(from, u"fi");
        style.headIndent = number(from, u"hi");
        style.tailIndent = std::min(0.0, number(from, u"ti"));
        style.paragraphSpacingBefore = std::max(0.0, number(from, u"sb"));
        style.paragraphSpacing = std::max(0.0, number(from, u"sa"));
        style.lineHeightMultiple = std::max(0.0, number(from, u"lh"));
        style.headerLevel = static_cast<int>(integer(from, u"h", 0, 6));
        for (const Value& tab : array(from, u"tabs"))
            style.tabStops.push_back({std::max(0.0, numberOf(&tab)), TabStopType::left});
        for (const Value& list : array(from, u"li")) {
            if (const auto* found = at(lists_, list)) style.lists.push_back(*found);
        }
        for (const Value& block : array(from, u"bl")) {
            if (const auto* found = at(cells_, block)) style.blocks.push_back(*found);
        }
        return std::make_shared<const ParagraphAttributes>(std::move(style));
    }

    std::vector<CharacterStyle> characters_;
    std::vector<std::shared_ptr<const TextList>> lists_;
    std::vector<std::shared_ptr<const TextTable>> tables_;
    std::vector<TextTableBlock> cells_;
    std::vector<ParagraphStyle> paragraphs_;
};

/// The images of a page as attachments, each with a name of its own.
class Attachments {
public:
    Attachments(const Dictionary& page, const PageContents& contents) : entries_(array(page, u"images")) {
        for (const PageImage& image : contents.images)
            images_.try_emplace(image.address, &image);
    }

    /// A null pointer for an image whose bytes are not there.
    [[nodiscard]] std::shared_ptr<const Attachment> attachment(const Value& index) {
        const auto* number = index.as<std::int64_t>();
        if (number == nullptr || *number < 0 || static_cast<std::uint64_t>(*number) >= entries_.size()) return nullptr;
        const Dictionary& entry = Vocabulary::dictionary(entries_[static_cast<std::size_t>(*number)]);
        const std::string address = utf8FromUtf16(text(entry, u"u"));
        const std::u16string_view drawn = text(entry, u"d");
        std::optional<DataUrl> own = dataOfDataUrl(drawn.empty() ? address : utf8FromUtf16(drawn));
        if (!own) {
            const auto found = images_.find(address.substr(0, address.find('#')));
            if (found == images_.end()) return nullptr;
            own = DataUrl{found->second->mediaType, found->second->data};
        }
        if (own->data.empty()) return nullptr;
        const ImageKind kind = imageKindOf(own->data, own->mediaType);
        Attachment attachment;
        attachment.file.name = uniqueName(nameOfAddress(address), kind.extension);
        attachment.file.data = std::move(own->data);
        attachment.type = kind.type;
        attachment.size = {::halden::web::number(entry, u"w"), ::halden::web::number(entry, u"h")};
        return std::make_shared<const Attachment>(std::move(attachment));
    }

private:
    std::u16string uniqueName(std::u16string stem, std::u16string_view extension) {
        if (stem.empty()) stem = u"image";
        for (int count = 1;; ++count) {
            std::u16string name = stem;
            if (count > 1) name += u"-" + utf16FromUtf8(std::to_string(count));
            name += u'.';
            name += extension;
            if (names_.insert(name).second) return name;
        }
    }

    std::span<const Value> entries_;
    std::map<std::string, const PageImage*> images_;
    std::set<std::u16string> names_;
};

class Assembly {
public:
    Assembly(const Vocabulary& vocabulary, Attachments& attachments)
        : vocabulary_(vocabulary), attachments_(attachments) {}

    void add(const Array& paragraph) {
        if (paragraph.size() < 2) return;
        const ParagraphStyle* style = vocabulary_.paragraph(paragraph[0]);
        const CharacterStyle* last = vocabulary_.characters(paragraph[1]);
        if (style == nullptr || last == nullptr) return;
        for (std::size_t i = 2; i < paragraph.size(); ++i) {
            const auto* run = paragraph[i].as<Array>();
            if (run == nullptr || run->size() != 2) continue;
            if (const CharacterStyle* characters = vocabulary_.characters((*run)[0])) addRun(*characters, (*run)[1]);
        }
        append(*last, u"\n");
        parts_.paragraphRuns.push_back({parts_.text.size(), *style});
    }

    [[nodiscard]] AttributedString take() { return AttributedString(std::move(parts_)); }

private:
    void addRun(const CharacterStyle& style, const Value& what) {
        if (const auto* characters = what.as<std::u16string>()) {
            std::u16string cleaned = *characters;
            for (char16_t& unit : cleaned) {
                // These would end the paragraph, or stand for an attachment that is not there.
                if (unit == u'\n' || unit == u'\r' || unit == u'\u2029') unit = u' ';
                if (unit == kAttachment) unit = kReplacementCharacter;
            }
            append(style, cleaned);
        } else if (auto attachment = attachments_.attachment(what)) {
            parts_.attachments.push_back({parts_.text.size(), std::move(attachment)});
            append(style, std::u16string_view(&kAttachment, 1));
        }
    }

    void append(const CharacterStyle& style, std::u16string_view characters) {
        if (characters.empty()) return;
        parts_.text += characters;
        auto& runs = parts_.characterRuns;
        if (!runs.empty() && runs.back().attributes == style)
            runs.back().end = parts_.text.size();
        else
            runs.push_back({parts_.text.size(), style});
    }

    const Vocabulary& vocabulary_;
    Attachments& attachments_;
    AttributedString::Parts parts_;
};

}  // namespace

std::optional<PageReport> reportOfPage(std::string_view fields) {
    FrameReader reader(fields);
    PageReport report;
    const std::uint32_t status = reader.number();
    if (status > static_cast<std::uint32_t>(PageStatus::failed)) return std::nullopt;
    report.status = static_cast<PageStatus>(status);
    report.kilobytes = reader.number();
    report.contents.text = reader.bytes();
    while (reader.isGood() && !reader.atEnd()) {
        PageImage image;
        image.address = reader.bytes();
        image.mediaType = reader.bytes();
        image.data = Data::copying(reader.bytes());
        report.contents.images.push_back(std::move(image));
    }
    return reader.isGood() ? std::optional(std::move(report)) : std::nullopt;
}

std::optional<AttributedString> attributedStringOfPage(const PageContents& page) {
    const auto value = valueFromJson(page.text);
    const auto* contents = value ? value->as<Dictionary>() : nullptr;
    if (contents == nullptr) return std::nullopt;
    const Vocabulary vocabulary(*contents);
    Attachments attachments(*contents, page);
    Assembly assembly(vocabulary, attachments);
    for (const Value& paragraph : array(*contents, u"paragraphs")) {
        if (const auto* runs = paragraph.as<Array>()) assembly.add(*runs);
    }
    return assembly.take();
}

}  // namespace halden::web
