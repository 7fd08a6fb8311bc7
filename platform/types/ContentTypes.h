// Content types of files, told from their extensions, their first bytes and what importer bundles declare.
#pragma once

#include "foundation/Value.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// The identifier, spelled as declared, of every type known: a built-in table (content_types.tsv) and what bundles add.
///
/// Identifiers, extensions and MIME types compare without regard to case. Making one costs nothing: the built-in table
/// is constant data. Reading is thread-safe, adding is not.
class ContentTypes {
public:
    /// The built-in table alone.
    ContentTypes();
    ContentTypes(ContentTypes&&) noexcept;
    ContentTypes& operator=(ContentTypes&&) noexcept;
    ~ContentTypes();

    /// Adds the declarations of a bundle's Info dictionary: the arrays UTExportedTypeDeclarations, then
    /// UTImportedTypeDeclarations, of dictionaries with UTTypeIdentifier, UTTypeTagSpecification
    /// (public.filename-extension, public.mime-type: a string or an array) and UTTypeConformsTo (likewise).
    ///
    /// A type of the built-in table stays as it is, whatever the bundle says of it. Of the others the first
    /// declaration counts, but an exported one replaces an imported one. Entries of other kinds are ignored.
    void addDeclarations(const Dictionary& infoDictionary);

    /// The type of the item at `path`, symbolic links followed; nullopt when there is none or it cannot be reached.
    ///
    /// - A regular file with an extension: its first type that conforms to public.data, built-in types first; else the
    ///   first type declared for it at all; else the extension's dynamic identifier.
    /// - A regular file without extension: the type of its first bytes when the shared MIME database is sure of
    ///   it and a type has that MIME type; else public.unix-executable when someone may execute it; else public.data.
    /// - A folder: the first type of its extension that conforms to com.apple.package or com.apple.bundle; else
    ///   public.folder.
    /// - Anything else (sockets, devices; never opened): public.item.
    [[nodiscard]] std::optional<std::u16string> contentTypeOfFile(std::u16string_view path) const;

    /// What `contentTypeOfFile` gives for a regular file with this extension (without the full stop, not empty).
    [[nodiscard]] std::u16string contentTypeOfExtension(std::u16string_view extension) const;

    /// The first type with this MIME type (without parameters), or nullopt.
    [[nodiscard]] std::optional<std::u16string> contentTypeOfMimeType(std::string_view mimeType) const;

    /// Whether `identifier` is `ancestor` or conforms to it, over any number of steps. A dynamic identifier of an
    /// extension conforms to public.data; an unknown identifier only to itself.
    [[nodiscard]] bool conformsTo(std::u16string_view identifier, std::u16string_view ancestor) const;

    /// The extension that files of this type are given (without full stop), or nullopt.
    [[nodiscard]] std::optional<std::u16string> preferredExtension(std::u16string_view identifier) const;

private:
    struct Declarations;

    [[nodiscard]] std::vector<std::u16string> typesOfExtension(std::u16string_view extension) const;
    [[nodiscard]] std::u16string contentTypeOfFolderExtension(std::u16string_view extension) const;

    std::unique_ptr<Declarations> declarations_;
};

/// `ContentTypes::contentTypeOfFile` by the built-in table alone.
[[nodiscard]] std::optional<std::u16string> contentTypeOfFile(std::u16string_view path);

/// The identifier of files with an extension that nobody declares: "dyn.a" and the base-32 form of "?0=6:1=EXTENSION",
/// the extension in lower case and as the bytes it has on disk.
[[nodiscard]] std::u16string dynamicIdentifierForExtension(std::u16string_view extension);

/// The extension inside a dynamic identifier of the above form (in any case); nullopt for any other identifier, and for
/// an extension that no file name can have.
[[nodiscard]] std::optional<std::u16string> extensionOfDynamicIdentifier(std::u16string_view identifier);

/// The HFS type code of the file at `path` (links followed) as text, four characters in single quotes: "'PDF '".
///
/// It is the first four bytes, Mac OS Roman, of the extended attribute user.com.apple.FinderInfo. Empty when there is
/// no such attribute, when the four bytes are zero, for a folder, and when the file cannot be reached.
[[nodiscard]] std::u16string NSHFSTypeOfFile(std::u16string_view path);

}  // namespace halden
