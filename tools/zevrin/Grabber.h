#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <zevrin/IidcCamera.h>
#include <zevrin/Image.h>

#include "Tool.h"

namespace ZevrinTool {

/// What to grab from each camera.
struct GrabPlan {
    unsigned int count = 10;        ///< frames
    unsigned int timeoutMs = 2000;  ///< for one frame
    unsigned int buffers = 10;
    std::string folder;                 ///< of the images; empty: none are written
    unsigned int reconnectSeconds = 0;  ///< how long a camera that went away is waited for
};

/// What came of it.
struct GrabOutcome {
    unsigned int frames = 0;
    /// What became of the frames that did not come, as the camera object counts them; none when the camera
    /// was gone at the end.
    std::optional<Zevrin::CameraStats> losses;
    std::optional<double> framesPerSecond;  ///< of the frames that came, by their time stamps
    unsigned int width = 0;
    unsigned int height = 0;
    std::string pixelFormat;
    std::vector<std::string> files;
    ExitCode exitCode = kExitGood;
    std::string failure;  ///< why it ended early; empty when it did not
};

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
Zevrin::Error WaitForImage(Zevrin::IidcCamera& camera, Zevrin::Image* pImage, unsigned int timeoutMs,
                           const std::atomic<bool>& stop);

/// Throws `ToolFailure` when waiting for an image ended with an error.
void CheckImage(const Zevrin::Error& error, unsigned int timeoutMs);

/// Grabs from one connected camera on a thread of its own. A bus reset is survived by connecting again; so is
/// the camera's absence when the plan says so, by the library's reconnect policy.
class Grabber {
  public:
    Grabber(unsigned int serialNumber, boost::shared_ptr<Zevrin::IidcCamera> pCamera, const GrabPlan& plan);
    ~Grabber();
    Grabber(const Grabber&) = delete;
    Grabber& operator=(const Grabber&) = delete;

    void Start();

    /// Ends the grabbing early; the outcome says so. To be called from any thread.
    void Stop() { m_stop = true; }

    bool IsDone() const { return m_done; }
    unsigned int CountFrames() const { return m_frames; }
    unsigned int GetSerialNumber() const { return m_serialNumber; }

    /// Waits for the end.
    const GrabOutcome& Join();

  private:
    void Run();
    void Grab();
    void StartStream();
    void Resume(const Zevrin::Error& reason);
    void SetReconnectPolicy();
    void AwaitReturn();
    void ReportStep(const Zevrin::ReconnectReport& report) const;
    void Take(const Zevrin::Image& image);
    void CountLosses();

    const unsigned int m_serialNumber;
    const boost::shared_ptr<Zevrin::IidcCamera> m_pCamera;
    const GrabPlan m_plan;

    // The grab thread's own until it is done.
    GrabOutcome m_outcome;
    FrameNumbers m_numbers;
    double m_firstTime = 0;  // seconds
    unsigned int m_vainReconnections = 0;

    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_done{false};
    std::atomic<unsigned int> m_frames{0};
    std::thread m_thread;
};

}  // namespace ZevrinTool
