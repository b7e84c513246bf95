#include "MemoryChannel.h"

#include "RegisterCamera.h"

namespace Zevrin {
namespace {

class MemoryChannelTest : public RegisterCamera<MemoryChannel> {
  protected:
    MemoryChannelTest() : RegisterCamera("400=2 618=0 620=0 624=10000000") {
        m_pHardware->m_onWrite = [](unsigned int low, unsigned int value) {
            // Only the first bit says that saving is not done.
            return low == 0xF0F00618U && value == 0x80000000U ? 1 : value;
        };
    }
};

TEST_F(MemoryChannelTest, SavesAndRestoresWithinTheRange) {
    unsigned int channel = 0;
    EXPECT_EQ(m_component.GetMemoryChannelInfo(&channel), ERR_OK);
    EXPECT_EQ(channel, 2U);
    EXPECT_EQ(m_component.GetMemoryChannel(&channel), ERR_OK);
    EXPECT_EQ(channel, 1U);
    ExpectOutcomes<unsigned int>(
        {{"", 2, ERR_OK, "620=20000000 618=1"},
         {"", 0, ERR_VALUE_OUT_OF_RANGE, "1 to 2 (0 holds the factory's)"},
         {"", 3, ERR_VALUE_OUT_OF_RANGE, "1 to 2"},
         {"400=FFFFFFF0", 1, ERR_FEATURE_ABSENT, "no memory channel to save to"}},
        [&](unsigned int number) { return m_component.SaveToMemoryChannel(number); });
    ExpectOutcomes<unsigned int>(
        {{"", 2, ERR_OK, "624=20000000"},
         {"", 3, ERR_VALUE_OUT_OF_RANGE, "to 2"},
         {"400=FFFFFFF0", 0, ERR_OK, "624=0"}},  // the factory's are always there
        [&](unsigned int number) { return m_component.RestoreFromMemoryChannel(number); });
    ExpectRefused({m_component.GetMemoryChannel(nullptr), m_component.GetMemoryChannelInfo(nullptr)});
}

TEST_F(MemoryChannelTest, DoesNotWaitForEverForTheCamera) {
    MemoryChannel impatient(20);
    impatient.SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U);
    m_pHardware->m_onWrite = nullptr;
    const Error error = impatient.SaveToMemoryChannel(1);
    EXPECT_EQ(error, ERR_MEMORY_CHANNEL_FAILED);
    EXPECT_EQ(error.GetCause(), ERR_TIMEOUT);
}

}  // namespace
}  // namespace Zevrin
