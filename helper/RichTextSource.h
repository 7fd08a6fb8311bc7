// Which reader a document goes to.
#pragma once

#include "documents/PlainText.h"
#include "documents/Recognition.h"
#include "foundation/Data.h"
#include "foundation/Value.h"
#include "platform/office/OfficeConverter.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quarry {

/// A document in a form that our own readers take.
struct RichTextSource {
    enum class Form {
        rtf,         ///< `bytes` are RTF
        flatRtfd,    ///< `bytes` are RTFD data
        package,     ///< the folder at `path` is an RTFD package
        plainText,   ///< `text`
        page,        ///< `bytes` are HTML or XHTML from the file at `path`
        webArchive,  ///< `bytes` are a web archive
    };
    Form form = Form::plainText;
    halden::Data bytes{};
    std::u16string path{};
    std::u16string text{};
    /// Document attributes that the form does not tell, or tells wrongly since the document was converted to it: they
    /// replace the reader's.
    halden::Dictionary attributes{};
    bool isConverted = false;
};

/// Chooses the readers, by bytes and type and not by the name alone; runs those that are other programs.
///
/// Takes RTF, RTFD packages and data, plain text, pages, web archives, and doc, docx, odt, fodt and WordML through
/// LibreOffice. Used by one thread.
class RichTextSources {
public:
    /// Longest document that is read, in bytes; and longest plain text, of which every byte becomes several.
    static constexpr std::size_t kLongestDocument = std::size_t{256} << 20;
    static constexpr std::size_t kLongestText = std::size_t{64} << 20;

    /// nullopt when the file cannot be read or exceeds a limit, and when no reader takes it.
    [[nodiscard]] std::optional<RichTextSource> sourceOfFile(std::u16string_view path);

private:
    [[nodiscard]] std::optional<RichTextSource> converted(const halden::Data& document, DocumentKind kind);

    halden::OfficeConverter office_;
};

}  // namespace quarry
