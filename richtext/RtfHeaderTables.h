// The tables in front of an RTF document: fonts, colours, styles, lists, as the file states them.
#pragma once

#include "richtext/RtfFormat.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace halden {

enum class RtfFontFamily : std::uint8_t { unknown, roman, swiss, modern, script, decorative, technical, bidirectional };

struct RtfFont {
    std::u16string name;  // as in the file: a PostScript name or a family
    RtfFontFamily family = RtfFontFamily::unknown;
    bool fixedPitch = false;
    int charset = -1;  // \fcharset, -1 where none is stated
    int codePage = 0;  // of the text in this font; 0: the document's

    /// Windows names the same font differently for each script ("Arial CE"). Takes that part off the name, and its
    /// character set for the font's own: it outranks what the file states.
    void takeScriptFromName();

    /// Sets `codePage` from what is stated: the charset, the font's name for symbol fonts, else `stated` (\cpg).
    void resolveCodePage(int stated);
};

/// Components from 0 to 1, sRGB.
struct RtfColor {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    friend bool operator==(const RtfColor&, const RtfColor&) noexcept = default;
};

/// How a colour of the extended table is given.
enum class RtfColorSpace : std::uint8_t { none, srgb, displayP3, gray, cmyk };

/// The colour of `components` (0 to 1, missing ones 0, a missing alpha 1) in a space; nullopt for `none`.
[[nodiscard]] std::optional<RtfColor> rtfColorInSpace(RtfColorSpace space, const std::vector<double>& components);

struct RtfStyle {
    RtfCharacter character;
    RtfParagraph paragraph;
    std::int32_t basedOn = kRtfUnset;
    bool resolved = false;  // holds what it inherits
};

struct RtfListLevel {
    std::int32_t numberKind = 0;  // \levelnfc
    std::int32_t start = 1;
    /// \leveltext: units U+0000 to U+0008 stand for the numbers of the levels 0 to 8.
    std::u16string text;
    /// Cocoa's own format of the marker ("{disc}"), which outranks the others; empty in other files.
    std::u16string marker;
};

struct RtfList {
    std::int32_t id = 0;
    std::vector<RtfListLevel> levels;
    /// The override that begins counting anew; kRtfUnset in lists whose paragraphs are counted under their id.
    std::int32_t restartedBy = kRtfUnset;
};

/// What an override says of a level: how its markers look, and where they start.
struct RtfListOverrideLevel {
    std::optional<RtfListLevel> format;
    std::int32_t start = kRtfUnset;
};

/// Fonts, colours, styles and lists by their numbers.
class RtfHeaderTables {
public:
    static constexpr std::size_t kMaxFonts = 8192;
    static constexpr std::size_t kMaxColors = 65536;
    static constexpr std::size_t kMaxStyles = 8192;
    static constexpr std::size_t kMaxLists = 8192;
    static constexpr std::size_t kMaxListLevels = 9;
    static constexpr std::size_t kMaxLevelText = 64;  // UTF-16 units
    static constexpr int kMaxStyleChain = 16;

    /// Entries beyond a limit are dropped; a number that was given before is given anew.
    void setFont(std::int32_t number, RtfFont font);
    void addColor(std::optional<RtfColor> color);
    /// The colour at `index` of the extended table, which replaces the plain one's.
    void setExtendedColor(std::size_t index, RtfColor color);
    void setStyle(std::int32_t number, RtfStyle style);
    void addList(RtfList list);
    /// \ls `number` means the list `id` with what is given of its levels replaced. One that states a start counts its
    /// paragraphs for itself.
    void addListOverride(std::int32_t number, std::int32_t id, const std::vector<RtfListOverrideLevel>& levels);

    [[nodiscard]] const RtfFont* font(std::int32_t number) const noexcept;
    /// The colour of an index; nullopt for "automatic", and for no such index.
    [[nodiscard]] std::optional<RtfColor> color(std::int32_t index) const noexcept;
    /// The style with what it takes from those that it is based on, at most `kMaxStyleChain` of them.
    /// A null pointer for a number that is not defined; valid until the next style is set.
    [[nodiscard]] const RtfStyle* style(std::int32_t number);
    [[nodiscard]] const RtfList* list(std::int32_t overrideNumber) const noexcept;

private:
    std::unordered_map<std::int32_t, RtfFont> fonts_;
    std::vector<std::optional<RtfColor>> colors_;
    std::unordered_map<std::size_t, RtfColor> extendedColors_;
    std::unordered_map<std::int32_t, RtfStyle> styles_;
    std::vector<RtfList> lists_;
    std::unordered_map<std::int32_t, std::size_t> listOfId_;
    std::unordered_map<std::int32_t, std::size_t> listOfOverride_;
};

/// Gives every property of `character` that still has its default the value of `base`; likewise for paragraphs.
void inheritRtfFormat(RtfCharacter& character, const RtfCharacter& base);
void inheritRtfFormat(RtfParagraph& paragraph, const RtfParagraph& base);

}  // namespace halden
