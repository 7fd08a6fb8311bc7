#include "foundation/Geometry.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

TEST(Geometry, SizeStrings) {
    EXPECT_EQ(NSStringFromSize({612, 792}), u"{612, 792}");
    EXPECT_EQ(NSStringFromSize({595.276, 841.89}), u"{595.27599999999995, 841.88999999999999}");
    EXPECT_EQ(NSStringFromSize({0.5, -1}), u"{0.5, -1}");
    EXPECT_EQ(NSStringFromSize({}), u"{0, 0}");
    EXPECT_EQ(NSStringFromSize({1e20, 1e-7}), u"{1e+20, 9.9999999999999995e-08}");
}

}  // namespace
}  // namespace halden
