// File paths. On this system a path is bytes; inside, it is a UTF-16 string like any other.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// The string of a path's bytes. UTF-8 is decoded; each byte that is no part of well-formed UTF-8 becomes the unit
/// U+DC00 + byte (U+DC80 to U+DCFF), so that every path has a string and comes back unchanged.
[[nodiscard]] std::u16string stringFromPathBytes(std::string_view bytes);

/// The bytes of a path string, the inverse of `stringFromPathBytes`; nullopt when no file can have that name: the
/// string is empty, holds U+0000, or holds a lone surrogate other than U+DC80 to U+DCFF.
[[nodiscard]] std::optional<std::string> pathBytesFromString(std::u16string_view path);

/// The part after the last slash, trailing slashes ignored; "/" for the root, empty for an empty path.
[[nodiscard]] std::u16string_view lastPathComponent(std::u16string_view path) noexcept;

/// What follows the last full stop of the last component, without it; empty when there is none, or when only full
/// stops come before it (".profile" has no extension).
[[nodiscard]] std::u16string_view pathExtension(std::u16string_view path) noexcept;

/// `path` without its last component and the slashes before it; "/" for a path directly below the root.
[[nodiscard]] std::u16string_view deletingLastPathComponent(std::u16string_view path) noexcept;

/// `path` without its extension and the full stop before it; unchanged when there is none.
[[nodiscard]] std::u16string_view deletingPathExtension(std::u16string_view path) noexcept;

/// `path` and `component` with exactly one slash between them. An empty side gives the other one.
[[nodiscard]] std::u16string appendingPathComponent(std::u16string_view path, std::u16string_view component);

/// `path` with a leading "~" or "~/" replaced by the user's home folder ($HOME, else the password database).
[[nodiscard]] std::u16string expandingTilde(std::u16string_view path);

/// The user's home folder ($HOME, else the password database, else "/").
[[nodiscard]] std::u16string homeDirectory();

}  // namespace halden
