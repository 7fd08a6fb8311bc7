#include "richtext/FlatRtfd.h"

#include "foundation/Path.h"
#include "richtext/DocumentAttributes.h"
#include "richtext/PackageNames.h"
#include "richtext/RtfReader.h"
#include "richtext/RtfdPackage.h"

#include <algorithm>
#include <utility>

namespace halden {
namespace {

constexpr std::string_view kSignature("rtfd\0\0\0\0", 8);
constexpr std::uint32_t kBytes = 1;
constexpr std::uint32_t kFolder = 3;
constexpr std::uint32_t kPadded = 0x80000000;
// Bytes of at least this number begin at a multiple of it.
constexpr std::size_t kPage = 4096;
constexpr std::uint32_t kRecordLength = 16;
constexpr std::string_view kRecordsName = ".";
constexpr std::string_view kWrappedName = "..";
constexpr std::string_view kWishPrefix = "__@";
constexpr std::uint32_t kFileMode = 0666;
constexpr std::uint32_t kFolderMode = 0777;

/// Reads numbers and bytes one after the other; what does not lie inside is an error that stays.
class Reader {
public:
    Reader(const Data& data, std::size_t start, std::size_t length) noexcept
        : data_(data), position_(start), end_(start + length) {}

    [[nodiscard]] std::uint32_t number() noexcept {
        if (end_ - position_ < 4) {
            fail();
            return 0;
        }
        const std::uint8_t* const bytes = data_.bytes() + position_;
        position_ += 4;
        return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
               static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
    }
    [[nodiscard]] Data bytes(std::size_t length) noexcept {
        if (length > end_ - position_) {
            fail();
            return {};
        }
        position_ += length;
        return data_.subdata(position_ - length, length);
    }
    /// A number of things of which each takes `least` bytes.
    [[nodiscard]] std::size_t count(std::size_t least) noexcept {
        const std::size_t count = number();
        if (count > (end_ - position_) / least) fail();
        return failed_ ? 0 : count;
    }
    [[nodiscard]] std::vector<std::string> names() {
        std::vector<std::string> names(count(4));
        for (std::string& name : names) {
            const Data bytes = this->bytes(number());
            name.assign(bytes.view());
        }
        return names;
    }
    [[nodiscard]] std::size_t position() const noexcept { return position_; }
    [[nodiscard]] std::size_t left() const noexcept { return end_ - position_; }
    [[nodiscard]] bool failed() const noexcept { return failed_; }
    void fail() noexcept {
        failed_ = true;
        position_ = end_;
    }

private:
    const Data& data_;
    std::size_t position_;
    std::size_t end_;
    bool failed_ = false;
};

class NodeReader {
public:
    explicit NodeReader(const Data& data) noexcept : data_(data) {}

    /// The node in `length` bytes from `start`; its name is the caller's to set.
    std::optional<FlatRtfdNode> node(std::size_t start, std::size_t length, int depth) {
        Reader reader(data_, start, length);
        switch (reader.number()) {
            case kBytes:
                return fileNode(reader);
            case kFolder:
                return folderNode(reader, depth);
            default:
                return std::nullopt;
        }
    }

private:
    static std::optional<FlatRtfdNode> fileNode(Reader& reader) {
        FlatRtfdNode node;
        std::uint32_t length = reader.number();
        if (length == kPadded) {
            length = reader.number();
            const std::uint32_t padding = reader.number();
            (void)reader.bytes(padding);
        }
        node.data = reader.bytes(length);
        if (reader.failed()) return std::nullopt;
        return node;
    }

    std::optional<FlatRtfdNode> folderNode(Reader& reader, int depth) {
        if (depth >= kMaxFlatRtfdDepth) return std::nullopt;
        FlatRtfdNode folder;
        folder.isFolder = true;
        std::vector<std::string> names = reader.names();
        nodes_ += names.size();
        if (reader.failed() || nodes_ > kMaxFlatRtfdNodes) return std::nullopt;
        std::vector<std::size_t> lengths(names.size());
        for (std::size_t& length : lengths)
            length = reader.number();
        folder.entries.reserve(names.size());
        for (std::size_t i = 0; i < names.size(); ++i) {
            const std::size_t start = reader.position();
            (void)reader.bytes(lengths[i]);
            if (reader.failed()) return std::nullopt;
            auto entry = node(start, lengths[i], depth + 1);
            if (!entry) return std::nullopt;
            entry->name = std::move(names[i]);
            folder.entries.push_back(std::move(*entry));
        }
        if (reader.failed()) return std::nullopt;
        return folder;
    }

