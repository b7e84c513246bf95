#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <zevrin/IidcCamera.h>
#include <zevrin/Image.h>
#include <zevrin/ImageFile.h>

#include "CameraStream.h"
#include "Tool.h"

namespace ZevrinTool {

/// What to grab from each camera.
struct GrabPlan {
    unsigned int count = 10;        ///< frames
    unsigned int timeoutMs = 2000;  ///< for one frame
    unsigned int buffers = 10;
    unsigned int reconnectSeconds = 0;  ///< how long a lost camera is waited for; 0: not at all
    std::string folder;                 ///< of the images; empty: none are written
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

/// Grabs from one connected camera on a thread of its own. A bus reset is survived by connecting again.
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
    void Take(const Zevrin::Image& image, unsigned long long number);

    const unsigned int m_serialNumber;
    const GrabPlan m_plan;

    std::atomic<bool> m_stop{false};

    // The grab thread's own until it is done.
    GrabOutcome m_outcome;
    PictureNames m_names;
    Zevrin::ImageMetadata m_metadata;
    CameraStream m_stream;
    FrameRate m_rate;

    std::atomic<bool> m_done{false};
    std::atomic<unsigned int> m_frames{0};
    std::thread m_thread;
};

}  // namespace ZevrinTool
