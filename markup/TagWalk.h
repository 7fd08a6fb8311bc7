// The walk of the tag scanner, for one kind of block. Included by the files that compile it for an instruction set.
//
// A page is mostly short tags with short texts between them, so the walk keeps five masks of the 64 units at hand ("<",
// ">", "=" and both quotes) and finds its way by counting zeros. Where a mask has no answer, the search goes on over
// whole blocks for the one character that matters, and the masks are taken anew where it is found.
#pragma once

#include "foundation/Characters.h"
#include "markup/PassedWalks.h"
#include "markup/TagScanner.h"
#include "markup/TagScannerPaths.h"
#include "markup/UnitBlock.h"

#include <cstddef>
#include <cstdint>

namespace halden {

template <class Block>
class TagWalk {
public:
    explicit TagWalk(const TagScan& scan) noexcept
        : scan_(scan), units_(scan.units), length_(scan.length), passed_(scan.units, scan.length) {
        tag_.string = scan.string;
        tag_.characters = {scan.units, scan.length};
    }

    void run() {
        takeMasks(0);
        for (std::size_t open = find(0, '<', kOpen); open < length_; open = find(tag_.textLocation, '<', kOpen)) {
            tag_.tagLocation = open;
            const TagKind kind = kindAt(open);
            std::size_t close = kind == TagKind::tag ? tagEnd(open) : markedEnd(kind, open + 3);
            if (close >= length_) return finishOpen(kind, open);
            tag_.nameLocation = kNotFound;
            tag_.nameLength = 0;
            if (kind == TagKind::tag) {
                readName(close);
                if (isBodied(close)) close = elementEnd(close);
            }
            tag_.tagLength = close - open + 1;
            tag_.kind = kind;
            if (scan_.handler(tag_, scan_.context)) return;
            tag_.textLocation = close + 1;
        }
        finish();
    }

private:
    enum MaskIndex : std::size_t { kOpen, kClose, kEquals, kDouble, kSingle, kMasks };

    /// What a search found, and for which start: repeated from anywhere between, it would find the same. Keeps repeated
    /// searches for what is far away, or nowhere, from making the scan quadratic.
    struct Found {
        std::size_t from = kNotFound;
        std::size_t at = 0;
        [[nodiscard]] bool answers(std::size_t start) const noexcept { return from <= start && start <= at; }
    };

    // --- Blocks ----------------------------------------------------------------------------------------------------

    /// The block at `at`; past the end of the text it holds zeros.
    template <class Use>
    auto withBlock(std::size_t at, Use use) const noexcept {
        if (length_ - at >= Block::kCount) return use(Block::load(units_ + at));
        char16_t tail[Block::kCount] = {};
        for (std::size_t i = 0; i < length_ - at; ++i)
            tail[i] = units_[at + i];
        return use(Block::load(tail));
    }

    void takeMasks(std::size_t at) noexcept {
        base_ = at;
        withBlock(at, [this](const Block& block) {
            masks_[kOpen] = block.equal('<');
            masks_[kClose] = block.equal('>');
            masks_[kEquals] = block.equal('=');
            masks_[kDouble] = block.equal('"');
            masks_[kSingle] = block.equal('\'');
        });
    }

    /// The first place from `from` on where `maskOf` of a block has a bit, the length when there is none.
    template <class MaskOf>
    std::size_t search(std::size_t from, MaskOf maskOf) const noexcept {
        for (; from < length_; from += Block::kCount) {
            if (const std::uint64_t mask = withBlock(from, maskOf)) return from + lowestBit(mask);
        }
        return length_;
    }

    /// The first of the characters, whose masks these are, from `from` on; the length when there is none.
    template <class... Indices>
    std::size_t findAny(std::size_t from, const char* characters, Indices... indices) noexcept {
        // Before the block as well as behind it (an element may end before its start tag does) this is too much.
        const std::size_t offset = from - base_;
        if (offset < Block::kCount) {
            if (const std::uint64_t mask = (masks_[indices] | ...) >> offset) return from + lowestBit(mask);
            from = base_ + Block::kCount;
        }
        if (from >= length_) return length_;
        takeMasks(from);
        if (const std::uint64_t mask = (masks_[indices] | ...)) return from + lowestBit(mask);
        // A long run, of which only its end matters.
        from = search(from + Block::kCount, [characters](const Block& block) {
            std::uint64_t mask = 0;
            for (std::size_t i = 0; i < sizeof...(Indices); ++i)
                mask |= block.equal(characters[i]);
            return mask;
        });
        if (from < length_) takeMasks(from);
        return from;
    }
    std::size_t find(std::size_t from, char character, MaskIndex index) noexcept {
        return findAny(from, &character, index);
    }

