#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <functional>
#include <optional>
#include <string>

#include <zevrin/CameraStats.h>
#include <zevrin/IidcCamera.h>
#include <zevrin/Image.h>

#include "Tool.h"

namespace ZevrinTool {

/// Numbers the frames that came, with gaps where some are missing in the camera's own numbering.
class FrameNumbers {
  public:
    /// The frame's number, continued where the camera begins again (GigE Vision counts to 65535).
    unsigned long long Add(unsigned long long frameId);
    /// The next number is not compared with the last: the stream was started again.
    void Restart() { m_hasLast = false; }

  private:
    bool m_isFirst = true;
    bool m_hasLast = false;  // of the present stream
    unsigned long long m_lastId = 0;
    unsigned long long m_number = 0;
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

/// The name of a frame's file: "1001-000042.png".
std::string PictureName(unsigned int serialNumber, unsigned long long number, const std::string& suffix);

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
    unsigned int m_vainReconnections = 0;
    unsigned int m_reconnectSeconds = 0;
    std::atomic<unsigned long long> m_frames{0};
};

}  // namespace ZevrinTool
