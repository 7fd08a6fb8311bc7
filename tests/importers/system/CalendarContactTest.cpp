#include "tests/importers/system/SystemBundles.h"

namespace quarry::test {
namespace {

using halden::Array;
using halden::Date;
using halden::Dictionary;

using CalendarContactTest = SystemBundles;

std::string calendar(const std::string& components) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nX-WR-CALNAME:Work\r\n" + components + "END:VCALENDAR\r\n";
}

TEST_F(CalendarContactTest, ATaskGivesWhatItSays) {
    const std::string task =
        "BEGIN:VTODO\r\nSUMMARY:Buy\\, then\r\n  cook\r\nDUE:20260101T000000Z\r\nCREATED:20251231T000000Z\r\n"
        "ATTENDEE;CN=\"Doe: Jane\";ROLE=CHAIR:MAILTO:jane@example.org\r\nORGANIZER:mailto:boss@example.org\r\n"
        "COMMENT:c\r\nDESCRIPTION:one\\ntwo\r\nLOCATION:Here\r\n"
        "BEGIN:VALARM\r\nDESCRIPTION:Ring\r\nEND:VALARM\r\nEND:VTODO\r\n";
    EXPECT_EQ(metaData("a.ics", calendar(task)),
              (Dictionary{{u"kMDItemTitle", u"Buy, then cook"},
                          {u"kMDItemDueDate", Date::fromUnixSeconds(1767225600)},
                          {u"kMDItemContentCreationDate", Date::fromUnixSeconds(1767139200)},
                          {u"kMDItemComment", u"c"},
                          {u"kMDItemDescription", u"one\ntwo"},
                          {u"kMDItemParticipants", Array{u"Doe: Jane", u"boss@example.org"}},
                          {u"kMDItemEmailAddresses", Array{u"jane@example.org", u"boss@example.org"}},
                          {u"kMDItemTextContent", u"Buy, then cook\nc\none\ntwo\nHere\n"}}));
}

TEST_F(CalendarContactTest, ManyEventsHaveTheNameOfTheirCalendar) {
    const std::string event = "BEGIN:VEVENT\r\nSUMMARY:E\r\nCREATED:20251231T000000Z\r\nEND:VEVENT\r\n";
    EXPECT_EQ(metaData("a.ics", calendar(event + event)),
              (Dictionary{{u"kMDItemTitle", u"Work"}, {u"kMDItemTextContent", u"E\nE\n"}}));
    EXPECT_FALSE(metaData("b.ics", event + "no calendar"));
    EXPECT_FALSE(metaData("c.ics", ""));
}

TEST_F(CalendarContactTest, TimesOfZonesAreNotGuessed) {
    const auto due = [&](const std::string& line) {
        const auto result = metaData("a.ics", calendar("BEGIN:VTODO\nSUMMARY:s\n" + line + "\nEND:VTODO\n"));
        return result && result->contains(u"kMDItemDueDate");
    };
    EXPECT_TRUE(due("DUE;VALUE=DATE:20260101"));
    EXPECT_FALSE(due("DUE;TZID=Europe/Berlin:20260101T000000"));
    EXPECT_FALSE(due("DUE:20260101T000000"));
    EXPECT_FALSE(due("DUE:2026013Z"));
}

TEST_F(CalendarContactTest, TheOldestFormIsQuotedPrintable) {
    const std::string event =
        "BEGIN:VEVENT\r\nSUMMARY;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:Caf=C3=\r\n=A9\r\nEND:VEVENT\r\n";
    EXPECT_EQ(stringOf(metaData("a.vcs", calendar(event)), u"kMDItemTextContent"), u"Caf\u00E9\n");
}

TEST_F(CalendarContactTest, ACardGivesNameAddressesAndText) {
    const std::string card =
        "BEGIN:VCARD\nVERSION:3.0\nN:Doe;Jane;;;\nFN:Jane Doe\nitem1.EMAIL;TYPE=work:j@example.org\nTEL;CELL:+1 2\n"
        "TEL;VALUE=uri:tel:+3\nIMPP;TYPE=x:xmpp:j@example.org\nORG:Acme\\; Sons;Sales\nCATEGORIES:a,b\\,c\n"
        "ADR;TYPE=home:;;Street 1;Town;;123;Land\nNOTE:A\\nB\nPHOTO;ENCODING=b:" +
        std::string(3000, 'A') + "\nEND:VCARD\n";
    EXPECT_EQ(metaData("a.vcf", card),
              (Dictionary{{u"kMDItemTitle", u"Jane Doe"},
                          {u"kMDItemCity", u"Town"},
                          {u"kMDItemCountry", u"Land"},
                          {u"kMDItemContactKeywords", Array{u"a", u"b,c"}},
                          {u"kMDItemEmailAddresses", Array{u"j@example.org"}},
                          {u"kMDItemPhoneNumbers", Array{u"+1 2", u"+3"}},
                          {u"kMDItemInstantMessageAddresses", Array{u"xmpp:j@example.org"}},
                          {u"kMDItemOrganizations", Array{u"Acme; Sons"}},
                          {u"kMDItemTextContent",
                           u"Jane Doe\nj@example.org\n+1 2\ntel:+3\nxmpp:j@example.org\nAcme; Sons\nSales\na,b,c\n"
                           u"Street 1 Town 123 Land\nA\nB\n"}}));
    const auto two = metaData("b.vcf", card + card);
    ASSERT_TRUE(two);
    EXPECT_FALSE(two->contains(u"kMDItemTitle"));
    EXPECT_FALSE(metaData("c.vcf", "no card"));
}

TEST_F(CalendarContactTest, BytesThatAreNoUtf8AreLatin1AndHugeLinesArePassedOver) {
    EXPECT_EQ(stringOf(metaData("a.vcf", "BEGIN:VCARD\nFN:J\xFCrg\nEND:VCARD\n"), u"kMDItemTitle"), u"J\u00FCrg");
    EXPECT_EQ(stringOf(metaData("b.vcf", "BEGIN:VCARD\nNOTE:" + std::string(2U << 20, 'x') + "\nFN:J\n"),
                       u"kMDItemTextContent"),
              u"J\n");
}

}  // namespace
}  // namespace quarry::test
