#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <numeric>
#include <thread>

#include "BusMaster.h"
#include "CycleTime.h"
#include "GigeFixture.h"
#include "Singleton.h"

namespace Zevrin {
namespace {

CameraIdentity GetIdentity() {
    const SingletonHold<BusMaster> busMaster;
    HardwareInterface* pHardware = nullptr;
    EXPECT_EQ(busMaster->GetHwInterfaceFromSerialNumber(kSerialNumber, &pHardware).GetType(), ERR_OK);
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
}

TEST_F(GigeTest, CameraWithoutSerialNumberIsKnownByItsPhysicalId) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    const unsigned int empty[4] = {};
    ASSERT_OK(m_camera.WriteRegisterBlock(0, 0xD8, empty, 4));
    ASSERT_OK(m_camera.Disconnect());
    ASSERT_OK(m_system.Rescan());
    std::vector<CameraListing> cameras;
    ASSERT_OK(m_system.List(&cameras));
    ASSERT_EQ(cameras.size(), 1U);
    EXPECT_NE(cameras[0].serialNumber, kSerialNumber);
    ASSERT_OK(m_camera.Connect(cameras[0].serialNumber));
}

TEST_F(GigeTest, MemoryIsReadAndWrittenInHostOrder) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    unsigned int value = 0;
    ASSERT_OK(Read(kWidthAddress, &value));
    EXPECT_EQ(value, 512U);
    ASSERT_OK(Write(kTestAddress, 0xCAFE0102));
    ASSERT_OK(Read(kTestAddress, &value));
    EXPECT_EQ(value, 0xCAFE0102);

    // Longer than one packet of the protocol carries.
    constexpr unsigned int kBegin = 0x4000;
    std::vector<unsigned int> written(300);
    std::iota(written.begin(), written.end(), 0x01020304U);
    ASSERT_OK(m_camera.WriteRegisterBlock(0, kBegin, written.data(), 300));
    std::vector<unsigned int> read(300);
    ASSERT_OK(m_camera.ReadRegisterBlock(0, kBegin, read.data(), 300));
    EXPECT_EQ(read, written);
    for (const unsigned int index : {0U, 127U, 128U, 299U}) {
        ASSERT_OK(Read(kBegin + 4 * index, &value));
        EXPECT_EQ(value, written[index]) << index;
    }
}

TEST_F(GigeTest, SecondClientSeesWhatWasWritten) {
    ASSERT_STRNE(ZEVRIN_ARV_TOOL, "ZEVRIN_ARV_TOOL-NOTFOUND") << "the package aravis-tools-cli is missing";
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    ASSERT_OK(Write(kTestAddress, 0x600DCAFE));
    ASSERT_OK(Write(kWidthAddress, 320));
    const std::string said = RunProgram({ZEVRIN_ARV_TOOL, "-a", "127.0.0.1", "control", "R[0x1f0]", "Width"});
    EXPECT_NE(said.find("R[0x000001f0] = 0x600dcafe"), std::string::npos) << said;
    EXPECT_NE(said.find("Width = 320"), std::string::npos) << said;
}

TEST_F(GigeTest, OtherProgramsControlDeniesAccess) {
    ChildProcess other({"/proc/self/exe", kHoldControl});
    ASSERT_EQ(other.ReadUntil("held\n", kPatience), "held\n");
    const Error error = m_camera.Connect(kSerialNumber);
    EXPECT_EQ(error.GetType(), ERR_ACCESS_DENIED) << error.GetTrace();
    EXPECT_STREQ(error.GetDescription(), "Another program controls the camera at 127.0.0.1.");
    EXPECT_FALSE(m_camera.IsConnected());

    other.CloseInput();
    ASSERT_EQ(other.Wait(kPatience), 0);
    ASSERT_OK(m_camera.Connect(kSerialNumber));
}

TEST_F(GigeTest, ControlIsSharedInsideTheProcessAndLeftWithTheLastObject) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    {
        IidcCamera second;
        ASSERT_OK(second.Connect(kSerialNumber));
        ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
        EXPECT_EQ(second.StartCapture(nullptr, nullptr).GetType(), ERR_ISOCH_ALREADY_STARTED);
        ASSERT_OK(m_camera.StopCapture());
        ASSERT_OK(second.StartCapture(nullptr, nullptr));
    }
    ASSERT_OK(Write(kTestAddress, 1));
    ASSERT_OK(m_camera.Disconnect());
    ChildProcess other({"/proc/self/exe", kHoldControl});
    EXPECT_EQ(other.ReadUntil("held\n", kPatience), "held\n");
}

