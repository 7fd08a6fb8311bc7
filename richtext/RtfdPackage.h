// RTFD packages: a folder with the text in `TXT.rtf`, and beside it the files that are attached to the text.
#pragma once

#include "richtext/AttributedString.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace halden {

/// The name of the text in a package.
inline constexpr std::u16string_view kRtfdTextName = u"TXT.rtf";

/// Bytes of one package, its text apart; attachments beyond them come without contents.
inline constexpr std::uint64_t kMaxPackageBytes = std::uint64_t{1} << 30;
/// Files and folders in one package; attachments beyond them come without contents.
inline constexpr std::size_t kMaxPackageFiles = 65536;
/// Folders inside the folder of a package; deeper ones are left out.
inline constexpr int kMaxPackageDepth = 32;

/// The document in the package at `path`. An attachment's contents are those of the file or folder of the package that
/// the text names; symbolic links in a package are not followed, and nothing outside it is read. The attributes are the
/// text's, and say that it is RTFD. nullopt when there is no package, or no RTF in it.
[[nodiscard]] std::optional<RichTextDocument> documentFromRtfdPackage(std::u16string_view path);

/// A document as a package: a folder (without a name) that holds `TXT.rtf` and, under names that a file can have and
/// that no other has, the attachments. The names of files inside attached folders become such names as well.
[[nodiscard]] FileNode packageFromDocument(const RichTextDocument& document);

/// Writes a package to `path`, which is made when it does not exist and keeps the files that are no part of the package
/// when it does. Returns whether all was written.
///
/// The folder is not replaced as a whole: its files come into place one after the other, the text last. When something
/// cannot be written (no folder to hold `path`, no permission, a full disk, a name that is taken by something else),
/// what has been written goes again, and a package that was there stays as it was as far as the system lets it.
[[nodiscard]] bool writePackage(const FileNode& package, std::u16string_view path);

/// What `name` becomes as the name of a file in a folder: without slashes, control characters, lone surrogates and
/// blanks around it, neither empty nor full stops alone, at most 255 bytes in UTF-8 with its extension kept.
[[nodiscard]] std::u16string fileNameFrom(std::u16string_view name);

}  // namespace halden
