#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
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

// The lossy cable is this process, which the thread sanitizer makes too slow for a fast camera.
#ifdef __SANITIZE_THREAD__
constexpr char kLossyRate[] = "15";
#else
constexpr char kLossyRate[] = "50";
#endif

constexpr unsigned int kGvcpCapability = 0x0934;
constexpr unsigned int kCanResend = 0x00000004;

/// A fake camera as on another machine, and an object for it.
class RemoteCamera {
  public:
    RemoteCamera(unsigned int number, NetworkRoom::Cable cable, const std::vector<std::string>& options)
        : m_number(number), m_room(number, cable), m_options(options) {
        Serve();
    }

    void Serve() {
        std::vector<std::string> command = {
            ZEVRIN_FAKE_CAMERA_PROGRAM, "--exit-with-stdin", "--serial",
            std::to_string(m_number),   "--address",         m_room.GetAddress()};
        command.insert(command.end(), m_options.begin(), m_options.end());
        m_room.Within([&] { m_pProgram = std::make_unique<ChildProcess>(command); });
        EXPECT_EQ(m_pProgram->ReadUntil("ready\n", kPatience), "ready\n");
    }
    void Kill() { m_pProgram->Signal(SIGKILL); }

    const NetworkRoom& GetRoom() const { return m_room; }
    unsigned int GetNumber() const { return m_number; }
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

  private:
    const unsigned int m_number;
    const NetworkRoom m_room;
    const std::vector<std::string> m_options;
    std::unique_ptr<ChildProcess> m_pProgram;
    TestCamera m_camera;
};

/// What was seen of a stream's images.
struct Seen {
    std::atomic<unsigned int> images{0};
    std::atomic<unsigned int> incomplete{0};
    std::atomic<unsigned int> missingParts{0};
    std::atomic<unsigned int> wrong{0};
    std::atomic<unsigned int> misnumbered{0};  // incomplete ones, whose leader may have been lost
    std::atomic<unsigned long long> lastId{0};
};

void Look(Image* pImage, const void* pData) {
    Seen& seen = *static_cast<Seen*>(const_cast<void*>(pData));
    const bool isNumbered = pImage->GetFrameId() != 0;  // also the first one may lack its leader
    seen.incomplete += pImage->IsComplete() ? 0 : 1;
    seen.missingParts += static_cast<unsigned int>(pImage->GetMissingParts().size());
    const bool isRight = pImage->IsComplete() ? HasTestPicture(*pImage) : FindPicture(*pImage) >= 0;
    seen.wrong += isRight && (pImage->GetFrameId() > seen.lastId || !isNumbered) ? 0 : 1;
    seen.misnumbered += isRight && isNumbered && !HasTestPicture(*pImage) ? 1 : 0;
    seen.lastId = pImage->GetFrameId();
    ++seen.images;
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
            RemoteCamera remote(1, NetworkRoom::Cable::kTap, {"--frame-rate", kLossyRate});
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
                EXPECT_TRUE(Comes([&] { return seen.images >= images; }));
                remote.Get().Quieten();
                const unsigned int handedOver =
                    stream.GetNumOfImageDelivered() + stream.GetNumOfImageCorrupt();
                EXPECT_TRUE(Comes([&] { return seen.images >= handedOver; }));
                requested = stream.GetNumResendPacketsRequested();
                received = stream.GetNumResendPacketsReceived();
                CameraStats stats;
                ASSERT_OK(remote.Get().GetStats(&stats));
                EXPECT_EQ(stats.numResendPacketsRequested, requested);
                EXPECT_EQ(stats.numImagesCorrupt, stream.GetNumOfImageCorrupt());
                ASSERT_OK(remote.Get().Disconnect());
            }
            // A busy machine loses whole frames, too, and finds no buffer for others.
            const unsigned int missed = stream.GetNumOfImageDropped() + stream.GetNumOfImageDriverDropped();
            EXPECT_EQ(seen.wrong, 0U) << "what is not missing is as it was sent";
            EXPECT_TRUE(seen.misnumbered == 0 || missed > 0) << seen.misnumbered;
            EXPECT_EQ(stream.GetNumOfImageCorrupt(), seen.incomplete);
            EXPECT_GT(link.GetLost(), 0U);
            EXPECT_GE(seen.incomplete, seen.missingParts > 0 ? 1U : 0U);
            corrupt[noResend] += seen.incomplete;
            EXPECT_EQ(link.GetRequested() > 0, noResend == 0);
            EXPECT_EQ(requested > 0, noResend == 0);
            EXPECT_EQ(received > 0, noResend == 0);
            std::printf(
                "loss %.1f per cent, resend %-3s: %u frames, %u packets lost, %u asked for again, %u "
                "corrupt, %u missed\n",
                loss * 100, noResend == 0 ? "on" : "off", remote.Get().CountAll(), link.GetLost(),
                link.GetRequested(), stream.GetNumOfImageCorrupt(), missed);
        }
    }
    EXPECT_GT(corrupt[1], 50U);
    EXPECT_LT(corrupt[0], corrupt[1] / 2) << "a machine that is busy may be late to ask";
}

