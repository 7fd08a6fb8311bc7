#include "richtext/RtfdPackage.h"

#include "foundation/Path.h"
#include "richtext/DocumentAttributes.h"
#include "richtext/PackageFiles.h"
#include "richtext/PackageNames.h"
#include "richtext/RtfContent.h"
#include "richtext/RtfReader.h"
#include "richtext/RtfWriter.h"

#include <algorithm>
#include <map>

namespace halden {
namespace {

/// A folder with names that files can have, each of them once. What lies too deep is left out.
FileNode withFileNames(const FileNode& file, std::u16string name, int depth) {
    FileNode result{.name = std::move(name), .data = file.data, .isFolder = file.isFolder, .children = {}};
    if (depth >= kMaxPackageDepth) return result;
    DistinctNames names;
    for (const FileNode& child : file.children)
        result.children.push_back(withFileNames(child, names.nameFor(child.name), depth + 1));
    return result;
}

/// Whether two files are one: named alike, with the very same bytes.
bool isSameFile(const FileNode& a, const FileNode& b) noexcept {
    return a.name == b.name && a.isFolder == b.isFolder && a.data.bytes() == b.data.bytes() &&
           a.data.length() == b.data.length() &&
           std::ranges::equal(a.children, b.children, [](const auto& x, const auto& y) { return isSameFile(x, y); });
}

/// The files of attachments, and the names under which they lie in the package. A file that is attached in many places
/// lies there once.
class AttachedFiles {
public:
    explicit AttachedFiles(std::vector<FileNode>& files) : files_(files) { names_.reserve(kRtfdTextName); }

    [[nodiscard]] std::u16string nameOf(const FileNode& file) {
        const auto [last, isNew] = lastOfName_.try_emplace(file.name);
        if (!isNew && isSameFile(*last->second.file, file)) return last->second.name;
        std::u16string name = names_.nameFor(file.name);
        files_.push_back(withFileNames(file, name, 1));
        last->second = {.file = &file, .name = name};
        return name;
    }

private:
    struct Last {
        const FileNode* file = nullptr;
        std::u16string name;
    };
    std::vector<FileNode>& files_;
    DistinctNames names_;
    std::map<std::u16string_view, Last> lastOfName_;
};

}  // namespace

FileNode packageFromDocument(const RichTextDocument& document) {
    FileNode package{.name = {}, .data = {}, .isFolder = true, .children = {}};
    package.children.push_back({.name = std::u16string(kRtfdTextName), .data = {}, .isFolder = false, .children = {}});
    std::vector<std::u16string> names;
    AttachedFiles files(package.children);
    for (const auto& place : document.text.attachments())
        names.push_back(files.nameOf(place.attachment->file));
    package.children.front().data = Data::copying(rtfFromDocument(document, {.fileNames = names}));
    return package;
}

std::optional<RichTextDocument> documentFromRtfdPackage(std::u16string_view path) {
    const auto bytes = pathBytesFromString(path);
    if (!bytes) return std::nullopt;
    PackageFiles files(*bytes);
    const auto rtf = files.contents(pathBytesFromString(kRtfdTextName).value(), kMaxRtfLength);
    if (!rtf) return std::nullopt;

    PackageNames<std::string> names;
    for (const std::string& name : files.names())
        names.add(stringFromPathBytes(name), name);
    AttachmentBudget budget;
    std::map<std::string, std::optional<FileNode>> known;
    RtfReadOptions options;
    options.attachment = [&](std::u16string_view name) -> std::optional<FileNode> {
        const std::string* const fileName = names.find(name);
        if (!fileName || budget.isSpent()) return std::nullopt;
        const auto [file, isNew] = known.try_emplace(*fileName);
        if (isNew) file->second = files.file(*fileName);
        if (!file->second || !budget.take(*file->second)) return std::nullopt;
        return file->second;
    };
    auto document = documentFromRtf(rtf->view(), options);
    if (document) setRtfdType(document->documentAttributes);
    return document;
}

}  // namespace halden
