#include "richtext/RtfFormat.h"

namespace halden {
namespace {

/// Mixes numbers one after the other into a hash.
class Hash {
public:
    Hash& operator<<(std::int64_t number) noexcept {
        value_ = (value_ ^ static_cast<std::uint64_t>(number)) * 0x9E3779B97F4A7C15;
        value_ ^= value_ >> 29;
        return *this;
    }
    [[nodiscard]] std::size_t value() const noexcept { return value_; }

private:
    std::uint64_t value_ = 0x243F6A8885A308D3;
};

constexpr std::int64_t pair(std::int32_t high, std::int32_t low) noexcept {
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(static_cast<std::uint32_t>(high)) << 32) |
                                     static_cast<std::uint32_t>(low));
}

template <class T>
bool samePointee(const std::shared_ptr<const T>& a, const std::shared_ptr<const T>& b) noexcept {
    return a == b || (a && b && *a == *b);
}

}  // namespace

std::size_t RtfCharacterHash::operator()(const RtfCharacter& c) const noexcept {
    const std::int32_t flags = c.bold | c.italic << 1 | c.caps << 2 | c.smallCaps << 3 | c.outline << 4 |
                               c.shadow << 5 | c.hidden << 6 | c.deleted << 7 | static_cast<int>(c.underline) << 8 |
                               c.strike << 16 | c.rightToLeft << 18 | c.associatedBold << 19 | c.associatedItalic << 20;
    Hash hash;
    hash << pair(c.font, c.size) << pair(c.color, c.background) << pair(c.link, flags) << pair(c.baseline, c.kern)
         << pair(c.superscript, c.language) << pair(c.underlineColor, c.strikeColor)
         << pair(c.cocoaUnderline, c.cocoaStrike) << pair(c.strokeColor, c.strokeWidth)
         << pair(c.obliqueness, c.expansion) << pair(c.ligature, c.shadowColor) << pair(c.shadowX, c.shadowY)
         << pair(c.shadowRadius, c.associatedFont) << pair(c.shadowOpacity, c.associatedSize);
    return hash.value();
}

bool operator==(const RtfParagraph& a, const RtfParagraph& b) noexcept {
    return a.leftIndent == b.leftIndent && a.rightIndent == b.rightIndent && a.firstIndent == b.firstIndent &&
           a.spaceBefore == b.spaceBefore && a.spaceAfter == b.spaceAfter && a.lineSpacing == b.lineSpacing &&
           a.leading == b.leading && a.minimumLineHeight == b.minimumLineHeight &&
           a.maximumLineHeight == b.maximumLineHeight && a.tabInterval == b.tabInterval &&
           a.tightening == b.tightening && a.outlineLevel == b.outlineLevel && a.list == b.list &&
           a.listLevel == b.listLevel && a.nesting == b.nesting && a.background == b.background &&
           a.multipleLineSpacing == b.multipleLineSpacing && a.inTable == b.inTable && a.hyphenated == b.hyphenated &&
           a.alignment == b.alignment && a.direction == b.direction && samePointee(a.tabs, b.tabs) &&
           samePointee(a.numbering, b.numbering);
}

std::size_t RtfParagraphHash::operator()(const RtfParagraph& p) const noexcept {
    const std::int32_t flags = p.multipleLineSpacing | p.inTable << 1 | p.hyphenated << 2 |
                               static_cast<int>(p.alignment) << 3 | static_cast<int>(p.direction) << 6;
    Hash hash;
    hash << pair(p.leftIndent, p.rightIndent) << pair(p.firstIndent, p.spaceBefore) << pair(p.spaceAfter, p.lineSpacing)
         << pair(p.leading, p.minimumLineHeight) << pair(p.maximumLineHeight, p.tabInterval)
         << pair(p.tightening, p.outlineLevel) << pair(p.list, p.listLevel) << pair(p.nesting, p.background) << flags;
    if (p.tabs) {
        for (const RtfTab& tab : *p.tabs)
            hash << pair(tab.position, static_cast<int>(tab.kind));
    }
    if (p.numbering) hash << pair(static_cast<int>(p.numbering->kind), p.numbering->level);
    return hash.value();
}

}  // namespace halden
