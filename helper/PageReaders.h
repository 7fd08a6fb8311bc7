// Pages and web archives as rich text, laid out by the web engine.
#pragma once

#include "documents/WebArchive.h"
#include "foundation/Data.h"
#include "platform/web/HtmlRenderer.h"
#include "richtext/AttributedString.h"

#include <optional>
#include <string_view>

namespace quarry {

/// Gives a page the resources that its archive holds, whatever they are called, and lets it have nothing else but what
/// stands in its addresses themselves: nothing comes from the network or from files.
class WebArchiveDelegate final : public halden::ResourceLoadDelegate {
public:
    /// The archive must live as long as this.
    explicit WebArchiveDelegate(const WebArchive& archive) : archive_(archive) {}

    halden::ResourceDecision willSendRequest(const halden::Url& request,
                                             const std::optional<halden::Url>& redirectedFrom) override;

private:
    const WebArchive& archive_;
};

/// The page in a file, which `delegate` is asked about; addresses in it are relative to its path. nullopt as for
/// `HtmlRenderer`.
[[nodiscard]] std::optional<halden::RichTextDocument> documentFromPage(halden::HtmlRenderer& renderer,
                                                                       const halden::Data& page,
                                                                       std::u16string_view path,
                                                                       halden::ResourceLoadDelegate* delegate);

/// The page of a web archive with its resources; nullopt also for what is no archive or has no page.
[[nodiscard]] std::optional<halden::RichTextDocument> documentFromWebArchive(halden::HtmlRenderer& renderer,
                                                                             const halden::Data& archive);

}  // namespace quarry
