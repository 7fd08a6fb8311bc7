#include "richtext/RtfPicture.h"
#include "tests/richtext/RtfTesting.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

constexpr std::string_view kPng("\x89PNG\r\n\x1A\n....", 12);

std::string hexOf(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string hex;
    for (const char byte : bytes) {
        hex += kDigits[static_cast<std::uint8_t>(byte) >> 4];
        hex += kDigits[byte & 15];
    }
    return hex;
}

std::optional<RtfPictureFile> fileOf(RtfPicture picture, std::string_view bytes) {
    picture.appendBytes(bytes);
    return picture.takeFile();
}

TEST(RtfPicture, JoinsDigitsAndBinaryRuns) {
    RtfPicture picture;
    picture.kind = RtfPictureKind::png;
    picture.appendHex("8");
    picture.appendHex("9 50\r\n4E");
    picture.appendHex("zz47");
    picture.appendBytes("\r\n\x1A\n");
    EXPECT_EQ(picture.takeFile().value().data.view(), "\x89PNG\r\n\x1A\n");
    EXPECT_FALSE(picture.takeFile());  // taken
}

TEST(RtfPicture, TellsTheTypeByTheBytesFirst) {
    RtfPicture picture;
    EXPECT_FALSE(fileOf(picture, "some bytes"));
    EXPECT_EQ(fileOf(picture, kPng).value().type, u"public.png");
    picture.kind = RtfPictureKind::png;
    EXPECT_EQ(fileOf(picture, "\xFF\xD8\xFF\xE0").value().extension, u"jpg");
    EXPECT_EQ(fileOf(picture, std::string("\1\0\0\0", 4) + std::string(36, ' ') + " EMF").value().extension, u"emf");
    EXPECT_EQ(fileOf(picture, "anything").value().extension, u"png");
}

TEST(RtfPicture, GivesMetafilesTheirHeader) {
    RtfPicture picture;
    picture.kind = RtfPictureKind::wmf;
    picture.goalWidth = 1440;
    picture.goalHeight = 720;
    const RtfPictureFile file = fileOf(picture, std::string("\1\0\x09\0", 4)).value();
    EXPECT_EQ(file.data.view(),
              std::string("\xD7\xCD\xC6\x9A\0\0\0\0\0\0\xA0\5\xD0\2\xA0\5\0\0\0\0\xC1\x55\1\0\x09\0", 26));
    EXPECT_EQ(file.size, (Size{72, 36}));
    // One that has its header keeps it.
    EXPECT_EQ(fileOf(picture, "\xD7\xCD\xC6\x9A...").value().data.length(), 7u);
}

TEST(RtfPicture, GivesBitmapsTheirFileHeader) {
    RtfPicture picture;
    picture.kind = RtfPictureKind::dib;
    // A header of 40 bytes for 8 bits a pixel with 2 colours, the palette, one row.
    std::string dib("\x28\0\0\0\1\0\0\0\1\0\0\0\1\0\x08\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\2\0\0\0\0\0\0\0", 40);
    dib += std::string(8, '\0') + "\1\0\0\0";
    const RtfPictureFile file = fileOf(picture, dib).value();
    EXPECT_EQ(file.data.length(), 14 + dib.size());
    EXPECT_EQ(file.data.view().substr(0, 2), "BM");
    EXPECT_EQ(file.data.bytes()[10], 14 + 40 + 8);
    EXPECT_EQ(file.extension, u"bmp");
    for (const std::string_view bad : {"", "\x28", "abcdefghijklmnopq"})
        EXPECT_FALSE(fileOf(picture, bad)) << bad;
    EXPECT_FALSE(fileOf(picture, dib.substr(0, 44)));  // cut within the palette
}

