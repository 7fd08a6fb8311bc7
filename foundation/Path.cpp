#include "foundation/Path.h"

#include "foundation/Unicode.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace halden {
namespace {

constexpr char16_t kFirstEscapedByte = 0xDC80;
constexpr char16_t kLastEscapedByte = 0xDCFF;

bool isEscapedByte(char16_t unit) noexcept {
    return unit >= kFirstEscapedByte && unit <= kLastEscapedByte;
}

/// The length of the well-formed UTF-8 sequence at the front of `bytes`, or 0.
std::size_t sequenceLength(std::string_view bytes) {
    const auto lead = static_cast<unsigned char>(bytes.front());
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length > bytes.size()) return 0;
    return length == 1 || strictUtf16FromUtf8(bytes.substr(0, length)) ? length : 0;
}

std::u16string_view withoutTrailingSlashes(std::u16string_view path) noexcept {
    while (path.size() > 1 && path.back() == u'/')
        path.remove_suffix(1);
    return path;
}

}  // namespace

std::u16string stringFromPathBytes(std::string_view bytes) {
    if (auto whole = strictUtf16FromUtf8(bytes)) return *std::move(whole);
    std::u16string out;
    out.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::size_t length = sequenceLength(bytes);
        if (length > 0) {
            out += *strictUtf16FromUtf8(bytes.substr(0, length));
        } else {
            out.push_back(static_cast<char16_t>(0xDC00 + static_cast<unsigned char>(bytes.front())));
        }
        bytes.remove_prefix(length > 0 ? length : 1);
    }
    return out;
}

std::optional<std::string> pathBytesFromString(std::u16string_view path) {
    if (path.empty()) return std::nullopt;
    std::string bytes;
    bytes.reserve(path.size());
    std::size_t plainStart = 0;
    const auto flushPlain = [&](std::size_t end) {
        bytes += utf8FromUtf16(path.substr(plainStart, end - plainStart));
        plainStart = end + 1;
    };
    for (std::size_t i = 0; i < path.size(); ++i) {
        const char16_t unit = path[i];
        if (unit == 0) return std::nullopt;
        if (!isSurrogate(unit)) continue;
        if (isHighSurrogate(unit) && i + 1 < path.size() && isLowSurrogate(path[i + 1])) {
            ++i;
            continue;
        }
        if (!isEscapedByte(unit)) return std::nullopt;
        flushPlain(i);
        bytes.push_back(static_cast<char>(unit & 0xFF));
    }
    flushPlain(path.size());
    return bytes;
}

std::u16string_view lastPathComponent(std::u16string_view path) noexcept {
    path = withoutTrailingSlashes(path);
    if (path == u"/") return path;
    const std::size_t slash = path.rfind(u'/');
    return slash == std::u16string_view::npos ? path : path.substr(slash + 1);
}

std::u16string_view pathExtension(std::u16string_view path) noexcept {
    const std::u16string_view name = lastPathComponent(path);
    const std::size_t stop = name.rfind(u'.');
    if (stop == std::u16string_view::npos) return {};
    if (name.find_first_not_of(u'.') >= stop) return {};
    return name.substr(stop + 1);
}

std::u16string_view deletingLastPathComponent(std::u16string_view path) noexcept {
    path = withoutTrailingSlashes(path);
    const std::size_t slash = path.rfind(u'/');
    if (slash == std::u16string_view::npos) return {};
    return withoutTrailingSlashes(path.substr(0, slash == 0 ? 1 : slash));
}

std::u16string_view deletingPathExtension(std::u16string_view path) noexcept {
    path = withoutTrailingSlashes(path);
    const std::u16string_view extension = pathExtension(path);
    const bool hasStop =
        !path.empty() &&
        (!extension.empty() ||
         (path.back() == u'.' && lastPathComponent(path).find_first_not_of(u'.') != std::u16string_view::npos));
    return hasStop ? path.substr(0, path.size() - extension.size() - 1) : path;
}

std::u16string appendingPathComponent(std::u16string_view path, std::u16string_view component) {
    while (!component.empty() && component.front() == u'/' && !path.empty())
        component.remove_prefix(1);
    if (path.empty()) return std::u16string(component);
    path = withoutTrailingSlashes(path);
    std::u16string joined(path);
    if (component.empty()) return joined;
    if (joined.back() != u'/') joined += u'/';
    return joined.append(component);
}

std::u16string homeDirectory() {
    const char* home = std::getenv("HOME");
    if (home != nullptr && *home != '\0') return stringFromPathBytes(home);
    std::array<char, 4096> buffer{};
    passwd record{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &record, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr && *found->pw_dir != '\0') {
        return stringFromPathBytes(found->pw_dir);
    }
    return u"/";
}

std::u16string expandingTilde(std::u16string_view path) {
    if (path == u"~") return homeDirectory();
    if (path.substr(0, 2) == u"~/") return appendingPathComponent(homeDirectory(), path.substr(2));
    return std::u16string(path);
}

}  // namespace halden
