// From the bytes of RTF text to UTF-16: code pages by number, fonts' character sets, symbol fonts.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

struct UConverter;

namespace halden {

/// Code pages that stand for no number of the format.
inline constexpr int kCodePageSymbol = 42;         // Symbol, and units U+F020 to U+F0FF for other symbol fonts
inline constexpr int kCodePageDingbats = -2;       // Zapf Dingbats
inline constexpr int kCodePageWingdings = -3;      // Wingdings
inline constexpr int kCodePagePrivateSymbol = -4;  // any other symbol font
inline constexpr int kCodePageNextStep = -5;       // what documents of version 0 are written in

/// The code page of a font's character set (\fcharset): 0 where the set means "the document's". Sets that no system
/// defines mean the document's too.
[[nodiscard]] int codePageOfCharset(int charset) noexcept;

/// The code page of a font with the symbol character set, which depends on the font.
[[nodiscard]] int codePageOfSymbolFont(std::u16string_view fontName) noexcept;

/// One byte encoding.
class RtfCodePage {
public:
    explicit RtfCodePage(int number);
    ~RtfCodePage();
    RtfCodePage(const RtfCodePage&) = delete;
    RtfCodePage& operator=(const RtfCodePage&) = delete;

    /// Whether bytes below 0x80 are ASCII wherever they are no part of a character begun before.
    [[nodiscard]] bool isAsciiCompatible() const noexcept { return asciiCompatible_; }
    /// Whether a character may take several bytes, so that bytes must be gathered before they are decoded.
    [[nodiscard]] bool isMultiByte() const noexcept { return converter_ != nullptr; }

    /// Whether `bytes` break off after the first of two bytes of a character.
    [[nodiscard]] bool endsInLeadByte(std::string_view bytes) const noexcept;

    /// Appends UTF-16 of `bytes` to `out`, a U+FFFD for what the encoding does not define. Each call stands alone: a
    /// character that the end of `bytes` cuts off becomes one U+FFFD.
    void decode(std::string_view bytes, std::u16string& out) const;

    /// Symbol pages: the character of a unit U+F020 to U+F0FF; other units unchanged.
    [[nodiscard]] char16_t symbolUnit(char16_t unit) const noexcept;

private:
    struct ConverterCloser {
        void operator()(UConverter* converter) const noexcept;
    };

    std::array<char16_t, 256> units_{};                       // single-byte pages
    std::unique_ptr<UConverter, ConverterCloser> converter_;  // the others
    bool asciiCompatible_ = true;
    bool symbol_ = false;
    bool (*isLeadByte_)(unsigned char) = nullptr;  // pages of one and two bytes
};

/// The pages that one document uses, each made at its first use. There are some 70 pages; a number that is none of them
/// gives Windows Latin 1. Not for use by several threads at once.
class RtfCodePages {
public:
    [[nodiscard]] const RtfCodePage& page(int number);

private:
    std::map<int, std::unique_ptr<RtfCodePage>> pages_;
};

}  // namespace halden
