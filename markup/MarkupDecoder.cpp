#include "markup/MarkupDecoder.h"

#include "foundation/Data.h"
#include "foundation/Path.h"
#include "markup/CharsetNames.h"
#include "markup/DeclaredCharset.h"
#include "markup/FileTypes.h"

#include <algorithm>
#include <span>

namespace halden {
namespace {

constexpr std::size_t kSmallestBuffer = 32;
/// Files beyond this are no markup that anybody reads.
constexpr std::size_t kLargestFile = std::size_t{1} << 30;

constexpr NSStringEncoding kNSBig5StringEncoding = 0x80000000 | kCFStringEncodingBig5;
constexpr NSStringEncoding kNSBig5HKSCSStringEncoding = 0x80000000 | kCFStringEncodingBig5_HKSCS_1999;
constexpr NSStringEncoding kNSEUC_CNStringEncoding = 0x80000000 | kCFStringEncodingEUC_CN;

/// What is tried, in this order, when a page that declares Shift JIS is not readable as it.
constexpr CFStringEncoding kJapaneseEncodings[] = {0xA01, 0x628, 0x1,   0x420, 0x620, 0x621, 0x622,
                                                   0x623, 0x624, 0x920, 0x820, 0x822, 0x821, 0x823};
/// The same for EUC-CN.
constexpr CFStringEncoding kChineseEncodings[] = {0x931, 0x630, 0xA05, 0x631, 0xA03, 0xA06, 0xA09};

/// A decoded text with its number of U+FFFD.
struct Reading {
    std::optional<std::u16string> text;
    std::size_t errors = 0;
};

Reading readWithConverter(std::string_view bytes, NSStringEncoding encoding) {
    Reading reading;
    reading.text =
        tryToCreateStringWithEncoding(bytes, CFStringConvertNSStringEncodingToEncoding(encoding), &reading.errors);
    return reading;
}

/// By the encoding that the document declares. The private code pages count as read without errors.
Reading readAsDeclared(std::string_view bytes, NSStringEncoding declared) {
    if (declared == kNSKoi8cs2StringEncoding) return {initWithKoi8cs2Data(bytes), 0};
    if (declared == kNSKamenickyStringEncoding) return {initWithKamenickyData(bytes), 0};
    return readWithConverter(bytes, declared);
}

std::optional<std::u16string> firstReadable(std::string_view bytes, std::span<const CFStringEncoding> encodings) {
    for (const CFStringEncoding encoding : encodings) {
        if (auto text = tryToCreateStringWithEncoding(bytes, encoding)) return text;
    }
    return std::nullopt;
}

/// The encoding that the caller gave, by name or as the default.
struct CallersEncoding {
    NSStringEncoding encoding;
    bool isDeclared = false;

