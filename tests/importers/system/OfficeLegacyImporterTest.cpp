#include "importers/system/OfficeLegacy/BinaryText.h"
#include "tests/importers/system/SystemBundles.h"

#include <gsf/gsf-doc-meta-data.h>
#include <gsf/gsf-meta-names.h>
#include <gsf/gsf-msole-utils.h>
#include <gsf/gsf-outfile-msole.h>
#include <gsf/gsf-outfile.h>
#include <gsf/gsf-output-stdio.h>
#include <gsf/gsf-output.h>
#include <gsf/gsf-utils.h>

namespace quarry::test {
namespace {

using halden::Array;
using halden::Dictionary;

std::string little(std::size_t value, int length) {
    std::string bytes;
    for (int i = 0; i < length; ++i)
        bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
    return bytes;
}

std::string wide(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text)
        bytes += little(unit, 2);
    return bytes;
}

using Streams = std::vector<std::pair<std::string, std::string>>;

struct Word {
    std::string document, table;
};

/// Two pieces: one of bytes, one of UTF-16.
Word wordOf(std::string_view bytes, std::u16string_view units, unsigned flags = 0x0200) {
    constexpr std::size_t kText = 0x400;
    Word word;
    word.document.assign(kText, '\0');
    const auto put = [&word](std::size_t offset, std::size_t value, int length) {
        word.document.replace(offset, static_cast<std::size_t>(length), little(value, length));
    };
    put(0, 0xA5EC, 2);
    put(2, 0xC1, 2);
    put(0x0A, flags, 2);
    const std::string pieces = little(0, 4) + little(bytes.size(), 4) + little(bytes.size() + units.size(), 4) +
                               little(0, 2) + little(kText * 2 | 0x40000000, 4) + little(0, 2) + little(0, 2) +
                               little(kText + bytes.size(), 4) + little(0, 2);
    const std::string property = little(1, 1) + little(3, 2) + "xxx";
    word.table = "????" + property + little(2, 1) + little(pieces.size(), 4) + pieces;
    put(0x1A2, 4, 4);
    put(0x1A6, word.table.size() - 4, 4);
    word.document.append(bytes).append(wide(units));
    return word;
}

std::string record(unsigned type, const std::string& contents) {
    return little(type, 2) + little(contents.size(), 2) + contents;
}

std::string atom(unsigned type, const std::string& contents, unsigned options = 0) {
    return little(options, 2) + little(type, 2) + little(contents.size(), 4) + contents;
}

class OfficeLegacyImporterTest : public SystemBundles {
protected:
    std::filesystem::path make(const std::string& name, const Streams& streams, bool hasProperties = false) {
        gsf_init();
        const auto path = folder_ / name;
        GsfOutput* file = gsf_output_stdio_new(path.c_str(), nullptr);
        GsfOutfile* container = gsf_outfile_msole_new(file);
        for (const auto& [streamName, bytes] : streams)
            add(container, streamName.c_str(), bytes);
        if (hasProperties) addProperties(container);
        gsf_output_close(GSF_OUTPUT(container));
        g_object_unref(container);
        g_object_unref(file);
        return path;
    }

private:
    static void add(GsfOutfile* container, const char* name, const std::string& bytes) {
        GsfOutput* stream = gsf_outfile_new_child(container, name, FALSE);
        gsf_output_write(stream, bytes.size(), reinterpret_cast<const guint8*>(bytes.data()));
        gsf_output_close(stream);
        g_object_unref(stream);
    }
    static void addProperties(GsfOutfile* container) {
        GsfDocMetaData* properties = gsf_doc_meta_data_new();
        const std::pair<const char*, const char*> strings[] = {
            {GSF_META_NAME_TITLE, "A title"}, {GSF_META_NAME_SUBJECT, "S"},   {GSF_META_NAME_DESCRIPTION, "D"},
            {GSF_META_NAME_CREATOR, "A;B"},   {GSF_META_NAME_GENERATOR, "W"}, {GSF_META_NAME_LAST_SAVED_BY, "E"}};
        for (const auto& [name, string] : strings) {
            auto* value = g_new0(GValue, 1);
            g_value_init(value, G_TYPE_STRING);
            g_value_set_string(value, string);
            gsf_doc_meta_data_insert(properties, g_strdup(name), value);
        }
        auto* pages = g_new0(GValue, 1);
        g_value_init(pages, G_TYPE_INT);
        g_value_set_int(pages, 3);
        gsf_doc_meta_data_insert(properties, g_strdup(GSF_META_NAME_PAGE_COUNT), pages);
        GsfOutput* stream = gsf_outfile_new_child(container, "\05SummaryInformation", FALSE);
        gsf_doc_meta_data_write_to_msole(properties, stream, FALSE);
        gsf_output_close(stream);
        g_object_unref(stream);
        g_object_unref(properties);
    }
};

TEST_F(OfficeLegacyImporterTest, ATextGivesItsPropertiesAndPieces) {
    const Word word = wordOf("One\x80 \x13 HYPERLINK x \x14link\x15\r", u"\u0416a\x07z\x07\x07\x01\x0Ctwo\r");
    EXPECT_EQ(metaDataOf(make("a.doc", {{"WordDocument", word.document}, {"1Table", word.table}}, true)),
              (Dictionary{{u"kMDItemTitle", u"A title"},
                          {u"kMDItemSubject", u"S"},
                          {u"kMDItemDescription", u"D"},
                          {u"kMDItemCreator", u"W"},
                          {u"kMDItemAuthors", Array{u"A", u"B"}},
                          {u"kMDItemEditors", Array{u"E"}},
                          {u"kMDItemNumberOfPages", 3},
                          {u"kMDItemTextContent", u"One\u20AC link\n\u0416a\tz\t\n\ntwo\n"}}));
    // The kind shows in the streams, not in the name.
    EXPECT_EQ(stringOf(metaDataOf(make("a.ppt", {{"WordDocument", word.document}, {"1Table", word.table}})),
                       u"kMDItemTextContent")
                  .substr(0, 3),
              u"One");
}

TEST_F(OfficeLegacyImporterTest, AWorkbookGivesItsStringsAcrossRecords) {
    const std::string shared = little(3, 4) + little(3, 4) + little(3, 2) + little(0, 1) + "abc" + little(2, 2) +
                               little(0x0D, 1) + little(1, 2) + little(2, 4) + wide(u"\u0416x") + "runsee" +
                               little(4, 2) + little(0, 1) + "lo";
    const std::string book = record(0x0809, little(0x0600, 2) + little(5, 2)) + record(0x00FC, shared) +
                             record(0x003C, little(1, 1) + wide(u"ng")) +
                             record(0x0204, little(0, 6) + little(2, 2) + little(0, 1) + "in") +
                             record(0x01B6, std::string(10, '\0') + little(3, 2) + little(0, 6)) +
                             record(0x003C, little(0, 1) + "box") + record(0x003C, little(0, 8));
    EXPECT_EQ(metaDataOf(make("a.xls", {{"Workbook", book}})),
              (Dictionary{{u"kMDItemTextContent", u"abc\n\u0416x\nlong\nin\nbox\n"}}));
    const std::string old = record(0x0809, little(0x0500, 2)) + record(0x0204, little(0, 6) + little(2, 2) + "ol");
    EXPECT_EQ(metaDataOf(make("b.xls", {{"Book", old}})), (Dictionary{{u"kMDItemTextContent", u"ol\n"}}));
}

TEST_F(OfficeLegacyImporterTest, APresentationGivesItsSlidesAsLastSaved) {
    constexpr unsigned kContainer = 0xF;
    const auto list = [](unsigned number, const std::string& contents) {
        return atom(0x0FF0, contents, number << 4 | kContainer);
    };
    const std::string outdated = atom(0x03EE, atom(0x0FA8, "outdated"), kContainer);
    const std::string slide = atom(0x03EE, atom(0x040C, atom(0x0FA0, wide(u"Shape")), kContainer), kContainer);
    const std::string document =
        atom(0x03E8,
             list(1, atom(0x0FA8, "Master")) + list(0, atom(0x03F3, little(2, 4)) + atom(0x0FA8, "Ti\rtle")) +
                 list(2, atom(0x0FA8, "Note")),
             kContainer);
    std::string stream = outdated + slide + document;
    const std::size_t directory = stream.size();
    stream +=
        atom(0x1772, little(2U << 20 | 1, 4) + little(outdated.size() + slide.size(), 4) + little(outdated.size(), 4));
    const std::size_t edit = stream.size();
    stream += atom(0x0FF5, little(0, 8) + little(0, 4) + little(directory, 4) + little(1, 4) + little(0, 8));
    const std::string user = atom(0x0FF6, little(0x14, 4) + little(0xE391C05F, 4) + little(edit, 4));
    EXPECT_EQ(metaDataOf(make("a.ppt", {{"PowerPoint Document", stream}, {"Current User", user}})),
              (Dictionary{{u"kMDItemTextContent", u"Ti\ntle\nShape\nNote\n"}}));
    // Without the stream that names the last edit everything counts.
    EXPECT_EQ(legacy::textOfPresentation(outdated, "").text, "outdated\n");
}

TEST_F(OfficeLegacyImporterTest, PasswordsAreSaidAndNothingElse) {
    const Dictionary encrypted{{u"kMDItemSecurityMethod", u"Password Encrypted"}};
    const Word word = wordOf("secret", u"secret", 0x0300);
    EXPECT_EQ(metaDataOf(make("a.doc", {{"WordDocument", word.document}, {"1Table", word.table}})), encrypted);
    const std::string book = record(0x0809, little(0x0600, 2)) + record(0x0204, little(0, 6) + little(2, 2) + "\0in") +
                             record(0x002F, little(1, 2));
    EXPECT_EQ(metaDataOf(make("a.xls", {{"Workbook", book}})), encrypted);
    const std::string user = atom(0x0FF6, little(0x14, 4) + little(0xF3D1C4DF, 4) + little(0, 4));
    EXPECT_EQ(metaDataOf(make("a.ppt", {{"PowerPoint Document", atom(0x0FA8, "secret")}, {"Current User", user}})),
              encrypted);
    EXPECT_EQ(metaDataOf(make("b.doc", {{"EncryptedPackage", "x"}})), encrypted);
}

TEST_F(OfficeLegacyImporterTest, DamagedDocumentsEnd) {
    EXPECT_FALSE(metaData("a.doc", ""));
    EXPECT_FALSE(metaData("b.xls", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"));
    EXPECT_FALSE(metaDataOf(make("c.doc", {{"Something", "else"}})));
    const Word word = wordOf("One", u"two");
    const auto path = make("d.doc", {{"WordDocument", word.document}, {"1Table", word.table}}, true);
    for (auto length = std::filesystem::file_size(path); length > 0; length -= std::min<std::size_t>(length, 509)) {
        std::filesystem::resize_file(path, length);
        (void)metaDataOf(path);
    }
}

}  // namespace

// Streams whose numbers say more than there is.
TEST(LegacyText, NumbersBeyondTheEndGiveNothing) {
    Word word = wordOf("One", u"two");
    for (std::size_t i = 0; i < word.table.size(); ++i) {
        std::string table = word.table;
        table[i] = '\xFF';
        EXPECT_LE(legacy::textOfWord({word.document, {}, table}).text.size(), std::size_t{64});
    }
    EXPECT_EQ(legacy::textOfWorkbook(record(0x00FC, little(0xFFFFFFFF, 4) + little(0xFFFFFFFF, 4))).text, "");
    EXPECT_EQ(legacy::textOfPresentation(atom(0x1000, "", 0xF) + "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", "").text, "");
    std::string nested;
    for (int i = 0; i < 2000; ++i)
        nested = atom(0x1000, nested, 0xF);
    EXPECT_EQ(legacy::textOfPresentation(nested, "").text, "");
}

}  // namespace quarry::test
