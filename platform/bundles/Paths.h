// Where the system keeps its libraries, importers and programs: one table.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// The user's library folder, $XDG_DATA_HOME/quarry, by default ~/.local/share/quarry. Computed once for the life of
/// the process.
[[nodiscard]] const std::u16string& libraryDirectory();

/// `libraryDirectory` joined with `name`.
[[nodiscard]] std::u16string pathInLibraryDirectory(std::u16string_view name);

/// The folder that this system is installed in: the folder above libexec/quarry/ or bin/ that the running program lies
/// in. A build tree has the same layout and is a prefix of its own.
[[nodiscard]] std::u16string installationPrefix();

/// The places that importers are looked for in. Tests make their own.
struct ImporterLocations {
    std::u16string userFolder;                           ///< importers of the user
    std::u16string localFolder;                          ///< importers of the machine
    std::u16string systemFolder;                         ///< importers that come with the system
    std::vector<std::u16string> applicationDirectories;  ///< folders whose entries may carry importers, "~" as written
    std::string lister;                                  ///< the program that lists the installed importers (bytes)

    /// libraryDirectory()/Spotlight, /opt/quarry/Spotlight, PREFIX/lib/quarry/Spotlight; ~/Applications, /opt,
    /// /Developer/Applications; PREFIX/libexec/quarry/mdimport.
    [[nodiscard]] static ImporterLocations standard();
};

}  // namespace halden
