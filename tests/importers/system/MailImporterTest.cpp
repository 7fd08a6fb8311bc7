#include "tests/importers/system/SystemBundles.h"

namespace quarry::test {
namespace {

using halden::Array;
using halden::Date;
using halden::Dictionary;

using MailImporterTest = SystemBundles;

constexpr std::string_view kSimple =
    "From: =?utf-8?Q?J=C3=BCrg?= <j@example.org>\r\n"
    "To: Ann <ann@example.org>, bob@example.org\r\n"
    "Cc: Team: Cy <cy@example.org>;\r\n"
    "Subject: =?iso-8859-1?Q?Caf=E9?=\r\n"
    "Date: Thu, 01 Jan 2026 01:00:00 +0100\r\n"
    "Message-ID: <1@example.org>\r\n"
    "Content-Type: text/plain; charset=iso-8859-1\r\n"
    "Content-Transfer-Encoding: quoted-printable\r\n"
    "\r\n"
    "Gr=FC=DFe\x01\r\n";

Dictionary simpleExpected() {
    return Dictionary{
        {u"kMDItemTitle", u"Caf\u00E9"},
        {u"kMDItemSubject", u"Caf\u00E9"},
        {u"kMDItemIdentifier", u"1@example.org"},
        {u"kMDItemContentCreationDate", Date::fromUnixSeconds(1767225600)},
        {u"kMDItemAuthors", Array{u"J\u00FCrg"}},
        {u"kMDItemAuthorEmailAddresses", Array{u"j@example.org"}},
        {u"kMDItemRecipients", Array{u"Ann", u"bob@example.org", u"Cy"}},
        {u"kMDItemRecipientEmailAddresses", Array{u"ann@example.org", u"bob@example.org", u"cy@example.org"}},
        {u"kMDItemTextContent", u"Gr\u00FC\u00DFe\n"}};
}

TEST_F(MailImporterTest, AMessageGivesPeopleSubjectDateAndText) {
    EXPECT_EQ(metaData("a.eml", kSimple), simpleExpected());
}

TEST_F(MailImporterTest, AMessageWithItsListGivesTheSameAndNothingOfTheList) {
    const std::string emlx =
        std::to_string(kSimple.size()) + "       \n" + std::string(kSimple) + "<?xml version=\"1.0\"?>";
    EXPECT_EQ(metaData("a.emlx", emlx), simpleExpected());
    EXPECT_FALSE(metaData("b.emlx", kSimple));
    EXPECT_EQ(metaData("c.emlx", "99999999\n" + std::string(kSimple)), simpleExpected());
    EXPECT_FALSE(metaData("d.emlx", "99999999999999999999999999\n" + std::string(kSimple)));
}

TEST_F(MailImporterTest, OfAMailboxEverybodyAndEveryText) {
    const std::string one =
        "From a@example.org Thu Jan  1 00:00:00 2026\nFrom: a@example.org\nSubject: One\n\nFirst\nFrom here\n\n";
    const std::string two =
        "From b@example.org Thu Jan  1 00:00:00 2026\nFrom: a@example.org\nTo: c@example.org\nSubject: Two\n\nSecond\n";
    const auto both = metaData("a.mbox", one + two);
    EXPECT_EQ(both, (Dictionary{{u"kMDItemAuthors", Array{u"a@example.org"}},
                                {u"kMDItemAuthorEmailAddresses", Array{u"a@example.org"}},
                                {u"kMDItemRecipients", Array{u"c@example.org"}},
                                {u"kMDItemRecipientEmailAddresses", Array{u"c@example.org"}},
                                {u"kMDItemTextContent", u"One\nFirst\nFrom here\n\n\nTwo\nSecond\n"}}));
    EXPECT_EQ(stringOf(metaData("b.mbox", two), u"kMDItemSubject"), u"Two");
    EXPECT_FALSE(metaData("c.mbox", "no mailbox"));
    EXPECT_FALSE(metaData("d.mbox", "From "));
}

TEST_F(MailImporterTest, OfAlternativesThePlainOneAndOfPagesTheText) {
    const std::string html =
        "Content-Type: text/html\r\n\r\n<html><head><meta charset=utf-8><style>p{}</style></head><body><p>Rich &amp; "
        "\xC3\xA4<script>x</script></body></html>\r\n";
    const std::string head =
        "Subject: s\r\nMIME-Version: 1.0\r\nContent-Type: multipart/alternative; boundary=b\r\n\r\n";
    const std::string plain = "Content-Type: text/plain\r\n\r\nPlain\r\n";
    const auto body = [](const std::string& part) { return "--b\r\n" + part; };
    EXPECT_EQ(stringOf(metaData("a.eml", head + body(plain) + body(html) + "--b--\r\n"), u"kMDItemTextContent"),
              u"Plain");
    EXPECT_EQ(stringOf(metaData("b.eml", head + body(html) + "--b--\r\n"), u"kMDItemTextContent"), u"Rich & \u00E4");
    EXPECT_EQ(stringOf(metaData("c.eml", "Subject: s\r\n" + html), u"kMDItemTextContent"), u"Rich & \u00E4");
}

TEST_F(MailImporterTest, AttachedFilesAreLeftOutAndMessagesInsideAreRead) {
    const auto result = metaData("a.eml",
                                 "Subject: s\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
                                 "--b\r\nContent-Type: text/plain\r\nContent-Disposition: attachment\r\n\r\nFile\r\n"
                                 "--b\r\nContent-Type: image/png\r\n\r\nbytes\r\n"
                                 "--b\r\nContent-Type: message/rfc822\r\n\r\nSubject: Inner\r\n\r\nDeep\r\n"
                                 "--b--\r\n");
    EXPECT_EQ(stringOf(result, u"kMDItemTextContent"), u"Inner\nDeep");
}

TEST_F(MailImporterTest, EncryptedMessagesHaveNoText) {
    const auto result = metaData("a.eml",
                                 "Subject: s\r\nContent-Type: multipart/encrypted; "
                                 "protocol=\"application/pgp-encrypted\"; boundary=b\r\n\r\n"
                                 "--b\r\nContent-Type: application/pgp-encrypted\r\n\r\nVersion: 1\r\n"
                                 "--b\r\nContent-Type: application/octet-stream\r\n\r\n-----BEGIN PGP MESSAGE-----\r\n"
                                 "--b--\r\n");
    EXPECT_EQ(stringOf(result, u"kMDItemTitle"), u"s");
    EXPECT_EQ(stringOf(result, u"kMDItemTextContent"), u"(none)");
}

TEST_F(MailImporterTest, HostileMessagesEnd) {
    EXPECT_FALSE(metaData("a.eml", ""));
    EXPECT_FALSE(metaData("b.eml", std::string(1000, '\0')));
    std::string nested = "Subject: s\r\n";
    for (int i = 0; i < 3000; ++i)
        nested += "Content-Type: multipart/mixed; boundary=b" + std::to_string(i) + "\r\n\r\n--b" + std::to_string(i) +
                  "\r\n";
    EXPECT_EQ(stringOf(metaData("c.eml", nested), u"kMDItemTitle"), u"s");
    std::string many = "Subject: s\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (int i = 0; i < 5000; ++i)
        many += "--b\r\n\r\nx\r\n";
    EXPECT_LT(stringOf(metaData("d.eml", many), u"kMDItemTextContent").size(), 2100U);
}

}  // namespace
}  // namespace quarry::test
