// What the walk over a page tells, made into rich text.
#pragma once

#include "foundation/Data.h"
#include "platform/web/Frames.h"
#include "richtext/AttributedString.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halden::web {

/// The bytes of an image that a page shows.
struct PageImage {
    std::string address;
    std::string mediaType;
    Data data;
};

/// A page as the worker hands it over: the JSON of its walk, and the images that it names.
///
/// The JSON is an object. "styles", "ps", "lists", "tables", "cells" and "images" are arrays of what paragraphs refer
/// to by position; "paragraphs" an array of arrays: the number of its paragraph style, the number of the style of its
/// end, then its runs, each the number of a style with a text or the number of an image. Lengths are points, colours
/// as CSS writes computed ones.
struct PageContents {
    std::string text;
    std::vector<PageImage> images;
};

/// What the worker says at the end of a page.
struct PageReport {
    PageStatus status = PageStatus::failed;
    std::uint32_t kilobytes = 0;  ///< in use by the worker and all below it; 0: not measured this time
    PageContents contents;
};

/// nullopt when the fields of a frame are not those of `FrameKind::page`.
[[nodiscard]] std::optional<PageReport> reportOfPage(std::string_view fields);

/// nullopt when the text is no such JSON. References to nothing are passed over.
[[nodiscard]] std::optional<AttributedString> attributedStringOfPage(const PageContents& page);

}  // namespace halden::web