TEST_F(GigeTest, ManyThreadsUseOneCameraWhileItStreams) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    ASSERT_OK(SetImageSize(64, 64));
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    std::atomic<unsigned int> failures{0};
    std::vector<std::thread> threads;
    for (unsigned int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, address = 0x4000 + 64 * thread, begin = thread << 16] {
            for (unsigned int round = begin; round < begin + 100; ++round) {
                const unsigned int written[3] = {round, ~round, round * 7};
                unsigned int read[3] = {};
                const bool worked = m_camera.WriteRegisterBlock(0, address, written, 3) == ERR_OK &&
                                    m_camera.ReadRegisterBlock(0, address, read, 3) == ERR_OK &&
                                    std::equal(written, written + 3, read);
                failures += worked ? 0 : 1;
                failures += m_camera.GetStream().GetNumResendPacketsReceived();
            }
        });
    }
    Image image;
    for (unsigned int frame = 0; frame < 10; ++frame) {
        EXPECT_EQ(m_camera.WaitForBufferEvent(&image, 30000).GetType(), ERR_OK);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0U);
}

TEST_F(GigeTest, RegisterViewHasWhatStandsForAFeature) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    unsigned int value = 0;
    ASSERT_OK(m_camera.ReadRegister(0x610, &value));
    EXPECT_EQ(value, 0x80000000U);
    ASSERT_OK(m_camera.WriteRegister(0x610, 0x80000000U));
    EXPECT_EQ(m_camera.WriteRegister(0x610, 0).GetType(), ERR_WRITE_REGISTER_FAILED);

    ASSERT_OK(m_camera.ReadRegister(kTransmission, &value));
    EXPECT_EQ(value, 0U);
    ASSERT_OK(m_camera.WriteRegister(kTransmission, 0x80000000U));
    ASSERT_OK(m_camera.ReadRegister(kTransmission, &value));
    EXPECT_EQ(value, 0x80000000U);
    ASSERT_OK(m_camera.WriteRegister(kTransmission, 0));
    ASSERT_OK(m_camera.ReadRegister(kTransmission, &value));
    EXPECT_EQ(value, 0U);
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
        {m_camera.WriteRegister(0x610, 0, true), ERR_NOT_SUPPORTED, "one by one"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(one.error.GetType(), one.type) << one.error.GetTrace();
        EXPECT_NE(std::string(one.error.GetDescription()).find(one.text), std::string::npos)
            << one.error.GetTrace();
    }
}

TEST_F(GigeTest, BusTimeIsTheHostsWhenTheCameraHasNoClock) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    TimeStamp stamp;
    ASSERT_OK(m_camera.GetStream().GetTimeStamp(&stamp));
    const TimeStamp now = GetHostTime();
    EXPECT_LE(now.seconds - stamp.seconds, 30);
    EXPECT_EQ(stamp.cycleSeconds, static_cast<unsigned int>(stamp.seconds % 128));
    EXPECT_NEAR(stamp.cycleCount / 8000.0, stamp.microSeconds / 1e6, 0.01);
}

// The description lays a clock of 1 kHz over the camera's memory.
constexpr char kClockDescription[] = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Clock" VendorName="Test" StandardNameSpace="None" SchemaMajorVersion="1"
    SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Command Name="GevTimestampControlLatch"><pValue>Latch</pValue><CommandValue>2</CommandValue></Command>
  <IntReg Name="Latch"><Address>0x4010</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Endianess>BigEndian</Endianess></IntReg>
  <IntReg Name="GevTimestampValue"><Address>0x4000</Address><Length>8</Length><AccessMode>RO</AccessMode>
    <pPort>Device</pPort><Endianess>BigEndian</Endianess></IntReg>
  <Integer Name="GevTimestampTickFrequency"><Value>1000</Value></Integer>
  <Integer Name="Width"><Value>64</Value></Integer>
  <Integer Name="Height"><Value>64</Value></Integer>
  <Integer Name="PixelFormat"><Value>0x01080001</Value></Integer>
  <Integer Name="PayloadSize"><Value>4095</Value></Integer>
  <Port Name="Device"/>
</RegisterDescription>
)";

TEST_F(GigeTest, BusTimeIsTheCamerasOwnWhereItHasAClock) {
    const std::string path = testing::TempDir() + "zevrin-clock-" + std::to_string(getpid()) + ".xml";
    std::ofstream(path) << kClockDescription;
    StartFakeCamera({"--genicam", path});
    std::remove(path.c_str());
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    const unsigned int ticks[2] = {0, 130250};  // 130.250 s: 128 s are one round
    ASSERT_OK(m_camera.WriteRegisterBlock(0, 0x4000, ticks, 2));
    TimeStamp stamp;
    ASSERT_OK(m_camera.GetStream().GetTimeStamp(&stamp));
    EXPECT_EQ(stamp.cycleSeconds, 2U);
    EXPECT_EQ(stamp.cycleCount, 2000U);
    EXPECT_EQ(stamp.cycleOffset, 0U);
    unsigned int latched = 0;
    ASSERT_OK(Read(0x4010, &latched));
    EXPECT_EQ(latched, 2U);

    const Error error = m_camera.StartCapture(nullptr, nullptr);
    EXPECT_EQ(error.GetType(), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_STREQ(error.GetDescription(),
                 "The camera's PayloadSize is 4095 bytes; 64 x 64 pixels of 8 bits take more.");
}

}  // namespace
}  // namespace Zevrin
