#include <gtest/gtest.h>

#include "support/OwnNetwork.h"

/// For tests that use the loopback network: no camera of the machine is in their way, and they are in
/// nobody's.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests)) {
        Zevrin::TakeNetwork();
    }
    return RUN_ALL_TESTS();
}
