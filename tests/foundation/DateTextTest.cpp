#include "foundation/DateText.h"
#include "foundation/Unicode.h"

#include <gtest/gtest.h>

#include <string_view>

namespace halden {
namespace {

TEST(DateText, ReadsWhatFeedsWrite) {
    constexpr double kNoon = 1479988800 - 11 * 86400.0;  // 2016-11-13T12:00:00Z
    const struct {
        std::u16string_view text;
        double seconds;
    } cases[] = {
        {u"Sun, 13 Nov 2016 12:00:00 GMT", kNoon},
        {u"Sun, 13 Nov 2016 12:00:00 +0000", kNoon},
        {u" 13 Nov 16 12:00 UT ", kNoon},
        {u"So., 13 November 2016 14:00:00 +02:00", kNoon},
        {u"\u0432\u0441, 13 Nov 2016 07:00:00 EST", kNoon},
        {u"13-Nov-2016 05:00 MST", kNoon},
        {u"Sun 13 Nov, 2016 12:00:30.5 Z", kNoon + 30.5},
        {u"13 Nov 2016 13:00:00 A", kNoon},
        {u"13 Nov 2016 02:00:00 K", kNoon - 20 * 3600},
        {u"13 Nov 2016 11:00:00 N", kNoon},
        {u"13 Nov 2016 14:00:00 GMT+0200", kNoon},
        {u"13 Nov 2016 5:00 -7", kNoon},
        {u"13 Nov 2016 13:00:00 +0100 (CET)", kNoon},
        {u"13 Nov 2016", kNoon - 43200},
        {u"1 Jan 70", 0},
        {u"1 Jan 69 00:00", 3124224000},
        {u"2016-11-13T12:00:00Z", kNoon},
        {u"2016-11-13T12:00Z", kNoon},
        {u"2016-11-13t14:00:00+02:00", kNoon},
        {u"2016-11-13T14:00:00.25+0200", kNoon + 0.25},
        {u"2016-11-13T14+02", kNoon},
        {u"2016-11-13T12Z", kNoon},
        {u"2016-318T12:00:00Z", kNoon},
        {u"2016318", kNoon - 43200},
        {u"2016-366", 1483142400},
        {u"2016-1-3 5:00:00", 1451797200},
        {u"Sun, Nov 13 2016 12:00:00 GMT", kNoon},
        {u"November 13, 2016", kNoon - 43200},
        {u"Sun Nov 13 12:00:00 2016", kNoon},
        {u"Thu Nov  3 13:00:30 CET 2016", kNoon - 10 * 86400 + 30},
        {u"mar. 13 Nov 2016 12:00:00 GMT", kNoon},  // no month
        {u"13 Nov 2016 22:00 AEST", kNoon},
        {u"2016-11-13 12:00:00", kNoon},
        {u"20161113T120000Z", kNoon},
        {u"2016-11-13", kNoon - 43200},
        {u"2016-11", kNoon - 43200 - 12 * 86400},
        {u"2016", 1451606400},
        {u"2016-12-31T23:59:60Z", 1483228800},
        {u"2016-11-12T24:00:00Z", kNoon - 43200},
    };
    for (const auto& c : cases) {
        const auto date = dateFromString(c.text);
        ASSERT_TRUE(date) << utf8FromUtf16(c.text);
        EXPECT_EQ(date->unixSeconds(), c.seconds) << utf8FromUtf16(c.text);
    }
}

TEST(DateText, RefusesWhatIsNoDate) {
    for (const std::u16string_view text : {u"",
                                           u"today",
                                           u"30 Feb 2016",
                                           u"13 Nov",
                                           u"13 Now 2016",
                                           u"13 Nov 16123",
                                           u"2016-13-01",
                                           u"2016-11-13T25:00Z",
                                           u"2016-11-13x",
                                           u"13 Nov 2016 12",
                                           u"13 Nov 2016 12:00 XYZ",
                                           u"99999999999",
                                           u"2016-11-12T24:00:01Z",
                                           u"12/31/2016",
                                           u"2016-11-12T24",
                                           u"2015-366",
                                           u"2016-000",
                                           u"2016-",
                                           u"2016-1-",
                                           u"2016-11-13T",
                                           u"mar. 13 2016x",
                                           u"Nov 13",
                                           u"Nov 13 12:00",
                                           u"Nov 13 12:00:00 XYZ 2016",
                                           u"May",
                                           u"2016-W46-7"}) {
        EXPECT_FALSE(dateFromString(text)) << utf8FromUtf16(text);
    }
}

TEST(DateText, TakesNumbersOfAnyLength) {
    EXPECT_FALSE(dateFromString(u"1 Jan 33333333333333333333"));
    EXPECT_FALSE(dateFromString(u"33333333333333333333:00:00Z"));
    const std::u16string fraction(100, u'5');  // of a second, however finely
    const auto date = dateFromString(u"2016-11-13T12:00:00." + fraction + u"Z");
    ASSERT_TRUE(date);
    EXPECT_NEAR(date->unixSeconds(), 1479038400 + 5.0 / 9, 1e-6);
}

TEST(DateText, IsShownInOneForm) {
    EXPECT_EQ(stringFromDate(Date::fromUnixSeconds(1479988800)), u"24 Nov 2016, 12:00");
    EXPECT_EQ(stringFromDate(Date::fromUnixSeconds(-1)), u"31 Dec 1969, 23:59");
    EXPECT_EQ(stringFromDate(Date::fromUnixSeconds(-60)), u"31 Dec 1969, 23:59");
    EXPECT_EQ(stringFromDate(Date::fromUnixSeconds(-0.5)), u"31 Dec 1969, 23:59");
    EXPECT_EQ(stringFromDate(Date::fromUnixSeconds(0.5)), u"1 Jan 1970, 00:00");
}

}  // namespace
}  // namespace halden