TEST(RtfPicture, RewritesDeviceDependentBitmaps) {
    RtfPicture picture;
    picture.kind = RtfPictureKind::bitmap;
    picture.width = 9;
    picture.height = 2;
    picture.rowBytes = 2;
    const RtfPictureFile file = fileOf(picture, std::string("\xAA\x80\x55\0", 4)).value();
    ASSERT_EQ(file.data.length(), 14u + 40 + 8 + 8);
    EXPECT_EQ(file.data.view().substr(62), std::string("\xAA\x80\0\0\x55\0\0\0", 8));
    EXPECT_FALSE(fileOf(picture, "\xAA"));  // rows are missing
    picture.bitsPerPixel = 8;
    EXPECT_FALSE(fileOf(picture, std::string(100, 'x')));  // its palette is nowhere
    picture.bitsPerPixel = 24;
    picture.width = INT32_MAX;
    EXPECT_FALSE(fileOf(picture, std::string(100, 'x')));
}

TEST(RtfPicture, HasTheSizeThatTheDocumentStates) {
    RtfPicture picture;
    picture.kind = RtfPictureKind::png;
    picture.goalWidth = 2000;
    picture.goalHeight = 1000;
    picture.scaleX = 50;
    EXPECT_EQ(fileOf(picture, kPng).value().size, (Size{50, 50}));
    picture.goalWidth = -5;
    EXPECT_EQ(fileOf(picture, kPng).value().size, (Size{0, 50}));
    picture = {};
    picture.kind = RtfPictureKind::wmf;
    picture.width = 2540;
    picture.height = 1270;
    EXPECT_EQ(fileOf(picture, "wmf").value().size, (Size{72, 36}));
}

TEST(RtfPicture, StandsInTheText) {
    const std::string png = hexOf(kPng);
    const RtfContent content = testing::contentOf(
        "a{\\pict{\\*\\blipuid 00ff}\\pngblip\\picwgoal200\\pichgoal100 " + png + "}b{\\*\\shppict{\\pict\\pngblip " +
        png + "}}{\\nonshppict{\\pict\\wmetafile8 0100}}c{\\pict\\pngblip\\bin12 " + std::string(kPng) +
        "}d{\\v{\\pict " + png + "}}{\\shp{\\*\\shpinst{\\sp{\\sn pib}{\\sv{\\pict\\pngblip " + png +
        "}}}}}{\\header{\\pict " + png + "}}");
    EXPECT_EQ(content.text, u"a\uFFFCb\uFFFCc\uFFFCd\uFFFC");
    ASSERT_EQ(content.attachments.size(), 4u);
    for (const RtfAttachment& attachment : content.attachments) {
        EXPECT_EQ(content.text[attachment.position], u'\uFFFC');
        EXPECT_EQ(attachment.picture.value().data.view(), kPng);
    }
    EXPECT_EQ(content.attachments[0].picture->size, (Size{10, 5}));
}

TEST(RtfAttachments, AreNamedAndReplaceTheirPlaceholder) {
    const RtfContent content = testing::contentOf(
        "a{{\\NeXTGraphic Pasted Graphic 1.png \\width3200 \\height1240 \\appleembedtype0\r\n}\xAC}b"
        "{{\\NeXTGraphic \\'e9\\u8217?.eps\r\n}\\'ac}c{\\NeXTGraphic1867 old.eps \\width10}d{{\\NeXTGraphic x.png}}e"
        "{\\NeXTGraphic \\width10}f");
    EXPECT_EQ(content.text, u"a\uFFFCb\uFFFCc\uFFFC\uFFFCef");
    ASSERT_EQ(content.attachments.size(), 4u);
    EXPECT_EQ(content.attachments[0].name, u"Pasted Graphic 1.png");
    EXPECT_EQ(content.attachments[0].width, 3200);
    EXPECT_EQ(content.attachments[0].height, 1240);
    EXPECT_EQ(content.attachments[1].name, u"é\u2019.eps");
    EXPECT_EQ(content.attachments[2].name, u"old.eps");
    EXPECT_EQ(content.attachments[3].name, u"x.png");
}

}  // namespace
}  // namespace halden
