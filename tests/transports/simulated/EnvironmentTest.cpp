#include <gtest/gtest.h>

#include <cstdlib>

#include "SimulatedFixture.h"

namespace Zevrin {
namespace {

// Each in a process of its own (the tests are registered one by one): the environment is looked at once.
TEST(SimulatedEnvironment, MakesCamerasForTheWholeProcess) {
    ASSERT_EQ(setenv("ZEVRIN_SIMULATE", "2", 1), 0);
    for (int round = 0; round < 2; ++round) {
        SimulatedTransport transport;
        std::vector<boost::shared_ptr<HardwareInterface>> cameras;
        ASSERT_TRUE(IsOk(transport.Discover(&cameras)));
        ASSERT_EQ(cameras.size(), 2U) << "not once more with the second transport";
        EXPECT_TRUE(IsOk(cameras[1]->Open()));
        cameras[1]->Close();
    }
}

TEST(SimulatedEnvironment, ReportsWhatIsWrongWithIt) {
    ASSERT_EQ(setenv("ZEVRIN_SIMULATE", "65", 1), 0);
    SimulatedTransport transport;
    std::vector<boost::shared_ptr<HardwareInterface>> cameras;
    const Error error = transport.Discover(&cameras);
    EXPECT_EQ(error.GetType(), ERR_TRANSPORT_FAILED);
    EXPECT_EQ(error.GetCause().GetType(), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_NE(std::string(error.GetDescription()).find("ZEVRIN_SIMULATE"), std::string::npos);
}

}  // namespace
}  // namespace Zevrin
