#include "foundation/Path.h"
#include "platform/types/ContentTypes.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <array>

namespace halden {
namespace {

constexpr const char* kFinderInfo = "user.com.apple.FinderInfo";
constexpr std::size_t kFinderInfoLength = 32;
constexpr std::size_t kCodeLength = 4;

// The upper half of Mac OS Roman, as published by the Unicode consortium.
constexpr std::u16string_view kMacRoman =
    u"\u00C4\u00C5\u00C7\u00C9\u00D1\u00D6\u00DC\u00E1\u00E0\u00E2\u00E4\u00E3\u00E5\u00E7\u00E9\u00E8"
    u"\u00EA\u00EB\u00ED\u00EC\u00EE\u00EF\u00F1\u00F3\u00F2\u00F4\u00F6\u00F5\u00FA\u00F9\u00FB\u00FC"
    u"\u2020\u00B0\u00A2\u00A3\u00A7\u2022\u00B6\u00DF\u00AE\u00A9\u2122\u00B4\u00A8\u2260\u00C6\u00D8"
    u"\u221E\u00B1\u2264\u2265\u00A5\u00B5\u2202\u2211\u220F\u03C0\u222B\u00AA\u00BA\u03A9\u00E6\u00F8"
    u"\u00BF\u00A1\u00AC\u221A\u0192\u2248\u2206\u00AB\u00BB\u2026\u00A0\u00C0\u00C3\u00D5\u0152\u0153"
    u"\u2013\u2014\u201C\u201D\u2018\u2019\u00F7\u25CA\u00FF\u0178\u2044\u20AC\u2039\u203A\uFB01\uFB02"
    u"\u2021\u00B7\u201A\u201E\u2030\u00C2\u00CA\u00C1\u00CB\u00C8\u00CD\u00CE\u00CF\u00CC\u00D3\u00D4"
    u"\uF8FF\u00D2\u00DA\u00DB\u00D9\u0131\u02C6\u02DC\u00AF\u02D8\u02D9\u02DA\u00B8\u02DD\u02DB\u02C7";
static_assert(kMacRoman.size() == 128);

}  // namespace

std::u16string NSHFSTypeOfFile(std::u16string_view path) {
    const auto bytes = pathBytesFromString(path);
    struct stat status {};
    // A folder keeps the place of its window there.
    if (!bytes || stat(bytes->c_str(), &status) != 0 || S_ISDIR(status.st_mode)) return {};
    std::array<unsigned char, kFinderInfoLength> info{};
    const ssize_t length = getxattr(bytes->c_str(), kFinderInfo, info.data(), info.size());
    if (length < static_cast<ssize_t>(kCodeLength)) return {};
    if (std::all_of(info.begin(), info.begin() + kCodeLength, [](unsigned char byte) { return byte == 0; })) return {};
    std::u16string code = u"'";
    for (std::size_t i = 0; i < kCodeLength; ++i)
        code += info[i] < 0x80 ? static_cast<char16_t>(info[i]) : kMacRoman[info[i] - 0x80U];
    return code + u"'";
}

}  // namespace halden
