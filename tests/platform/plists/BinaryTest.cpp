#include "tests/platform/plists/ListText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace halden {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using testing::HasSubstr;

void appendNumber(std::string& out, std::uint64_t value, unsigned size) {
    for (unsigned shift = 8 * size; shift > 0; shift -= 8)
        out += static_cast<char>(value >> (shift - 8));
}

struct Sizes {
    unsigned offset = 2;
    unsigned reference = 1;
};

/// A whole file of `objects`, the first of them on top.
std::string binaryList(const std::vector<std::string>& objects, Sizes sizes = {}) {
    std::string out = "bplist00";
    std::vector<std::size_t> offsets;
    for (const auto& object : objects) {
        offsets.push_back(out.size());
        out += object;
    }
    const std::size_t table = out.size();
    for (const std::size_t offset : offsets)
        appendNumber(out, offset, sizes.offset);
    out.append(6, '\0');
    appendNumber(out, sizes.offset, 1);
    appendNumber(out, sizes.reference, 1);
    appendNumber(out, objects.size(), 8);
    appendNumber(out, 0, 8);
    appendNumber(out, table, 8);
    return out;
}

struct Object {
    std::string_view bytes;
    Value expected;
};

TEST(BinaryReader, ReadsEveryKindOfObject) {
    const Object cases[] = {
        {"\x00"sv, Value()},
        {"\x08", false},
        {"\x09", true},
        {"\x10\xFF", 255},
        {"\x11\xFF\xFE", 65534},
        {"\x12\xFF\xFF\xFF\xFF", Value(std::int64_t{4294967295})},
        {"\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE", -2},
        {"\x14\0\0\0\0\0\0\0\0\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"sv, Value(std::numeric_limits<std::int64_t>::max())},
        {"\x14\0\0\0\0\0\0\0\0\x80\0\0\0\0\0\0\0"sv, 9223372036854775808.0},
        {"\x14\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x80\0\0\0\0\0\0\0"sv, Value(std::numeric_limits<std::int64_t>::min())},
        {"\x14\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\0\0\0\0\0\0\0\0"sv, -18446744073709551616.0},
        {"\x14\0\0\0\0\0\0\0\x01\0\0\0\0\0\0\0\0"sv, 18446744073709551616.0},
        {"\x22\x3F\xC0\0\0"sv, 1.5},
        {"\x23\xC0\x04\0\0\0\0\0\0"sv, -2.5},
        {"\x33\x41\x00\0\0\0\0\0\0"sv, Date{131072}},
        {"\x40", Data()},
        {"\x42\0\xFF"sv, Data::copying("\0\xFF"sv)},
        {"\x4F\x10\x03zzz", Data::copying("zzz")},
        {"\x50", u""},
        {"\x53"
         "abc",
         u"abc"},
        {"\x5F\x11\0\x03"
         "abc"sv,
         u"abc"},
        {"\x64\x20\xAC\xD8\x3D\xDE\0\0\0"sv, std::u16string{0x20AC, 0xD83D, 0xDE00, 0}},
        {"\x62\xDC\0\xD8\0"sv, std::u16string{0xDC00, 0xD800}},
        {"\x73\xE2\x82\xAC", u"\u20AC"},
        {"\x80\x05", Dictionary{{u"CF$UID", 5}}},
        {"\x82\x01\0\0"sv, Dictionary{{u"CF$UID", 65536}}},
        {"\xA0", Array()},
        {"\xD0", Dictionary()},
    };
    for (const auto& [bytes, expected] : cases) {
        EXPECT_EQ(listFrom(binaryList({std::string(bytes)})), expected) << testing::PrintToString(bytes);
    }
}

TEST(BinaryReader, FollowsReferencesOfEverySize) {
    for (const unsigned size : {1U, 2U, 3U, 4U, 8U}) {
        std::string array = "\xA3";
        std::string dictionary = "\xD1";
        for (const unsigned index : {1U, 2U, 2U})
            appendNumber(array, index, size);
        for (const unsigned index : {3U, 4U})
            appendNumber(dictionary, index, size);
        const auto bytes =
            binaryList({array, dictionary, "\x09", "\x51k", "\x51v"}, {.offset = size, .reference = size});
        EXPECT_EQ(listFrom(bytes), Value(Array{Dictionary{{u"k", u"v"}}, true, true})) << size;
    }
}

