// Addresses: a value for the parts of a URL, and the few operations on them.
#pragma once

#include "foundation/Range.h"

#include <optional>
#include <string>
#include <string_view>

namespace halden {

/// An address as RFC 3986 writes it: absolute ("http://h/a?b#c", "mailto:x") or relative ("../a", "//h/a", "?b"). Its
/// string is ASCII, holds only what the part of the address may hold where it stands, and is never empty. It is kept as
/// it was given: no case is folded, no port left out, no dot segment resolved.
///
/// The views end with the value, or with its being assigned to. Parts without which an address may be (and that may
/// themselves be empty) are optional; for a scheme empty means none.
class Url {
public:
    /// The whole address.
    [[nodiscard]] const std::u16string& absoluteString() const noexcept { return string_; }

    /// Without the colon, in the case it was written in; empty for a relative address.
    [[nodiscard]] std::u16string_view scheme() const noexcept { return substringWithRange(string_, scheme_); }
    /// Whether that is the scheme, ignoring case. `scheme` is in lower-case ASCII.
    [[nodiscard]] bool hasScheme(std::u16string_view scheme) const noexcept;
    /// Everything behind the scheme and its colon; the whole of a relative address.
    [[nodiscard]] std::u16string_view resourceSpecifier() const noexcept;

    /// "user@host:port", of an address that has the two slashes.
    [[nodiscard]] std::optional<std::u16string_view> authority() const noexcept { return part(authority_); }
    /// The host with its escapes decoded (ill-formed UTF-8 gives U+FFFD), an IPv6 address without its brackets; empty
    /// when there is none.
    [[nodiscard]] std::u16string host() const;
    /// With its escapes; may be empty.
    [[nodiscard]] std::u16string_view path() const noexcept { return substringWithRange(string_, path_); }
    /// Behind the "?", with its escapes.
    [[nodiscard]] std::optional<std::u16string_view> query() const noexcept { return part(query_); }
    /// Behind the "#", with its escapes.
    [[nodiscard]] std::optional<std::u16string_view> fragment() const noexcept { return part(fragment_); }

    /// Whether the scheme is "file".
    [[nodiscard]] bool isFileURL() const noexcept { return hasScheme(u"file"); }
    /// The path in the file system, as Path.h has it, that a file URL names, whatever its host; nullopt for other
    /// addresses, for relative paths and for such that no file can have.
    [[nodiscard]] std::optional<std::u16string> filePath() const;

    friend bool operator==(const Url& a, const Url& b) noexcept { return a.string_ == b.string_; }

private:
    friend class UrlBuilder;

    Url() = default;
    [[nodiscard]] std::optional<std::u16string_view> part(Range range) const noexcept {
        if (!range.found()) return std::nullopt;
        return substringWithRange(string_, range);
    }

    std::u16string string_;
    Range scheme_{0, 0};
    Range authority_;
    Range host_{0, 0};  // with its brackets
    Range path_{0, 0};
    Range query_;
    Range fragment_;
};

/// The URL that `string` is. nullopt when it is none: empty, with a character or an incomplete escape that does not
/// belong where it stands, a port that is no number, or brackets around anything but an IP address.
[[nodiscard]] std::optional<Url> URLWithString(std::u16string_view string);

/// The URL of a string that people or pages wrote. What may not stand at its place is escaped, as UTF-8: characters
/// beyond ASCII (in host names, too), controls, spaces, `"<>\^`{|}`, brackets outside an IPv6 host, a "%" without two
/// hexadecimal digits, the second "#", all but the last "@" before the host, and a ":" in the first segment of what is
/// thereby a relative address ("2010: a year"). Escapes are kept, nothing is trimmed, a lone surrogate becomes that of
/// U+FFFD. nullopt for the empty string, for a port that is no number, and for brackets around anything but an IP
/// address.
[[nodiscard]] std::optional<Url> URLWithNormalizedStringURL(std::u16string_view string);

/// What `reference` means in a document at `base`, by RFC 3986 section 5.2, strictly (a scheme of the reference always
/// counts, even if it is the base's own). The reference is first treated as by `URLWithNormalizedStringURL`, except
/// that an empty one is the base without its anchor. nullopt when the reference is no URL, or when it is relative and
/// the base is so too.
///
/// A path that begins with two slashes, where there is no host, is put behind "/.", since it would be read as one.
[[nodiscard]] std::optional<Url> URLRelativeTo(std::u16string_view reference, const Url& base);

/// `url` with `anchor`, which is written without its "#" and treated as by `URLWithNormalizedStringURL`, in place of
/// any that it has. An empty anchor means none: nullopt when nothing else is left.
[[nodiscard]] std::optional<Url> URLWithAnchor(const Url& url, std::u16string_view anchor);

/// The file URL of an absolute path, in the form that Path.h gives to it. nullopt for relative paths and such that no
/// file can have.
[[nodiscard]] std::optional<Url> fileURLWithPath(std::u16string_view path);

/// Whether the web engine would fetch `url` from elsewhere: its scheme is "http", "https" or "feed", and its host holds
/// at least one letter or digit and no "...".
[[nodiscard]] bool isRemoteWebKitURL(const Url& url);
/// The same of the URL that `URLWithNormalizedStringURL` makes of `string`; false when it makes none.
[[nodiscard]] bool isRemoteWebKitStringURL(std::u16string_view string);

/// Whether a link is a bookmarklet: a script ("javascript:", ignoring case) that is made to work on whichever page is
/// open. Such a script brings its own function, or asks the page for its address or its document; links that only do
/// nothing ("javascript:void(0)") or call a function of their own page are not meant.
[[nodiscard]] bool stringURLIsBookmarklet(std::u16string_view link);

}  // namespace halden
