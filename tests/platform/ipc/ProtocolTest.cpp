#include "platform/ipc/HaldenImExport.h"
#include "platform/ipc/Protocol.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

TEST(ProtocolTest, TheServiceHasItsTenOperationsInOrder) {
    struct Row {
        const char* member;
        const char* selector;
        const char* arguments;
        const char* result;
        ArgumentType resultType;
    };
    static constexpr Row kRows[] = {
        {"PDFImageRepOfFile", "PDFImageRepOfFile:", "(v)", "(av)", ArgumentType::data},
        {"ImageWithContentsOfFile", "imageWithContentsOfFile:stringFromPDF:canUseSpotlight:", "(vbb)", "(av)",
         ArgumentType::dictionary},
        {"AttributedStringWithPDF", "attributed:stringWithPDF:", "(bv)", "(av)", ArgumentType::dictionary},
        {"PosterImageForMovieWithFile", "posterImageForMovieWithFile:", "(v)", "(av)", ArgumentType::dictionary},
        {"AttributedStringWithContentsOfFile", "attributedStringWithContentsOfFile:", "(v)", "(av)",
         ArgumentType::dictionary},
        {"SearchableTextOfWebArchive", "searchableTextOfWebArchive:", "(v)", "(av)", ArgumentType::dictionary},
        {"WriteRTFDDataToFile", "writeRTFDData:toFile:", "(vv)", "(b)", ArgumentType::flag},
        {"RTFDWithHTML", "RTFDWithHTML:baseURL:allowRemoteRequest:charset:", "(vavbav)", "(av)", ArgumentType::data},
        {"MetaDataForFile", "metaDataForFile:", "(v)", "(av)", ArgumentType::dictionary},
        {"SupportsFile", "supportsFile:", "(v)", "(b)", ArgumentType::flag},
    };
    const Protocol& protocol = haldenImExportProtocol();
    EXPECT_EQ(protocol.name(), "HaldenImExport");
    EXPECT_EQ(protocol.interfaceName(), "org.quarry.HaldenImExport1");
    ASSERT_EQ(protocol.methods().size(), std::size(kRows));
    for (std::size_t i = 0; i < std::size(kRows); ++i) {
        const ProtocolMethod& method = protocol.methods()[i];
        EXPECT_EQ(method.member, kRows[i].member);
        EXPECT_EQ(method.selector, kRows[i].selector);
        EXPECT_EQ(method.argumentSignature, kRows[i].arguments);
        EXPECT_EQ(method.resultSignature, kRows[i].result);
        EXPECT_EQ(method.result.type, kRows[i].resultType);
        EXPECT_EQ(protocol.methodForMember(method.member), &method);
        EXPECT_EQ(protocol.methodForSelector(method.selector), &method);
    }
    EXPECT_EQ(protocol.methodForSelector("stillBusy"), nullptr);
}

TEST(ProtocolTest, WithoutAnnotationsTypesAreThoseOfTheWire) {
    const auto protocol = Protocol::fromIntrospection(
        "<node><interface name='a.b'><method name='M'><arg type='b' direction='in'/><arg type='v' direction='in'/>"
        "<arg type='av' direction='out'/></method></interface></node>",
        "a.b");
    ASSERT_TRUE(protocol);
    const ProtocolMethod& method = protocol->methods().at(0);
    EXPECT_EQ(method.selector, "M");
    EXPECT_EQ(method.arguments.at(0).type, ArgumentType::flag);
    EXPECT_EQ(method.arguments.at(1).type, ArgumentType::value);
    EXPECT_FALSE(method.arguments.at(1).nullable);
    EXPECT_TRUE(method.result.nullable);
}

TEST(ProtocolTest, RefusesWhatDescribesNoProtocol) {
    const auto described = [](const std::string& method) {
        return Protocol::fromIntrospection(
            "<node><interface name='a.b'><method name='M'>" + method + "</method></interface></node>", "a.b");
    };
    const std::string result = "<arg type='b' direction='out'/>";
    EXPECT_TRUE(described(result));
    EXPECT_FALSE(described("")) << "no result";
    EXPECT_FALSE(described(result + result)) << "two results";
    EXPECT_FALSE(described(result + "<arg type='i' direction='in'/>")) << "no type of a value";
    EXPECT_FALSE(
        described(result + "<arg type='v' direction='in'><annotation name='org.quarry.Type' value='cat'/></arg>"));
    EXPECT_FALSE(
        described(result + "<arg type='v' direction='in'><annotation name='org.quarry.Type' value='flag'/></arg>"));
    EXPECT_FALSE(Protocol::fromIntrospection("<node><interface name='a.b'/></node>", "a.c"));
    EXPECT_FALSE(Protocol::fromIntrospection("<node><interface name='a.b'/></node>", "")) << "no annotated one";
    EXPECT_FALSE(described("<node><interface name='b.c'><method name='N'/></interface></node>")) << "misplaced node";
    EXPECT_FALSE(Protocol::fromIntrospection("<interface name='a.b'/>", "a.b")) << "no node";
    EXPECT_FALSE(Protocol::fromIntrospection("<node", "a.b"));
    EXPECT_FALSE(Protocol::fromIntrospection("", "a.b"));
    EXPECT_FALSE(Protocol::fromIntrospection("<node>" + std::string(2 << 20, ' ') + "</node>", ""));
}

}  // namespace
}  // namespace halden
