#include <numeric>

#include "BusMaster.h"
#include "CycleTime.h"
#include "GigeFixture.h"
#include "Singleton.h"

namespace Zevrin {
namespace {

CameraIdentity GetIdentity() {
    const SingletonHold<BusMaster> busMaster;
    HardwareInterface* pHardware = nullptr;
    EXPECT_OK(busMaster->GetHwInterfaceFromSerialNumber(kSerialNumber, &pHardware));
    return pHardware != nullptr ? pHardware->GetIdentity() : CameraIdentity();
}

TEST_F(GigeTest, IsListedAndTellsMoreWhenOpened) {
    std::vector<CameraListing> cameras;
    ASSERT_OK(m_system.List(&cameras));
    ASSERT_EQ(cameras.size(), 1U);
    EXPECT_EQ(cameras[0].serialNumber, kSerialNumber);
    EXPECT_EQ(cameras[0].interfaceType, INTERFACE_GIGE);
    EXPECT_EQ(cameras[0].vendorName, "Aravis");
    EXPECT_EQ(cameras[0].modelName, "Fake");
    EXPECT_EQ(cameras[0].address, "127.0.0.1");

    ASSERT_OK(m_camera.Connect(kSerialNumber));
    const CameraIdentity identity = GetIdentity();
    EXPECT_EQ(identity.sensorWidth, 2048U);
    EXPECT_EQ(identity.sensorHeight, 2048U);
    EXPECT_TRUE(identity.isColor);
    EXPECT_FALSE(identity.firmwareVersion.empty());

    // Without a serial number it is known by its physical id.
    const unsigned int empty[4] = {};
    ASSERT_OK(m_camera.WriteRegisterBlock(0, 0xD8, empty, 4));
    ASSERT_OK(m_camera.Disconnect());
    ASSERT_OK(m_system.Rescan());
    ASSERT_OK(m_system.List(&cameras));
    ASSERT_EQ(cameras.size(), 1U);
    EXPECT_NE(cameras[0].serialNumber, kSerialNumber);
    ASSERT_OK(m_camera.Connect(cameras[0].serialNumber));
}

TEST_F(GigeTest, MemoryIsReadAndWrittenInHostOrder) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    unsigned int value = 0;
    ASSERT_OK(m_camera.ReadMemory(kWidthAddress, &value));
    EXPECT_EQ(value, 512U);

    // Longer than one packet of the protocol carries.
    constexpr unsigned int kBegin = 0x4000;
    std::vector<unsigned int> written(300);
    std::iota(written.begin(), written.end(), 0x01020304U);
    ASSERT_OK(m_camera.WriteRegisterBlock(0, kBegin, written.data(), 300));
    std::vector<unsigned int> read(300);
    ASSERT_OK(m_camera.ReadRegisterBlock(0, kBegin, read.data(), 300));
    EXPECT_EQ(read, written);
    for (const unsigned int index : {0U, 127U, 128U, 299U}) {
        ASSERT_OK(m_camera.ReadMemory(kBegin + 4 * index, &value));
        EXPECT_EQ(value, written[index]) << index;
    }
}

TEST_F(GigeTest, OtherProgramsControlDeniesAccessForAsLongAsItsHeartbeatTime) {
    constexpr unsigned int kHeartbeatTimeAddress = 0x0938;  // ms
    Peer other;
    other.TakeControl();
    other.WriteRegister(kHeartbeatTimeAddress, 1000000);
    EXPECT_TRUE(SaysPart(m_camera.Connect(kSerialNumber), ERR_ACCESS_DENIED,
                         "Another program controls the camera at 127.0.0.1."));
    EXPECT_FALSE(m_camera.IsConnected());
    other.WriteRegister(kHeartbeatTimeAddress, 500);  // and it is heard of no more
    EXPECT_TRUE(Await([&] {
        const Error error = m_camera.Connect(kSerialNumber);
        EXPECT_TRUE(error == ERR_OK || error == ERR_ACCESS_DENIED) << error.GetTrace();
        return error == ERR_OK;
    }));
}

TEST_F(GigeTest, ControlIsSharedInsideTheProcessAndLeftWithTheLastObject) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    {
        TestCamera second;
        ASSERT_OK(second.Connect(kSerialNumber));
        ASSERT_OK(second.StartCapture(nullptr, nullptr));
    }
    ASSERT_OK(m_camera.WriteMemory(kTestAddress, 1));
    ASSERT_OK(m_camera.Disconnect());
    Peer().TakeControl();
}

TEST_F(GigeTest, WhatCannotBeReachedIsNamed) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    unsigned int values[2] = {};
    const struct {
        Error error;
        ErrorType type;
        const char* text;
    } cases[] = {
        {m_camera.ReadRegister(0x640, values), ERR_READ_REGISTER_FAILED, "0xFFFF F0F00640"},
        {m_camera.WriteRegister(0x640, 0), ERR_WRITE_REGISTER_FAILED, "0xFFFF F0F00640"},
        {m_camera.ReadBaseRegister(0x400, values), ERR_READ_REGISTER_FAILED, "0xFFFF F0000400"},
        {m_camera.ReadRegisterBlock(0xFFFF, 0xF0F00630, values, 2), ERR_READ_REGISTER_FAILED, "F0F00634"},
        {m_camera.ReadRegisterBlock(0x1234, 0x100, values, 1), ERR_READ_REGISTER_FAILED, "0x1234 00000100"},
        {m_camera.WriteRegisterBlock(0x1234, 0x100, values, 1), ERR_WRITE_REGISTER_FAILED, "0x1234 00000100"},
        {m_camera.WriteRegister(0x610, kOn, true), ERR_NOT_SUPPORTED, "one by one"},
    };
    for (const auto& one : cases) {
        EXPECT_TRUE(SaysPart(one.error, one.type, one.text));
    }
}

TEST_F(GigeTest, BusTimeIsTheHostsUnlessTheCameraHasAClock) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    TimeStamp stamp;
    ASSERT_OK(m_camera.GetStream().GetTimeStamp(&stamp));
    EXPECT_NEAR(static_cast<double>(stamp.seconds), static_cast<double>(GetHostTime().seconds), 60);
    EXPECT_EQ(stamp.cycleSeconds, static_cast<unsigned int>(stamp.seconds % 128));
    EXPECT_NEAR(stamp.cycleCount / 8000.0, stamp.microSeconds / 1e6, 0.01);
    ASSERT_OK(m_camera.Disconnect());

    StartDescribed("liar.xml");
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    const unsigned int ticks[2] = {0, 130250};  // 130.250 s: 128 s are one round
    ASSERT_OK(m_camera.WriteRegisterBlock(0, 0x4000, ticks, 2));
    ASSERT_OK(m_camera.GetStream().GetTimeStamp(&stamp));
    EXPECT_EQ(stamp.cycleSeconds, 2U);
    EXPECT_EQ(stamp.cycleCount, 2000U);
    EXPECT_EQ(stamp.cycleOffset, 0U);
    unsigned int latched = 0;
    ASSERT_OK(m_camera.ReadMemory(0x4010, &latched));
    EXPECT_EQ(latched, 2U);
}

}  // namespace
}  // namespace Zevrin
