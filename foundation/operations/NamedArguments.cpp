#include "foundation/operations/NamedArguments.h"

#include "foundation/operations/Operation.h"

#include <string>

namespace halden::operations {
namespace {

struct NamedSet {
    std::u16string_view name;
    const CharacterBitmap& (*make)();
};

constexpr NamedSet kSets[] = {
    {u"emptyCharacterSetRep", emptyCharacterSetRep},       {u"spaceCharacterSetRep", spaceCharacterSetRep},
    {u"whiteCharacterSetRep", whiteCharacterSetRep},       {u"alphaCharacterSetRep", alphaCharacterSetRep},
    {u"alphaNumCharacterSetRep", alphaNumCharacterSetRep}, {u"digitCharacterSetRep", digitCharacterSetRep},
    {u"lowerCharacterSetRep", lowerCharacterSetRep},       {u"upperCharacterSetRep", upperCharacterSetRep},
};

struct NamedTable {
    std::u16string_view name;
    const ConversionTable& (*make)();
};

constexpr NamedTable kTables[] = {
    {u"initLowerCharsTable", initLowerCharsTable},
    {u"initUpperCharsTable", initUpperCharsTable},
    {u"initUmlautsCharsTable", initUmlautsCharsTable},
    {u"initLowerUmlautsCharsTable", initLowerUmlautsCharsTable},
    {u"initUpperUmlautsCharsTable", initUpperUmlautsCharsTable},
};

template <class Candidates, class Name>
const auto* find(const Candidates& candidates, Name name, std::size_t index, const std::string& kind) {
    for (const auto& candidate : candidates) {
        if (candidate.name == name) return &candidate.make();
    }
    throw ArgumentError("argument " + std::to_string(index + 1) + " names no " + kind);
}

}  // namespace

const CharacterBitmap* setNamed(std::optional<std::u16string_view> name, std::size_t index) {
    return name ? find(kSets, *name, index, "set") : nullptr;
}

const ConversionTable* tableNamed(std::optional<std::u16string_view> name, std::size_t index) {
    return name ? find(kTables, *name, index, "table") : nullptr;
}

}  // namespace halden::operations
