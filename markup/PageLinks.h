// The links of a page.
//
// Links are the cleaned HREFs of opening `a` and `area` tags, each once, in the order of the document. The base URL,
// where it is asked for, is that of the last base element with an HREF, or nullopt when that is none (see
// LinkCleaning.h).
#pragma once

#include "foundation/Url.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// Decides by the text of an anchor whether its link counts. Called at its end tag.
using LinkMatch = bool (*)(std::u16string_view href, std::u16string_view anchorText, const void* context);

enum class RelNoFollow : bool {
    ignore,
    heed,  ///< skip anchors whose REL contains "nofollow"
};

[[nodiscard]] std::vector<std::u16string> htmlLinksBaseURL(std::u16string_view html,
                                                           std::optional<Url>* baseURL = nullptr);

/// Only of `a` elements, with an end tag, that `handler` accepts; all links without a handler.
[[nodiscard]] std::vector<std::u16string> htmlLinksBaseURL(std::u16string_view html, std::optional<Url>* baseURL,
                                                           LinkMatch handler, const void* context);

/// Only of `a` elements whose text contains `string`, in exact case; all links when it is empty.
[[nodiscard]] std::vector<std::u16string> htmlLinksContaining(std::u16string_view html, std::u16string_view string,
                                                              RelNoFollow useRelNoFollow,
                                                              std::optional<Url>* baseURL = nullptr);

// The same under the names of a filter that stays off: links to other programs are left in.
[[nodiscard]] std::vector<std::u16string> filteredHtmlLinksBaseURL(std::u16string_view html,
                                                                   std::optional<Url>* baseURL = nullptr);
[[nodiscard]] std::vector<std::u16string> filteredHtmlLinksBaseURL(std::u16string_view html,
                                                                   std::optional<Url>* baseURL, LinkMatch handler,
                                                                   const void* context);
[[nodiscard]] std::vector<std::u16string> filteredHtmlLinksContaining(std::u16string_view html,
                                                                      std::u16string_view string,
                                                                      RelNoFollow useRelNoFollow,
                                                                      std::optional<Url>* baseURL = nullptr);

/// The scan under them all.
[[nodiscard]] std::vector<std::u16string> htmlLinksMatching(std::u16string_view html, LinkMatch match,
                                                            const void* context, RelNoFollow useRelNoFollow,
                                                            std::optional<Url>* baseURL);

/// A match: whether the text is not empty and contains the std::u16string_view that is the context, in exact case.
[[nodiscard]] bool ContainingHandler(std::u16string_view href, std::u16string_view anchorText, const void* string);

}  // namespace halden
