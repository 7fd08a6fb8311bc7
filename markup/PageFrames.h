// The frames of a page, alone or with its links, and what else one look at it shows.
#pragma once

#include "foundation/Url.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// What a scan for frames is asked for besides. Null pointers are not asked for.
struct FrameQueries {
    /// Always false.
    bool* set = nullptr;
    /// Whether an rss, feed or rdf:rdf tag comes before any body, html or head tag.
    bool* isFeed = nullptr;
    /// Of the last base element with an HREF.
    std::optional<Url>* baseURL = nullptr;
    /// The text before the last closing title tag, as it is written.
    std::optional<std::u16string>* title = nullptr;
    /// CONTENT of the last refresh.
    std::optional<std::u16string>* refresh = nullptr;
    /// Contents for robots, joined by commas; "" without any.
    std::optional<std::u16string>* robots = nullptr;
    /// CONTENT of the last revisit-after.
    std::optional<std::u16string>* revisit = nullptr;
    /// The last link to a shortcut icon.
    std::optional<std::u16string>* favIcon = nullptr;
};

enum class FrameLinks : bool {
    exclude,
    include,  ///< the HREFs of `a` and `area` tags count too
};

/// The cleaned SRCs of opening frame and iframe tags, each once; their order says nothing.
[[nodiscard]] std::vector<std::u16string> getHtmlFrames(std::u16string_view html, const FrameQueries& queries = {},
                                                        FrameLinks links = FrameLinks::exclude);

[[nodiscard]] std::vector<std::u16string> htmlFramesBaseURL(std::u16string_view html, std::optional<Url>* baseURL);
[[nodiscard]] std::vector<std::u16string> htmlFramesSet(std::u16string_view html, bool* set,
                                                        std::optional<Url>* baseURL);
[[nodiscard]] std::vector<std::u16string> htmlFramesSet(std::u16string_view html, const FrameQueries& queries);

[[nodiscard]] std::vector<std::u16string> htmlLinksAndFramesBaseURL(std::u16string_view html,
                                                                    std::optional<Url>* baseURL);
[[nodiscard]] std::vector<std::u16string> htmlLinksAndFramesSet(std::u16string_view html, bool* set,
                                                                std::optional<Url>* baseURL);
[[nodiscard]] std::vector<std::u16string> htmlLinksAndFramesSet(std::u16string_view html, const FrameQueries& queries);

}  // namespace halden
