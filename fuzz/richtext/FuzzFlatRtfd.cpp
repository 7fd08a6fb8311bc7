// Any bytes read as RTFD data: blocks come back to the byte, documents keep their text, and files get names that lie in
// the folder of their package.
#include "richtext/FlatRtfd.h"
#include "richtext/RtfdPackage.h"

#include <cstdint>
#include <cstdlib>
#include <set>

namespace {

using halden::Data;
using halden::FileNode;
using halden::FlatRtfdNode;

void require(bool condition) {
    if (!condition) std::abort();
}

void checkRecords(const FlatRtfdNode& folder) {
    for (const FlatRtfdNode& entry : folder.entries) {
        if (entry.isFolder) {
            checkRecords(entry);
        } else if (entry.name == ".") {
            const auto records = halden::recordsFromFlatRtfd(entry.data);
            if (!records) continue;
            require(halden::recordsFromFlatRtfd(halden::flatRtfdFromRecords(*records)) == records);
        }
    }
}

/// What is written of a node is read as the same node, and written as the same bytes.
void checkBlock(const FlatRtfdNode& node) {
    const auto written = halden::flatRtfdFromNode(node);
    require(written.has_value());
    const auto again = halden::nodeFromFlatRtfd(*written);
    require(again == node);
    require(halden::flatRtfdFromNode(*again)->view() == written->view());
}

void checkNames(const FileNode& folder) {
    std::set<std::u16string> names;
    for (const FileNode& file : folder.children) {
        require(!file.name.empty() && file.name != u"." && file.name != u".." && file.name.size() <= 255);
        require(file.name.find(u'/') == std::u16string::npos && file.name.find(u'\0') == std::u16string::npos);
        require(halden::fileNameFrom(file.name) == file.name);
        require(names.insert(file.name).second);
        checkNames(file);
    }
}

void checkDocument(const halden::RichTextDocument& document) {
    checkNames(halden::packageFromDocument(document));
    const auto written = halden::rtfdFromDocument(document, 0);
    require(written.has_value());
    const auto again = halden::documentFromRtfd(*written);
    require(again.has_value());
    require(again->text.attachments().size() == document.text.attachments().size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const Data block = Data::copying(std::string_view(reinterpret_cast<const char*>(bytes), size));
    const auto node = halden::nodeFromFlatRtfd(block);
    if (!node) return 0;
    checkRecords(*node);
    checkBlock(*node);
    if (const auto document = halden::documentFromRtfd(block)) checkDocument(*document);
    return 0;
}
