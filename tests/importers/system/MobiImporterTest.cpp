#include "foundation/Unicode.h"
#include "importers/system/Mobi/BookInformation.h"
#include "tests/importers/system/MadeBook.h"
#include "tests/importers/system/SystemBundles.h"

namespace quarry::test {
namespace {

using halden::Array;
using halden::Date;
using halden::Dictionary;

class MobiImporterTest : public SystemBundles {
protected:
    [[nodiscard]] std::u16string textOf(const std::string& bytes, const std::string& name = "a.mobi") const {
        return stringOf(metaData(name, bytes), u"kMDItemTextContent");
    }
};

MadeBook olderBook() {
    MadeBook book;
    book.text = {palmDoc("<html><head><title>no</title></head><body><p>One &amp; one,  a banana</p><mbp:pagebreak/>"),
                 palmDoc("<p>Two \xC3\xA9</p></body></html>")};
    book.tags = {{100, "First Author"},
                 {100, "Second Author"},
                 {101, "House"},
                 {103, "<p>Of <b>pears</b></p>"},
                 {104, "978-0"},
                 {105, "pears; apples"},
                 {105, "fruit"},
                 {106, "2014-01-01T01:01:01+00:00"},
                 {108, "A Translator"},
                 {109, "All mine"},
                 {113, "B00"},
                 {204, big(201, 4)},
                 {205, big(2, 4)},
                 {206, big(9, 4)},
                 {503, "Pears &amp; more"},
                 {524, "en"}};
    return book;
}

const std::u16string kOlderText = u"One & one, a banana\n\nTwo \u00E9";
const std::u16string kNewerText = u"First & one\n\nSecond \u00E9\n\nThe end";

TEST_F(MobiImporterTest, GivesWhatTheBookSaysAndItsWords) {
    EXPECT_EQ(metaData("a.mobi", olderBook().bytes()),
              (Dictionary{{u"kMDItemTitle", u"Pears & more"},
                          {u"kMDItemAuthors", Array{u"First Author", u"Second Author"}},
                          {u"kMDItemPublishers", Array{u"House"}},
                          {u"kMDItemDescription", u"Of pears"},
                          {u"kMDItemIdentifier", u"978-0"},
                          {u"kMDItemKeywords", Array{u"pears", u"apples", u"fruit"}},
                          {u"kMDItemContentCreationDate", Date::fromUnixSeconds(1388538061)},
                          {u"kMDItemContributors", Array{u"A Translator"}},
                          {u"kMDItemRights", u"All mine"},
                          {u"kMDItemCreator", u"kindlegen 2.9"},
                          {u"kMDItemLanguages", Array{u"en"}},
                          {u"kMDItemTextContent", kOlderText}}));
}

TEST_F(MobiImporterTest, TakesWhatIsSaidElsewhere) {
    MadeBook book;
    book.tags = {{108, "Maker (6.1) [https://maker.example]"}, {113, "B00"}, {204, big(201, 4)}};
    book.name = "Full name";
    EXPECT_EQ(metaData("a.prc", book.bytes()), (Dictionary{{u"kMDItemTitle", u"Full name"},
                                                           {u"kMDItemCreator", u"Maker (6.1)"},
                                                           {u"kMDItemIdentifier", u"B00"},
                                                           {u"kMDItemLanguages", Array{u"de-de"}}}));
}

TEST_F(MobiImporterTest, ReadsWindowsLatin1) {
    MadeBook book;
    book.encoding = 1252;
    book.compression = 1;
    book.tags = {{503, "Caf\xE9"}};
    book.text = {
        "<html><body><p>\x93"
        "caf\xE9\x94</p></body></html>"};
    const auto found = metaData("a.azw", book.bytes());
    EXPECT_EQ(stringOf(found, u"kMDItemTitle"), u"Caf\u00E9");
    EXPECT_EQ(stringOf(found, u"kMDItemTextContent"), u"\u201Ccaf\u00E9\u201D");
}

TEST_F(MobiImporterTest, OldHeadersMaySayNoLength) {
    MadeBook book = olderBook();
    std::string bytes = book.bytes();
    bytes.replace(bytes.find("MOBI", 78) + 4, 4, big(0, 4));
    EXPECT_EQ(metaData("a.prc", bytes), (Dictionary{{u"kMDItemTextContent", kOlderText}}));
}

TEST_F(MobiImporterTest, PutsTheNewerFormTogether) {
    EXPECT_EQ(textOf(newerBook().bytes(), "a.azw3"), kNewerText);
}

TEST_F(MobiImporterTest, ValuesOfIndexesAreSaidInManyWays) {
    const std::size_t length = lengthOfFrame();
    const std::pair<char, std::vector<std::size_t>> cases[] = {
        {0x5, {2, 0, length}},                // each once
        {0xA, {2, 2, 0, length, 0, length}},  // each twice, as the vendor's program does
        {0xF, {1, 2, 2, 0, length}},          // by their bytes
        {0x7, {1, 2, 0, length}}};
    for (const auto& [control, values] : cases) {
        MadeBook book = newerBook();
        book.more[1] = madeIndex(kFrameKinds, {indexEntry("SKEL0", control, values)})[1];
        EXPECT_EQ(textOf(book.bytes()), kNewerText) << static_cast<int>(control);
    }
}

TEST_F(MobiImporterTest, FramesThatRepeatTheTextAreUsedOnce) {
    MadeBook book = newerBook();
    const std::vector<std::string> entries(1000, indexEntry("SKEL0", 0x5, {2, 0, lengthOfFrame()}));
    book.more[1] = madeIndex(kFrameKinds, entries)[1];
    EXPECT_EQ(textOf(book.bytes()), kNewerText);
}

TEST_F(MobiImporterTest, ChaptersThatDoNotFitTogetherStillGiveTheirWords) {
    MadeBook book = newerBook();
    book.more[1].resize(100);  // the frames
    const std::u16string text = textOf(book.bytes());
    for (const auto* words : {u"First & one", u"Second \u00E9", u"The end"})
        EXPECT_NE(text.find(words), text.npos) << halden::utf8FromUtf16(words);
    EXPECT_EQ(text.find(u"color"), text.npos);
    EXPECT_EQ(text.find(u'<'), text.npos);
}

/// Both forms in one file.
std::vector<std::string> recordsOfBoth(MadeBook older, const MadeBook& newer) {
    const std::size_t boundary = older.records().size() + 1;
    older.tags.emplace_back(121, big(boundary, 4));
    std::vector<std::string> records = older.records();
    records.emplace_back("BOUNDARY");
    for (std::string& record : newer.records())
        records.push_back(std::move(record));
    return records;
}

TEST_F(MobiImporterTest, ABookInBothFormsGivesOneOfThem) {
    std::vector<std::string> records = recordsOfBoth(olderBook(), newerBook());
    const auto both = metaData("a.mobi", database(records));
    EXPECT_EQ(stringOf(both, u"kMDItemTextContent"), kNewerText);
    EXPECT_EQ(stringOf(both, u"kMDItemTitle"), u"Pears & more");

    MadeBook empty = newerBook();
    empty.text.clear();
    EXPECT_EQ(textOf(database(recordsOfBoth(olderBook(), empty))), kOlderText);
    MadeBook encrypted = newerBook();
    encrypted.encryption = 2;
    EXPECT_EQ(textOf(database(recordsOfBoth(olderBook(), encrypted))), kOlderText);
}

TEST_F(MobiImporterTest, UnpacksWords) {
    const MadeBook book =
        bookOfWords("\xFF\xFE\xFD\xFC", {{"<p>", true}, {"pear ", true}, {"\xFE\xFE", false}, {"</p>", true}});
    EXPECT_EQ(textOf(book.bytes()), u"pear pear pear");
}

TEST_F(MobiImporterTest, WordsThatNeverEndAreLeftAlone) {
    EXPECT_EQ(textOf(bookOfWords("\xFF", {{"\xFF", false}}).bytes()), u"(none)") << "a word in itself";
    // Each of forty bytes, and the last is nothing.
    std::vector<std::pair<std::string, bool>> words;
    for (int i = 1; i < 16; ++i)
        words.emplace_back(std::string(40, static_cast<char>(0xFF - i)), false);
    words.emplace_back("", true);
    EXPECT_EQ(textOf(bookOfWords(std::string(100, '\xFF'), words).bytes()), u"(none)");
    // Codes of no bits.
    MadeBook book = bookOfWords("\xFF", {{"pear", true}});
    book.more[0].replace(24, 4, big(0xFF80, 4));
    EXPECT_EQ(textOf(book.bytes()), u"(none)");
    // Words beyond their record.
    book = bookOfWords("\xFF", {{"pear", true}});
    book.more[1].resize(book.more[1].size() - 1);
    EXPECT_EQ(textOf(book.bytes()), u"(none)");
}

TEST_F(MobiImporterTest, EncryptedBooksGiveWhatTheySayButNoText) {
    for (const unsigned encryption : {1U, 2U}) {
        MadeBook book = olderBook();
        book.encryption = encryption;
        const auto found = metaData("a.azw", book.bytes());
        EXPECT_EQ(stringOf(found, u"kMDItemSecurityMethod"), u"DRM Encrypted");
        EXPECT_EQ(stringOf(found, u"kMDItemTitle"), u"Pears & more");
        EXPECT_EQ(stringOf(found, u"kMDItemTextContent"), u"(none)");
    }
}

TEST_F(MobiImporterTest, PlainTextsOfThePalmAreNoMarkup) {
    MadeBook book;
    book.type = "TEXtREAd";
    book.text = {palmDoc("One <two> & three\r\n\1")};
    EXPECT_EQ(metaData("a.pdb", book.bytes()),
              (Dictionary{{u"kMDItemTitle", u"Made_book"}, {u"kMDItemTextContent", u"One <two> & three\n"}}));
    book.text = {palmDoc("<html><body><p>One &amp; two</p></body></html>")};
    EXPECT_EQ(textOf(book.bytes(), "a.pdb"), u"One & two");
    book.type = "DataOthr";
    EXPECT_FALSE(metaData("b.pdb", book.bytes()));
    EXPECT_FALSE(metaData("c.pdb", "HEADER    A PROTEIN"));
}

TEST_F(MobiImporterTest, PicturesOfPagesAreNoText) {
    MadeBook book;
    book.compression = 1;
    book.text = {"%MOP and a document of another kind"};
    EXPECT_EQ(textOf(book.bytes()), u"(none)");
}

TEST_F(MobiImporterTest, TagsOfNonsenseLengthsEndTheList) {
    const std::string whole = olderBook().bytes();
    const std::size_t publisher = whole.find("House") - 4;
    for (const std::size_t length : {0UL, 1UL, 7UL, 100000UL, 0x7FFFFFFFUL, 0xFFFFFFFFUL}) {
        std::string bytes = whole;
        bytes.replace(publisher, 4, big(length, 4));
        const auto found = metaData("a.mobi", bytes);
        ASSERT_TRUE(found) << length;
        EXPECT_NE(found->find(u"kMDItemAuthors"), nullptr) << length;
        EXPECT_EQ(found->find(u"kMDItemPublishers"), nullptr) << length;
        EXPECT_EQ(stringOf(found, u"kMDItemTitle"), u"Full name") << length;
        EXPECT_EQ(stringOf(found, u"kMDItemTextContent"), kOlderText) << length;
    }
}

TEST_F(MobiImporterTest, WhatIsCutGivesTheRecordsBefore) {
    const std::string older = olderBook().bytes();
    MadeBook twice = olderBook();
    twice.text.insert(twice.text.begin(), twice.text[0]);
    const std::string three = twice.bytes();
    const std::size_t ofTwo = three.size() - twice.text[1].size() - twice.text[2].size();
    const auto cut = metaData("a.mobi", three.substr(0, ofTwo + 1));
    EXPECT_EQ(stringOf(cut, u"kMDItemTextContent"), u"One & one, a banana");
    EXPECT_EQ(stringOf(cut, u"kMDItemTitle"), u"Pears & more");
    EXPECT_EQ(textOf(older.substr(0, older.size() - 3)), kOlderText) << "a tag that is cut is none";
    for (const std::string& whole : {older, newerBook().bytes(), database(recordsOfBoth(olderBook(), newerBook())),
                                     bookOfWords("\xFF", {{"pear", true}}).bytes()}) {
        for (std::size_t length = 0; length < whole.size(); length += length < 1200 ? 13 : 3)
            (void)mobi::informationFromBook(std::string_view(whole).substr(0, length));
    }
}

TEST_F(MobiImporterTest, ADamagedRecordEndsTheText) {
    MadeBook book = olderBook();
    book.text[1] = "\xBF\xFF";  // a repetition of what is not there
    EXPECT_EQ(textOf(book.bytes()), u"One & one, a banana");
}

TEST_F(MobiImporterTest, DamagedBooksEnd) {
    const std::string whole = database(recordsOfBoth(olderBook(), newerBook()));
    for (std::size_t i = 76; i + 4 <= whole.size(); i += 5) {
        for (const std::size_t number : {0UL, 0x7FFFFFFFUL, 0xFFFFFFFFUL}) {
            std::string bytes = whole;
            bytes.replace(i, 4, big(number, 4));
            const auto found = mobi::informationFromBook(bytes);
            EXPECT_FALSE(found && found->isEncrypted && !found->document.text.empty());
        }
    }
}

TEST_F(MobiImporterTest, MoreTextThanThereIsCostsNothing) {
    MadeBook book = olderBook();
    book.textSize = 0xFFFF;
    std::string bytes = book.bytes();
    bytes.replace(bytes.find("MOBI", 68) - 8, 2, big(0xFFFF, 2));  // as many records of text
    EXPECT_EQ(textOf(bytes), kOlderText);
}

}  // namespace
}  // namespace quarry::test
