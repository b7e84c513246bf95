#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "IidcCamera.h"
#include "Image.h"
#include "Iso.h"
#include "support/Checks.h"
#include "support/Spawn.h"
#include "zevrin/CameraSystem.h"

#define ASSERT_OK(expression) ASSERT_TRUE(IsOk(expression))
#define EXPECT_OK(expression) EXPECT_TRUE(IsOk(expression))

namespace Zevrin {

constexpr unsigned int kSerialNumber = 7654321;
constexpr unsigned int kPatienceMs = 60000;  // for what takes a moment on a machine at leisure

/// Registers of the fake camera's memory.
constexpr unsigned int kWidthAddress = 0x100;
constexpr unsigned int kHeightAddress = 0x104;
constexpr unsigned int kFrameCountAddress = 0x5000;  // frames that it sent
constexpr unsigned int kTestAddress = 0x1F0;

constexpr unsigned int kTransmission = 0x614;
constexpr unsigned int kOn = 0x80000000U;

unsigned int GetGeneration(unsigned int serialNumber = kSerialNumber);

/// The path of one of the descriptions beside the tests.
std::string Describe(const std::string& file);

/// A fake camera that is ready; it ends with the object, and with the test.
std::unique_ptr<Process> ServeCamera(const std::vector<std::string>& options);

/// A camera object whose stream can be asked for its counts.
class TestCamera : public IidcCamera {
  public:
    ~TestCamera() override;

    Iso& GetStream() { return *m_pIso; }
    Error ReadMemory(unsigned int address, unsigned int* pValue) {
        return ReadRegisterBlock(0, address, pValue, 1);
    }
    Error WriteMemory(unsigned int address, unsigned int value) {
        return WriteRegisterBlock(0, address, &value, 1);
    }
    Error SetImageSize(unsigned int width, unsigned int height);

    /// Frames, whatever became of them.
    unsigned int CountAll() {
        return m_pIso->GetNumOfImageDelivered() + m_pIso->GetNumOfImageCorrupt() +
               m_pIso->GetNumOfImageDropped() + m_pIso->GetNumOfImageDriverDropped();
    }

    /// With a reconnect policy, whose steps are kept, but for tries that failed.
    void ReconnectByItself();
    std::vector<ReconnectStep> GetSteps();

    /// Lets the camera send no more, and expects that all that it sent is accounted for; since it came back,
    /// where it did.
    /// @param pImage  where to take the images to of a stream without a callback; null: nowhere
    void Quieten(Image* pImage = nullptr);

  private:
    std::atomic<unsigned int> m_countedBefore{0};
    std::mutex m_mutex;  // guards the steps
    std::vector<ReconnectStep> m_steps;
};

/// The frame, modulo 256, that all bytes of the image are of; those told to be missing are to be black.
/// @return -1: they are not of one frame, or not black
int FindPicture(const Image& image);

/// Whether they are of the frame whose number the image has; that of an incomplete one may be a guess.
bool HasTestPicture(const Image& image);

/// Of the directory of a zip archive an entry whose file takes so many bytes.
std::string MakeArchiveEntry(unsigned int unpackedSize);

using Bytes = std::vector<unsigned char>;

/// Another one on the network, who speaks GVCP.
class Peer {
  public:
    explicit Peer(const char* address = "127.0.0.1");
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void Send(unsigned int port, const Bytes& bytes);
    Bytes Receive();

    /// Sends the camera a WRITEREG_CMD, which it takes from who controls it only.
    void WriteRegister(unsigned int address, unsigned int value);
    void TakeControl() { WriteRegister(0x0A00, 2); }

  private:
    const int m_socket;
};

/// A fake camera that serves, the library, and an object for the camera.
class GigeTest : public testing::Test {
  protected:
    void SetUp() override { StartFakeCamera(); }
    void StartFakeCamera(const std::vector<std::string>& options = {});
    void StartDescribed(const std::string& file) { StartFakeCamera({"--genicam", Describe(file)}); }

    std::unique_ptr<Process> m_pFakeCamera;
    CameraSystem m_system;
    TestCamera m_camera;
};

}  // namespace Zevrin
