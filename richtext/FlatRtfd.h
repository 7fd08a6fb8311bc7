// RTFD as one block of bytes: a folder of files, as it travels on pasteboards and between processes.
//
// All numbers are 32-bit, low byte first. The block is `rtfd`, a zero, and a node. A node of type 1 holds bytes: their
// number and they themselves, or, from 4096 bytes on, 0x80000000, the number, and padding that makes the bytes begin at
// a multiple of 4096 of the block. A node of type 3 is a folder: the number of its entries, their names, the length of
// each entry's node, the nodes. The entry "." of a folder is a node of bytes with a record for each file: names first,
// then modification time, mode and two more numbers. A file that is wrapped alone is a folder whose entry ".." has the
// contents; entries whose names begin with "__@" say how a file would like to be called.
#pragma once

#include "foundation/Data.h"
#include "richtext/AttributedString.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace halden {

/// A node of the block and its name, as they stand there: everything that is needed to write the same bytes again.
struct FlatRtfdNode {
    std::string name;  // bytes, UTF-8 as a rule; may be anything. Empty for the outermost node.
    bool isFolder = false;
    Data data;  // shares the block
    std::vector<FlatRtfdNode> entries;

    /// The first entry of that name, or a null pointer.
    [[nodiscard]] const FlatRtfdNode* entry(std::string_view entryName) const noexcept;
    friend bool operator==(const FlatRtfdNode&, const FlatRtfdNode&) = default;
};

/// What the entry "." says of one file.
struct FlatRtfdRecord {
    std::string name;
    std::uint32_t modificationTime = 0;  // Unix seconds
    std::uint32_t mode = 0666;
    std::uint32_t third = 0;   // 2 for the contents of a file that is wrapped alone, else 0
    std::uint32_t fourth = 0;  // 1 for these, else 0
    friend bool operator==(const FlatRtfdRecord&, const FlatRtfdRecord&) = default;
};

/// Folders inside folders, the outermost one counted; data with more are refused.
inline constexpr int kMaxFlatRtfdDepth = 32;
/// Nodes of one block; data with more are refused.
inline constexpr std::size_t kMaxFlatRtfdNodes = 65536;

/// The outermost folder of a block; nullopt when the bytes are no such block, or exceed a limit. Bytes after the
/// outermost node are passed over. Nothing is copied.
[[nodiscard]] std::optional<FlatRtfdNode> nodeFromFlatRtfd(const Data& rtfd);

/// The block of a folder; nullopt when it would be too long for the format, or exceeds a limit.
[[nodiscard]] std::optional<Data> flatRtfdFromNode(const FlatRtfdNode& folder);

/// The records in the data of an entry "."; nullopt when they are none.
[[nodiscard]] std::optional<std::vector<FlatRtfdRecord>> recordsFromFlatRtfd(const Data& data);
[[nodiscard]] Data flatRtfdFromRecords(const std::vector<FlatRtfdRecord>& records);

/// A node as a file or a folder of files: records and wishes for names left out, files that are wrapped alone
/// unwrapped, its name decoded.
[[nodiscard]] FileNode fileFromFlatRtfdNode(const FlatRtfdNode& node);

/// A folder with its records, each file modified at `modificationTime` (Unix seconds) and open to be read and written.
[[nodiscard]] FlatRtfdNode flatRtfdNodeFromFile(const FileNode& file, std::uint32_t modificationTime);

/// The document in a block: the text of its `TXT.rtf`, with the files that the text names. The attributes are the
/// text's, and say that it is RTFD. nullopt when the bytes are no block, or there is no RTF in it.
[[nodiscard]] std::optional<RichTextDocument> documentFromRtfd(const Data& rtfd);

/// A document as a block. nullopt when it would be too long for the format (4 GiB).
[[nodiscard]] std::optional<Data> rtfdFromDocument(const RichTextDocument& document, std::uint32_t modificationTime);

}  // namespace halden