/// Three seconds, or what ZEVRIN_STREAM_SECONDS says.
std::chrono::seconds GetStreamTime() {
    const char* const pText = std::getenv("ZEVRIN_STREAM_SECONDS");
    return std::chrono::seconds(pText != nullptr ? std::atoi(pText) : 3);
}

/// A camera that is killed while it streams, and returns: how long everything took.
class Victim {
  public:
    explicit Victim(RemoteCamera* pRemote) : m_remote(*pRemote) {
        ReconnectPolicy policy;
        policy.limitMs = 60000;
        policy.userData = this;
        policy.callback = [](const ReconnectReport* pReport) {
            auto& victim = *static_cast<Victim*>(const_cast<void*>(pReport->userData));
            if (pReport->step == RECONNECT_LOST) {
                victim.m_countedBefore = victim.m_remote.Get().CountAll();
            }
        };
        EXPECT_OK(m_remote.Get().SetReconnectPolicy(&policy));
        EXPECT_OK(m_remote.Get().StartCapture(nullptr, nullptr));
        m_retrieving = std::thread([this] { Retrieve(); });
    }
    Victim(const Victim&) = delete;
    Victim& operator=(const Victim&) = delete;

    /// Also lets it return.
    void Kill() {
        const unsigned int generation = GetGeneration(m_remote.GetNumber());
        m_killed = steady_clock::now();
        m_remote.Kill();
        const double called = GetSecondsUntilLost(m_killed, [this] {
            unsigned int value = 0;
            return m_remote.Get().GetStream().ReadRegisterBlock(0, kWidthAddress, &value, 1);
        });
        EXPECT_TRUE(Comes([&] { return GetGeneration(m_remote.GetNumber()) != generation; }));
        const double noticed = GetSecondsSince(m_killed);
        EXPECT_TRUE(Comes([this] { return m_hasEnded.load(); }));
        m_remote.Serve();
        m_returned = steady_clock::now();
        EXPECT_OK(m_remote.Get().WaitForReconnection(60000));
        EXPECT_TRUE(Comes([this] { return m_hasResumed.load(); }));
        std::printf(
            "killed one: noticed after %.2f s, call in flight ended after %.2f s, waiting retrieval after "
            "%.2f "
            "s; first image %.2f s after its return\n",
            noticed, called, m_ended, m_resumed);
        EXPECT_LT(noticed, kNoticedWithin + kMachineSlack);
        EXPECT_LT(called, kCallEndsWithin);
        EXPECT_LT(m_ended, kCallEndsWithin);
    }

    /// What the camera that was killed had sent is unknown, but for the numbers of its images.
    void End() {
        m_remote.Get().Quieten(m_countedBefore);
        EXPECT_OK(m_remote.Get().StopCapture());
        m_retrieving.join();
        EXPECT_GE(m_countedBefore, m_idsBefore);
        std::printf(
            "killed one: %u frames before the gap, the last image's number was the %lluth; %u after\n",
            m_countedBefore.load(), m_idsBefore, m_remote.Get().CountAll() - m_countedBefore);
    }

