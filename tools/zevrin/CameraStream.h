#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include <zevrin/CameraStats.h>
#include <zevrin/IidcCamera.h>
#include <zevrin/Image.h>

#include "Tool.h"

namespace ZevrinTool {

/// Numbers the frames of a camera by its own numbers, which begin anew with each stream. A frame that comes
/// late or twice has the number that it has for the camera.
class FrameNumbers {
  public:
    unsigned long long Add(unsigned long long frameId);
    /// The stream was started again: the next frame has the number behind the highest.
    void Restart() { m_isRestarted = m_next != 0; }

  private:
    bool m_isRestarted = false;
    unsigned long long m_firstId = 0;      // of the present stream
    unsigned long long m_firstNumber = 0;  // that of `m_firstId`
    unsigned long long m_next = 0;         // behind the highest number so far
};

/// Names the files of a camera's frames: "1001-000042.png", and "1001-000042-2.png" when the number comes
/// again, since the camera began anew or a frame arrived twice.
class PictureNames {
  public:
    explicit PictureNames(unsigned int serialNumber) : m_serialNumber(serialNumber) {}
    std::string Next(unsigned long long number, const std::string& suffix);

  private:
    const unsigned int m_serialNumber;
    std::map<unsigned long long, unsigned int> m_copies;  // of the highest numbers
};

/// Waits for the next image of a stream in slices, so that a request to stop is heard.
/// @param timeoutMs  milliseconds; 0: no limit
Zevrin::Error WaitForImage(Zevrin::IidcCamera& camera, Zevrin::Image* pImage, unsigned int timeoutMs,
                           const std::atomic<bool>& stop);

/// Throws `ToolFailure` when waiting for an image ended with an error.
void CheckImage(const Zevrin::Error& error, unsigned int timeoutMs);

/// The rate of frames by their own time stamps.
class FrameRate {
  public:
    void Add(const Zevrin::Image& image);
    /// Frames per second; none before there are two that can be told apart.
    std::optional<double> Get() const { return m_rate; }

  private:
    unsigned long long m_frames = 0;
    double m_firstTime = 0;  // seconds since 1970
    std::optional<double> m_rate;
};

/// "15.00 fps", or "-".
std::string RateText(const std::optional<double>& framesPerSecond);

/// The frames of one connected camera, one after the other. A bus reset is survived by connecting again; so
/// is the camera's absence when a reconnection is wanted, by the library's policy. Whatever goes wrong is
/// thrown as `ToolFailure`. One thread at a time, save for the flag.
class CameraStream {
  public:
    /// @param stop  ends a wait when it becomes true
    CameraStream(unsigned int serialNumber, boost::shared_ptr<Zevrin::IidcCamera> pCamera,
                 const std::atomic<bool>& stop);
    ~CameraStream();
    CameraStream(const CameraStream&) = delete;
    CameraStream& operator=(const CameraStream&) = delete;

    /// Before the start: how long a lost camera is waited for; 0: not at all.
    void SetReconnection(unsigned int seconds);

    void Start(unsigned int buffers);

    /// What happens after a bus reset, when the stream runs again.
    void SetResumed(std::function<void()> resumed) { m_resumed = std::move(resumed); }

    /// Waits for the next frame.
    /// @param timeoutMs  milliseconds; 0: no limit
    /// @param pNumber    the frame's number, continued over all resets
    /// False when it was told to stop; a frame that has come is still given.
    bool Next(unsigned int timeoutMs, Zevrin::Image* pImage, unsigned long long* pNumber);

    /// The camera may have gone since, which is no failure.
    void Stop();

    /// What became of the frames that did not come; none when the camera cannot be asked.
    std::optional<Zevrin::CameraStats> GetLosses() const;

    Zevrin::IidcCamera& GetCamera() const { return *m_pCamera; }

  private:
    void AwaitReturn();
    void ReportStep(const Zevrin::ReconnectReport& report) const;
    void Resume(const Zevrin::Error& reason);

    const unsigned int m_serialNumber;
    const boost::shared_ptr<Zevrin::IidcCamera> m_pCamera;
    const std::atomic<bool>& m_stop;
    std::function<void()> m_resumed;
    FrameNumbers m_numbers;
    unsigned int m_buffers = 0;
    unsigned int m_gaps = 0;  // in the present stream, that the policy has bridged
    unsigned int m_vainReconnections = 0;
    unsigned int m_reconnectSeconds = 0;
    std::atomic<unsigned long long> m_frames{0};
};

}  // namespace ZevrinTool