    const Data& data_;
    std::size_t nodes_ = 1;
};

class NodeWriter {
public:
    void number(std::size_t value) {
        if (value > UINT32_MAX) isTooLong_ = true;
        for (int shift = 0; shift < 32; shift += 8)
            bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
    }
    void append(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }
    void names(const auto& named) {
        number(named.size());
        for (const auto& item : named) {
            number(item.name.size());
            append(item.name);
        }
    }

    void node(const FlatRtfdNode& node, int depth) {
        if (!node.isFolder) {
            file(node.data);
            return;
        }
        nodes_ += node.entries.size();
        if (depth >= kMaxFlatRtfdDepth || nodes_ > kMaxFlatRtfdNodes) isTooLong_ = true;
        if (isTooLong_) return;
        number(kFolder);
        names(node.entries);
        const std::size_t lengths = bytes_.size();
        bytes_.resize(lengths + 4 * node.entries.size());
        for (std::size_t i = 0; i < node.entries.size(); ++i) {
            const std::size_t start = bytes_.size();
            this->node(node.entries[i], depth + 1);
            setNumber(lengths + 4 * i, bytes_.size() - start);
        }
    }

    [[nodiscard]] bool isTooLong() const noexcept { return isTooLong_ || bytes_.size() > UINT32_MAX; }
    [[nodiscard]] Data take() { return Data(std::move(bytes_)); }

private:
    void file(const Data& data) {
        number(kBytes);
        if (data.length() >= kPage) {
            number(kPadded);
            number(data.length());
            const std::size_t start = bytes_.size() + 4;
            const std::size_t padding = (kPage - start % kPage) % kPage;
            number(padding);
            bytes_.resize(bytes_.size() + padding);
        } else {
            number(data.length());
        }
        append(data.view());
    }

    void setNumber(std::size_t place, std::size_t value) {
        if (value > UINT32_MAX) isTooLong_ = true;
        for (std::size_t i = 0; i < 4; ++i)
            bytes_[place + i] = static_cast<std::uint8_t>(value >> (8 * i));
    }

