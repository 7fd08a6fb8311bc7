#include "importers/system/support/CleanText.h"
#include "importers/system/support/FileBytes.h"
#include "importers/system/support/XmlEvents.h"

#include <gtest/gtest.h>

namespace quarry::support {
namespace {

TEST(CleanTextTest, KeepsOfControlCharactersLineFeedsAndTabsOnly) {
    EXPECT_EQ(cleanText("a\r\nb\rc\fd\ve\tf\n"), "a\nb\nc\nd\ne\tf\n");
    EXPECT_EQ(cleanText(std::string_view("a\0\x01\x1F\x7F z", 7)), "a z");
    EXPECT_EQ(cleanText("a\xC2\x85"
                        "b\xC2\x9F"
                        "c\xC2\xA0"
                        "d\xC2"),
              "a\nbc\xC2\xA0"
              "d\xC2");
    EXPECT_EQ(cleanText("\r"), "\n");
}

TEST(CleanTextTest, LinesHaveSingleSpacesAndNoneAtTheEnds) {
    EXPECT_EQ(cleanLine(" a \r\n\t b\xC2\xA0 c\xC2\xA0"), "a b c");
    EXPECT_EQ(cleanLine(" \n"), "");
    EXPECT_EQ(cleanList(" one, two three;;four ,"), (std::vector<std::string>{"one", "two three", "four"}));
}

TEST(CleanTextTest, WhatIsNoCharacterIsReplaced) {
    std::string text;
    for (const char32_t character : {U'a', U'\u00E4', U'\u20AC', U'\U0001F600', char32_t{0xD800}, char32_t{0x110000}})
        appendUtf8(text, character);
    EXPECT_EQ(text, "a\u00E4\u20AC\U0001F600\uFFFD\uFFFD");
}

std::string eventsOf(std::string_view xml, bool* isWell = nullptr) {
    std::string events;
    const bool whole =
        readXml(xml, {.start =
                          [&](const XmlElement& element) {
                              events += "<" + std::string(element.space()) + "|" + std::string(element.localName());
                              if (const auto a = element.attribute("a")) events += "=" + std::string(*a);
                              return element.localName() != "stop";
                          },
                      .end =
                          [&](std::string_view) {
                              events += ">";
                              return true;
                          },
                      .text =
                          [&](std::string_view text) {
                              events += text;
                              return true;
                          }});
    if (isWell != nullptr) *isWell = whole;
    return events;
}

TEST(XmlEventsTest, TellsElementsAttributesAndText) {
    bool isWell = false;
    EXPECT_EQ(eventsOf(R"(<x xmlns:n="urn:n"><n:y n:a="1">t&amp;<![CDATA[<]]></n:y></x>)", &isWell),
              "<|x<urn:n|y=1t&<>>");
    EXPECT_TRUE(isWell);
}

TEST(XmlEventsTest, EndsAtErrorsAndHandlersAndKeepsWhatWasBefore) {
    bool isWell = true;
    EXPECT_EQ(eventsOf("<x>a</y>", &isWell), "<|xa");
    EXPECT_FALSE(isWell);
    EXPECT_EQ(eventsOf("<x><stop/>a</x>", &isWell), "<|x<|stop>");  // an empty element's end still is told
    EXPECT_FALSE(isWell);
}

TEST(XmlEventsTest, EntityBombsExternalEntitiesAndDepthEndIt) {
    bool isWell = true;
    EXPECT_EQ(eventsOf("<!DOCTYPE x [<!ENTITY a 'aa'><!ENTITY b '&a;&a;'>]><x>&b;</x>", &isWell), "");
    EXPECT_FALSE(isWell);
    EXPECT_EQ(eventsOf("<!DOCTYPE x [<!ENTITY a SYSTEM 'file:///etc/passwd'>]><x>&a;</x>"), "");
    EXPECT_EQ(eventsOf("<!DOCTYPE x SYSTEM 'http://localhost:1/x.dtd'><x>a</x>", &isWell), "<|xa>");
    EXPECT_TRUE(isWell);
    std::string deep;
    for (int i = 0; i < kMaxXmlDepth + 1; ++i)
        deep += "<x>";
    EXPECT_EQ(eventsOf(deep, &isWell).size(), 3U * kMaxXmlDepth);
    EXPECT_FALSE(isWell);
}

TEST(FileBytesTest, GivesTheBeginningOfARegularFile) {
    const std::string file = QUARRY_SOURCE_DIR "/LICENSE";
    EXPECT_EQ(bytesOfFile(file.c_str(), 5)->size(), 5U);
    EXPECT_FALSE(bytesOfFile(QUARRY_SOURCE_DIR, 5));
    EXPECT_FALSE(bytesOfFile("/nowhere", 5));
}

}  // namespace
}  // namespace quarry::support
