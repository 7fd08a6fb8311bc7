#include "platform/web/DataUrl.h"

#include "foundation/Unicode.h"
#include "platform/web/Base64.h"

#include <algorithm>
#include <utility>

namespace halden::web {
namespace {

struct KnownImage {
    std::string_view mediaType;
    std::string_view firstBytes;
    ImageKind kind;
};

constexpr KnownImage kKnownImages[] = {
    {"image/png", "\x89PNG", {u"public.png", u"png"}},
    {"image/jpeg", "\xFF\xD8\xFF", {u"public.jpeg", u"jpg"}},
    {"image/gif", "GIF8", {u"com.compuserve.gif", u"gif"}},
    {"image/bmp", "BM", {u"com.microsoft.bmp", u"bmp"}},
    {"image/tiff", "II*", {u"public.tiff", u"tiff"}},
    {"image/webp", "RIFF", {u"org.webmproject.webp", u"webp"}},
    {"image/x-icon", std::string_view("\0\0\1\0", 4), {u"com.microsoft.ico", u"ico"}},
    {"image/svg+xml", "<svg", {u"public.svg-image", u"svg"}},
    {"image/avif", "", {u"public.avif", u"avif"}},
};

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string unescaped(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 && hexValue(text[i + 2]) >= 0) {
            bytes.push_back(static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2])));
            i += 2;
        } else {
            bytes.push_back(text[i]);
        }
    }
    return bytes;
}

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    }
    return result;
}

}  // namespace

std::optional<DataUrl> dataOfDataUrl(std::string_view address) {
    if (lowered(address.substr(0, 5)) != "data:") return std::nullopt;
    const std::size_t comma = address.find(',');
    if (comma == std::string_view::npos) return std::nullopt;
    const std::string head = lowered(address.substr(5, comma - 5));
    std::string body = unescaped(address.substr(comma + 1));
    if (head.ends_with(";base64")) body = bytesFromBase64(body);
    return DataUrl{head.substr(0, head.find(';')), Data::copying(body)};
}

ImageKind imageKindOf(const Data& data, std::string_view mediaType) {
    for (const KnownImage& image : kKnownImages) {
        if (!image.firstBytes.empty() && data.view().starts_with(image.firstBytes)) return image.kind;
    }
    for (const KnownImage& image : kKnownImages) {
        if (image.mediaType == mediaType) return image.kind;
    }
    return {{}, u"img"};
}

std::u16string nameOfAddress(std::string_view address) {
    if (lowered(address.substr(0, 5)) == "data:") return {};
    std::string_view path = address.substr(0, address.find_first_of("?#"));
    const std::size_t scheme = path.find("://");
    if (scheme != std::string_view::npos) path.remove_prefix(scheme + 3);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return {};
    std::u16string name = utf16FromUtf8(unescaped(path.substr(slash + 1)));
    name.resize(std::min(name.size(), std::size_t{60}));
    if (const std::size_t dot = name.rfind(u'.'); dot != std::u16string::npos) name.resize(dot);
    for (char16_t& unit : name) {
        const bool isFit = (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'z') ||
                           (unit >= u'A' && unit <= u'Z') || unit == u'-' || unit == u'_';
        if (!isFit) unit = u'-';
    }
    return name;
}

}  // namespace halden::web
