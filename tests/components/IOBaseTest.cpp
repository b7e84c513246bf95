#include "IOBase.h"

#include <gtest/gtest.h>

#include <boost/smart_ptr/make_shared.hpp>
#include <limits>

#include "Failure.h"
#include "FakeHardware.h"

namespace Zevrin {

namespace {

class IOBaseTest : public testing::Test {
  protected:
    IOBaseTest() { m_io.SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U); }

    boost::shared_ptr<FakeHardware> m_pHardware = boost::make_shared<FakeHardware>();
    IOBase m_io;
};

TEST_F(IOBaseTest, EachAddressSpaceHasItsOwnBeginning) {
    EXPECT_EQ(m_io.WriteRegister(0x614, 1, false), ERR_OK);
    EXPECT_EQ(m_io.WriteBaseRegister(0xF00618, 2), ERR_OK);
    const unsigned int third = 3;
    EXPECT_EQ(m_io.WriteRegisterBlock(0x0000, 0xF0F00614U, &third, 1), ERR_OK) << "another space";
    unsigned int values[2] = {};
    EXPECT_EQ(m_io.ReadRegisterBlock(0xFFFF, 0xF0F00614U, values, 2), ERR_OK);
    EXPECT_EQ(values[0], 1U);
    EXPECT_EQ(values[1], 2U);
    EXPECT_EQ(m_io.ReadBaseRegister(0xF00614, &values[1]), ERR_OK);
    EXPECT_EQ(values[1], 1U);
    EXPECT_EQ(m_io.ReadRegister(0x618, &values[1]), ERR_OK);
    EXPECT_EQ(values[1], 2U);
    EXPECT_TRUE(m_pHardware->m_broadcasts.empty());
    EXPECT_EQ(m_io.WriteRegister(0x614, 1, true), ERR_OK);
    EXPECT_EQ(m_pHardware->m_broadcasts.size(), 1U);
}

TEST_F(IOBaseTest, RefusesWhatCannotBeAnAccessAndCountsOnlyTheCamerasFailures) {
    unsigned int value = 0;
    unsigned int* const pNowhere = nullptr;
    EXPECT_EQ(m_io.ReadRegister(0x615, &value), ERR_INVALID_ADDRESS);
    EXPECT_EQ(m_io.ReadRegister(0x0F100000, &value), ERR_INVALID_ADDRESS) << "past the end by a carry";
    EXPECT_EQ(m_io.WriteRegister(0xFFFFFFFCU, 0, false), ERR_INVALID_ADDRESS);
    EXPECT_EQ(m_io.ReadRegisterBlock(0xFFFF, 0xFFFFFFFCU, &value, 2), ERR_INVALID_ADDRESS);
    EXPECT_EQ(m_io.ReadRegisterBlock(0xFFFF, 4, &value, std::numeric_limits<unsigned int>::max()),
              ERR_INVALID_ADDRESS);
    EXPECT_EQ(m_io.ReadRegister(0x614, pNowhere), ERR_INVALID_PARAMETER);
    EXPECT_EQ(m_io.ReadRegisterBlock(0xFFFF, 4, &value, 0), ERR_INVALID_PARAMETER);
    EXPECT_EQ(m_io.GetRegReadErr(), 0U);
    EXPECT_EQ(m_io.ReadRegisterBlock(0xFFFF, 0xFFFFFFFCU, &value, 1), ERR_OK) << "the last quadlet";

    m_pHardware->FailNext("Read", Failure(ERR_READ_REGISTER_FAILED, "no"));
    EXPECT_EQ(m_io.ReadRegister(0x614, &value), ERR_READ_REGISTER_FAILED);
    m_pHardware->FailNext("Write", Failure(ERR_TIMEOUT, "no"));
    EXPECT_EQ(m_io.WriteRegister(0x614, 0, false), ERR_TIMEOUT);
    EXPECT_EQ(m_io.GetRegReadErr(), 1U);
    EXPECT_EQ(m_io.GetRegWriteErr(), 1U);
    m_io.ResetRegReadErr();
    EXPECT_EQ(m_io.GetRegReadErr(), 0U);
    EXPECT_EQ(m_io.GetRegWriteErr(), 1U);
}

TEST_F(IOBaseTest, NeedsACameraForEverything) {
    m_io.ReleaseIO();
    unsigned int value = 0;
    TimeStamp stamp;
    EXPECT_EQ(m_io.ReadRegister(0x614, &value), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_io.WriteRegisterBlock(0, 0, &value, 1), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_io.GetTimeStamp(&stamp), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_io.GetPortErr(&value), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_pHardware.use_count(), 1);
}

}  // namespace

}  // namespace Zevrin
