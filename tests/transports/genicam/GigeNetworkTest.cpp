#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "GigeFixture.h"
#include "LossyLink.h"
#include "support/NetworkRoom.h"

// Cameras in networks of their own, and a cable that loses packets.

namespace Zevrin {
namespace {

using std::chrono::steady_clock;

constexpr unsigned int kRate = 15;  // images in a second
constexpr unsigned int kGvcpCapability = 0x0934;
constexpr unsigned int kCanResend = 0x00000004;

/// A fake camera as on another machine, and an object for it.
class RemoteCamera : public TestCamera {
  public:
    RemoteCamera(unsigned int number, NetworkRoom::Cable cable) : m_number(number), m_room(number, cable) {
        Serve();
    }
    ~RemoteCamera() override {
        const Error disconnected = Disconnect();  // while the room is there
        static_cast<void>(disconnected);
    }

    void Serve() {
        m_room.Within([this] {
            m_pProgram = ServeCamera({"--serial", std::to_string(m_number), "--address", m_room.GetAddress(),
                                      "--frame-rate", std::to_string(kRate)});
        });
    }
    void Kill() { m_pProgram->Signal(SIGKILL); }
    unsigned int GetNumber() const { return m_number; }
    const NetworkRoom& GetRoom() const { return m_room; }

    void Begin(const ZevrinConfig& config, unsigned int width, unsigned int height) {
        ASSERT_OK(Connect(m_number));
        ASSERT_OK(SetImageSize(width, height));
        ASSERT_OK(SetConfiguration(&config));
    }