    Seen seen;

  private:
    void Retrieve() {
        Image image;
        unsigned long long firstId = 0;
        for (Error error; error != ERR_ISOCH_NOT_STARTED;) {
            error = m_remote.Get().RetrieveBuffer(&image);
            if (error == ERR_CAMERA_LOST) {
                m_ended = GetSecondsSince(m_killed);
                m_idsBefore = seen.lastId - firstId + 1;
                seen.lastId = 0;
                m_hasEnded = true;
            } else if (error != ERR_OK) {  // until it is connected again
                std::this_thread::sleep_for(milliseconds(1));
            } else {
                Look(&image, &seen);
                firstId = firstId == 0 ? image.GetFrameId() : firstId;
                if (image.GetGaps() == 1 && !m_hasResumed) {
                    m_resumed = GetSecondsSince(m_returned);
                    m_hasResumed = true;
                }
            }
        }
    }

    RemoteCamera& m_remote;
    std::atomic<unsigned int> m_countedBefore{0};
    std::atomic<steady_clock::time_point> m_killed{};
    std::atomic<steady_clock::time_point> m_returned{};
    std::atomic<bool> m_hasEnded{false};    // the retrieval; what is written before may be read then
    std::atomic<bool> m_hasResumed{false};  // likewise
    double m_ended = 0;
    double m_resumed = 0;
    unsigned long long m_idsBefore = 0;
    std::thread m_retrieving;
};

TEST_F(GigeNetworkTest, EightCamerasStreamAtOnceAndOneComesBackAndEveryFrameIsAccountedFor) {
    constexpr unsigned int kCount = 8;
    constexpr unsigned int kRate = 30;
    std::vector<std::unique_ptr<RemoteCamera>> cameras;
    std::vector<Seen> seen(kCount - 1);
    for (unsigned int number = 1; number <= kCount; ++number) {
        cameras.push_back(
            std::make_unique<RemoteCamera>(number, NetworkRoom::Cable::kVirtual,
                                           std::vector<std::string>{"--frame-rate", std::to_string(kRate)}));
    }
    ASSERT_OK(m_system.Rescan());
    ZevrinConfig config;
    config.packetSize = 1500;
    config.grabTimeout = kTimeoutInfinite;
    for (auto& pCamera : cameras) {
        pCamera->Connect(config, 320, 240);
    }
    const auto end = steady_clock::now() + GetStreamTime();
    for (unsigned int index = 0; index + 1 < kCount; ++index) {
        ASSERT_OK(cameras[index]->Get().StartCapture(Look, &seen[index]));
    }
    Victim victim(cameras.back().get());
    EXPECT_TRUE(Comes([&] { return victim.seen.images >= kRate; }));
    victim.Kill();
    std::this_thread::sleep_until(end);  // it is as long as this that they shall stream
    victim.End();
    std::printf("camera sent  delivered  corrupt  dropped  driver-dropped\n");
    for (unsigned int index = 0; index < kCount; ++index) {
        TestCamera& camera = cameras[index]->Get();
        Iso& stream = camera.GetStream();
        const Seen& found = index + 1 < kCount ? seen[index] : victim.seen;
        if (index + 1 < kCount) {
            camera.Quieten();
        }
        EXPECT_TRUE(Comes([&] { return found.images == stream.GetNumOfImageDelivered(); }));
        std::printf("%6u %4u %10u %8u %8u %15u\n", index + 1, camera.CountAll(),
                    stream.GetNumOfImageDelivered(), stream.GetNumOfImageCorrupt(),
                    stream.GetNumOfImageDropped(), stream.GetNumOfImageDriverDropped());
        EXPECT_EQ(found.wrong, 0U);
        EXPECT_GT(found.images, kRate * GetStreamTime().count() / 4) << "on however busy a machine";
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
        EXPECT_TRUE(Comes([&] { return remote.Get().GetStream().GetNumOfImageCorrupt() > 0; }));
        EXPECT_TRUE(deliverIncomplete || remote.Get().WaitForBufferEvent(&image, 100) == ERR_TIMEOUT);
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
