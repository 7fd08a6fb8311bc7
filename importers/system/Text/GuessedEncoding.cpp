#include "importers/system/Text/GuessedEncoding.h"

#include <uchardet/uchardet.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <memory>

namespace quarry::text {
namespace {

constexpr std::size_t kLeastTelling = 8;                     // bytes beyond ASCII; fewer fit any language
constexpr std::size_t kMostLooked = std::size_t{256} << 10;  // bytes; more tell nothing new

struct Close {
    void operator()(uchardet* detector) const noexcept { uchardet_delete(detector); }
    void operator()(UConverter* converter) const noexcept { ucnv_close(converter); }
};

/// Empty for none.
std::string nameOfEncoding(std::string_view bytes) {
    const std::unique_ptr<uchardet, Close> detector(uchardet_new());
    bytes = bytes.substr(0, kMostLooked);
    if (uchardet_handle_data(detector.get(), bytes.data(), bytes.size()) != 0) return {};
    uchardet_data_end(detector.get());
    return uchardet_get_charset(detector.get());
}

std::optional<std::u16string> strictlyConverted(std::string_view bytes, const std::string& name, bool isCut) {
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, Close> converter(ucnv_open(name.c_str(), &error));
    if (U_FAILURE(error)) return std::nullopt;
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    std::u16string text(bytes.size() * 2 + 16, u'\0');  // no encoding has a byte for more units
    const char* source = bytes.data();
    char16_t* target = text.data();
    ucnv_toUnicode(converter.get(), &target, text.data() + text.size(), &source, source + bytes.size(), nullptr,
                   static_cast<UBool>(!isCut), &error);
    if (U_FAILURE(error)) return std::nullopt;
    text.resize(static_cast<std::size_t>(target - text.data()));
    return text;
}

std::optional<std::string> utf8From(const std::u16string& text) {
    std::string utf8(text.size() * 3, '\0');
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strToUTF8(utf8.data(), static_cast<int32_t>(utf8.size()), &length, text.data(), static_cast<int32_t>(text.size()),
                &error);
    if (U_FAILURE(error)) return std::nullopt;
    utf8.resize(static_cast<std::size_t>(length));
    return utf8;
}

}  // namespace

std::optional<std::string> fromGuessedEncoding(std::string_view bytes, bool isCut) {
    constexpr std::size_t kMost = INT32_MAX / 8;
    const auto telling = std::ranges::count_if(bytes, [](char c) { return static_cast<unsigned char>(c) > 0x7F; });
    if (static_cast<std::size_t>(telling) < kLeastTelling || bytes.size() > kMost) return std::nullopt;
    const std::string name = nameOfEncoding(bytes);
    if (name.empty() || name == "UTF-8" || name == "ASCII") return std::nullopt;
    const auto text = strictlyConverted(bytes, name, isCut);
    return text ? utf8From(*text) : std::nullopt;
}

}  // namespace quarry::text
