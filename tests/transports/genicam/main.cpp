#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "GigeFixture.h"
#include "support/OwnNetwork.h"

/// A second program that controls the camera: the tests start themselves with this argument.
int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], Zevrin::kHoldControl) == 0) {
        return Zevrin::HoldControl();
    }
    testing::InitGoogleTest(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests)) {
        Zevrin::TakeNetwork();
    }
    return RUN_ALL_TESTS();
}