    // --- Tokens ----------------------------------------------------------------------------------------------------

    [[nodiscard]] TagKind kindAt(std::size_t open) const noexcept {
        if (length_ - open <= 2 || units_[open + 1] != u'!') return TagKind::tag;
        const char16_t second = units_[open + 2];
        return second == u'-' ? TagKind::remark : second == u'[' ? TagKind::meta : TagKind::tag;
    }

    /// The ">" that ends the tag whose "<" is at `open`.
    std::size_t tagEnd(std::size_t open) noexcept {
        if (passed_.cover(open)) return passed_.tagEnd(open);
        std::size_t from = open + 1;
        while (true) {
            // Outside a value quotes mean nothing until there was a "=".
            const std::size_t equals = findAny(from, "=>", kEquals, kClose);
            if (equals >= length_ || units_[equals] == u'>') return equals;
            const std::size_t quote = firstQuote(equals + 1);
            if (quote >= length_ || units_[quote] == u'>') return quote;
            const std::size_t end =
                units_[quote] == u'"' ? find(quote + 1, '"', kDouble) : find(quote + 1, '\'', kSingle);
            if (end >= length_) return end;
            from = end + 1;
        }
    }

    /// The quote that opens a value after a "=", or the ">" that comes first. Mostly it is the next unit.
    std::size_t firstQuote(std::size_t from) noexcept {
        if (from < length_ && (units_[from] == u'"' || units_[from] == u'\'')) return from;
        return findAny(from, "\"'>", kDouble, kSingle, kClose);
    }

    /// The ">" that ends the comment or marked section whose inside starts at `from`.
    std::size_t markedEnd(TagKind kind, std::size_t from) const noexcept {
        const bool remark = kind == TagKind::remark;
        const bool singleDash = remark && (from >= length_ || units_[from] != u'-');
        while (true) {
            // Blocks start one unit early, so that each ">" is seen together with the unit before it.
            const std::size_t before = search(from - 1, [remark](const Block& block) {
                const std::uint64_t ends = block.equal('-') | block.equal(remark ? '!' : ']');
                return ends & ((block.equal('>') >> 1) | (std::uint64_t{1} << (Block::kCount - 1)));
            });
            const std::size_t close = before + 1;
            if (close >= length_) return length_;
            if (units_[close] == u'>' && (remark ? endsRemark(close, singleDash) : endsMeta(close))) return close;
            from = close + 1;
        }
    }
    [[nodiscard]] bool endsRemark(std::size_t close, bool singleDash) const noexcept {
        if (units_[close - 1] == u'-') return singleDash || units_[close - 2] == u'-';
        return !singleDash && units_[close - 2] == u'-' && units_[close - 3] == u'-';
    }
    [[nodiscard]] bool endsMeta(std::size_t close) const noexcept {
        return units_[close - 1] == u']' ||
               (units_[close - 1] == u'-' && units_[close - 2] == u'-' && units_[close - 3] == u']');
    }

    /// The text ends inside a token. Comments and marked sections are delivered as they are, tags become text.
    void finishOpen(TagKind kind, std::size_t open) {
        if (kind != TagKind::tag) {
            tag_.nameLocation = kNotFound;
            tag_.nameLength = 0;
            tag_.tagLocation = open;
            tag_.tagLength = length_ - open;
            tag_.kind = kind;
            scan_.handler(tag_, scan_.context);
            tag_.textLocation = length_;
        }
        finish();
    }

    void finish() {
        tag_.nameLocation = kNotFound;
        tag_.nameLength = 0;
        tag_.tagLocation = length_;
        tag_.tagLength = 0;
        tag_.kind = TagKind::end;
        scan_.handler(tag_, scan_.context);
    }

    // --- Names -----------------------------------------------------------------------------------------------------

    /// From the first letter of the token up to white space, "/" or the token's end.
    void readName(std::size_t close) noexcept {
        std::size_t start = tag_.tagLocation + 1;
        start += units_[start] == u'/' ? 1 : 0;
        while (start < close && !isLetter(units_[start]))
            ++start;
        if (start >= close) return;
        std::size_t end = start + 1;
        while (!endsName(units_[end]))
            ++end;
        tag_.nameLocation = start;
        tag_.nameLength = end - start;
    }
    [[nodiscard]] bool isLetter(char16_t unit) const noexcept {
        return static_cast<char16_t>((unit | 0x20) - u'a') < 26 || (unit >= 0x80 && scan_.letters->contains(unit));
    }
    [[nodiscard]] bool endsName(char16_t unit) const noexcept {
        return unit == u'>' || unit == u'/' || ((unit <= 0x20 || unit >= 0x80) && scan_.white->contains(unit));
    }

