#include "foundation/operations/Dispatcher.h"
#include "tests/foundation/operations/Answers.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace halden::operations {
namespace {

std::u16string reversed(std::u16string string) {
    return {string.rbegin(), string.rend()};
}
void clear(std::u16string& string) {
    string.clear();
}
bool isEmpty(std::u16string_view string) {
    return string.empty();
}
std::u16string nameOf(std::optional<std::u16string_view> string) {
    return std::u16string(string.value_or(u"nobody"));
}
Data sameData(const Data& data) {
    return data;
}
Range sameRange(Range range) {
    return range;
}
std::vector<std::u16string> twice(const std::vector<std::u16string>& strings) {
    std::vector<std::u16string> result = strings;
    result.insert(result.end(), strings.begin(), strings.end());
    return result;
}
Date sameDate(Date date) {
    return date;
}
double half(double number) {
    return number / 2;
}
std::u16string fail(std::u16string_view) {
    throw std::length_error("too long");
}

constexpr Operation kTable[] = {
    method<reversed>("reversed", "string"),
    method<clear>("clear", "string"),
    method<isEmpty>("isEmpty", "string"),
    method<nameOf>("nameOf", "string"),
    function<sameData>("sameData", "data"),
    function<sameRange>("sameRange", "range"),
    function<twice>("twice:", "strings"),
    function<sameDate>("sameDate", "date"),
    function<half>("half", "number"),
    function<fail>("fail", "string"),
    function<[](std::u16string_view a, std::u16string_view b) { return a == b; }>("equal::", "a b"),
};

TEST(Dispatcher, AnswersEveryKindOfValue) {
    const struct {
        std::string_view operation, arguments, result;
    } cases[] = {
        {"reversed", R"("ab\ud800")", R"("\ud800ba")"},
        {"reversed", "null", "null"},
        {"reversed", "3", "error: argument 1 is no string"},
        {"clear", R"("ab")", R"("")"},
        {"isEmpty", "null", "false"},
        {"nameOf", "null", R"("nobody")"},
        {"sameData", R"({"base64": "AP8="})", R"({"base64": "AP8="})"},
        {"sameData", R"({"base64": "AP8"})", R"({"base64": "AP8="})"},
        {"sameData", R"({"base64": "A"})", "error: argument 1 is no data"},
        {"sameData", R"({"base64": "A*P8"})", "error: argument 1 is no data"},
        {"sameRange", "[3, 4]", "[3, 4]"},
        {"sameRange", "[null, 0]", "[null, 0]"},
        {"sameRange", "[-1, 0]", "error: argument 1 is no range"},
        {"twice:", R"(["a", "b"])", R"(["a", "b", "a", "b"])"},
        {"twice:", R"(["a", 1])", "error: argument 1 is no array of strings"},
        {"sameDate", R"({"date": 1.5})", R"({"date": 1.5})"},
        {"half", "3", "1.5"},
        {"half", "NaN", "error: "},
        {"fail", R"("")", "error: too long"},
        {"equal::", R"("a")", "error: 2 arguments are needed, and there is 1"},
        {"none", "", "error: there is no operation none"},
    };
    for (const auto& c : cases) {
        const std::string result = ask(kTable, c.operation, c.arguments);
        EXPECT_EQ(c.result == "error: " ? result.substr(0, 7) : result, c.result) << c.operation << " " << c.arguments;
    }
}

TEST(Dispatcher, KeepsTheIdentifierOfACallThatFails) {
    const Dispatcher dispatcher{std::span<const Operation>(kTable)};
    EXPECT_EQ(dispatcher.answer(R"({"op": "none", "id": ["x", 1]})"),
              R"({"id": ["x", 1], "error": "there is no operation none"})");
    EXPECT_EQ(dispatcher.answer(R"({"id": null, "args": ["ab"], "op": "reversed"})"),
              R"({"id": null, "result": "ba"})");
}

TEST(Dispatcher, SaysWhatIsNoCall) {
    const Dispatcher dispatcher{std::span<const Operation>(kTable)};
    for (const std::string_view call :
         {"", "[]", "{", "{}", R"({"op": 1})", R"({"op": "reversed", "args": "ab"})", "\xFF"}) {
        EXPECT_TRUE(dispatcher.answer(call).starts_with(R"({"error": ")")) << call << dispatcher.answer(call);
    }
}

TEST(Dispatcher, RefusesTwoOperationsOfOneName) {
    const std::span<const Operation> table(kTable);
    EXPECT_THROW((Dispatcher{table, table}), std::logic_error);
}

TEST(Dispatcher, DescribesArgumentsAndResult) {
    const Dispatcher dispatcher{std::span<const Operation>(kTable)};
    EXPECT_EQ(describe(*dispatcher.find("nameOf")), "nameOf (string or null string) -> string");
    EXPECT_EQ(describe(*dispatcher.find("equal::")), "equal:: (string a, string b) -> BOOL");
}

}  // namespace
}  // namespace halden::operations
