#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "GigeFixture.h"
#include "LossyLink.h"
#include "support/NetworkRoom.h"

// Cameras in networks of their own, and cables that lose packets.

namespace Zevrin {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr unsigned int kGvcpCapability = 0x0934;
constexpr unsigned int kCanResend = 0x00000004;

template <typename Condition>
void WaitUntil(const Condition& isMet) {
    for (const auto deadline = steady_clock::now() + kPatience; !isMet() && steady_clock::now() < deadline;) {
        std::this_thread::sleep_for(milliseconds(1));
    }
}

/// A fake camera as on another machine, and an object for it.
class RemoteCamera {
  public:
    RemoteCamera(unsigned int number, NetworkRoom::Cable cable, const std::vector<std::string>& options)
        : m_number(number), m_room(number, cable) {
        std::vector<std::string> command = {
            ZEVRIN_FAKE_CAMERA_PROGRAM, "--exit-with-stdin", "--serial",
            std::to_string(number),     "--address",         m_room.GetAddress()};
        command.insert(command.end(), options.begin(), options.end());
        m_room.Within([&] { m_pProgram = std::make_unique<ChildProcess>(command); });
        EXPECT_EQ(m_pProgram->ReadUntil("ready\n", kPatience), "ready\n");
    }

    const NetworkRoom& GetRoom() const { return m_room; }
    TestCamera& Get() { return m_camera; }

    void Write(unsigned int address, unsigned int value) {
        ASSERT_OK(m_camera.WriteRegisterBlock(0, address, &value, 1));
    }

    void Connect(const ZevrinConfig& config, unsigned int width, unsigned int height) {
        ASSERT_OK(m_camera.Connect(m_number));
        Write(kWidthAddress, width);
        Write(kHeightAddress, height);
        ASSERT_OK(m_camera.SetConfiguration(&config));
    }

    /// Lets the camera send no more, and waits until all that it sent is accounted for.
    void Quieten() {
        ASSERT_OK(m_camera.WriteRegister(kTransmission, 0));
        unsigned int sent = 0;
        ASSERT_OK(m_camera.ReadRegisterBlock(0, kFrameCountAddress, &sent, 1));
        WaitUntil([&] { return m_camera.CountAll() >= sent; });
        EXPECT_EQ(m_camera.CountAll(), sent);
    }

  private:
    const unsigned int m_number;
    const NetworkRoom m_room;
    std::unique_ptr<ChildProcess> m_pProgram;
    TestCamera m_camera;
};

/// What an image callback saw.
struct Seen {
    std::atomic<unsigned int> images{0};
    std::atomic<unsigned int> incomplete{0};
    std::atomic<unsigned int> missingParts{0};
    std::atomic<unsigned int> wrong{0};
    std::atomic<unsigned long long> lastId{0};
};

void Look(Image* pImage, const void* pData) {
    Seen& seen = *static_cast<Seen*>(const_cast<void*>(pData));
    ++seen.images;
    seen.incomplete += pImage->IsComplete() ? 0 : 1;
    seen.missingParts += static_cast<unsigned int>(pImage->GetMissingParts().size());
    const bool isLater = pImage->GetFrameId() > seen.lastId;
    seen.wrong += HasTestPicture(*pImage) && isLater ? 0 : 1;
    seen.lastId = pImage->GetFrameId();
}

class GigeNetworkTest : public testing::Test {
  protected:
    void SetUp() override {
        try {
            const NetworkRoom room(200, NetworkRoom::Cable::kTap);
        } catch (const std::exception& problem) {
            GTEST_SKIP() << "networks of one's own are not granted: " << problem.what();
        }
    }

