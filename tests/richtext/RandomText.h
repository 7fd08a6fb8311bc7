// Attributed strings made at random, of everything that RTF can say, in the precision in which it says it.
#pragma once

#include "richtext/AttributedString.h"

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

namespace halden::testing {

/// Makes one text. The same seed makes the same text.
class RandomText {
public:
    explicit RandomText(std::uint32_t seed) : random_(seed) {}

    /// `pictures`: attachments are PNG pictures as stand-alone RTF holds them; else files and folders, as packages do.
    struct Options {
        bool pictures = false;
        int paragraphs = 12;
    };
    [[nodiscard]] AttributedString make(const Options& options);

    [[nodiscard]] CharacterAttributes characters();
    [[nodiscard]] ParagraphAttributes paragraph();

private:
    using Blocks = std::vector<TextTableBlock>;
    using Lists = std::vector<std::shared_ptr<const TextList>>;

    [[nodiscard]] int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    [[nodiscard]] bool one(int in) { return below(in) == 0; }
    [[nodiscard]] double twentieths(int most) { return below(most * 20) / 20.0; }
    [[nodiscard]] std::optional<Color> maybeColor();
    [[nodiscard]] std::u16string word();

    void appendParagraph(const Blocks& blocks, bool mayBeList);
    void appendTable(const Blocks& outer);
    void append(std::u16string_view units, const std::shared_ptr<const CharacterAttributes>& attributes);
    void appendAttachment();
    [[nodiscard]] std::shared_ptr<const TextTableCellStyle> cellStyle();

    std::mt19937 random_;
    Options options_;
    AttributedString::Parts parts_;
    std::vector<std::shared_ptr<const CharacterAttributes>> formats_;
    std::vector<Lists> lists_;
    int pictures_ = 0;
};

}  // namespace halden::testing
