// Keys under which the many spellings of one page's address coincide, and the steps by which they are made.
//
// A key is for comparison only; it is not meant to be loaded. Nothing is parsed into parts here: an address is a string
// of UTF-16 units, its parameters are what stands behind "?", "&" or ";" (the separators), and its anchor starts at
// "#". Every function gives the string back untouched when nothing changes. Any thread may call them.
#pragma once

#include "foundation/PercentEscapes.h"

#include <string>
#include <string_view>

namespace halden {

/// What is left out of a key.
struct UrlSimplification {
    bool sessionIDs = false;   ///< see `stringURLByRemovingSessionIDs`; and an index page that is a parameter
    bool analytics = false;    ///< see `stringURLByRemovingAnalytics`
    bool indexPages = false;   ///< see `stringURLByRemovingIndexPages`
    bool emptyParams = false;  ///< see `stringURLByRemovingEmptyParams`
    bool anchors = false;      ///< see `stringURLWithoutAnchor`
};

/// The key of `url`. In this order:
///  1. Standard percent escapes are decoded, see PercentEscapes.h.
///  2. If asked for, the anchor is cut off.
///  3. The path is standardized.
///  4. If asked for, session identifiers, then tracking parameters, then empty parameters are removed.
///  5. If asked for, the index page is removed. With session identifiers, a final "?page=main.php" (in this case, right
///     behind a slash) is one, too.
///  6. "http://www.", "https://www." and "https:" at the start (ignoring case) become "http://", "http://" and "http:".
///  7. Every slash at the end is removed.
///  8. All is put in lower case, by the root locale's full mapping: the path and the parameters, too.
[[nodiscard]] std::u16string simplifiedStringURLByRemovingSessionIDs(std::u16string url, UrlSimplification remove);

/// Without the anchor, which starts at the first "#". An anchor that begins with "!/" or "//" is an address that a
/// script works on, and stays.
[[nodiscard]] std::u16string stringURLWithoutAnchor(std::u16string url);

/// Before the first "?" or ";", of slashes that follow one another only the first is kept, or the first two behind a
/// colon: "file:///x" becomes "file://x", and "//x" becomes "/x". When there is no "?" and no ";", dot segments at the
/// end are then removed, each with its slash; they are not resolved: "a/b/.." becomes "a/b".
[[nodiscard]] std::u16string standardizedStringURL(std::u16string url);

// --- Parameters ----------------------------------------------------------------------------------------------------
// A parameter that starts behind a "&" or "?" ends before the next "&" or "?"; one that starts behind a ";" before the
// next separator of any kind. It is removed with the separator that follows; when none follows, or nothing follows that
// one, everything from the separator before the parameter on is removed.

/// Without the parameters by which campaigns are tracked: "utm_" and one of source, medium, campaign, term, content and
/// nooverride, followed by "=", ignoring case.
///
/// Of each of the six names only the first place in the whole string is looked at, and the name counts when it follows
/// a separator there. Of those that count, the first in the order above is removed; then all six are looked for again.
/// So a name that first occurs elsewhere ("http://x/autm_source=1?utm_source=2") protects its later parameters.
[[nodiscard]] std::u16string stringURLByRemovingAnalytics(std::u16string url);

/// Without the parameter that begins with `parameter`, its name with the "=", ignoring case, as often as the first
/// place where that occurs follows a separator.
[[nodiscard]] std::u16string stringURLByRemovingQueryParam(std::u16string url, std::u16string_view parameter);

/// Without parameters that have a "=" and no value, when there is nothing after it or else "&", ";", "?" or U+0000,
/// which is removed with them; and with "?" for every "?&" of the result.
///
/// The unit right before the "=" belongs to the name, whatever it is, even a separator or another "=". The search goes
/// on behind the index of the "=" in the shortened string, by which it passes over what moved there: of "?a=&b=&c=1"
/// only the first parameter is removed.
[[nodiscard]] std::u16string stringURLByRemovingEmptyParams(std::u16string url);

/// Without the parameters (whole names, ignoring case, followed by "=") by which sites recognise a session, a visitor,
/// or the advertisement, mailing or partner that a visitor came from. Which ones is said in SessionParameters.h.
/// Identifiers in the path are parameters behind a ";", and are removed as such: "/a;jsessionid=1?b=2" becomes
/// "/a;b=2".
[[nodiscard]] std::u16string stringURLByRemovingSessionIDs(std::u16string url);

/// Without "/index" and one of .shtml, .phtml, .jhtml, .html, .htm, .php, .chm, .asp and .cgi at the end, ignoring
/// case. Index pages with parameters, and others, stay.
[[nodiscard]] std::u16string stringURLByRemovingIndexPages(std::u16string url);

}  // namespace halden
