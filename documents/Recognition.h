// What a document is, told from its bytes.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quarry {

enum class DocumentKind {
    unknown,  ///< nothing that is read here
    plainText,
    rtf,
    flatRtfd,
    doc,         ///< Word's binary format
    docx,        ///< Office Open XML
    odt,         ///< OpenDocument text in a package
    fodt,        ///< OpenDocument text in one XML file
    wordML,      ///< Word's XML of 2003
    flatDocx,    ///< Office Open XML in one XML file; known so that its markup is not taken for a text
    html,        ///< HTML and XHTML
    webArchive,  ///< a property list with a page and its resources
};

/// What the file's content type says, which decides where the bytes leave it open.
enum class TypeHint {
    none,   ///< no type is known for it
    text,   ///< plain text or source code
    html,   ///< HTML or XHTML
    other,  ///< some other type: bytes that merely look like text are not taken for it
};

/// The kind of the document with these bytes (all of them).
///
/// A signature or a root element decides, whatever the hint says; containers are opened far enough to tell a text
/// document from a spreadsheet, an encrypted one, or any other archive. What has no signature is plain text when the
/// hint allows it and `isText` accepts it: so noise, and files that only share an extension with documents, are
/// unknown. Text that begins like a page is HTML unless the hint says text.
///
/// Time is linear in the length; no more than 1 MiB is allocated.
[[nodiscard]] DocumentKind recognizeDocument(std::span<const std::uint8_t> bytes, TypeHint hint);

}  // namespace quarry
