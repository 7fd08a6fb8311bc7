#include "platform/types/Declarations.h"

#include "foundation/Strings.h"

#include <algorithm>

namespace halden::types {
namespace {

/// A string, or the strings of an array, in lower case; empty ones are left out.
std::vector<std::u16string> stringsOf(const Value* value) {
    std::vector<std::u16string> strings;
    if (value == nullptr) return strings;
    const auto take = [&strings](const Value& element) {
        const auto* string = element.as<std::u16string>();
        if (string != nullptr && !string->empty()) strings.push_back(lowercaseString(*string));
    };
    take(*value);
    if (const auto* array = value->as<Array>()) std::for_each(array->begin(), array->end(), take);
    return strings;
}

}  // namespace

std::optional<DeclaredType> declaredTypeFrom(const Value& declaration) {
    const auto* dictionary = declaration.as<Dictionary>();
    if (dictionary == nullptr) return std::nullopt;
    const Value* const identifier = dictionary->find(u"UTTypeIdentifier");
    if (identifier == nullptr || !identifier->is<std::u16string>() || identifier->as<std::u16string>()->empty()) {
        return std::nullopt;
    }
    DeclaredType type;
    type.identifier = *identifier->as<std::u16string>();
    type.conformsTo = stringsOf(dictionary->find(u"UTTypeConformsTo"));
    const Value* const tags = dictionary->find(u"UTTypeTagSpecification");
    if (tags != nullptr && tags->is<Dictionary>()) {
        type.extensions = stringsOf(tags->as<Dictionary>()->find(u"public.filename-extension"));
        type.mimeTypes = stringsOf(tags->as<Dictionary>()->find(u"public.mime-type"));
    }
    return type;
}

void Declarations::add(DeclaredType type, Ownership ownership) {
    const auto [found, isNew] = places_.try_emplace(lowercaseString(type.identifier), entries_.size());
    const std::size_t place = found->second;
    if (isNew) {
        entries_.push_back({std::move(type), ownership});
    } else if (ownership == Ownership::exported && entries_[place].ownership == Ownership::imported) {
        removeFromIndex(place);
        entries_[place] = {std::move(type), ownership};
    } else {
        return;
    }
    index(place);
}

void Declarations::index(std::size_t place) {
    for (const auto& extension : entries_[place].type.extensions)
        extensions_[extension].push_back(place);
    for (const auto& mimeType : entries_[place].type.mimeTypes)
        mimeTypes_[mimeType].push_back(place);
}

void Declarations::removeFromIndex(std::size_t place) {
    for (const auto& extension : entries_[place].type.extensions)
        std::erase(extensions_[extension], place);
    for (const auto& mimeType : entries_[place].type.mimeTypes)
        std::erase(mimeTypes_[mimeType], place);
}

const DeclaredType* Declarations::find(const std::u16string& identifier) const {
    const auto found = places_.find(identifier);
    return found == places_.end() ? nullptr : &entries_[found->second].type;
}

std::vector<const DeclaredType*> Declarations::withExtension(const std::u16string& extension) const {
    std::vector<const DeclaredType*> types;
    if (const auto found = extensions_.find(extension); found != extensions_.end()) {
        for (const std::size_t place : found->second)
            types.push_back(&entries_[place].type);
    }
    return types;
}

const DeclaredType* Declarations::withMimeType(const std::u16string& mimeType) const {
    const auto found = mimeTypes_.find(mimeType);
    if (found == mimeTypes_.end() || found->second.empty()) return nullptr;
    return &entries_[found->second.front()].type;
}

}  // namespace halden::types
