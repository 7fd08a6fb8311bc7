#include "richtext/PackageNames.h"

#include "foundation/Path.h"
#include "foundation/Unicode.h"
#include "richtext/RtfdPackage.h"

#include <unicode/unorm2.h>

#include <algorithm>

namespace halden {
namespace {

// What file systems allow for one name.
constexpr std::size_t kMaxNameBytes = 255;
// Longest extension that a shortened name keeps, in units with the full stop.
constexpr std::size_t kMaxExtension = 32;

bool isForbidden(char16_t unit) noexcept {
    return unit < u' ' || unit == 0x7F || unit == u'/';
}

std::u16string withoutBlanksAround(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(u' ');
    if (first == text.npos) return {};
    return std::u16string(text.substr(first, text.find_last_not_of(u' ') - first + 1));
}

/// `text` without what makes it longer than `limit` bytes of UTF-8, at the end of a character.
std::u16string_view cutToBytes(std::u16string_view text, std::size_t limit) noexcept {
    std::size_t bytes = 0;
    std::size_t end = 0;
    while (end < text.size()) {
        const bool isPair = isHighSurrogate(text[end]) && end + 1 < text.size();
        const std::size_t length = isPair ? 4U : text[end] < 0x80 ? 1U : text[end] < 0x800 ? 2U : 3U;
        if (bytes + length > limit) break;
        bytes += length;
        end += isPair ? 2 : 1;
    }
    return text.substr(0, end);
}

/// `stem` and `rest`, the stem shortened so that both fit.
std::u16string fitted(std::u16string_view stem, std::u16string_view rest) {
    const std::size_t taken = std::min(utf8FromUtf16(rest).size(), kMaxNameBytes - 1);
    return std::u16string(cutToBytes(stem, kMaxNameBytes - taken)) + std::u16string(rest);
}

/// Where the extension begins, with its full stop; the length of `name` without one.
std::size_t extensionStart(std::u16string_view name) noexcept {
    const std::size_t length = pathExtension(name).size();
    return length == 0 || length + 1 > kMaxExtension ? name.size() : name.size() - length - 1;
}

}  // namespace

std::u16string fileNameFrom(std::u16string_view name) {
    std::u16string clean;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool isPair = isHighSurrogate(name[i]) && i + 1 < name.size() && isLowSurrogate(name[i + 1]);
        if (isPair) {
            clean.append(name.substr(i++, 2));
        } else {
            clean += isForbidden(name[i]) || isSurrogate(name[i]) ? u'_' : name[i];
        }
    }
    clean = withoutBlanksAround(clean);
    const std::size_t extension = extensionStart(clean);
    clean = fitted(std::u16string_view(clean).substr(0, extension), std::u16string_view(clean).substr(extension));
    clean = withoutBlanksAround(clean);  // there may be one where it was cut
    return clean.find_first_not_of(u'.') == clean.npos ? u"Attachment" : clean;
}

std::u16string DistinctNames::nameFor(std::u16string_view name) {
    std::u16string wanted = fileNameFrom(name);
    const auto [place, isNew] = counts_.try_emplace(wanted, 1);
    if (isNew) return wanted;
    const std::size_t extension = extensionStart(wanted);
    for (std::size_t number = place->second + 1;; ++number) {
        const std::string digits = '-' + std::to_string(number);
        std::u16string rest(digits.begin(), digits.end());
        rest.append(wanted, extension);
        std::u16string numbered = fitted(std::u16string_view(wanted).substr(0, extension), rest);
        if (!counts_.try_emplace(numbered, 1).second) continue;
        counts_[wanted] = number;
        return numbered;
    }
}

std::u16string composedName(std::u16string_view name) {
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2* const form = unorm2_getNFCInstance(&error);
    std::u16string composed(name);
    if (U_FAILURE(error)) return composed;
    const auto length = static_cast<std::int32_t>(std::min<std::size_t>(name.size(), INT32_MAX));
    composed.resize(name.size() + 16);
    std::int32_t needed = unorm2_normalize(form, name.data(), length, composed.data(),
                                           static_cast<std::int32_t>(composed.size()), &error);
    if (error == U_BUFFER_OVERFLOW_ERROR) {
        error = U_ZERO_ERROR;
        composed.resize(static_cast<std::size_t>(needed));
        needed = unorm2_normalize(form, name.data(), length, composed.data(), needed, &error);
    }
    if (U_FAILURE(error)) return std::u16string(name);
    composed.resize(static_cast<std::size_t>(needed));
    return composed;
}

bool AttachmentBudget::take(const FileNode& file) noexcept {
    if (left_ == 0) return false;
    --left_;
    return std::ranges::all_of(file.children, [this](const FileNode& child) { return take(child); });
}

}  // namespace halden
