#include "platform/process/Processors.h"

#include <gtest/gtest.h>

namespace halden {
namespace {

TEST(Processors, CountsAreSane) {
    EXPECT_EQ(numberOfBits(), 64);  // the only machines this is built for
    EXPECT_GE(numberOfCPUs(), 1);
    EXPECT_GE(numberOfAvailableCPUs(), 1);
    EXPECT_LE(numberOfAvailableCPUs(), numberOfCPUs());
}

}  // namespace
}  // namespace halden