    // --- Script and style ------------------------------------------------------------------------------------------

    /// The six letters from `at` on, folded as ASCII, are those of `word`.
    template <std::size_t N>
    [[nodiscard]] bool spells(std::size_t at, const char (&word)[N]) const noexcept {
        if (length_ - at < N - 1) return false;
        for (std::size_t i = 0; i < N - 1; ++i) {
            if ((units_[at + i] | 0x20) != static_cast<char16_t>(word[i])) return false;
        }
        return true;
    }

    /// Whether the token that ends at `close` is a start tag whose element has a body to swallow.
    [[nodiscard]] bool isBodied(std::size_t close) const noexcept {
        if (tag_.nameLength != 6 && tag_.nameLength != 5) return false;
        if (!(tag_.nameLength == 6 ? spells(tag_.nameLocation, "script") : spells(tag_.nameLocation, "style")))
            return false;
        return units_[tag_.tagLocation + 1] != u'/' && units_[close - 1] != u'/';
    }

    struct BodyEnd {
        std::size_t endTag;   ///< its "<"
        std::size_t comment;  ///< the first "<!-" before it
    };

    /// The first "</script" or "</style" from `from` on, in any case.
    BodyEnd findEndTag(std::size_t from) const noexcept {
        std::size_t comment = kNotFound;
        for (;; ++from) {
            from = search(from, [](const Block& block) {
                const std::uint64_t second = block.equal('/') | block.equal('!');
                return block.equal('<') & ((second >> 1) | (std::uint64_t{1} << (Block::kCount - 1)));
            });
            if (length_ - from < 2) return {kNotFound, comment};
            if (units_[from + 1] == u'/') {
                if (tag_.nameLength == 6 ? spells(from + 2, "script") : spells(from + 2, "style"))
                    return {from, comment};
            } else if (comment == kNotFound && length_ - from > 2 && units_[from + 1] == u'!' &&
                       units_[from + 2] == u'-') {
                comment = from;
            }
        }
    }

    std::size_t findCommentEnd(std::size_t from) const noexcept {
        for (;; ++from) {
            from = search(from, [](const Block& block) {
                return block.equal('-') & ((block.equal('-') >> 1) | (std::uint64_t{1} << (Block::kCount - 1)));
            });
            if (length_ - from < 3) return kNotFound;
            if (units_[from + 1] == u'-' && units_[from + 2] == u'>') return from;
        }
    }

    /// The end of the element whose start tag ends at `close`: the ">" of the end tag, the length of the text when that
    /// has none, or `close` when there is no end tag. An end tag inside the start tag ends the element before `close`.
    std::size_t elementEnd(std::size_t close) noexcept {
        EndTags& ends = endTags_[tag_.nameLength == 6 ? 0 : 1];
        if (ends.none) return close;
        BodyEnd end = findEndTag(tag_.tagLocation + 1);
        if (end.endTag == kNotFound) {
            ends.none = true;
            return close;
        }
        if (end.comment != kNotFound) {
            if (!commentEnd_.answers(end.comment)) commentEnd_ = {end.comment, findCommentEnd(end.comment)};
            if (commentEnd_.at != kNotFound) {
                if (!ends.afterComment.answers(commentEnd_.at))
                    ends.afterComment = {commentEnd_.at, findEndTag(commentEnd_.at).endTag};
                if (ends.afterComment.at != kNotFound) end.endTag = ends.afterComment.at;
            }
        }
        const std::size_t elementClose =
            search(end.endTag + 2 + tag_.nameLength, [](const Block& block) { return block.equal('>'); });
        if (elementClose < close) passed_.remember(tag_.tagLocation, close);
        return elementClose;
    }

    /// What is known of the end tags of one name.
    struct EndTags {
        bool none = false;   ///< no further one
        Found afterComment;  ///< the first one after the end of a comment
    };

    const TagScan& scan_;
    const char16_t* units_;
    std::size_t length_;
    std::size_t base_ = 0;
    std::uint64_t masks_[kMasks] = {};
    Tag tag_;
    PassedWalks passed_;
    Found commentEnd_;
    EndTags endTags_[2];
};

}  // namespace halden
