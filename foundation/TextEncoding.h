// The text encodings: their two number spaces, and conversion of bytes from and to UTF-16.
//
// Conversions go through ICU; where ICU has no converter, or one that differs from the platform's tables, through
// tables and codecs of our own. An encoding that neither supplies exactly is unavailable. Everything here is safe to
// call from several threads at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace halden {

/// A Core Foundation encoding: one of the published kCFStringEncoding numbers.
using CFStringEncoding = std::uint32_t;
/// A string encoding: small numbers for the common encodings, 0x80000000 plus the Core Foundation encoding for others.
using NSStringEncoding = std::uint32_t;

/// "Invalid" in both number spaces.
inline constexpr std::uint32_t kInvalidEncoding = 0xFFFFFFFF;

// The numbers that rules of the system name.
inline constexpr CFStringEncoding kCFStringEncodingMacRoman = 0;
inline constexpr CFStringEncoding kCFStringEncodingMacJapanese = 1;
inline constexpr CFStringEncoding kCFStringEncodingMacRomanLatin1 = 0xA04;
inline constexpr CFStringEncoding kCFStringEncodingUTF16 = 0x100;
inline constexpr CFStringEncoding kCFStringEncodingUTF8 = 0x08000100;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin1 = 0x201;
inline constexpr CFStringEncoding kCFStringEncodingWindowsLatin1 = 0x500;
inline constexpr CFStringEncoding kCFStringEncodingWindowsKoreanJohab = 0x510;
inline constexpr CFStringEncoding kCFStringEncodingASCII = 0x600;
inline constexpr CFStringEncoding kCFStringEncodingEUC_CN = 0x930;
inline constexpr CFStringEncoding kCFStringEncodingShiftJIS = 0xA01;
inline constexpr CFStringEncoding kCFStringEncodingBig5 = 0xA03;
inline constexpr CFStringEncoding kCFStringEncodingBig5_HKSCS_1999 = 0xA06;
/// Private encodings, which the platform lacks.
inline constexpr CFStringEncoding kCFStringEncodingKamenicky = 0xA001;
inline constexpr CFStringEncoding kCFStringEncodingKoi8cs2 = 0xA002;

inline constexpr NSStringEncoding kNSASCIIStringEncoding = 1;
inline constexpr NSStringEncoding kNSUTF8StringEncoding = 4;
inline constexpr NSStringEncoding kNSISOLatin1StringEncoding = 5;
inline constexpr NSStringEncoding kNSShiftJISStringEncoding = 8;
inline constexpr NSStringEncoding kNSWindowsCP1251StringEncoding = 11;
inline constexpr NSStringEncoding kNSWindowsCP1250StringEncoding = 15;
inline constexpr NSStringEncoding kNSMacOSRomanStringEncoding = 30;
inline constexpr NSStringEncoding kNSKamenickyStringEncoding = 0xFFFFFFF0;
inline constexpr NSStringEncoding kNSKoi8cs2StringEncoding = 0xFFFFFFF1;

struct TextEncoding {
    CFStringEncoding cfEncoding;
    NSStringEncoding nsEncoding;
    std::string_view name;  ///< of the Core Foundation constant, without its prefix
};

/// Every encoding that has a number, available or not, in the order of the Core Foundation numbers.
[[nodiscard]] std::span<const TextEncoding> textEncodings() noexcept;

/// The string encoding of a known Core Foundation encoding; invalid for every other number.
[[nodiscard]] NSStringEncoding CFStringConvertEncodingToNSStringEncoding(CFStringEncoding encoding) noexcept;
/// The reverse. String encoding 8 (Shift JIS) gives DOS Japanese (0x420), the encoding that it stands for.
[[nodiscard]] CFStringEncoding CFStringConvertNSStringEncodingToEncoding(NSStringEncoding encoding) noexcept;
/// Whether bytes can be converted from and to `encoding`.
[[nodiscard]] bool CFStringIsEncodingAvailable(CFStringEncoding encoding) noexcept;

enum class DecodeStatus {
    complete,     ///< all bytes were read
    malformed,    ///< stopped before bytes that cannot occur in the encoding
    partial,      ///< stopped before a character that the end of the bytes cuts off
    outputFull,   ///< stopped before a character that has no room any more
    unavailable,  ///< no such encoding, or no converter for it; nothing was done
};

struct DecodeResult {
    DecodeStatus status = DecodeStatus::unavailable;
    std::size_t unitsWritten = 0;
    /// How many characters the encoding leaves undefined; each became one U+FFFD.
    std::size_t undefined = 0;
};

/// Writes UTF-16 of `bytes` into `out` until the bytes end, are malformed, or there is no more room; what was written
/// until then stands, and what `out` holds behind it means nothing. UTF-16 and UTF-32 without a byte order in their
/// name follow a byte-order mark and drop it; without one they are big-endian. Every other mark is kept as U+FEFF.
DecodeResult decodeText(std::string_view bytes, CFStringEncoding encoding, std::span<char16_t> out);

/// The same into a string of at most `limit` units.
[[nodiscard]] std::u16string decodedText(std::string_view bytes, CFStringEncoding encoding, std::size_t limit,
                                         DecodeResult& result);

/// The whole text, only when every byte is part of a character that the encoding defines; else nullopt.
[[nodiscard]] std::optional<std::u16string> strictlyDecodedText(std::string_view bytes, CFStringEncoding encoding);

/// Bytes of `text`; nullopt when it has a character that the encoding lacks, or a lone surrogate, or the encoding is
/// unavailable. UTF-16 and UTF-32 without a byte order in their name are little-endian with a byte-order mark.
[[nodiscard]] std::optional<std::string> encodedText(std::u16string_view text, CFStringEncoding encoding);

/// How many U+FFFD are in `text`.
[[nodiscard]] std::size_t countReplacementCharacters(std::u16string_view text) noexcept;

}  // namespace halden
