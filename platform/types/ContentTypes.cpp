#include "platform/types/ContentTypes.h"

#include "foundation/Path.h"
#include "foundation/Strings.h"
#include "platform/types/ContentTypeTable.h"
#include "platform/types/Declarations.h"
#include "platform/types/FirstBytes.h"

#include <sys/stat.h>

#include <algorithm>
#include <unordered_set>

namespace halden {
namespace {

constexpr std::u16string_view kData = u"public.data";
constexpr std::u16string_view kItem = u"public.item";
constexpr std::u16string_view kFolder = u"public.folder";
constexpr std::u16string_view kExecutable = u"public.unix-executable";
constexpr std::u16string_view kPackage = u"com.apple.package";
constexpr std::u16string_view kBundle = u"com.apple.bundle";

std::u16string utf16FromAscii(std::string_view text) {
    return {text.begin(), text.end()};
}

/// `text`, or the empty string, which is in no table, when it holds anything but ASCII.
std::string asciiFromUtf16(std::u16string_view text) {
    std::string ascii;
    for (const char16_t unit : text) {
        if (unit == 0 || unit >= 0x80) return {};
        ascii += static_cast<char>(unit);
    }
    return ascii;
}

std::optional<types::TypeNumber> builtInType(std::u16string_view lowerIdentifier) {
    return types::typeOfIdentifier(asciiFromUtf16(lowerIdentifier));
}

}  // namespace

struct ContentTypes::Declarations : types::Declarations {};

ContentTypes::ContentTypes() = default;
ContentTypes::ContentTypes(ContentTypes&&) noexcept = default;
ContentTypes& ContentTypes::operator=(ContentTypes&&) noexcept = default;
ContentTypes::~ContentTypes() = default;

void ContentTypes::addDeclarations(const Dictionary& infoDictionary) {
    const auto addArray = [this, &infoDictionary](std::u16string_view key, types::Ownership ownership) {
        const Value* const declarations = infoDictionary.find(key);
        if (declarations == nullptr || !declarations->is<Array>()) return;
        for (const Value& declaration : *declarations->as<Array>()) {
            auto type = types::declaredTypeFrom(declaration);
            if (!type || builtInType(lowercaseString(type->identifier))) continue;
            if (!declarations_) declarations_ = std::make_unique<Declarations>();
            declarations_->add(*std::move(type), ownership);
        }
    };
    addArray(u"UTExportedTypeDeclarations", types::Ownership::exported);
    addArray(u"UTImportedTypeDeclarations", types::Ownership::imported);
}

std::vector<std::u16string> ContentTypes::typesOfExtension(std::u16string_view extension) const {
    const std::u16string lower = lowercaseString(extension);
    std::vector<std::u16string> identifiers;
    for (const types::TypeNumber type : types::typesOfExtension(asciiFromUtf16(lower)))
        identifiers.push_back(utf16FromAscii(types::identifierOf(type)));
    if (declarations_) {
        for (const types::DeclaredType* type : declarations_->withExtension(lower))
            identifiers.push_back(type->identifier);
    }
    return identifiers;
}

std::u16string ContentTypes::contentTypeOfExtension(std::u16string_view extension) const {
    const auto identifiers = typesOfExtension(extension);
    if (identifiers.empty()) return dynamicIdentifierForExtension(extension);
    const auto isData = [this](const std::u16string& identifier) { return conformsTo(identifier, kData); };
    const auto found = std::find_if(identifiers.begin(), identifiers.end(), isData);
    // A file that should be a package, as some of them are when they travel flat, still has the package's type.
    return found == identifiers.end() ? identifiers.front() : *found;
}

std::u16string ContentTypes::contentTypeOfFolderExtension(std::u16string_view extension) const {
    for (auto& identifier : typesOfExtension(extension)) {
        if (conformsTo(identifier, kPackage) || conformsTo(identifier, kBundle)) return std::move(identifier);
    }
    return std::u16string(kFolder);
}

std::optional<std::u16string> ContentTypes::contentTypeOfFile(std::u16string_view path) const {
    const auto bytes = pathBytesFromString(path);
    struct stat status {};
    if (!bytes || stat(bytes->c_str(), &status) != 0) return std::nullopt;
    const auto extension = pathExtension(path);
    if (S_ISDIR(status.st_mode)) return contentTypeOfFolderExtension(extension);
    if (!S_ISREG(status.st_mode)) return std::u16string(kItem);
    if (!extension.empty()) return contentTypeOfExtension(extension);
    if (const auto mimeType = types::mimeTypeOfFirstBytes(*bytes)) {
        if (auto type = contentTypeOfMimeType(*mimeType)) return type;
    }
    const bool isExecutable = (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
    return std::u16string(isExecutable ? kExecutable : kData);
}

std::optional<std::u16string> ContentTypes::contentTypeOfMimeType(std::string_view mimeType) const {
    if (const auto type = types::typeOfMimeType(mimeType)) return utf16FromAscii(types::identifierOf(*type));
    if (!declarations_) return std::nullopt;
    const auto* declared = declarations_->withMimeType(lowercaseString(utf16FromAscii(mimeType)));
    if (declared == nullptr) return std::nullopt;
    return declared->identifier;
}

bool ContentTypes::conformsTo(std::u16string_view identifier, std::u16string_view ancestor) const {
    const std::u16string wanted = lowercaseString(ancestor);
    const auto wantedBuiltIn = builtInType(wanted);
    // Declarations may form cycles, so each identifier is looked at once.
    std::vector<std::u16string> pending{lowercaseString(identifier)};
    std::unordered_set<std::u16string> seen;
    while (!pending.empty()) {
        const std::u16string current = std::move(pending.back());
        pending.pop_back();
        if (current == wanted) return true;
        if (!seen.insert(current).second) continue;
        if (const auto builtIn = builtInType(current)) {
            // What is built in conforms to nothing else.
            if (wantedBuiltIn && types::conformsTo(*builtIn, *wantedBuiltIn)) return true;
        } else if (const auto* declared = declarations_ ? declarations_->find(current) : nullptr) {
            pending.insert(pending.end(), declared->conformsTo.begin(), declared->conformsTo.end());
        } else if (extensionOfDynamicIdentifier(current)) {
            pending.emplace_back(kData);
        }
    }
    return false;
}

std::optional<std::u16string> ContentTypes::preferredExtension(std::u16string_view identifier) const {
    const std::u16string lower = lowercaseString(identifier);
    if (const auto type = builtInType(lower)) {
        const auto extension = types::preferredExtensionOf(*type);
        if (extension.empty()) return std::nullopt;
        return utf16FromAscii(extension);
    }
    if (const auto* declared = declarations_ ? declarations_->find(lower) : nullptr) {
        if (declared->extensions.empty()) return std::nullopt;
        return declared->extensions.front();
    }
    return extensionOfDynamicIdentifier(lower);
}

std::optional<std::u16string> contentTypeOfFile(std::u16string_view path) {
    return ContentTypes().contentTypeOfFile(path);
}

}  // namespace halden
