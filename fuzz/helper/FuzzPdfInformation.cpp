// What the helper makes of a PDF document that somebody sent: text, rich text and information. The engine's own code is
// not instrumented.
#include "foundation/StringNormalization.h"
#include "foundation/Unicode.h"
#include "helper/PdfInformation.h"
#include "platform/pdf/PdfEngine.h"
#include "richtext/FlatRtfd.h"

#include <cstdlib>

namespace {

using halden::Data;
using halden::Dictionary;
using halden::Value;
using quarry::PdfInformationOptions;

constexpr double kSeconds = 4;

void require(bool condition) {
    if (!condition) std::abort();
}

template <class Type>
const Type* entry(const Dictionary& dictionary, std::u16string_view key) {
    const Value* value = dictionary.find(key);
    if (value == nullptr) return nullptr;
    require(value->is<Type>());
    return value->as<Type>();
}

/// "String" or "Locked", then "PageCount", then what the document says, then the size.
void checkOrder(const Dictionary& result, bool withSize) {
    std::size_t next = 0;
    const auto takes = [&](std::u16string_view key) {
        const bool isNext = next < result.size() && (result.begin() + static_cast<std::ptrdiff_t>(next))->key == key;
        next += isNext ? 1 : 0;
        return isNext;
    };
    const bool isLocked = takes(u"Locked");
    require(!(takes(u"String") && isLocked));
    require(takes(u"PageCount"));
    for (bool isTaken = true; isTaken;) {
        isTaken = false;
        for (const auto* key :
             {u"Title", u"Author", u"Subject", u"Creator", u"Producer", u"CreationDate", u"ModDate", u"Keywords"})
            isTaken |= takes(key);
    }
    const bool hasPages = *entry<std::int64_t>(result, u"PageCount") > 0;
    if (withSize && hasPages) require(takes(u"Size") && takes(u"PixelSize") && takes(u"Alpha"));
    require(next == result.size());
}

void checkPlain(const Dictionary& result) {
    const auto* text = entry<std::u16string>(result, u"String");
    if (text == nullptr) return;
    require(halden::isWellFormed(*text));
    require(text->find(halden::kReplacementCharacter) == std::u16string::npos);
    require(text->empty() || text->back() == u'\n');
}

void checkRich(const Dictionary& rtfd, const Dictionary& older) {
    const auto* data = entry<Data>(rtfd, u"String");
    const auto* itself = entry<Dictionary>(older, u"String");
    require((data == nullptr) == (itself == nullptr));
    if (data == nullptr) return;
    const auto document = halden::documentFromRtfd(*data);
    require(document && document->text.string() == *entry<std::u16string>(*itself, u"String"));
    std::int64_t length = 0;
    for (const Value& run : *entry<halden::Array>(*itself, u"Runs")) {
        require(*entry<std::int64_t>(*run.as<Dictionary>(), u"Length") > 0);
        length += *entry<std::int64_t>(*run.as<Dictionary>(), u"Length");
    }
    require(length == static_cast<std::int64_t>(document->text.length()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    require(halden::pdfEngineStatus().engine != nullptr);
    const Data pdf = Data::copying({bytes, size});
    // The limits are reached before libFuzzer's own.
    const halden::PdfLimits limits{.memory = std::size_t{64} << 20, .seconds = kSeconds, .secondsInAll = kSeconds};
    const double start = quarry::steadySeconds();
    const auto own = quarry::informationOfPdf(pdf, {.size = true, .limits = limits}, nullptr);
    int asked = 0;
    const auto withPath =
        quarry::informationOfPdf(pdf, {.path = u"/a.pdf", .limits = limits}, [&](std::u16string_view) {
            ++asked;
            return std::optional<std::u16string>(u"importer");
        });
    if (quarry::steadySeconds() - start >= kSeconds) return 0;  // what was read ends anywhere
    require(own.has_value() == withPath.has_value());
    if (!own) return 0;
    checkOrder(*own, true);
    require(*entry<std::int64_t>(*own, u"PageCount") > 0 || own->find(u"String") == nullptr);
    checkOrder(*withPath, false);
    checkPlain(*own);
    const auto* producer = own->find(u"Producer");
    const bool mayAsk = producer != nullptr && quarry::importersMayRead(*producer->as<std::u16string>());
    require((asked == 1) == (mayAsk && own->find(u"Locked") == nullptr));
    const auto rtfd = quarry::informationOfPdf(pdf, {.attributed = true, .limits = limits}, nullptr);
    const auto older =
        quarry::informationOfPdf(pdf, {.attributed = true, .foundationVersion = 800, .limits = limits}, nullptr);
    if (quarry::steadySeconds() - start >= kSeconds) return 0;
    require(rtfd && older);
    checkOrder(*rtfd, false);
    checkRich(*rtfd, *older);
    return 0;
}