    std::vector<std::uint8_t> bytes_;
    std::size_t nodes_ = 1;
    bool isTooLong_ = false;
};

bool isRecords(const FlatRtfdNode& node) noexcept {
    return node.name == kRecordsName || node.name.starts_with(kWishPrefix);
}

/// The contents of a file that is wrapped alone, or a null pointer.
const FlatRtfdNode* wrappedFile(const FlatRtfdNode& node) noexcept {
    const FlatRtfdNode* const contents = node.isFolder ? node.entry(kWrappedName) : nullptr;
    return contents && !contents->isFolder ? contents : nullptr;
}

std::string bytesOfName(std::u16string_view name) {
    return pathBytesFromString(name).value_or(std::string());
}

}  // namespace

const FlatRtfdNode* FlatRtfdNode::entry(std::string_view entryName) const noexcept {
    const auto found = std::ranges::find(entries, entryName, &FlatRtfdNode::name);
    return found == entries.end() ? nullptr : &*found;
}

std::optional<FlatRtfdNode> nodeFromFlatRtfd(const Data& rtfd) {
    if (!rtfd.view().starts_with(kSignature)) return std::nullopt;
    auto node = NodeReader(rtfd).node(kSignature.size(), rtfd.length() - kSignature.size(), 0);
    if (!node || !node->isFolder) return std::nullopt;
    return node;
}

std::optional<Data> flatRtfdFromNode(const FlatRtfdNode& folder) {
    if (!folder.isFolder) return std::nullopt;
    NodeWriter writer;
    writer.append(kSignature);
    writer.node(folder, 0);
    if (writer.isTooLong()) return std::nullopt;
    return writer.take();
}

std::optional<std::vector<FlatRtfdRecord>> recordsFromFlatRtfd(const Data& data) {
    Reader reader(data, 0, data.length());
    std::vector<std::string> names = reader.names();
    std::vector<std::uint32_t> lengths(names.size());
    for (std::uint32_t& length : lengths)
        length = reader.number();
    std::vector<FlatRtfdRecord> records(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (lengths[i] != kRecordLength) return std::nullopt;
        records[i].name = std::move(names[i]);
        records[i].modificationTime = reader.number();
        records[i].mode = reader.number();
        records[i].third = reader.number();
        records[i].fourth = reader.number();
    }
    if (reader.failed() || reader.left() != 0) return std::nullopt;
    return records;
}

Data flatRtfdFromRecords(const std::vector<FlatRtfdRecord>& records) {
    NodeWriter writer;
    writer.names(records);
    for (std::size_t i = 0; i < records.size(); ++i)
        writer.number(kRecordLength);
    for (const FlatRtfdRecord& record : records) {
        writer.number(record.modificationTime);
        writer.number(record.mode);
        writer.number(record.third);
        writer.number(record.fourth);
    }
    return writer.take();
}

FileNode fileFromFlatRtfdNode(const FlatRtfdNode& node) {
    FileNode file;
    file.name = stringFromPathBytes(node.name);
    if (const FlatRtfdNode* const contents = wrappedFile(node)) {
        file.data = contents->data;
        return file;
    }
    file.isFolder = node.isFolder;
    file.data = node.data;
    for (const FlatRtfdNode& entry : node.entries) {
        if (!isRecords(entry)) file.children.push_back(fileFromFlatRtfdNode(entry));
    }
    return file;
}

FlatRtfdNode flatRtfdNodeFromFile(const FileNode& file, std::uint32_t modificationTime) {
    FlatRtfdNode node{.name = bytesOfName(file.name), .isFolder = file.isFolder, .data = file.data, .entries = {}};
    if (!file.isFolder) return node;
    std::vector<FlatRtfdRecord> records;
    for (const FileNode& child : file.children) {
        node.entries.push_back(flatRtfdNodeFromFile(child, modificationTime));
        records.push_back({.name = node.entries.back().name,
                           .modificationTime = modificationTime,
                           .mode = child.isFolder ? kFolderMode : kFileMode});
    }
    node.entries.push_back(
        {.name = std::string(kRecordsName), .isFolder = false, .data = flatRtfdFromRecords(records), .entries = {}});
    return node;
}

std::optional<RichTextDocument> documentFromRtfd(const Data& rtfd) {
    const auto folder = nodeFromFlatRtfd(rtfd);
    const FlatRtfdNode* text = folder ? folder->entry(bytesOfName(kRtfdTextName)) : nullptr;
    if (text && text->isFolder) text = wrappedFile(*text);
    if (!text) return std::nullopt;

    PackageNames<const FlatRtfdNode*> entries;
    for (const FlatRtfdNode& entry : folder->entries) {
        if (!isRecords(entry) && entry.name != kWrappedName) entries.add(stringFromPathBytes(entry.name), &entry);
    }
    AttachmentBudget budget;
    RtfReadOptions options;
    options.attachment = [&](std::u16string_view name) -> std::optional<FileNode> {
        const FlatRtfdNode* const* const entry = entries.find(name);
        if (!entry || budget.isSpent()) return std::nullopt;
        FileNode file = fileFromFlatRtfdNode(**entry);
        if (!budget.take(file)) return std::nullopt;
        return file;
    };
    auto document = documentFromRtf(text->data.view(), options);
    if (document) setRtfdType(document->documentAttributes);
    return document;
}

std::optional<Data> rtfdFromDocument(const RichTextDocument& document, std::uint32_t modificationTime) {
    return flatRtfdFromNode(flatRtfdNodeFromFile(packageFromDocument(document), modificationTime));
}

}  // namespace halden
