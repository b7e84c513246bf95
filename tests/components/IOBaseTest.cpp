#include "IOBase.h"

#include "Failure.h"
#include "RegisterCamera.h"

namespace Zevrin {
namespace {

using IOBaseTest = RegisterCamera<IOBase>;

TEST_F(IOBaseTest, EachAddressSpaceHasItsOwnBeginning) {
    EXPECT_EQ(m_component.WriteRegister(0x614, 1, false), ERR_OK);
    EXPECT_EQ(m_component.WriteBaseRegister(0xF00618, 2), ERR_OK);
    const unsigned int third = 3;
    EXPECT_EQ(m_component.WriteRegisterBlock(0x0000, 0xF0F00614U, &third, 1), ERR_OK) << "another space";
    unsigned int values[2] = {};
    EXPECT_EQ(m_component.ReadRegisterBlock(0xFFFF, 0xF0F00614U, values, 2), ERR_OK);
    EXPECT_EQ(values[0], 1U);
    EXPECT_EQ(values[1], 2U);
}

TEST_F(IOBaseTest, RefusesWhatCannotBeAnAccessAndCountsOnlyTheCamerasFailures) {
    Have("614=0 F0FFFFC=0");
    unsigned int value = 0;
    EXPECT_EQ(m_component.ReadRegister(0x615, &value), ERR_INVALID_ADDRESS);
    EXPECT_EQ(m_component.ReadRegister(0x0F100000, &value), ERR_INVALID_ADDRESS) << "past the end by a carry";
    EXPECT_EQ(m_component.WriteRegister(0xFFFFFFFCU, 0, false), ERR_INVALID_ADDRESS);
    EXPECT_EQ(m_component.ReadRegisterBlock(0xFFFF, 0xFFFFFFFCU, &value, 2), ERR_INVALID_ADDRESS);
    EXPECT_EQ(m_component.ReadRegisterBlock(0xFFFF, 4, &value, ~0U), ERR_INVALID_ADDRESS);
    EXPECT_EQ(m_component.ReadRegisterBlock(0xFFFF, 0xFFFFFFFCU, &value, 1), ERR_OK) << "the last quadlet";
    ExpectRefused({m_component.ReadRegister(0x614, static_cast<unsigned int*>(nullptr)),
                   m_component.ReadRegisterBlock(0xFFFF, 4, &value, 0)});
    EXPECT_EQ(m_component.GetRegReadErr(), 0U);
    m_pHardware->m_before = [](const std::string& access) {
        return Failure(ERR_TIMEOUT, "%s", access.c_str());
    };
    EXPECT_TRUE(SaysPart(m_component.ReadRegister(0x614, &value), ERR_TIMEOUT, "Read"));
    EXPECT_TRUE(SaysPart(m_component.WriteRegister(0x614, 0, false), ERR_TIMEOUT, "Write"));
    EXPECT_EQ(m_component.GetRegReadErr(), 1U);
    EXPECT_EQ(m_component.GetRegWriteErr(), 1U);
    m_component.ResetRegReadErr();
    EXPECT_EQ(m_component.GetRegReadErr(), 0U);
    EXPECT_EQ(m_component.GetRegWriteErr(), 1U);

    m_component.ReleaseIO();
    TimeStamp stamp;
    for (const Error& error :
         {m_component.ReadRegister(0x614, &value), m_component.WriteRegisterBlock(0, 0, &value, 1),
          m_component.GetTimeStamp(&stamp), m_component.GetPortErr(&value)}) {
        EXPECT_EQ(error, ERR_NOT_CONNECTED) << "needs a camera";
    }
    EXPECT_EQ(m_pHardware.use_count(), 1);
}

}  // namespace
}  // namespace Zevrin
