#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"
#include "IidcCamera.h"
#include "Image.h"
#include "Iso.h"
#include "zevrin/CameraSystem.h"
#include "zevrin/Error.h"

#define ASSERT_OK(expression)                                               \
    do {                                                                    \
        const ::Zevrin::Error error_ = (expression);                        \
        ASSERT_EQ(error_.GetType(), ::Zevrin::ERR_OK) << error_.GetTrace(); \
    } while (false)

#define EXPECT_OK(expression)                                               \
    do {                                                                    \
        const ::Zevrin::Error error_ = (expression);                        \
        EXPECT_EQ(error_.GetType(), ::Zevrin::ERR_OK) << error_.GetTrace(); \
    } while (false)

namespace Zevrin {

constexpr char kHoldControl[] = "--hold-control";
constexpr unsigned int kSerialNumber = 7654321;
constexpr std::chrono::seconds kPatience{30};  // for what takes a moment on a machine at leisure

// Seconds for threads that wait for a processor: other tests run beside this one, also under sanitizers.
constexpr double kMachineSlack = 1.5;
constexpr double kNoticedWithin = 1;  // as promised
constexpr double kCallEndsWithin = 3;

/// Whether the condition is met before the limit.
template <typename Condition>
bool Comes(Condition condition, std::chrono::milliseconds limit = kPatience) {
    for (const auto deadline = std::chrono::steady_clock::now() + limit; !condition();) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

double GetSecondsSince(std::chrono::steady_clock::time_point begin);

/// Makes the call again and again until it fails, which is to be because the camera is lost; when that was.
double GetSecondsUntilLost(std::chrono::steady_clock::time_point begin, const std::function<Error()>& call);

/// Connects to the fake camera, says "held", and keeps it until standard input is closed.
int HoldControl();

/// Registers of the fake camera's memory.
constexpr unsigned int kWidthAddress = 0x100;
constexpr unsigned int kHeightAddress = 0x104;
constexpr unsigned int kFrameCountAddress = 0x5000;  // frames that it sent
constexpr unsigned int kTestAddress = 0x1F0;
constexpr unsigned int kTextAddress = 0x200;  // 32 bytes

constexpr unsigned int kTransmission = 0x614;
constexpr unsigned int kOn = 0x80000000U;

unsigned int GetGeneration(unsigned int serialNumber = kSerialNumber);

/// A camera object whose stream can be asked for its counts.
class TestCamera : public IidcCamera {
  public:
    Iso& GetStream() { return *m_pIso; }

    /// Frames, whatever became of them.
    unsigned int CountAll() {
        return m_pIso->GetNumOfImageDelivered() + m_pIso->GetNumOfImageCorrupt() +
               m_pIso->GetNumOfImageDropped() + m_pIso->GetNumOfImageDriverDropped();
    }

    /// Lets the camera send no more, and waits until all that it sent is accounted for.
    /// @param before  counted before the camera began to count
    /// @param pImage  where to take the images to of a stream without a callback; null: nowhere
    void Quieten(unsigned int before = 0, Image* pImage = nullptr);
};

/// The byte of the fake camera's picture at position b of row y: b + y + the frame's 16-bit number.
inline unsigned char GetPictureByte(const Image& image, std::size_t b, std::size_t y) {
    return static_cast<unsigned char>(b + y + (image.GetFrameId() - 1) % 65535 + 1);
}

/// The frame, modulo 256, that all bytes of the image are of; those told to be missing are to be black.
/// @return -1: they are not of one frame, or not black
int FindPicture(const Image& image);

/// Whether they are of the frame whose number the image has; that of an incomplete one may be a guess.
bool HasTestPicture(const Image& image);

/// A fake camera that serves, the library, and an object for the camera.
class GigeTest : public testing::Test {
  protected:
    void SetUp() override { StartFakeCamera(); }

    /// Fails for good when it does not serve.
    void StartFakeCamera(const std::vector<std::string>& options = {});

    Error Read(unsigned int address, unsigned int* pValue) {
        return m_camera.ReadRegisterBlock(0, address, pValue, 1);
    }
    Error Write(unsigned int address, unsigned int value) {
        return m_camera.WriteRegisterBlock(0, address, &value, 1);
    }

    /// Small images, fast.
    Error SetImageSize(unsigned int width, unsigned int height);

    std::unique_ptr<ChildProcess> m_pFakeCamera;
    CameraSystem m_system;
    TestCamera m_camera;
};

/// Of the directory of a zip archive an entry whose file takes so many bytes.
std::string MakeArchiveEntry(unsigned int unpackedSize);

/// A program's whole output, and that it ended well.
std::string RunProgram(const std::vector<std::string>& command);

}  // namespace Zevrin
