#include "richtext/RtfWriter.h"

#include "richtext/DocumentAttributes.h"
#include "richtext/RtfBodyWriter.h"
#include "richtext/RtfOutput.h"
#include "richtext/RtfWriteTables.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace halden {
namespace {

// The version of the dialect.
constexpr std::int32_t kCocoaVersion = 2513;

/// The factor by which paragraphs are hyphenated, in hundredths, and whether the document is: the format has one for
/// all.
struct Hyphenation {
    std::int32_t factor = 0;
    bool isOfDocument = false;
};

Hyphenation hyphenationOf(const RichTextDocument& document) {
    const double stated = numberAttribute(document.documentAttributes, kHyphenationFactorKey).value_or(0);
    if (stated > 0) return {.factor = rtfNumber(stated, 100), .isOfDocument = true};
    double most = 0;
    for (const auto& run : document.text.paragraphRuns())
        most = std::max(most, run.attributes->hyphenationFactor);
    return {.factor = rtfNumber(most, 100), .isOfDocument = false};
}

/// What documents say of themselves: texts, keywords, dates.
class InformationWriter {
public:
    explicit InformationWriter(const Dictionary& attributes) : attributes_(attributes) {}

    std::string write() {
        writeText("title", stringAttribute(attributes_, kTitleKey));
        writeText("author", stringAttribute(attributes_, kAuthorKey));
        writeText("subject", stringAttribute(attributes_, kSubjectKey));
        writeText("doccomm", stringAttribute(attributes_, kCommentKey));
        writeText("operator", stringAttribute(attributes_, kEditorKey));
        writeText("manager", stringAttribute(attributes_, kManagerKey));
        writeText("company", stringAttribute(attributes_, kCompanyKey));
        writeText("copyright", stringAttribute(attributes_, kCopyrightKey));
        writeText("category", stringAttribute(attributes_, kCategoryKey));
        writeKeywords();
        writeDate("creatim", kCreationTimeKey);
        writeDate("revtim", kModificationTimeKey);
        return output_.take();
    }

private:
    void writeText(std::string_view word, std::u16string_view text) {
        if (text.empty()) return;
        // Words that came late may be passed over by readers from before them.
        if (word == "manager" || word == "company" || word == "copyright" || word == "category") {
            output_.openStarred(word);
        } else {
            output_.open();
            output_.word(word);
        }
        output_.blank();
        output_.text(text);
        output_.close();
        output_.newLine();
    }
    void writeKeywords() {
        const Value* const value = attributes_.find(kKeywordsKey);
        const Array* const keywords = value ? value->as<Array>() : nullptr;
        if (!keywords) return;
        std::u16string joined;
        for (const Value& keyword : *keywords) {
            const auto* const text = keyword.as<std::u16string>();
            if (!text || text->empty()) continue;
            if (!joined.empty()) joined += u", ";
            joined += *text;
        }
        writeText("keywords", joined);
    }
    /// Whole seconds of years with up to four digits, without a zone: UTC.
    void writeDate(std::string_view word, std::u16string_view key) {
        const Value* const value = attributes_.find(key);
        const Date* const date = value ? value->as<Date>() : nullptr;
        constexpr double kMostSeconds = 253402300799;  // the end of the year 9999
        constexpr double kLeastSeconds = -62135596800;
        if (!date || !(date->unixSeconds() >= kLeastSeconds && date->unixSeconds() <= kMostSeconds)) return;
        using namespace std::chrono;
        const sys_seconds time{seconds(std::llround(std::floor(date->unixSeconds())))};
        const auto day = floor<days>(time);
        const year_month_day calendar(day);
        const hh_mm_ss clock(time - day);
        output_.open();
        output_.word(word);
        output_.word("yr", static_cast<int>(calendar.year()));
        output_.word("mo", static_cast<unsigned>(calendar.month()));
        output_.word("dy", static_cast<unsigned>(calendar.day()));
        output_.word("hr", clock.hours().count());
        output_.word("min", clock.minutes().count());
        output_.word("sec", clock.seconds().count());
        output_.close();
        output_.newLine();
    }

    RtfOutput output_;
    const Dictionary& attributes_;
};

class HeaderWriter {
public:
    HeaderWriter(RtfOutput& output, const Dictionary& attributes) : output_(output), attributes_(attributes) {}

    void writeBegin() {
        output_.open();
        output_.word("rtf", 1);
        output_.word("ansi");
        output_.word("ansicpg", 1252);
        output_.word("cocoartf", kCocoaVersion);
        output_.newLine();
        output_.word("cocoatextscaling", integer(kTextScalingKey).value_or(0));
        output_.word("cocoaplatform", 0);
        if (integer(kUsesScreenFontsKey).value_or(0) != 0) output_.word("cocoascreenfonts", 1);
    }