    CameraSystem m_system;
};

TEST_F(GigeNetworkTest, LostPacketsAreSentAgainOrTheirFramesAreCorrupt) {
    unsigned int corrupt[2] = {0, 0};  // with resending, and without
    for (const double loss : {0.001, 0.01, 0.05}) {
        for (const unsigned int noResend : {0U, 1U}) {
            SCOPED_TRACE(testing::Message()
                         << "loss " << loss << ", resend " << (noResend == 0 ? "on" : "off"));
            RemoteCamera remote(1, NetworkRoom::Cable::kTap, {"--frame-rate", "100"});
            const LossyLink link(remote.GetRoom().GetNearEnd(), remote.GetRoom().GetFarEnd(), loss);
            ASSERT_OK(m_system.Rescan());
            ZevrinConfig config;
            config.packetSize = 1500;
            config.numBuffers = 20;
            config.packetResend = noResend;
            config.deliverIncomplete = true;
            remote.Connect(config, 300, 300);
            remote.Write(kGvcpCapability, kCanResend);  // which a connection asks for
            ASSERT_OK(remote.Get().Disconnect());
            Iso& stream = remote.Get().GetStream();
            Seen seen;
            unsigned int requested = 0;
            unsigned int received = 0;
            for (const unsigned int images : {50U, 100U}) {
                ASSERT_OK(remote.Get().Connect(1));
                EXPECT_EQ(stream.GetNumResendPacketsRequested(), requested) << "nothing is forgotten";
                seen.lastId = 0;
                ASSERT_OK(remote.Get().StartCapture(Look, &seen));
                WaitUntil([&] { return seen.images >= images; });
                remote.Quieten();
                requested = stream.GetNumResendPacketsRequested();
                received = stream.GetNumResendPacketsReceived();
                CameraStats stats;
                ASSERT_OK(remote.Get().GetStats(&stats));
                EXPECT_EQ(stats.numResendPacketsRequested, requested);
                EXPECT_EQ(stats.numImagesCorrupt, stream.GetNumOfImageCorrupt());
                ASSERT_OK(remote.Get().Disconnect());
            }
            EXPECT_EQ(seen.wrong, 0U) << "what is not missing is as it was sent";
            EXPECT_EQ(stream.GetNumOfImageCorrupt(), seen.incomplete);
            EXPECT_EQ(stream.GetNumOfImageDriverDropped(), 0U);
            EXPECT_GT(link.GetLost(), 0U);
            EXPECT_GE(seen.incomplete, seen.missingParts > 0 ? 1U : 0U);
            corrupt[noResend] += seen.incomplete;
            EXPECT_EQ(link.GetRequested() > 0, noResend == 0);
            EXPECT_EQ(requested > 0, noResend == 0);
            EXPECT_EQ(received > 0, noResend == 0);
            std::printf(
                "loss %.1f per cent, resend %-3s: %u frames, %u packets lost, %u asked for again, %u "
                "corrupt\n",
                loss * 100, noResend == 0 ? "on" : "off", remote.Get().CountAll(), link.GetLost(),
                link.GetRequested(), stream.GetNumOfImageCorrupt());
        }
    }
    EXPECT_GT(corrupt[1], 50U);
    EXPECT_LT(corrupt[0], corrupt[1] / 10) << "a machine that is busy may be late to ask";
}

/// Three seconds, or what ZEVRIN_STREAM_SECONDS says.
std::chrono::seconds GetStreamTime() {
    const char* const pText = std::getenv("ZEVRIN_STREAM_SECONDS");
    return std::chrono::seconds(pText != nullptr ? std::atoi(pText) : 3);
}

TEST_F(GigeNetworkTest, EightCamerasStreamAtOnceAndEveryFrameIsAccountedFor) {
    constexpr unsigned int kCount = 8;
    constexpr unsigned int kRate = 30;
    std::vector<std::unique_ptr<RemoteCamera>> cameras;
    std::vector<Seen> seen(kCount);
    for (unsigned int number = 1; number <= kCount; ++number) {
        cameras.push_back(
            std::make_unique<RemoteCamera>(number, NetworkRoom::Cable::kVirtual,
                                           std::vector<std::string>{"--frame-rate", std::to_string(kRate)}));
    }
    ASSERT_OK(m_system.Rescan());
    ZevrinConfig config;
    config.packetSize = 1500;
    for (unsigned int index = 0; index < kCount; ++index) {
        cameras[index]->Connect(config, 320, 240);
        ASSERT_OK(cameras[index]->Get().StartCapture(Look, &seen[index]));
    }
    std::this_thread::sleep_for(GetStreamTime());  // it is as long as this that they shall stream
    for (auto& pCamera : cameras) {
        pCamera->Quieten();
    }
    std::printf("camera delivered  corrupt  dropped  driver-dropped\n");
    for (unsigned int index = 0; index < kCount; ++index) {
        TestCamera& camera = cameras[index]->Get();
        Iso& stream = camera.GetStream();
        std::printf("%6u %9u %8u %8u %15u\n", index + 1, stream.GetNumOfImageDelivered(),
                    stream.GetNumOfImageCorrupt(), stream.GetNumOfImageDropped(),
                    stream.GetNumOfImageDriverDropped());
        EXPECT_EQ(stream.GetNumOfImageDelivered(), seen[index].images);
        EXPECT_EQ(seen[index].wrong, 0U);
        EXPECT_GT(seen[index].images, kRate * GetStreamTime().count() / 4) << "on however busy a machine";
    }
}

// The camera sends 512 x 512 pixels, whatever its description says.
constexpr char kLyingDescription[] = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Liar" VendorName="Test" StandardNameSpace="None" SchemaMajorVersion="1"
    SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Integer Name="Width"><Value>64</Value></Integer>
  <Integer Name="Height"><Value>64</Value></Integer>
  <Integer Name="PixelFormat"><Value>0x01080001</Value></Integer>
  <Integer Name="PayloadSize"><Value>4100</Value></Integer>
  <Command Name="AcquisitionStart"><pValue>Acquisition</pValue><CommandValue>1</CommandValue></Command>
  <Command Name="AcquisitionStop"><pValue>Acquisition</pValue><CommandValue>0</CommandValue></Command>
  <IntReg Name="Acquisition"><Address>0x124</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Endianess>BigEndian</Endianess></IntReg>
  <Port Name="Device"/>
</RegisterDescription>
)";

