#include "foundation/operations/Operations.h"
#include "tests/foundation/operations/Answers.h"

#include <gtest/gtest.h>

#include <string>

namespace halden::operations {
namespace {

TEST(DataOperations, HaveTheirShapes) {
    const auto data = [](std::string_view operation, const std::string& arguments) {
        return ask(dataOperations(), operation, arguments);
    };
    constexpr std::string_view kHello = R"({"base64": "aGVsbG8="})";
    const std::string zlib = data("dataByDeflatingData:", std::string(kHello));
    EXPECT_EQ(data("dataByInflatingData:", zlib), kHello);
    EXPECT_EQ(data("dataByInflatingBytes:length:",
                   data("dataByGzippingBytes:length:compressionLevel:", std::string(kHello) + ", 9")),
              kHello);
    EXPECT_EQ(data("dataByCompressingBytes:length:compressionLevel:useGzip:", std::string(kHello) + ", -1, false"),
              zlib);
    EXPECT_EQ(data("dataByGzippingData:compressionLevel:", std::string(kHello) + ", 0"),
              data("dataByGzippingData:compressionLevel:", std::string(kHello) + ", 1"));
    EXPECT_EQ(data("setDataByInflatingBytes:length:", std::string(kHello)),
              R"({"result": false, "data": {"base64": ""}})");
    EXPECT_EQ(data("setDataByInflating:", zlib), R"({"result": true, "data": {"base64": "aGVsbG8="}})");
    EXPECT_EQ(data("dataByInflatingData:", "null"), "null");
    EXPECT_EQ(data("dataByGzippingData:", R"({"base64": ""})"), "null");
}

}  // namespace
}  // namespace halden::operations
