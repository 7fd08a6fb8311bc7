// The words in a vector graphic.
#pragma once

#include <string>
#include <string_view>

namespace quarry::image {

struct SvgText {
    std::string title, description;  ///< of the graphic as a whole
    std::string text;                ///< what is drawn as text, each element in a line
};

/// UTF-8, not yet clean. Empty when the bytes are no XML; what stands before an error counts.
[[nodiscard]] SvgText textOfSvg(std::string_view xml);

}  // namespace quarry::image
