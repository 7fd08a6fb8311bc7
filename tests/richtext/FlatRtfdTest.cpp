// RTFD as one block of bytes.
#include "foundation/Unicode.h"
#include "richtext/FlatRtfd.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace halden {
namespace {

using namespace std::string_literals;

std::string number(std::size_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(value >> shift);
    return bytes;
}

std::string file(const std::string& bytes) {
    return number(1) + number(bytes.size()) + bytes;
}

struct Entry {
    std::string name;
    std::string node;
};

std::string folder(const std::vector<Entry>& entries) {
    std::string bytes = number(3) + number(entries.size());
    for (const Entry& entry : entries)
        bytes += number(entry.name.size()) + entry.name;
    for (const Entry& entry : entries)
        bytes += number(entry.node.size());
    for (const Entry& entry : entries)
        bytes += entry.node;
    return bytes;
}

Data block(const std::string& node) {
    return Data::copying("rtfd\0\0\0\0"s + node);
}

FlatRtfdNode fileNode(std::string name, std::string_view bytes) {
    return {.name = std::move(name), .isFolder = false, .data = Data::copying(bytes), .entries = {}};
}

FlatRtfdNode folderNode(std::string name, std::vector<FlatRtfdNode> entries) {
    return {.name = std::move(name), .isFolder = true, .data = {}, .entries = std::move(entries)};
}

TEST(FlatRtfd, ABlockIsItsFolder) {
    const auto node = nodeFromFlatRtfd(block(folder({{"TXT.rtf", file("text")}, {".", file("")}, {"d", folder({})}})));
    ASSERT_TRUE(node);
    EXPECT_EQ(*node, folderNode("", {fileNode("TXT.rtf", "text"), fileNode(".", ""), folderNode("d", {})}));
    EXPECT_EQ(node->entry("TXT.rtf"), node->entries.data());
    EXPECT_EQ(node->entry("txt.rtf"), nullptr);
}

TEST(FlatRtfd, ManyBytesBeginAtAPage) {
    for (const std::size_t length : {4095U, 4096U, 5000U}) {
        const std::string bytes(length, 'x');
        const auto rtfd = flatRtfdFromNode(folderNode("", {fileNode("a", "short"), fileNode("b", bytes)}));
        ASSERT_TRUE(rtfd);
        const std::size_t start = rtfd->view().find("xxxx");
        EXPECT_EQ(start % 4096 == 0, length >= 4096);
        EXPECT_EQ(rtfd->length(), start + length);
        EXPECT_EQ(nodeFromFlatRtfd(*rtfd)->entries[1].data.view(), bytes);
    }
    // Padding of other lengths is read as well.
    const auto node =
        nodeFromFlatRtfd(block(folder({{"a", number(1) + number(0x80000000) + number(2) + number(3) + "..." + "xy"}})));
    EXPECT_EQ(node.value().entries[0].data.view(), "xy");
}

TEST(FlatRtfd, WhatIsNoBlockIsRefused) {
    const std::string good = folder({{"TXT.rtf", file("text")}, {"d", folder({{"e", file("f")}})}});
    ASSERT_TRUE(nodeFromFlatRtfd(block(good)));
    ASSERT_TRUE(nodeFromFlatRtfd(block(good + "more")));
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_FALSE(nodeFromFlatRtfd(block(good.substr(0, length)))) << length;
    const std::string bad[] = {
        file("a file alone"),
        number(2) + number(0),
        number(3) + number(0xFFFFFFFF),
        number(3) + number(1) + number(0xFFFFFFFF) + "name",
        number(3) + number(1) + number(1) + "a" + number(0xFFFFFFFF) + file("x"),
        number(3) + number(1) + number(1) + "a" + number(3) + file("x"),
        folder({{"a", number(1) + number(0xFFFFFFFF) + "x"}}),
        folder({{"a", number(1) + number(0x80000000) + number(1) + number(0xFFFFFFFF) + "x"}}),
        folder({{"a", ""}}),
    };
    for (const std::string& node : bad)
        EXPECT_FALSE(nodeFromFlatRtfd(block(node)));
    EXPECT_FALSE(nodeFromFlatRtfd(Data()));
    EXPECT_FALSE(nodeFromFlatRtfd(Data::copying("{\\rtf1 text}")));
}

TEST(FlatRtfd, FoldersInsideFoldersHaveALimit) {
    for (const int depth : {kMaxFlatRtfdDepth, kMaxFlatRtfdDepth + 1}) {
        std::string node = folder({});
        FlatRtfdNode made = folderNode("", {});
        for (int i = 1; i < depth; ++i) {
            node = folder({{"d", node}});
            made.name = "d";
            made = folderNode("", {made});
        }
        EXPECT_EQ(nodeFromFlatRtfd(block(node)).has_value(), depth == kMaxFlatRtfdDepth);
        EXPECT_EQ(flatRtfdFromNode(made).has_value(), depth == kMaxFlatRtfdDepth);
    }
}

TEST(FlatRtfd, EntriesHaveALimit) {
    std::vector<Entry> entries(kMaxFlatRtfdNodes, Entry{"", file("")});
    EXPECT_FALSE(nodeFromFlatRtfd(block(folder(entries))));
    entries.pop_back();
    EXPECT_TRUE(nodeFromFlatRtfd(block(folder(entries))));
}

TEST(FlatRtfd, RecordsComeBack) {
    const std::vector<FlatRtfdRecord> records = {
        {.name = "TXT.rtf", .modificationTime = 0x12345678, .mode = 0644, .third = 0, .fourth = 0},
        {.name = "..", .modificationTime = 0, .mode = 0600, .third = 2, .fourth = 1}};
    const Data data = flatRtfdFromRecords(records);
    EXPECT_EQ(recordsFromFlatRtfd(data), records);
    for (std::size_t length = 0; length < data.length(); ++length)
        EXPECT_FALSE(recordsFromFlatRtfd(data.subdata(0, length)));
    EXPECT_FALSE(recordsFromFlatRtfd(Data::copying(std::string(data.view()) + "x")));
}

TEST(FlatRtfd, FilesBecomeNodesWithRecords) {
    FileNode folder{.name = u"\u00FC", .data = {}, .isFolder = true, .children = {}};
    folder.children.push_back({.name = u"a", .data = Data::copying("1"), .children = {}});
    folder.children.push_back({.name = u"b", .data = {}, .isFolder = true, .children = {}});
    const FlatRtfdNode node = flatRtfdNodeFromFile(folder, 1234);
    EXPECT_EQ(node.name, "\xC3\xBC");
    const auto records = recordsFromFlatRtfd(node.entry(".")->data);
    ASSERT_TRUE(records);
    EXPECT_EQ((*records)[0], (FlatRtfdRecord{.name = "a", .modificationTime = 1234, .mode = 0666}));
    EXPECT_EQ((*records)[1], (FlatRtfdRecord{.name = "b", .modificationTime = 1234, .mode = 0777}));
    EXPECT_EQ(fileFromFlatRtfdNode(node), folder);
}

TEST(FlatRtfd, FilesThatAreWrappedAloneAreUnwrapped) {
    const FlatRtfdNode wrapped =
        folderNode("a.png", {fileNode("__@PreferredName@__", "b.png"), fileNode("..", "bytes"), fileNode(".", "")});
    const FileNode file = fileFromFlatRtfdNode(wrapped);
    EXPECT_FALSE(file.isFolder);
    EXPECT_EQ(file.name, u"a.png");
    EXPECT_EQ(file.data.view(), "bytes");
}

TEST(FlatRtfd, DocumentsHaveTheFilesThatTheirTextNames) {
    const std::string text =
        "{\\rtf1\\ansi {{\\NeXTGraphic a.bin \\width200 \\height100}\xAC}{{\\NeXTGraphic u\\uc0\\u776 .bin }\xAC}"
        "{{\\NeXTGraphic .. }\xAC}{{\\NeXTGraphic . }\xAC}{{\\NeXTGraphic TXT.rtf/../a.bin }\xAC}}";
    const auto document = documentFromRtfd(block(folder({{"TXT.rtf", file(text)},
                                                         {"..", file("outside")},
                                                         {".", file("records")},
                                                         {"a.bin", file("A")},
                                                         {"\xC3\xBC.bin", file("U")}})));
    ASSERT_TRUE(document);
    const auto attachments = document->text.attachments();
    ASSERT_EQ(attachments.size(), 5U);
    EXPECT_EQ(attachments[0].attachment->file.data.view(), "A");
    EXPECT_EQ(attachments[0].attachment->size, (Size{10, 5}));
    // The name has its accent in another form than the file.
    EXPECT_EQ(attachments[1].attachment->file.data.view(), "U");
    for (std::size_t i = 2; i < 5; ++i)
        EXPECT_TRUE(attachments[i].attachment->file.data.empty()) << i;
    EXPECT_EQ(*document->documentAttributes.find(u"DocumentType"), Value(u"NSRTFD"));
    EXPECT_EQ(*document->documentAttributes.find(u"UTI"), Value(u"com.apple.rtfd"));
}

TEST(FlatRtfd, WithoutTextThereIsNoDocument) {
    EXPECT_FALSE(documentFromRtfd(block(folder({}))));
    EXPECT_FALSE(documentFromRtfd(block(folder({{"TXT.rtf", file("no RTF")}}))));
    EXPECT_FALSE(documentFromRtfd(block(folder({{"TXT.rtf", folder({})}}))));
    EXPECT_TRUE(documentFromRtfd(block(folder({{"TXT.rtf", folder({{"..", file("{\\rtf1}")}})}}))));
}

// A text may name a folder of many files as often as it likes.
TEST(FlatRtfd, AttachmentsDoNotMultiply) {
    std::vector<Entry> many(10000, Entry{"f", file("")});
    std::string text = "{\\rtf1 ";
    for (int i = 0; i < 10000; ++i)
        text += "{{\\NeXTGraphic d }\xAC}";
    const auto document = documentFromRtfd(block(folder({{"TXT.rtf", file(text + "}")}, {"d", folder(many)}})));
    ASSERT_TRUE(document);
    ASSERT_EQ(document->text.attachments().size(), 10000U);
    std::size_t files = 0;
    for (const auto& place : document->text.attachments())
        files += place.attachment->file.children.size();
    EXPECT_EQ(files, 60000U);
    // They are one folder, and written once.
    const auto again = rtfdFromDocument(*document, 0);
    EXPECT_LT(again.value().length(), 2'000'000U);
}

// Times and modes are kept, so that every byte is.
TEST(FlatRtfd, RealBlocksComeBackToTheByte) {
    const char* const corpus = std::getenv("QUARRY_CORPUS");
    if (corpus == nullptr) GTEST_SKIP() << "QUARRY_CORPUS is not set";
    const auto samples = std::filesystem::path(corpus) / "richtext/flat-rtfd";
    int count = 0;
    for (const auto& sample : std::filesystem::directory_iterator(samples)) {
        ++count;
        const auto bytes = Data::contentsOfFile(sample.path());
        auto node = nodeFromFlatRtfd(bytes.value());
        ASSERT_TRUE(node) << sample.path();
        for (FlatRtfdNode& entry : node->entries) {
            if (entry.name != ".") continue;
            const auto records = recordsFromFlatRtfd(entry.data);
            ASSERT_TRUE(records) << sample.path();
            EXPECT_EQ(records->size(), node->entries.size() - 1) << sample.path();
            entry.data = flatRtfdFromRecords(*records);
        }
        EXPECT_TRUE(flatRtfdFromNode(*node) == *bytes) << sample.path();
        EXPECT_FALSE(documentFromRtfd(*bytes).value().text.empty()) << sample.path();
    }
    EXPECT_GT(count, 0);
}

}  // namespace
}  // namespace halden
