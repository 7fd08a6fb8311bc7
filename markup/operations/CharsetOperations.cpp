#include "markup/CharsetNames.h"
#include "markup/DeclaredCharset.h"
#include "markup/FileTypes.h"
#include "markup/MarkupDecoder.h"
#include "markup/MarkupEncoder.h"
#include "markup/operations/Operations.h"

#include <array>

namespace halden::operations {
namespace {

// --- Names ---------------------------------------------------------------------------------------------------------
// nil is a name without characters.

template <std::uint32_t (*encodingOf)(std::u16string_view)>
std::uint32_t encodingOfName(std::optional<std::u16string_view> name) {
    return encodingOf(name.value_or(std::u16string_view()));
}

CFStringEncoding macEncodingOfName(std::u16string_view name) {
    return macEncoding(name);
}

// --- Decoding ------------------------------------------------------------------------------------------------------

Dictionary tryToCreateString(const Data& data, CFStringEncoding encoding) {
    std::size_t errors = 0;
    auto text = tryToCreateStringWithEncoding(data.view(), encoding, &errors);
    return {{u"result", text ? Value(*std::move(text)) : Value()}, {u"errors", static_cast<std::int64_t>(errors)}};
}

std::optional<std::u16string> strictString(const Data& data, NSStringEncoding encoding) {
    return initWithData(data.view(), encoding);
}

std::u16string kamenickyString(const Data& data) {
    return initWithKamenickyData(data.view());
}

std::u16string koi8cs2String(const Data& data) {
    return initWithKoi8cs2Data(data.view());
}

// No data are empty data.

std::optional<std::u16string> markupOfData(const std::optional<Data>& data, std::optional<std::u16string_view> name,
                                           NSStringEncoding defaultEncoding, std::optional<std::u16string_view> URL) {
    return stringWithMarkupData(data.value_or(Data()).view(), name.value_or(u""), defaultEncoding, URL.value_or(u""));
}

std::optional<std::u16string> markupOfUnnamedData(const std::optional<Data>& data, NSStringEncoding defaultEncoding) {
    return stringWithMarkupData(data.value_or(Data()).view(), defaultEncoding);
}

std::optional<std::u16string> markupOfTypedData(const std::optional<Data>& data,
                                                std::optional<std::u16string_view> contentType,
                                                NSStringEncoding defaultEncoding) {
    return stringWithMarkupDataOfContentType(data.value_or(Data()).view(), contentType.value_or(u""), defaultEncoding);
}

// --- Encoding ------------------------------------------------------------------------------------------------------

Value dataValue(const std::optional<std::string>& bytes) {
    return bytes ? Value(Data::copying(*bytes)) : Value();
}

Value dataOfMarkup(std::optional<std::u16string_view> markup) {
    return dataValue(markupData(markup.value_or(u"")));
}

Dictionary dataAndEncodingOfMarkup(std::optional<std::u16string_view> markup) {
    NSStringEncoding encoding = kInvalidEncoding;
    Value data = dataValue(markupData(markup.value_or(u""), &encoding));
    return {{u"result", std::move(data)}, {u"encoding", static_cast<std::int64_t>(encoding)}};
}

// --- File types ----------------------------------------------------------------------------------------------------

template <std::span<const std::u16string_view> (*types)() noexcept>
std::vector<std::u16string> listOf() {
    const auto list = types();
    return {list.begin(), list.end()};
}

template <bool (*test)(std::u16string_view)>
bool holdsFor(std::optional<std::u16string_view> name) {
    return name && test(*name);
}

constexpr auto kOperations = std::to_array<Operation>({
    function<encodingOfName<charset2CFStringEncoding>>("charset2CFStringEncoding", "name"),
    function<encodingOfName<charset2NSStringEncoding>>("charset2NSStringEncoding", "name"),
    method<CFEncodingFromName>("CFEncodingFromName", "string"),
    method<NSEncodingFromName>("NSEncodingFromName", "string"),
    method<macEncodingOfName>("macEncoding", "string"),
    method<headerCharset>("headerCharset", "string"),
    method<headerEncoding>("headerEncoding", "string"),
    method<headerRefresh>("headerRefresh", "string"),
    method<refreshInterval>("refreshInterval", "string"),
    method<markupCharset>("markupCharset", "string"),
    method<markupCharsetRange>("markupCharsetRange", "string"),
    method<markupEncoding>("markupEncoding", "string"),
    method<defaultURLEncoding>("defaultURLEncoding", "string"),
    function<tryToCreateString>("tryToCreateStringWithEncoding", "data encoding"),
    function<strictString>("initWithData:encoding:", "data encoding"),
    function<kamenickyString>("initWithKamenickyData:", "data"),
    function<koi8cs2String>("initWithKoi8cs2Data:", "data"),
    function<markupOfData>("stringWithMarkupData:encodingName:defaultEncoding:URL:",
                           "data encodingName defaultEncoding URL"),
    function<markupOfUnnamedData>("stringWithMarkupData:defaultEncoding:", "data defaultEncoding"),
    function<markupOfTypedData>("stringWithMarkupData:contentType:defaultEncoding:",
                                "data contentType defaultEncoding"),
    method<dataOfMarkup>("markupData", "string"),
    method<dataAndEncodingOfMarkup>("markupData:", "string"),
    function<listOf<HTMLFileTypes>>("HTMLFileTypes", ""),
    function<listOf<XMLFileTypes>>("XMLFileTypes", ""),
    function<listOf<PropertyListFileTypes>>("PropertyListFileTypes", ""),
    function<listOf<MarkupFileTypes>>("MarkupFileTypes", ""),
    function<holdsFor<isHTMLExtension>>("isHTMLExtension:", "extension"),
    function<holdsFor<isXMLExtension>>("isXMLExtension:", "extension"),
    function<holdsFor<isPropertyListExtension>>("isPropertyListExtension:", "extension"),
    function<holdsFor<isMarkupExtension>>("isMarkupExtension:", "extension"),
    function<holdsFor<isHTMLFile>>("isHTMLFile:", "path"),
    function<holdsFor<isXMLFile>>("isXMLFile:", "path"),
    function<holdsFor<isPropertyListFile>>("isPropertyListFile:", "path"),
    function<holdsFor<isMarkupFile>>("isMarkupFile:", "path"),
});

}  // namespace

std::span<const Operation> charsetOperations() {
    return kOperations;
}

}  // namespace halden::operations
