// From the terms of RTF to attributes: characters, paragraphs, lists.
#pragma once

#include "richtext/AttributedString.h"
#include "richtext/RtfContent.h"

#include <map>
#include <memory>
#include <tuple>
#include <vector>

namespace halden {

/// Translates the formatting of one document, each kind once. `content` must outlive it.
class RtfAttributes {
public:
    explicit RtfAttributes(const RtfContent& content) : content_(content) {}

    /// The attributes of a number of `content.characters`.
    [[nodiscard]] std::shared_ptr<const CharacterAttributes> characters(std::uint32_t format);
    /// The attributes of a number of `content.paragraphFormats`, as if outside of tables.
    [[nodiscard]] std::shared_ptr<const ParagraphAttributes> paragraphs(std::uint32_t format);

    [[nodiscard]] std::optional<Color> color(std::int32_t index) const;

private:
    [[nodiscard]] CharacterAttributes translated(const RtfCharacter& character);
    [[nodiscard]] ParagraphAttributes translated(const RtfParagraph& paragraph);
    [[nodiscard]] std::u16string language(std::int32_t number);
    [[nodiscard]] std::vector<std::shared_ptr<const TextList>> lists(const RtfParagraph& paragraph);

    const RtfContent& content_;
    std::vector<std::shared_ptr<const CharacterAttributes>> characters_;
    std::vector<std::shared_ptr<const ParagraphAttributes>> paragraphs_;
    std::map<std::int32_t, std::u16string> languages_;
    std::map<std::pair<std::int32_t, std::size_t>, std::shared_ptr<const TextList>> lists_;  // by \ls and level
    using OldListKey = std::tuple<RtfOldNumbering::Kind, std::int32_t, std::u16string, std::u16string>;
    std::map<OldListKey, std::shared_ptr<const TextList>> oldLists_;
};

/// The marker format of a level: its own words for it, or one made of its kind of number and its text.
[[nodiscard]] std::u16string markerFormatOf(const RtfListLevel& level, std::size_t number);

}  // namespace halden
