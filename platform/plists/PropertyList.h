// Property lists: reading the XML, binary and old bracketed forms, and writing each of them.
#pragma once

#include "foundation/Data.h"
#include "foundation/Value.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace halden {

/// How deep arrays and dictionaries may nest, in every form, read or written.
inline constexpr int kPropertyListMaxDepth = 512;

/// Why bytes are no property list.
struct PropertyListError {
    std::string message;     ///< what is wrong, a phrase in English without a full stop
    std::size_t offset = 0;  ///< where, in bytes from the start of the data
    std::size_t line = 0;    ///< the line, from 1; 0 for the binary form

    /// "MESSAGE (line L, offset N)", or without the line when there is none.
    [[nodiscard]] std::string description() const;
};

/// The property list that `data` holds, or nullopt with the reason. The form is told from the first bytes.
///
/// - XML (any encoding expat knows): the root is `plist` or directly a value. Nothing outside the data is read; an
///   entity that is not declared inside is an error, and the expansion of those that are is bounded.
/// - Binary (version 00). An object may be referred to more than once; what the list unfolds to is bounded by 16 MiB
///   and 160 times the length of the data, and by a gigabyte. An object that contains itself is an error. A UID becomes
///   the dictionary {"CF$UID": number}, as the XML form has it. Data values share the block of `data`.
/// - Old bracketed text, in UTF-8 or, with a byte-order mark, UTF-16: strings, data, arrays, dictionaries, and the
///   list of `key = value;` pairs of a .strings file, which is a dictionary. Numbers are strings there.
///
/// A key that appears twice keeps its first place and its last value. Integers beyond 64 bits become doubles. Null
/// appears only in the binary form. Thread-safe.
[[nodiscard]] std::optional<Value> propertyListFromData(const Data& data, PropertyListError* error = nullptr);

/// `value` as XML in UTF-8, indented by tabs; dates are cut to whole seconds, doubles read back equal.
///
/// nullopt when XML has no form for it: null anywhere inside, a string or key with a lone surrogate, U+FFFE, U+FFFF or
/// a control character other than tab, line feed and carriage return (U+0000 among them), a date outside the years 1 to
/// 9999 or that is no number, nesting deeper than kPropertyListMaxDepth.
[[nodiscard]] std::optional<Data> xmlPropertyList(const Value& value);

/// `value` in the binary form. Every value but one that nests deeper than kPropertyListMaxDepth (nullopt) can be
/// written and, within the reader's gigabyte, reads back equal: null has a marker of its own, strings keep lone
/// surrogates and U+0000. Equal strings of up to 32 units are stored once. A dictionary with the single key "CF$UID"
/// and an integer from 0 is written as a UID.
[[nodiscard]] std::optional<Data> binaryPropertyList(const Value& value);

/// The old bracketed form of an array of strings: an opening parenthesis, each string quoted on a line of its own,
/// indented by four spaces, commas between them, a closing parenthesis and a line feed. The result is ASCII: control
/// characters are octal escapes or \n and \t, everything beyond ASCII is \Uxxxx, a UTF-16 unit each.
[[nodiscard]] std::string oldTextPropertyListOfStrings(std::span<const std::u16string> strings);

}  // namespace halden
