#include "helper/PdfInformation.h"

#include "foundation/CharacterComparison.h"
#include "foundation/Exception.h"
#include "foundation/StringNormalization.h"
#include "helper/PdfRichText.h"
#include "richtext/FlatRtfd.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <utility>

namespace quarry {
namespace {

using halden::Dictionary;
using halden::PdfDocument;

constexpr std::size_t kUnitsPerPage = 2048;
// Room is only addresses until there is text in it; yet a count of a million pages, gigabytes of them, is one that a
// document just claims.
constexpr int kMostPagesOfRoom = 100'000;

/// Texts of equal length are compared, in a longer one the word is looked for.
bool contains(std::u16string_view text, std::u16string_view word) {
    if (text.size() < word.size()) return false;
    if (text.size() == word.size()) return halden::fastCaseInsensitiveCompareUnichars(text, word) == 0;
    return halden::fastCaseInsensitiveContainsUnichars(text, word) != nullptr;
}

bool endsWith(std::u16string_view text, std::u16string_view word) {
    if (text.size() < word.size()) return false;
    return halden::fastCaseInsensitiveCompareUnichars(text.substr(text.size() - word.size()), word) == 0;
}

/// Of a page that throws there is none, and the others stay.
std::u16string textOfPage(PdfDocument& document, int page) {
    return halden::guarded(
        [&] {
            auto text = document.textOfPage(page);
            if (!text || text->empty()) return std::u16string();
            halden::fixAndNormalizeString(*text);
            text->push_back(u'\n');
            return std::move(*text);
        },
        std::u16string());
}

void setRichText(Dictionary& result, PdfDocument& document, double foundationVersion) {
    const auto text = attributedStringOfPdf(document, kLongestReading, steadySeconds);
    if (!text) return;
    if (foundationVersion < kFirstWithRtfd) {
        result.set(u"String", propertyListOfAttributedString(*text));
    } else if (auto rtfd = halden::rtfdFromDocument({*text, {}}, static_cast<std::uint32_t>(std::time(nullptr)))) {
        result.set(u"String", std::move(*rtfd));
    }
}

std::optional<std::u16string> textOfDocument(PdfDocument& document, const Dictionary& attributes,
                                             const PdfInformationOptions& options, const ImporterText& importerText) {
    const halden::Value* producer = attributes.find(u"Producer");
    const auto* name = producer != nullptr ? producer->as<std::u16string>() : nullptr;
    if (options.path && name != nullptr && importersMayRead(*name)) {
        if (auto text = importerText(*options.path)) return halden::fixedAndNormalizedString(std::move(*text));
    }
    return fixedAndNormalizedStringUsingTimeout(document, kLongestReading);
}

void addSize(Dictionary& result, PdfDocument& document) {
    const std::u16string size = NSStringFromSize(document.mediaBoxOfPage(0).value_or(halden::Size{}));
    result.set(u"Size", size);
    result.set(u"PixelSize", size);
    result.set(u"Alpha", false);
}

}  // namespace

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

bool importersMayRead(std::u16string_view producer) {
    return !producer.empty() && !contains(producer, u"Compart") && !contains(producer, u"Ghostscript") &&
           !endsWith(producer, u"Quartz PDFContext");
}

std::optional<std::u16string> fixedAndNormalizedStringUsingTimeout(PdfDocument& document, double timeout,
                                                                   const SecondsClock& clock) {
    const int pages = document.pageCount();
    if (pages <= 0) return std::nullopt;
    PageTimes times(timeout, clock);
    std::u16string text;
    text.reserve(kUnitsPerPage * static_cast<std::size_t>(std::min(pages, kMostPagesOfRoom)));
    for (int page = 0; page < pages; ++page) {
        times.pageBegins();
        text += textOfPage(document, page);
        if (times.isOverAfterPage()) break;
    }
    return text;
}

std::optional<std::u16string> fixedAndNormalizedString(PdfDocument& document) {
    return fixedAndNormalizedStringUsingTimeout(document, 0);
}

std::optional<Dictionary> informationOfPdf(const halden::Data& pdf, const PdfInformationOptions& options,
                                           const ImporterText& importerText) {
    const auto document = PdfDocument::documentWithData(pdf, options.limits);
    if (!document) return std::nullopt;
    const Dictionary attributes = document->documentAttributes();
    Dictionary result;
    if (document->isLocked()) {
        result.set(u"Locked", true);
    } else if (options.attributed) {
        setRichText(result, *document, options.foundationVersion);
    } else if (auto text = textOfDocument(*document, attributes, options, importerText)) {
        result.set(u"String", std::move(*text));
    }
    result.set(u"PageCount", document->pageCount());
    for (const auto& entry : attributes)
        result.set(entry.key, entry.value);
    if (options.size && document->pageCount() > 0) addSize(result, *document);
    return result;
}

}  // namespace quarry
