// Bytes of markup to text: the caller's character set is played against the one that the document declares, and the
// reading with fewer undecodable characters wins.
//
// Two decoders take part. The converter is lenient: characters that an encoding leaves undefined become U+FFFD, and at
// bytes that it cannot read at all it stops and keeps what it has. The platform's own decoder is strict and gives
// nothing for either.
#pragma once

#include "foundation/TextEncoding.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace halden {

// --- Decoders ------------------------------------------------------------------------------------------------------

/// Decodes with the converter into at most max(number of bytes, 32) units. nullopt when nothing comes out. `errorCount`
/// gets the number of U+FFFD in the text, and 0 when there is none; it may be null.
[[nodiscard]] std::optional<std::u16string> tryToCreateStringWithEncoding(std::string_view bytes,
                                                                          CFStringEncoding encoding,
                                                                          std::size_t* errorCount = nullptr);

/// Decodes with the platform's strict decoder: nullopt when any byte is malformed or undefined, or the encoding is not
/// available. No bytes give the empty string.
[[nodiscard]] std::optional<std::u16string> initWithData(std::string_view bytes, NSStringEncoding encoding);

// The code pages that the platform lacks. Every byte is decoded; the undefined ones of KOI8-CS2 become U+FFFD.
[[nodiscard]] std::u16string initWithKamenickyData(std::string_view bytes);
[[nodiscard]] std::u16string initWithKoi8cs2Data(std::string_view bytes);

// --- Documents -----------------------------------------------------------------------------------------------------

/// Decodes a document. `encodingName` is the caller's name for its encoding, as a header gives it; when it is empty or
/// says nothing the default encoding is the caller's. nullopt when no reading is possible. `URL` is not used.
[[nodiscard]] std::optional<std::u16string> stringWithMarkupData(std::string_view bytes,
                                                                 std::u16string_view encodingName,
                                                                 NSStringEncoding defaultEncoding,
                                                                 std::u16string_view URL = {});
/// Without a name.
[[nodiscard]] std::optional<std::u16string> stringWithMarkupData(std::string_view bytes,
                                                                 NSStringEncoding defaultEncoding);
/// With the name in a content type such as "text/html; charset=utf-8".
[[nodiscard]] std::optional<std::u16string> stringWithMarkupDataOfContentType(std::string_view bytes,
                                                                              std::u16string_view contentType,
                                                                              NSStringEncoding defaultEncoding);

// --- Files ---------------------------------------------------------------------------------------------------------

/// Gives a property list, in whatever form, in its XML form (UTF-8); nullopt for what is none.
using PropertyListReader = std::function<std::optional<std::string>(std::string_view bytes)>;

/// The text of a file, strictly decoded. Property lists, by their first bytes or the path's extension, are given in
/// their XML form when `reader` can read them. Otherwise the default encoding must fit; then the encoding that the
/// document declares is tried, after UTF-8 also Mac Roman, and the default encoding stands when none fits. nullopt when
/// the file cannot be read or decoded. Without a reader property lists are files like any other.
[[nodiscard]] std::optional<std::u16string> stringWithMarkupContentsOfFile(std::u16string_view path,
                                                                           NSStringEncoding defaultEncoding,
                                                                           const PropertyListReader& reader);

}  // namespace halden