  private:
    const unsigned int m_number;
    const NetworkRoom m_room;
    std::unique_ptr<Process> m_pProgram;
};

/// What was seen of a stream's images.
struct Seen {
    std::atomic<unsigned int> images{0};
    std::atomic<unsigned int> gaps{0};
    std::atomic<unsigned int> wrong{0};
    std::atomic<unsigned int> incomplete{0};
    unsigned long long nextId = 0;  // at least
};

void Look(Image* pImage, const void* pData) {
    Seen& seen = *static_cast<Seen*>(const_cast<void*>(pData));
    if (pImage->GetGaps() != seen.gaps) {
        seen.gaps = pImage->GetGaps();
        seen.nextId = 0;
    }
    const bool isRight = pImage->IsComplete() ? HasTestPicture(*pImage) : FindPicture(*pImage) >= 0;
    seen.wrong += isRight && pImage->GetFrameId() >= seen.nextId ? 0 : 1;
    seen.nextId = pImage->GetFrameId() + 1;
    seen.incomplete += pImage->IsComplete() ? 0 : 1;
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
    const struct {
        unsigned int interval;  // packets of pixels, of which an image has 62
        unsigned int imageInterval;
        bool areAllHit;
    } links[] = {{1000, 0, false}, {100, 0, false}, {20, 8, true}};
    for (const auto& [interval, imageInterval, areAllHit] : links) {
        for (const unsigned int noResend : {0U, 1U}) {
            SCOPED_TRACE(testing::Message() << "one of " << interval << ", resend " << (noResend == 0));
            Seen seen;
            RemoteCamera camera(1, NetworkRoom::Cable::kTap);
            const LossyLink link(camera.GetRoom().GetNearEnd(), camera.GetRoom().GetFarEnd(), interval,
                                 imageInterval);
            ASSERT_OK(m_system.Rescan());
            ZevrinConfig config;
            config.packetSize = 1500;
            config.packetResend = noResend;
            config.deliverIncomplete = true;
            camera.Begin(config, 300, 300);
            ASSERT_OK(camera.WriteMemory(kGvcpCapability, kCanResend));  // which a connection asks for
            ASSERT_OK(camera.Disconnect());
            ASSERT_OK(camera.Connect(1));
            ASSERT_OK(camera.StartCapture(Look, &seen));
            Iso& stream = camera.GetStream();
            EXPECT_TRUE(Await([&] {  // a busy machine may be late to ask
                const bool isSeen = noResend != 0 ? seen.incomplete >= 2
                                                  : stream.GetNumResendPacketsReceived() > 0 &&
                                                        stream.GetNumOfImageDelivered() >= 10;
                return isSeen && camera.CountAll() >= 2 * imageInterval;
            }));
            camera.Quieten();
            EXPECT_TRUE(Await([&] {
                return seen.images == stream.GetNumOfImageDelivered() + stream.GetNumOfImageCorrupt();
            }));
            std::printf(
                "one of %4u lost, resend %-3s: %u frames, %u packets lost, %u asked for again, "
                "%u frames corrupt\n",
                interval, noResend == 0 ? "on" : "off", camera.CountAll(), link.GetLost(),
                link.GetRequested(), stream.GetNumOfImageCorrupt());
            EXPECT_EQ(seen.wrong, 0U) << "what is not missing is as it was sent";
            EXPECT_EQ(seen.incomplete, stream.GetNumOfImageCorrupt());
            EXPECT_TRUE(!areAllHit || (stream.GetNumOfImageDelivered() > 0) == (noResend == 0));
            EXPECT_TRUE(imageInterval == 0 || stream.GetNumOfImageDropped() > 0) << "as a whole";
            EXPECT_EQ(link.GetRequested() > 0, noResend == 0);
            ASSERT_OK(camera.Disconnect());
            ASSERT_OK(camera.Connect(1));
            EXPECT_EQ(stream.GetNumResendPacketsRequested() > 0, noResend == 0) << "nothing is forgotten";
            EXPECT_EQ(stream.GetNumResendPacketsReceived() > 0, noResend == 0);
            ASSERT_OK(camera.Disconnect());  // while there is a cable
        }
    }
}

/// Four, or what ZEVRIN_STREAM_SECONDS says.
unsigned int GetStreamSeconds() {
    const char* const pText = std::getenv("ZEVRIN_STREAM_SECONDS");
    return pText != nullptr ? static_cast<unsigned int>(std::atoi(pText)) : 4;
}

double GetSecondsSince(steady_clock::time_point begin) {
    return std::chrono::duration<double>(steady_clock::now() - begin).count();
}

TEST_F(GigeNetworkTest, EightCamerasStreamAtOnceAndOneComesBackAndEveryFrameIsAccountedFor) {
    const unsigned int images = kRate * GetStreamSeconds() / 2;  // of each at least, before and after
    std::vector<Seen> seen(8);
    std::vector<std::unique_ptr<RemoteCamera>> cameras;
    for (unsigned int number = 1; number <= seen.size(); ++number) {
        cameras.push_back(std::make_unique<RemoteCamera>(number, NetworkRoom::Cable::kVirtual));
    }
    ASSERT_OK(m_system.Rescan());
    ZevrinConfig config;
    config.packetSize = 1500;
    for (std::size_t index = 0; index < seen.size(); ++index) {
        cameras[index]->Begin(config, 320, 240);
        ASSERT_OK(cameras[index]->StartCapture(Look, &seen[index]));
    }
    const auto awaitImages = [&](unsigned int count) {
        EXPECT_TRUE(Await([&] {
            return std::all_of(seen.begin(), seen.end(),
                               [=](const Seen& one) { return one.images >= count; });
        }));
    };
    awaitImages(images);
    RemoteCamera& victim = *cameras.back();
    victim.ReconnectByItself();
    const unsigned int generation = GetGeneration(victim.GetNumber());
    const auto killed = steady_clock::now();
    victim.Kill();
    EXPECT_TRUE(Await([&] { return GetGeneration(victim.GetNumber()) != generation; }));
    const double noticed = GetSecondsSince(killed);
    victim.Serve();
    const auto returned = steady_clock::now();
    ASSERT_OK(victim.WaitForReconnection(kPatienceMs));
    EXPECT_TRUE(Await([&] { return seen.back().gaps == 1; }));
    std::printf("one killed: noticed after %.2f s; first image %.2f s after its return\n", noticed,
                GetSecondsSince(returned));
    awaitImages(seen.back().images + images);
    std::printf("camera delivered  corrupt  dropped  driver-dropped\n");
    for (std::size_t index = 0; index < seen.size(); ++index) {
        Iso& stream = cameras[index]->GetStream();
        cameras[index]->Quieten();
        EXPECT_TRUE(Await([&] { return seen[index].images == stream.GetNumOfImageDelivered(); }));
        EXPECT_EQ(seen[index].wrong, 0U);
        EXPECT_EQ(seen[index].gaps, index + 1 < seen.size() ? 0U : 1U) << index;
        std::printf("%6zu %9u %8u %8u %15u\n", index + 1, stream.GetNumOfImageDelivered(),
                    stream.GetNumOfImageCorrupt(), stream.GetNumOfImageDropped(),
                    stream.GetNumOfImageDriverDropped());
    }
}

}  // namespace
}  // namespace Zevrin
