#include "richtext/RtfControlWords.h"

#include <array>

namespace halden {
namespace {

struct Row {
    std::string_view spelling;
    RtfControlWord word;
};

constexpr Row kRows[] = {
#define RTF_WORD(subject, enumerator, spelling) {spelling, {RtfWord::enumerator, RtfSubject::subject}},
#include "richtext/RtfControlWords.inc"
#undef RTF_WORD
};

// Open addressing at a load of about a fifth: a word is found, or found missing, in one or two probes.
constexpr std::size_t kSlots = 2048;
static_assert(std::size(kRows) < kSlots / 3);

constexpr std::size_t slotOf(std::uint32_t hash) noexcept {
    return (hash ^ (hash >> 15)) % kSlots;
}

constexpr std::array<std::uint16_t, kSlots> kRowOfSlot = [] {
    std::array<std::uint16_t, kSlots> slots{};  // 0 is free, n is row n - 1
    for (std::size_t row = 0; row < std::size(kRows); ++row) {
        std::size_t slot = slotOf(rtfWordHash(kRows[row].spelling));
        while (slots[slot] != 0)
            slot = (slot + 1) % kSlots;
        slots[slot] = static_cast<std::uint16_t>(row + 1);
    }
    return slots;
}();

}  // namespace

RtfControlWord rtfControlWord(const RtfToken& token) noexcept {
    for (std::size_t slot = slotOf(token.hash);; slot = (slot + 1) % kSlots) {
        const std::uint16_t row = kRowOfSlot[slot];
        if (row == 0) return {};
        if (kRows[row - 1].spelling == token.text) return kRows[row - 1].word;
    }
}

}  // namespace halden
