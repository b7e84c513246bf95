#include "MemoryChannel.h"

#include "RegisterCamera.h"

namespace Zevrin {
namespace {

constexpr unsigned int kSaveRegister = 0xF0F00618U;

class MemoryChannelTest : public RegisterCamera<MemoryChannel> {
  protected:
    MemoryChannelTest() {
        SetRegisters({{0x400, 0x00000002}, {0x624, 0x10000000}});
        m_pHardware->m_onWrite = [](unsigned int low, unsigned int value) {
            return low == kSaveRegister ? 0 : value;
        };
    }
};

TEST_F(MemoryChannelTest, SavesAndRestores) {
    unsigned int channel = 0;
    EXPECT_EQ(m_component.GetMemoryChannelInfo(&channel), ERR_OK);
    EXPECT_EQ(channel, 2U);
    EXPECT_EQ(m_component.GetMemoryChannel(&channel), ERR_OK);
    EXPECT_EQ(channel, 1U);
    unsigned int saved = 0;
    m_pHardware->m_onWrite = [&](unsigned int low, unsigned int value) {
        saved = low == kSaveRegister ? value : saved;
        return low == kSaveRegister ? 0x00000001U : value;  // only the first bit says that it is not done
    };
    EXPECT_EQ(m_component.SaveToMemoryChannel(2), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x620), 0x20000000U);
    EXPECT_EQ(saved, 0x80000000U);
    EXPECT_EQ(m_component.RestoreFromMemoryChannel(2), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x624), 0x20000000U);
    EXPECT_EQ(m_component.RestoreFromMemoryChannel(0), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x624), 0U);
}

TEST_F(MemoryChannelTest, RefusesWithTheRange) {
    const ErrorType kType = ERR_VALUE_OUT_OF_RANGE;
    EXPECT_TRUE(SaysPart(m_component.SaveToMemoryChannel(0), kType, "1 to 2 (0 holds the factory's)"));
    EXPECT_TRUE(SaysPart(m_component.SaveToMemoryChannel(3), kType, "1 to 2"));
    EXPECT_TRUE(SaysPart(m_component.RestoreFromMemoryChannel(3), kType, "to 2"));
    SetRegisters({{0x400, 0xFFFFFFF0U}});
    EXPECT_EQ(m_component.SaveToMemoryChannel(1), ERR_FEATURE_ABSENT);
    EXPECT_EQ(m_component.RestoreFromMemoryChannel(0), ERR_OK) << "the factory's are always there";
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
