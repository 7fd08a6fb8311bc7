// From the tables of RTF to the blocks that paragraphs carry.
#pragma once

#include "richtext/AttributedString.h"
#include "richtext/RtfAttributes.h"
#include "richtext/RtfContent.h"

#include <map>
#include <memory>
#include <vector>

namespace halden {

/// Translates the tables of one document. `content` and `attributes` must outlive it.
class RtfTableBlocks {
public:
    /// Works out where the cells of `content` lie.
    RtfTableBlocks(RtfContent& content, const RtfAttributes& attributes);

    /// The blocks of a paragraph in a cell, outermost first.
    [[nodiscard]] std::vector<TextTableBlock> blocks(std::int32_t cell);
    /// Whether a cell only continues another, so that its paragraph is none.
    [[nodiscard]] bool isContinuation(std::int32_t cell) const noexcept;

private:
    [[nodiscard]] TextTableBlock block(const RtfTables::Cell& cell);
    [[nodiscard]] std::shared_ptr<const TextTableCellStyle> style(const RtfTables::Cell& cell);
    [[nodiscard]] TextTableCellStyle translated(const RtfRowDefinition& row, const RtfCellDefinition& cell,
                                                bool isFirst, bool isLast) const;

    const RtfContent& content_;
    const RtfAttributes& attributes_;
    std::vector<std::shared_ptr<const TextTable>> tables_;  // by number
    std::map<const RtfCellDefinition*, std::shared_ptr<const TextTableCellStyle>> styles_;
    std::shared_ptr<const TextTableCellStyle> plainStyle_ = std::make_shared<const TextTableCellStyle>();
};

}  // namespace halden
