// Conversion between raw buffers, as the platform's converter service offers it.
//
// The service reports numbers of its own; those that occur here are listed. Everything is safe to call from several
// threads at once, although each function of the service has but one converter.
#pragma once

#include "foundation/TextEncoding.h"

namespace halden {

// Statuses of the converter, by their published numbers.
inline constexpr int kConverterNoError = 0;
/// The bytes are not text of the encoding.
inline constexpr int kTextMalformedInputErr = -8739;
/// No such encoding.
inline constexpr int kTextUnsupportedEncodingErr = -8738;
/// The encoding is known, and nothing converts it.
inline constexpr int kTECNoConversionPathErr = -8749;
/// The input ends inside a character.
inline constexpr int kTECPartialCharErr = -8753;
/// The output has no room for the next character.
inline constexpr int kTECOutputBufferFullStatus = -8785;

/// Makes the two converters between UTF-8 and UTF-16, once for the process. The functions below do so themselves.
void initUnicodeConverters();

/// Writes UTF-16 of `bytes` into `units`, and returns the converter's status: 0 when all of it was converted. How much
/// was written is not reported; units behind the end of the text keep their values.
int convertUTF8ToUnicode(std::string_view bytes, std::span<char16_t> units);

/// Writes UTF-8 of `units` into `bytes`, under the same terms. A lone surrogate is malformed.
int convertUnicodeToUTF8(std::u16string_view units, std::span<char> bytes);

/// Writes UTF-16 of `bytes` in `encoding` into `units`, with a converter for this call only; `unitsWritten` says how
/// many units, whatever else happens.
///
/// Returns 1 when all bytes were converted (undefined characters count as converted, to U+FFFD), 0 when the conversion
/// ended early. When there is no converter for `encoding` it returns, on purpose, the status of its creation: a
/// non-zero number, with no units written.
int convertEncodingToUnicode(std::string_view bytes, CFStringEncoding encoding, std::span<char16_t> units,
                             std::size_t& unitsWritten);

}  // namespace halden
