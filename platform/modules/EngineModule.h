// Engines in modules of their own: found beside the program, loaded on first use, never unloaded.
#pragma once

#include "foundation/Log.h"

#include <string>
#include <vector>

namespace halden {

/// A module that was looked for.
struct EngineModule {
    void* entry = nullptr;  ///< the address of its one function; null when there is no such module
    std::string path;       ///< of the module that was found
    std::string reason;     ///< why there is no entry
};

/// Loads the first file NAME of `folders`, and no other one should that fail, and looks `entry` up in it. The entry's
/// name ends in a number that changes whenever what it offers does, so that a module of another version is told.
[[nodiscard]] EngineModule loadEngineModule(const char* name, const char* entry,
                                            const std::vector<std::string>& folders);

/// Where the modules of this installation are: beside the running program, else in ../libexec/quarry from there, else
/// in libexec/quarry of the prefix that the object with this function lies in, as an importer bundle in
/// lib/quarry/Spotlight does.
[[nodiscard]] std::vector<std::string> engineModuleFolders();

/// What became of loading an engine.
template <typename Engine>
struct EngineStatus {
    const Engine* engine = nullptr;  ///< null when the engine is not there
    std::string path;                ///< of the module that was found
    std::string reason;              ///< why there is no engine
};

/// The engine that the entry of a module returns, see `loadEngineModule`. Null when the engine cannot start.
template <typename Engine>
[[nodiscard]] EngineStatus<Engine> loadEngine(const char* name, const char* entry,
                                              const std::vector<std::string>& folders) {
    EngineModule module = loadEngineModule(name, entry, folders);
    EngineStatus<Engine> status{nullptr, std::move(module.path), std::move(module.reason)};
    if (module.entry == nullptr) return status;
    status.engine = reinterpret_cast<const Engine* (*)()>(module.entry)();
    if (status.engine == nullptr) status.reason = status.path + " cannot start";
    return status;
}

/// The same from the installation's folders; a failure is logged as that of `title`.
template <typename Engine>
[[nodiscard]] EngineStatus<Engine> installedEngine(const std::string& title, const char* name, const char* entry) {
    EngineStatus<Engine> status = loadEngine<Engine>(name, entry, engineModuleFolders());
    if (status.engine == nullptr) logWarning(title + " missing: " + status.reason);
    return status;
}

}  // namespace halden
