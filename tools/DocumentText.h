// The text of a document by whichever of the helper's readers has one.
#pragma once

#include "foundation/Value.h"
#include "platform/ipc/HaldenImExport.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quarry::tools {

/// One reader's text of the file at `path`, or nil. Throws what the proxy throws.
using TextSource = std::optional<std::u16string> (*)(halden::HaldenImExportProxy& helper, std::u16string_view path);

/// Importer, PDF, rich text, web archive: in this order the readers are asked, and the first whose text says something
/// has the document's text.
[[nodiscard]] std::span<const TextSource> textSources() noexcept;

/// Whether there is anything but white space and the places of attachments.
[[nodiscard]] bool saysSomething(std::u16string_view text) noexcept;

/// The attributes of the file with its text under kMDItemTextContent, which a later reader gives where the importer has
/// none. Nil when no reader has anything. Throws what the proxy throws.
[[nodiscard]] std::optional<halden::Dictionary> metadataAndText(halden::HaldenImExportProxy& helper,
                                                                std::u16string_view path);

}  // namespace quarry::tools
