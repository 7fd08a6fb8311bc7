// The markers of list paragraphs: numbers in the styles that lists use, and counting.
#pragma once

#include "richtext/RtfFormat.h"
#include "richtext/RtfHeaderTables.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>

namespace halden {

/// `number` in the style of a \levelnfc: 0 decimal, 1 and 2 Roman, 3 and 4 letters, 5 ordinal, 22 with a leading zero,
/// 23 and 255 none. Other styles are written in decimal, and so are numbers that a style cannot write.
[[nodiscard]] std::u16string rtfListNumber(std::int32_t number, std::int32_t numberKind);

/// The \levelnfc that stands for numbering of before Word 97.
[[nodiscard]] std::int32_t rtfNumberKind(RtfOldNumbering::Kind kind) noexcept;

/// Counts the paragraphs of the lists of one document.
class RtfListCounters {
public:
    /// The marker of the next paragraph at `level` of `list`, without what follows it: the level's text with the
    /// numbers of its own and the outer levels filled in. Counting at a level starts the deeper ones anew. Empty for a
    /// level that has no text.
    [[nodiscard]] std::u16string nextMarker(const RtfList& list, std::size_t level);
    /// The same for numbering of before Word 97, which counts as long as the kind and its level stay the same.
    [[nodiscard]] std::u16string nextMarker(const RtfOldNumbering& numbering);

private:
    using Counts = std::array<std::int32_t, RtfHeaderTables::kMaxListLevels>;  // how many so far

    std::unordered_map<std::int64_t, Counts> counts_;  // by list id, or by override above all ids
    RtfOldNumbering oldNumbering_;
    std::int32_t oldCount_ = 0;
};

}  // namespace halden