TEST_F(GigeNetworkTest, CameraThatSendsMoreThanItSaidWritesNothingBeyondItsBuffers) {
    const std::string path = testing::TempDir() + "zevrin-liar-" + std::to_string(getpid()) + ".xml";
    std::ofstream(path) << kLyingDescription;
    RemoteCamera remote(1, NetworkRoom::Cable::kVirtual, {"--genicam", path, "--frame-rate", "100"});
    std::remove(path.c_str());
    ASSERT_OK(m_system.Rescan());
    for (const bool deliverIncomplete : {false, true}) {
        constexpr std::size_t kCount = 4;
        constexpr std::size_t kBufferSize = 4200;  // of which 4100 are the stream's
        ZevrinConfig config;
        config.packetSize = 1500;
        config.deliverIncomplete = deliverIncomplete;
        remote.Connect(config, 512, 512);
        std::vector<unsigned char> memory(kCount * kBufferSize, 0xA5);
        ASSERT_OK(remote.Get().SetUserBuffers(memory.data(), kBufferSize, kCount));
        ASSERT_OK(remote.Get().StartCapture(nullptr, nullptr));
        Image image;
        for (unsigned int frame = 0; deliverIncomplete && frame < 10; ++frame) {
            ASSERT_OK(remote.Get().RetrieveBuffer(&image));
            EXPECT_FALSE(image.IsComplete());
            EXPECT_LE(image.GetDataSize(), 4100U);
            EXPECT_LE(std::size_t{image.GetHeight()} * image.GetStride(), image.GetDataSize());
        }
        EXPECT_EQ(remote.Get().WaitForBufferEvent(&image, 100).GetType(),
                  deliverIncomplete ? ERR_OK : ERR_TIMEOUT);
        EXPECT_GT(remote.Get().GetStream().GetNumOfImageCorrupt(), 0U);
        EXPECT_EQ(remote.Get().GetStream().GetNumOfImageDelivered(), 0U);
        ASSERT_OK(image.ReleaseBuffer());
        ASSERT_OK(remote.Get().Disconnect());
        for (std::size_t byte = 0; byte < memory.size(); ++byte) {
            ASSERT_TRUE(byte % kBufferSize < 4100 || memory[byte] == 0xA5) << byte;
        }
    }
}

}  // namespace
}  // namespace Zevrin
