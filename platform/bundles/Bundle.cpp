#include "platform/bundles/Bundle.h"

#include "foundation/Path.h"
#include "platform/bundles/DirectoryContents.h"
#include "platform/bundles/SharedObject.h"
#include "platform/plists/PropertyList.h"

#include <algorithm>

namespace halden {
namespace {

constexpr std::size_t kMaxInfoLength = std::size_t{4} << 20;

Dictionary readInfoDictionary(std::u16string_view bundlePath) {
    const auto path = pathBytesFromString(appendingPathComponent(bundlePath, u"Contents/Info.plist"));
    const auto bytes = path ? Data::contentsOfFile(*path, kMaxInfoLength) : std::nullopt;
    auto list = bytes ? propertyListFromData(*bytes) : std::nullopt;
    auto* dictionary = list ? list->as<Dictionary>() : nullptr;
    return dictionary != nullptr ? std::move(*dictionary) : Dictionary();
}

/// A string's boolean value: true when, after spaces, a sign and zeros, it begins with Y, T or a digit from 1.
bool isYes(std::u16string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(u" \t\n"), text.size()));
    if (!text.empty() && (text.front() == u'+' || text.front() == u'-')) text.remove_prefix(1);
    text.remove_prefix(std::min(text.find_first_not_of(u'0'), text.size()));
    return !text.empty() && std::u16string_view(u"YyTt123456789").find(text.front()) != std::u16string_view::npos;
}

}  // namespace

Bundle::Bundle(std::u16string_view path, Dictionary infoDictionary)
    : path_(path), infoDictionary_(std::move(infoDictionary)) {}

std::optional<Bundle> Bundle::bundleWithPath(std::u16string_view path) {
    if (!isDirectoryAtPath(path)) return std::nullopt;
    return Bundle(path, readInfoDictionary(path));
}

bool Bundle::boolForInfoDictionaryKey(std::u16string_view key) const {
    const Value* value = objectForInfoDictionaryKey(key);
    if (value == nullptr) return false;
    if (const auto* boolean = value->as<bool>()) return *boolean;
    if (const auto* integer = value->as<std::int64_t>()) return *integer != 0;
    if (const auto* real = value->as<double>()) return *real != 0;
    // Published bundles write the strings YES and NO.
    const auto* text = value->as<std::u16string>();
    return text != nullptr && isYes(*text);
}

std::u16string_view Bundle::bundleIdentifier() const noexcept {
    const Value* value = objectForInfoDictionaryKey(u"CFBundleIdentifier");
    const auto* identifier = value != nullptr ? value->as<std::u16string>() : nullptr;
    return identifier != nullptr ? std::u16string_view(*identifier) : std::u16string_view();
}

std::optional<std::string> Bundle::executablePath() const {
    std::u16string name(deletingPathExtension(lastPathComponent(path_)));
    if (const Value* value = objectForInfoDictionaryKey(u"CFBundleExecutable")) {
        if (const auto* given = value->as<std::u16string>()) name = *given;
    }
    // The name is one component: an Info.plist must not point out of its bundle.
    if (name.empty() || name.find(u'/') != std::u16string::npos || name == u"..") return std::nullopt;
    const std::u16string folder = appendingPathComponent(path_, u"Contents/Linux");
    for (const auto& candidate : {name, u"lib" + name + u".so"}) {
        const std::u16string path = appendingPathComponent(folder, candidate);
        // A regular file: the loader would wait for ever at a named pipe.
        if (isRegularFileAtPath(path)) return pathBytesFromString(path);
    }
    return std::nullopt;
}

bool Bundle::preflight(std::string* reason) const {
    std::string why = "no executable";
    const auto executable = executablePath();
    if (executable && canLoadSharedObject(*executable, why)) return true;
    if (reason != nullptr) *reason = why;
    return false;
}

}  // namespace halden
