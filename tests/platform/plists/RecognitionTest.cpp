// Each form must be told from its first bytes, since nothing else says what a file holds.
#include "tests/platform/plists/ListText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace halden {
namespace {

using namespace std::string_view_literals;
using testing::HasSubstr;

struct Recognised {
    const char* name;
    std::string_view bytes;
    Value expected;
};

class Recognition : public testing::TestWithParam<Recognised> {};

TEST_P(Recognition, ReadsTheForm) {
    EXPECT_EQ(listFrom(GetParam().bytes), GetParam().expected);
}

const Recognised kRecognised[] = {
    {"xmlDeclaration", "<?xml version='1.0'?><plist><true/></plist>", Value(true)},
    {"xmlDoctype", "<!DOCTYPE plist SYSTEM 'a'><plist><true/></plist>", Value(true)},
    {"xmlComment", "<!-- a --><plist><true/></plist>", Value(true)},
    {"xmlWithoutRoot", "<dict><key>a</key><false/></dict>", Dictionary{{u"a", false}}},
    {"xmlFalseIsNoData", "<false/>", Value(false)},
    {"xmlAfterWhiteSpace", " \n<plist><true/></plist>", Value(true)},
    {"xmlUtf8Mark", "\xEF\xBB\xBF<plist><true/></plist>", Value(true)},
    {"xmlUtf16Little", "\xFF\xFE<\0t\0r\0u\0e\0/\0>\0"sv, Value(true)},
    {"xmlUtf16BigDeclared", "\xFE\xFF\0<\0t\0r\0u\0e\0/\0>"sv, Value(true)},
    {"oldData", "<fa 15>", Value(Data::copying("\xFA\x15"))},
    {"oldEmptyData", "<>", Value(Data())},
    {"oldUtf8Mark", "\xEF\xBB\xBF(a)", Array{u"a"}},
    {"oldUtf16Big", "\xFE\xFF\0(\0\"\x20\xAC\xD8\x00\0\"\0)"sv, Array{std::u16string{0x20AC, 0xD800}}},
    {"oldUtf16Little", "\xFF\xFE(\0\"\0\xAC\x20\"\0)\0"sv, Array{u"\u20AC"}},
};

INSTANTIATE_TEST_SUITE_P(Forms, Recognition, testing::ValuesIn(kRecognised),
                         [](const auto& instance) { return instance.param.name; });

TEST(RecognitionOfOthers, SaysWhyBytesAreNoList) {
    EXPECT_EQ(complaintAbout(""), "nothing but white space (line 1, offset 0)");
    EXPECT_EQ(complaintAbout(" \n\n"), "nothing but white space (line 3, offset 3)");
    EXPECT_THAT(complaintAbout("\x7F"
                               "ELF\xFF\x80"),
                HasSubstr("no UTF-8 text"));
    EXPECT_THAT(complaintAbout("\xFE\xFF\0a\0"sv), HasSubstr("inside a unit"));
    EXPECT_THAT(complaintAbout("bplist"), HasSubstr("a version"));
    EXPECT_THAT(complaintAbout("bplist99--------------------------------------"), HasSubstr("a version"));
    EXPECT_THAT(complaintAbout("<html><body/></html>"), HasSubstr("no hexadecimal digit"));
}

TEST(RecognitionOfOthers, CountsOffsetsInBytes) {
    EXPECT_THAT(complaintAbout("\xEF\xBB\xBF(\"\xE2\x82\xAC\" !"), HasSubstr("offset 10)"));
    EXPECT_THAT(complaintAbout("\xFF\xFE(\0!\0"sv), HasSubstr("offset 4)"));
}

}  // namespace
}  // namespace halden
