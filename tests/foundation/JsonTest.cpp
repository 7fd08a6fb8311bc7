#include "foundation/Json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace halden {
namespace {

struct Written {
    Value value;
    const char* json;
};

TEST(JsonWriter, ScalarsAndStrings) {
    const Written rows[] = {
        {Value(), "null"},
        {true, "true"},
        {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
        {1.0, "1.0"},
        {0.1, "0.1"},
        {1e300, "1e+300"},
        {std::nan(""), "null"},
        {std::numeric_limits<double>::infinity(), "null"},
        {u"\u00E9 \U0001F600 \"\\/\n\x01\x7F\u2028", R"("é 😀 \"\\/\n\u0001\u007f\u2028")"},
        {std::u16string(1, u'\xD800'), R"("\ud800")"},
        {std::u16string(u"\xDC00\xD800", 2), R"("\udc00\ud800")"},
        {Array{}, "[]"},
        {Array{1, u"a"}, R"([1, "a"])"},
        {Dictionary{{u"b", 1}, {u"a", Dictionary{}}}, R"({"b": 1, "a": {}})"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(jsonFromValue(row.value), row.json);
}

TEST(JsonWriter, Dates) {
    const auto iso = [](double unixSeconds) { return jsonFromValue(Date::fromUnixSeconds(unixSeconds)); };
    EXPECT_EQ(iso(0), "\"1970-01-01T00:00:00Z\"");
    EXPECT_EQ(iso(951782400), "\"2000-02-29T00:00:00Z\"");
    EXPECT_EQ(iso(-0.5), "\"1969-12-31T23:59:59.500Z\"");
    EXPECT_EQ(iso(-62135596800.0), "\"0001-01-01T00:00:00Z\"");
    EXPECT_EQ(iso(253402300799.0), "\"9999-12-31T23:59:59Z\"");
    EXPECT_EQ(iso(1e18), R"({"date": 1e+18})");
    EXPECT_EQ(jsonFromValue(Date{0}), "\"2001-01-01T00:00:00Z\"");
    EXPECT_EQ(jsonFromValue(Date{0}, {.date = JsonDate::unixSeconds}), R"({"date": 978307200.0})");
}

TEST(JsonWriter, Data) {
    EXPECT_EQ(jsonFromValue(Data::copying("%PDF-1.4")), R"({"bytes": 8, "type": "application/pdf"})");
    EXPECT_EQ(jsonFromValue(Data()), R"({"bytes": 0, "type": "application/octet-stream"})");
    const auto base64 = [](std::string_view bytes) {
        return jsonFromValue(Data::copying(bytes), {.data = JsonData::base64});
    };
    EXPECT_EQ(base64(""), R"({"base64": ""})");
    EXPECT_EQ(base64("f"), R"({"base64": "Zg=="})");
    EXPECT_EQ(base64("fo"), R"({"base64": "Zm8="})");
    EXPECT_EQ(base64("foo"), R"({"base64": "Zm9v"})");
    EXPECT_EQ(base64("\xFF\xFE\xFD"), R"({"base64": "//79"})");
}

TEST(JsonWriter, Indentation) {
    const Value value(Dictionary{{u"a", Array{1, 2}}, {u"b", Array{}}});
    EXPECT_EQ(jsonFromValue(value, {.indent = 2}), "{\n  \"a\": [\n    1,\n    2\n  ],\n  \"b\": []\n}");
}

TEST(JsonReader, ReadsBackWhatTheWriterWrites) {
    const Value value(Dictionary{{u"text", u"\xD800 \u00E9 \U0001F600\t"},
                                 {u"numbers", Array{0, -1, 1.5, 1e-300, 2.0, std::int64_t{1} << 60}},
                                 {u"nested", Array{Array{}, Dictionary{{u"", Value()}}, true, false}}});
    EXPECT_EQ(valueFromJson(jsonFromValue(value)), value);
    EXPECT_EQ(valueFromJson(jsonFromValue(value, {.indent = 4})), value);
}

TEST(JsonReader, NumbersAndEscapes) {
    EXPECT_EQ(valueFromJson("9223372036854775807"), Value(std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(valueFromJson("9223372036854775808"), Value(9223372036854775808.0));
    EXPECT_TRUE(std::signbit(*valueFromJson("-0")->as<double>()));
    EXPECT_EQ(valueFromJson("1e999"), Value(std::numeric_limits<double>::infinity()));
    EXPECT_EQ(valueFromJson("1e-999"), Value(0.0));
    EXPECT_EQ(valueFromJson(R"("\ud83d\ude00\ud83d\u0000\/")"), Value(std::u16string(u"\U0001F600\xD83D\0/", 5)));
    EXPECT_EQ(valueFromJson(R"({"a": 1, "a": 2})"), Value(Dictionary{{u"a", 2}}));
}

struct Refused {
    std::string_view json;
    std::size_t offset;
};

const Refused kRefused[] = {
    {"", 0},         {"  ", 2},    {"nul", 0},       {"01", 1},      {"1.", 2},         {"-", 1},
    {"+1", 0},       {"1e", 2},    {"\"a", 1},       {"\"\\x\"", 2}, {"\"\\u12\"", 3},  {"\"\x01\"", 1},
    {"[1,]", 3},     {"[1 2]", 3}, {"{\"a\" 1}", 5}, {"{a:1}", 1},   {"{\"a\":1,}", 7}, {"1 1", 2},
    {"\"\xFF\"", 1}, {"[", 1},     {"{", 1},         {"\"\\", 2},    {"NaN", 0},        {"'a'", 0},
};

TEST(JsonReader, RefusesWhatIsNoJsonAndSaysWhere) {
    for (const auto& row : kRefused) {
        JsonError error;
        EXPECT_FALSE(valueFromJson(row.json, &error)) << row.json;
        EXPECT_EQ(error.offset, row.offset) << row.json << ": " << error.message;
        EXPECT_FALSE(error.message.empty());
    }
}

TEST(JsonReader, DepthIsBounded) {
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_TRUE(valueFromJson(nested(512)));
    EXPECT_FALSE(valueFromJson(nested(100000)));
}

}  // namespace
}  // namespace halden
