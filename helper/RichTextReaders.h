// Documents of any kind as rich text.
#pragma once

#include "helper/RichTextSource.h"
#include "platform/web/HtmlRenderer.h"
#include "richtext/AttributedString.h"

#include <optional>
#include <string_view>

namespace quarry {

/// Reads documents, whichever reader they need. Used by one thread.
class RichTextReaders {
public:
    /// `delegate` is asked what pages may load. Both must live as long as this.
    RichTextReaders(halden::HtmlRenderer& renderer, halden::ResourceLoadDelegate& delegate)
        : renderer_(renderer), delegate_(delegate) {}

    /// The document with its attributes (none when its reader reports none); nullopt when it cannot be read or no
    /// reader takes it. May throw what readers throw.
    [[nodiscard]] std::optional<halden::RichTextDocument> documentAtPath(std::u16string_view path);

private:
    [[nodiscard]] std::optional<halden::RichTextDocument> documentFrom(RichTextSource& source);

    halden::HtmlRenderer& renderer_;
    halden::ResourceLoadDelegate& delegate_;
    RichTextSources sources_;
};

}  // namespace quarry