    CallersEncoding(std::u16string_view name, NSStringEncoding defaultEncoding) : encoding(defaultEncoding) {
        if (name.empty()) return;
        const NSStringEncoding named = NSEncodingFromName(name);
        if (named == 0 || named == kInvalidEncoding) return;
        encoding = named;
        isDeclared = true;
    }
    [[nodiscard]] bool isDeclaredUTF8() const noexcept { return isDeclared && encoding == kNSUTF8StringEncoding; }
};

/// Whether the reading by the caller's encoding is kept although the one by the declared encoding worked.
bool keepsFirst(const CallersEncoding& callers, NSStringEncoding declared, const Reading& first,
                const Reading& second) {
    if (!first.text || !callers.isDeclared) return false;
    // UTF-8 that is also valid as a single-byte set reads longer there, every character of it being several.
    if (second.errors == 0 && first.errors == 0 && callers.isDeclaredUTF8() &&
        (declared == kNSISOLatin1StringEncoding || declared == kNSWindowsCP1251StringEncoding)) {
        return second.text->size() > first.text->size();
    }
    return second.errors > first.errors;
}

/// When the declared encoding gave nothing: its relatives, then the strict decoder.
std::optional<std::u16string> readOtherwise(std::string_view bytes, std::optional<std::u16string> first,
                                            NSStringEncoding declared, NSStringEncoding fallback,
                                            NSStringEncoding defaultEncoding) {
    std::optional<std::u16string> text = std::move(first);
    if (declared == kNSShiftJISStringEncoding) {
        text = firstReadable(bytes, kJapaneseEncodings);
    } else if (declared == kNSEUC_CNStringEncoding) {
        text = firstReadable(bytes, kChineseEncodings);
    }
    if (!text && fallback != declared) text = initWithData(bytes, fallback);
    if (!text && declared != defaultEncoding && fallback != defaultEncoding)
        text = initWithData(bytes, defaultEncoding);
    return text;
}

}  // namespace

std::optional<std::u16string> tryToCreateStringWithEncoding(std::string_view bytes, CFStringEncoding encoding,
                                                            std::size_t* errorCount) {
    DecodeResult result;
    std::u16string text = decodedText(bytes, encoding, std::max(bytes.size(), kSmallestBuffer), result);
    if (errorCount != nullptr) *errorCount = countReplacementCharacters(text);
    if (text.empty()) return std::nullopt;
    return text;
}

std::optional<std::u16string> initWithData(std::string_view bytes, NSStringEncoding encoding) {
    const CFStringEncoding cfEncoding = CFStringConvertNSStringEncodingToEncoding(encoding);
    return strictlyDecodedText(bytes, cfEncoding);
}

std::u16string initWithKamenickyData(std::string_view bytes) {
    DecodeResult result;
    return decodedText(bytes, kCFStringEncodingKamenicky, bytes.size(), result);
}

std::u16string initWithKoi8cs2Data(std::string_view bytes) {
    DecodeResult result;
    return decodedText(bytes, kCFStringEncodingKoi8cs2, bytes.size(), result);
}

std::optional<std::u16string> stringWithMarkupData(std::string_view bytes, std::u16string_view encodingName,
                                                   NSStringEncoding defaultEncoding, std::u16string_view) {
    if (bytes.empty()) return std::u16string();
    const CallersEncoding callers(encodingName, defaultEncoding);
    Reading first = readWithConverter(bytes, callers.encoding);
    // Without a first reading nothing is known of a declaration, which is not the same as there being none.
    NSStringEncoding declared = 0;
    if (first.text) {
        declared = markupEncoding(*first.text);
        if (declared == callers.encoding || declared == kNSASCIIStringEncoding || declared == kInvalidEncoding)
            return std::move(first.text);
    }

    NSStringEncoding fallback = callers.encoding;
    if (declared == kNSWindowsCP1251StringEncoding) {
        if (!callers.isDeclaredUTF8()) {
            first.text.reset();
            fallback = kNSWindowsCP1250StringEncoding;
        }
    } else if (declared == kNSBig5StringEncoding) {
        first.text.reset();
        fallback = kNSBig5HKSCSStringEncoding;
    }
    Reading second = readAsDeclared(bytes, declared);
    if (second.text)
        return keepsFirst(callers, declared, first, second) ? std::move(first.text) : std::move(second.text);
    return readOtherwise(bytes, std::move(first.text), declared, fallback, defaultEncoding);
}

std::optional<std::u16string> stringWithMarkupData(std::string_view bytes, NSStringEncoding defaultEncoding) {
    return stringWithMarkupData(bytes, {}, defaultEncoding);
}

std::optional<std::u16string> stringWithMarkupDataOfContentType(std::string_view bytes, std::u16string_view contentType,
                                                                NSStringEncoding defaultEncoding) {
    return stringWithMarkupData(bytes, headerCharset(contentType).value_or(std::u16string()), defaultEncoding);
}

namespace {

std::optional<std::u16string> readFileAs(std::string_view bytes, NSStringEncoding encoding) {
    if (encoding == kNSKoi8cs2StringEncoding) return initWithKoi8cs2Data(bytes);
    if (encoding == kNSKamenickyStringEncoding) return initWithKamenickyData(bytes);
    return initWithData(bytes, encoding);
}

std::optional<std::u16string> xmlOfPropertyList(std::string_view bytes, const PropertyListReader& reader) {
    const auto xml = reader ? reader(bytes) : std::nullopt;
    return xml ? initWithData(*xml, kNSUTF8StringEncoding) : std::nullopt;
}

}  // namespace

std::optional<std::u16string> stringWithMarkupContentsOfFile(std::u16string_view path, NSStringEncoding defaultEncoding,
                                                             const PropertyListReader& reader) {
    const auto pathBytes = pathBytesFromString(path);
    if (!pathBytes) return std::nullopt;
    const auto data = Data::contentsOfFile(*pathBytes, kLargestFile);
    if (!data) return std::nullopt;
    const std::string_view bytes = data->view();

    if (bytes.starts_with("bplist") || isPropertyListFile(path)) {
        if (auto text = xmlOfPropertyList(bytes, reader)) return text;
    }
    auto text = initWithData(bytes, defaultEncoding);
    if (!text) return std::nullopt;
    const NSStringEncoding declared = markupEncoding(*text);
    if (declared == defaultEncoding || declared == kNSASCIIStringEncoding || declared == kInvalidEncoding) return text;
    auto again = readFileAs(bytes, declared);
    if (!again && declared == kNSUTF8StringEncoding) again = initWithData(bytes, kNSMacOSRomanStringEncoding);
    return again ? again : text;
}

}  // namespace halden
