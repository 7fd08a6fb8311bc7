// What all importers made for tests share: an instance that counts its references, and a factory for it.
#pragma once

#include "importers/sdk/quarry_importer.h"

#include <cstdint>
#include <cstring>

namespace quarry::test {

inline bool isSame(const quarry_uuid& a, const quarry_uuid& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// An importer with one function of its own.
class TestImporter : public quarry_importer {
public:
    using Import = std::uint8_t (*)(quarry_importer*, quarry_attributes*, const char*, const char*);

    /// The one instance of this bundle, made of `import`.
    static TestImporter* instance(Import import) {
        static TestImporter importer(import);
        return &importer;
    }

private:
    explicit TestImporter(Import import)
        : table_{nullptr, queryInterface, [](quarry_importer*) -> std::uint32_t { return 2; },
                 [](quarry_importer*) -> std::uint32_t { return 1; }, import} {
        functions = &table_;
    }

    static quarry_result queryInterface(quarry_importer* self, quarry_uuid id, void** interface) {
        const quarry_uuid wanted = QUARRY_IMPORTER_INTERFACE_ID;
        *interface = isSame(id, wanted) ? self : nullptr;
        return *interface != nullptr ? QUARRY_OK : QUARRY_NO_INTERFACE;
    }

    quarry_importer_functions table_;
};

inline void setTitle(quarry_attributes* attributes, const char* title) {
    attributes->functions->set_string(attributes, "kMDItemTitle", title, QUARRY_ZERO_TERMINATED);
}

}  // namespace quarry::test

/// The factory named in the Info.plist of every test bundle.
#define QUARRY_TEST_FACTORY(import)                                                \
    extern "C" QUARRY_IMPORTER_EXPORT void* makeTestImporter(void*, quarry_uuid) { \
        return quarry::test::TestImporter::instance(import);                       \
    }