    void writeInformation() {
        const std::string information = InformationWriter(attributes_).write();
        if (information.empty()) return;
        output_.open();
        output_.word("info");
        output_.newLine();
        output_.mark(information);
        output_.close();
    }

    void writePage() {
        if (const auto size = sizeAttribute(attributes_, kPaperSizeKey)) {
            output_.word("paperw", rtfNumber(size->width));
            output_.word("paperh", rtfNumber(size->height));
        }
        writeLength("margl", kLeftMarginKey);
        writeLength("margr", kRightMarginKey);
        writeLength("margb", kBottomMarginKey);
        writeLength("margt", kTopMarginKey);
        if (const auto size = sizeAttribute(attributes_, kViewSizeKey)) {
            output_.word("vieww", rtfNumber(size->width));
            output_.word("viewh", rtfNumber(size->height));
        }
        writeInteger("viewkind", kViewModeKey);
        writeInteger("viewscale", kViewZoomKey);
        if (!output_.string().ends_with('\n')) output_.newLine();
        writeInteger("readonlydoc", kReadOnlyKey);
        if (integer(kDefaultTabIntervalKey).value_or(0) != 0) writeLength("deftab", kDefaultTabIntervalKey);
    }

    /// The page's colour is that of a shape behind the text, opaque and of eight bits; readers want to be told to show
    /// it.
    void writeBackground() {
        const Value* const value = attributes_.find(kBackgroundColorKey);
        const auto color = value ? colorFromValue(*value) : std::nullopt;
        if (!color) return;
        const auto component = [](double part) { return static_cast<std::int32_t>(std::lround(part * 255)); };
        output_.word("viewbksp", 1);
        output_.openStarred("background");
        output_.open();
        output_.word("shp");
        output_.openStarred("shpinst");
        for (const std::string_view word : {"shpleft", "shptop", "shpright", "shpbottom", "shpfhdr"})
            output_.word(word, 0);
        for (const std::string_view word : {"shpbxmargin", "shpbymargin"})
            output_.word(word);
        writeShapeProperty("shapeType", 1);
        writeShapeProperty("fillColor",
                           component(color->blue) << 16 | component(color->green) << 8 | component(color->red));
        for (const std::string_view name : {"fFilled", "fBackground"})
            writeShapeProperty(name, 1);
        writeShapeProperty("fLine", 0);
        for (int group = 0; group < 3; ++group)
            output_.close();
        output_.newLine();
    }

    void writeHyphenation(const Hyphenation& hyphenation) {
        if (hyphenation.factor <= 0) return;
        output_.word("hyphauto", hyphenation.isOfDocument ? 1 : 0);
        output_.word("hyphfactor", hyphenation.factor);
    }

private:
    [[nodiscard]] std::optional<std::int32_t> integer(std::u16string_view key) const {
        const auto number = numberAttribute(attributes_, key);
        if (!number) return std::nullopt;
        return rtfNumber(*number, 1);
    }
    void writeInteger(std::string_view word, std::u16string_view key) {
        if (const auto number = integer(key)) output_.word(word, *number);
    }
    void writeLength(std::string_view word, std::u16string_view key) {
        if (const auto points = numberAttribute(attributes_, key)) output_.word(word, rtfNumber(*points));
    }

    void writeShapeProperty(std::string_view name, std::int32_t value) {
        output_.mark("{\\sp{\\sn " + std::string(name) + "}{\\sv " + std::to_string(value) + "}}");
    }

    RtfOutput& output_;
    const Dictionary& attributes_;
};

}  // namespace

std::string rtfFromDocument(const RichTextDocument& document, const RtfWriteOptions& options) {
    const Hyphenation hyphenation = hyphenationOf(document);
    // The header's tables are known when the text is written.
    RtfWriteTables tables;
    const std::string body = RtfBodyWriter(document.text, tables, options, hyphenation.factor > 0).write();

    RtfOutput output;
    HeaderWriter header(output, document.documentAttributes);
    header.writeBegin();
    tables.write(output);
    header.writeInformation();
    header.writePage();
    header.writeBackground();
    header.writeHyphenation(hyphenation);
    std::string rtf = output.take();
    rtf.reserve(rtf.size() + body.size() + 2);
    if (body.starts_with('\n') && rtf.ends_with('\n')) rtf.pop_back();
    rtf += body.empty() ? "\n" : body;
    rtf += '}';
    return rtf;
}

}  // namespace halden
