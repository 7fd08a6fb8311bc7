#include "foundation/PercentEscapes.h"

namespace halden {
namespace {

/// The standard characters, but for the question mark.
constexpr bool isStandard(unsigned char byte) {
    return std::string_view("\t\n\r $%&'+/:;=@~").find(static_cast<char>(byte)) != std::string_view::npos;
}

}  // namespace

std::size_t convertPercentEscapesOfURL(char16_t* units, std::size_t length, PercentEscapeMode mode) noexcept {
    const std::u16string_view url(units, length);
    const std::size_t first = url.find(u'%');
    if (first == std::u16string_view::npos) return length;
    // Asked before anything is decoded, so that an escaped question mark cannot speak against the next.
    const bool decodesQuestionMark = mode == PercentEscapeMode::standard && url.find(u'?') == std::u16string_view::npos;

    std::size_t written = first;
    for (std::size_t read = first; read < length; ++written) {
        const auto byte = escapedByteAt(url, read);
        const bool decodes =
            byte && (mode == PercentEscapeMode::full ? *byte < 0x80
                                                     : isStandard(*byte) || (*byte == u'?' && decodesQuestionMark));
        units[written] = decodes ? static_cast<char16_t>(*byte) : units[read];
        read += decodes ? 3 : 1;
    }
    return written;
}

std::u16string stringByReplacingStandardPercentEscapesOfURL(std::u16string url) {
    url.resize(convertPercentEscapesOfURL(url.data(), url.size(), PercentEscapeMode::standard));
    return url;
}

}  // namespace halden
