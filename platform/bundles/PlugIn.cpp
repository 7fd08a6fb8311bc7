#include "platform/bundles/PlugIn.h"

#include "foundation/Log.h"
#include "foundation/Unicode.h"
#include "platform/bundles/SharedObject.h"

#include <dlfcn.h>

namespace halden {
namespace {

void appendUuid(std::vector<Uuid>& uuids, const Value& value) {
    const auto* text = value.as<std::u16string>();
    const auto uuid = text != nullptr ? Uuid::fromString(*text) : std::nullopt;
    if (uuid) uuids.push_back(*uuid);
}

/// The entry of a dictionary whose keys are identifiers, which may be spelled in either case.
const Value* findByUuid(const Dictionary& dictionary, const Uuid& uuid) {
    for (const auto& entry : dictionary) {
        if (Uuid::fromString(entry.key) == uuid) return &entry.value;
    }
    return nullptr;
}

const Dictionary* dictionaryOf(const Bundle& bundle, std::u16string_view key) {
    const Value* value = bundle.objectForInfoDictionaryKey(key);
    return value != nullptr ? value->as<Dictionary>() : nullptr;
}

/// The bundle's executable in memory, or a null pointer with the reason.
void* loadedExecutable(const Bundle& bundle, std::string& reason) {
    const auto path = bundle.executablePath();
    if (!path) {
        reason = "no executable";
        return nullptr;
    }
    // What is in memory already needs no preflight, which would cost more than most documents do.
    void* library = dlopen(path->c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (library != nullptr || !canLoadSharedObject(*path, reason)) return library;
    library = dlopen(path->c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* error = dlerror();
        reason = error != nullptr ? error : "unknown reason";
    }
    return library;
}

}  // namespace

std::unique_ptr<PlugIn> PlugIn::plugInWithPath(std::u16string_view path) {
    auto bundle = Bundle::bundleWithPath(path);
    if (!bundle) return nullptr;
    std::string reason;
    void* library = loadedExecutable(*bundle, reason);
    if (library == nullptr) {
        logDebug("Not loaded: " + reason);
        return nullptr;
    }
    return std::unique_ptr<PlugIn>(new PlugIn(*std::move(bundle), library));
}

std::vector<Uuid> PlugIn::factoriesForPlugInType(const Uuid& type) const {
    std::vector<Uuid> factories;
    const Dictionary* types = dictionaryOf(bundle_, u"CFPlugInTypes");
    const Value* value = types != nullptr ? findByUuid(*types, type) : nullptr;
    if (value == nullptr) return factories;
    if (const auto* list = value->as<Array>()) {
        for (const Value& element : *list)
            appendUuid(factories, element);
    } else {
        appendUuid(factories, *value);
    }
    return factories;
}

std::optional<std::string> PlugIn::functionOfFactory(const Uuid& factory) const {
    const Dictionary* functions = dictionaryOf(bundle_, u"CFPlugInFactories");
    const Value* value = functions != nullptr ? findByUuid(*functions, factory) : nullptr;
    const auto* name = value != nullptr ? value->as<std::u16string>() : nullptr;
    return name != nullptr ? strictUtf8FromUtf16(*name) : std::nullopt;
}

void* PlugIn::createInstance(const Uuid& factory, const Uuid& type) const {
    const auto name = functionOfFactory(factory);
    if (!name) return nullptr;
    const auto function = reinterpret_cast<Factory>(dlsym(library_, name->c_str()));
    return function != nullptr ? function(nullptr, type) : nullptr;
}

}  // namespace halden
