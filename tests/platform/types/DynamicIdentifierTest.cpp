#include "foundation/Unicode.h"
#include "platform/types/ContentTypes.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

struct Pair {
    const char16_t* extension;
    const char16_t* identifier;
};

TEST(DynamicIdentifier, IsTheKnownOne) {
    // Lengths of one to eight bytes, so that every padding appears.
    const Pair cases[] = {
        {u"d", u"dyn.ah62d4rv4ge80k"},
        {u"rs", u"dyn.ah62d4rv4ge81e62"},
        {u"chm", u"dyn.ah62d4rv4ge80g4dr"},
        {u"atom", u"dyn.ah62d4rv4ge80c7dtry"},
        {u"cmake", u"dyn.ah62d4rv4ge80g5pbrrwu"},
        {u"coffee", u"dyn.ah62d4rv4ge80g55gq3w0n"},
        {u"feature", u"dyn.ah62d4rv4ge80q3pbsv41e3k"},
        {u"gdshader", u"dyn.ah62d4rv4ge80s3dxrbu0k3pw"},
    };
    for (const auto& [extension, identifier] : cases) {
        EXPECT_EQ(dynamicIdentifierForExtension(extension), identifier);
        EXPECT_EQ(extensionOfDynamicIdentifier(identifier), std::u16string(extension));
    }
    EXPECT_EQ(dynamicIdentifierForExtension(u"CHM"), u"dyn.ah62d4rv4ge80g4dr");
    EXPECT_EQ(extensionOfDynamicIdentifier(u"DYN.AH62D4RV4GE80G4DR"), u"chm");
}

TEST(DynamicIdentifier, KeepsEveryExtension) {
    const std::u16string extensions[] = {
        u"\u00E9", u"\u6587\u66F8", u"\U0001F600", u"a=b:c,d?", {u'a', char16_t{0xDC80}, char16_t{0xDCFF}},
    };
    for (const auto& extension : extensions) {
        EXPECT_EQ(extensionOfDynamicIdentifier(dynamicIdentifierForExtension(extension)), extension)
            << utf8FromUtf16(extension);
    }
    EXPECT_EQ(dynamicIdentifierForExtension(u"\u00C9"), dynamicIdentifierForExtension(u"\u00E9"));
}

TEST(DynamicIdentifier, OthersHaveNoExtension) {
    const char16_t* const cases[] = {
        u"",
        u"dyn.a",
        u"public.data",
        u"dyn.ah62d4rv4ge",          // no more than "?0=6:1"
        u"dyn.ah62d4rv4ge8u",        // the mark without an extension
        u"dyn.ah62d4rv4gk80g4dr",    // a payload of another kind
        u"dyn.ah62d4rv4ge80m",       // padding that is not zero
        u"dyn.ah62d4rv4ge80g4dra",   // a digit too many
        u"dyn.ah62d4rv4ge80g4draa",  // an extension that ends with U+0000
        u"dyn.ah62d4rv4ge80cp5c",    // an extension with a slash
        u"dyn.ah62d4rv4ge80g4di",    // no digit: i, j, l and o are left out
        u"dyn.bh62d4rv4ge80g4dr",
        u"dyn.ah62d4rv4ge80g4d\u00E9",
    };
    for (const char16_t* identifier : cases)
        EXPECT_EQ(extensionOfDynamicIdentifier(identifier), std::nullopt) << utf8FromUtf16(identifier);
}

}  // namespace
}  // namespace halden