struct Fault {
    std::vector<std::string> objects;
    const char* complaint;
};

TEST(BinaryReader, SaysWhatIsWrongWithAnObject) {
    const Fault cases[] = {
        {{"\x01"}, "an object of an unknown kind (offset 8)"},
        {{"\x0F"}, "an object of an unknown kind"},
        {{"\x90"}, "an object of an unknown kind"},
        {{"\xC0"}, "an object of an unknown kind"},
        {{"\xF0"}, "an object of an unknown kind"},
        {{"\x32\x01\x02\x03\x04"}, "an object of an unknown kind"},
        {{"\x15"}, "an integer of an unknown size"},
        {{"\x21\x01\x02"}, "a real number of an unknown size"},
        {{"\x13\x01"}, "an object that is longer than the file (offset 9)"},
        {{"\x52\x41"}, "an object that is longer than the file"},
        {{"\x6F\x10\x05zzz"}, "an object that is longer than the file"},
        {{"\x5F\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}, "an object that is longer than the file"},
        {{"\xDF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}, "an object that is longer than the file"},
        {{"\xDF\x13\x80\x00\x00\x00\x00\x00\x00\x01"s}, "an object that is longer than the file"},
        {{"\x5F"}, "an object that is longer than the file"},
        {{"\x5F\x23\x01"}, "a length that is no integer"},
        {{"\x51\xE9"}, "a string that should be ASCII and is not"},
        {{"\x71\xE9"}, "a string that should be UTF-8 and is not"},
        {{"\x87\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}, "a UID that is too large"},
        {{"\x8F\x01"}, "an object that is longer than the file"},
        {{"\x8F" + std::string(16, '\0')}, "a UID that is too large"},
        {{"\xA1\x01"}, "a reference to no object (offset 9)"},
        {{"\xD1\x01\x01", "\x09"}, "a key that is no string (offset 9)"},
        {{"\xA1\x00"s}, "an object that contains itself"},
        {{"\xA1\x01", "\xD1\x02\x00"s, "\x51k"}, "an object that contains itself"},
    };
    for (const auto& [objects, complaint] : cases)
        EXPECT_THAT(complaintAbout(binaryList(objects)), HasSubstr(complaint)) << complaint;
}

TEST(BinaryReader, ChecksTheTrailer) {
    const std::string good = binaryList({"\x09"});
    const auto broken = [&good](std::size_t fromEnd, char byte) {
        std::string bytes = good;
        bytes[bytes.size() - fromEnd] = byte;
        return complaintAbout(bytes);
    };
    EXPECT_EQ(listFrom(good), Value(true));
    EXPECT_THAT(complaintAbout(good.substr(0, 30)), HasSubstr("too short for a trailer"));
    EXPECT_THAT(broken(26, 0), HasSubstr("a size in the trailer"));
    EXPECT_THAT(broken(26, 9), HasSubstr("a size in the trailer"));
    EXPECT_THAT(broken(25, 0), HasSubstr("a size in the trailer"));
    EXPECT_THAT(broken(24, '\x80'), HasSubstr("more objects"));
    EXPECT_THAT(broken(17, 2), HasSubstr("more objects"));
    EXPECT_THAT(broken(17, 0), HasSubstr("a top object"));
    EXPECT_THAT(broken(9, 1), HasSubstr("a top object"));
    EXPECT_THAT(broken(8, '\xFF'), HasSubstr("an offset table outside"));
    EXPECT_THAT(broken(1, 8), HasSubstr("an offset table outside"));
    EXPECT_THAT(broken(1, 12), HasSubstr("an offset table outside"));
    EXPECT_THAT(broken(33, 7), HasSubstr("an object outside"));
    EXPECT_THAT(broken(33, 9), HasSubstr("an object outside"));
    EXPECT_THAT(broken(34, 1), HasSubstr("an object outside"));
}

TEST(BinaryReader, NestsToTheLimitAndNoFurther) {
    const auto arrays = [](unsigned depth) {
        std::vector<std::string> objects;
        for (unsigned i = 1; i <= depth; ++i) {
            objects.emplace_back("\xA1");
            appendNumber(objects.back(), i, 4);
        }
        objects.emplace_back("\x09");
        return binaryList(objects, {.offset = 4, .reference = 4});
    };
    EXPECT_EQ(listFrom(arrays(512)), nested(true, 512));
    EXPECT_THAT(complaintAbout(arrays(513)), HasSubstr("nested too deeply"));
    EXPECT_THAT(complaintAbout(arrays(200000)), HasSubstr("nested too deeply"));
}

// Each array refers ten times to the next: 10^30 values in half a kilobyte.
TEST(BinaryReader, BoundsWhatSharedObjectsUnfoldTo) {
    std::vector<std::string> objects;
    for (char i = 1; i <= 30; ++i)
        objects.push_back('\xAA' + std::string(10, i));
    objects.emplace_back("\x09");
    EXPECT_THAT(complaintAbout(binaryList(objects)), HasSubstr("unfold to too much"));
}

TEST(BinaryReader, BoundsWhatASharedStringUnfoldsTo) {
    std::string array = "\xAF\x11\x10\x00"s + std::string(4096, '\1');
    const std::string text(100000, 'a');
    std::string string = "\x5F\x12";
    appendNumber(string, text.size(), 4);
    EXPECT_THAT(complaintAbout(binaryList({array, string + text}, {.offset = 4})), HasSubstr("unfold to too much"));
    array.replace(0, 4, "\xAF\x11\x00\x10"s);
    const auto value = listFrom(binaryList({array, string + text}, {.offset = 4}));
    ASSERT_TRUE(value);
    EXPECT_EQ(value->as<Array>()->size(), 16U);
}

// An array that overlaps its neighbours costs nothing in the file; reserving for it must be paid for.
TEST(BinaryReader, BoundsNestedCountsThatOverlap) {
    std::vector<std::string> objects;
    for (unsigned i = 1; i <= 500; ++i) {
        objects.emplace_back("\xAF\x12");
        appendNumber(objects.back(), 60000, 4);
        appendNumber(objects.back(), i, 2);
    }
    objects.emplace_back(120000, '\x09');
    EXPECT_THAT(complaintAbout(binaryList(objects, {.offset = 4, .reference = 2})), HasSubstr("unfold to too much"));
}

TEST(BinaryReader, DataShareTheFile) {
    const Data file = Data::copying(binaryList({"\x43xyz"}));
    const auto value = propertyListFromData(file);
    ASSERT_TRUE(value && value->is<Data>());
    EXPECT_EQ(value->as<Data>()->bytes(), file.bytes() + 9);
}

TEST(BinaryWriter, WritesTheKnownBytes) {
    const auto data =
        binaryPropertyList(Dictionary{{u"k", Array{1, u"k", u"\u20AC"}}, {u"u", Dictionary{{u"CF$UID", 300}}}});
    ASSERT_TRUE(data);
    EXPECT_EQ(data->view(), binaryList({"\xD2\x01\x02\x03\x06"s, "\x51k", "\x51u", "\xA3\x04\x01\x05", "\x10\x01",
                                        "\x61\x20\xAC", "\x81\x01\x2C"},
                                       {.offset = 1}));
}

TEST(BinaryWriter, RefusesWhatNestsTooDeeply) {
    EXPECT_TRUE(binaryPropertyList(nested(true, 512)));
    EXPECT_FALSE(binaryPropertyList(nested(true, 513)));
}

TEST(BinaryWriter, WidensReferencesAndOffsets) {
    Array array;
    for (int i = 0; i < 70000; ++i)
        array.emplace_back(i);
    const auto data = binaryPropertyList(array);
    ASSERT_TRUE(data);
    EXPECT_EQ(propertyListFromData(*data), Value(array));
}

// The reader's bound on sharing must not strike at a list that only repeats itself.
TEST(BinaryWriter, RepeatsLongStringsSoThatTheyAreReadAgain) {
    const Value value(Array(1000, std::u16string(50000, u'a')));
    const auto data = binaryPropertyList(value);
    ASSERT_TRUE(data);
    EXPECT_EQ(propertyListFromData(*data), value);
    const Value keys(Array(300000, Value(std::u16string(32, u'k'))));
    const auto shared = binaryPropertyList(keys);
    ASSERT_TRUE(shared);
    EXPECT_LT(shared->length(), 301000U);
    EXPECT_EQ(propertyListFromData(*shared), keys);
}

}  // namespace
}  // namespace halden
