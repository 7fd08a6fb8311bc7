// Documents of any kind as rich text.
#pragma once

#include "helper/RichTextSource.h"
#include "richtext/AttributedString.h"

#include <optional>
#include <string_view>

namespace quarry {

/// Reads documents, whichever reader they need. Used by one thread.
class RichTextReaders {
public:
    /// The document with its attributes (none when its reader reports none); nullopt when it cannot be read or no
    /// reader takes it. May throw what readers throw.
    [[nodiscard]] std::optional<halden::RichTextDocument> documentAtPath(std::u16string_view path);

private:
    RichTextSources sources_;
};

}  // namespace quarry
