#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <thread>

#include <zevrin/CameraStats.h>
#include <zevrin/IidcCamera.h>
#include <zevrin/ImageFile.h>

#include "CameraStream.h"
#include "FrameGate.h"
#include "Tool.h"
#include "WriteQueue.h"

namespace ZevrinTool {

/// What to record from each camera, and how.
struct RecordPlan {
    std::string folder;
    std::string suffix = ".png";
    std::optional<Zevrin::PixelFormat> pixelFormat;  ///< to convert to; none: the camera's own
    unsigned int count = 0;                          ///< frames to keep; 0: no end
    unsigned int timeoutMs = 10000;                  ///< for one frame; 0: no limit
    unsigned int every = 1;
    unsigned int burst = 0;      ///< frames; 0: no bursts
    double intervalSeconds = 0;  ///< from burst to burst; 0: they are triggered
    unsigned int writers = 2;    ///< threads
    QueueLimits queue;
    unsigned long long keepFree = 100ULL << 20;  ///< bytes of the disk that are not written
};

/// When bursts begin: the first at once, the others at intervals and with each trigger from outside.
class BurstClock {
  public:
    explicit BurstClock(double intervalSeconds) : m_interval(intervalSeconds) {}
    /// From 1 on.
    unsigned long long Count() const;

  private:
    const std::chrono::duration<double> m_interval;
    const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
};

/// What has become of a camera's frames so far. Each that was delivered ends in exactly one of the others.
struct ShotCounts {
    std::atomic<unsigned long long> delivered{0};
    std::atomic<unsigned long long> skipped{0};       ///< not asked for
    std::atomic<unsigned long long> queueDropped{0};  ///< found the queue full
    std::atomic<unsigned long long> written{0};
    std::atomic<unsigned long long> unwritten{0};  ///< given up when the recording failed
};

/// What is known of a camera's recording at its end.
struct RecordOutcome {
    std::optional<Zevrin::CameraStats> losses;  ///< frames that were not delivered
    std::optional<double> framesPerSecond;      ///< of the frames that were delivered
    unsigned int width = 0;
    unsigned int height = 0;
    std::string pixelFormat;
    ExitCode exitCode = kExitGood;
    std::string failure;  ///< why it ended early; empty when it did not
};

/// What all cameras of a recording share.
struct RecordShare {
    const RecordPlan& plan;
    const BurstClock& bursts;
    WriteQueue& queue;
    std::atomic<bool>& stop;
};

/// Takes one camera's frames, on a thread of its own, and puts those that are wanted into the queue.
class Recorder {
  public:
    Recorder(std::size_t index, unsigned int serialNumber, boost::shared_ptr<Zevrin::IidcCamera> pCamera,
             const RecordShare& share);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    void Start();
    bool IsDone() const { return m_done; }
    /// Waits for the end.
    const RecordOutcome& Join();

    unsigned int GetSerialNumber() const { return m_serialNumber; }
    const Zevrin::ImageMetadata& GetMetadata() const { return m_metadata; }
    ShotCounts& GetCounts() { return m_counts; }

  private:
    void Run();
    void Record();
    bool Take(Shot&& shot);

    const std::size_t m_index;
    const unsigned int m_serialNumber;
    const RecordShare m_share;
    Zevrin::ImageMetadata m_metadata;  // complete before the first frame
    ShotCounts m_counts;
    std::atomic<bool> m_done{false};

    // The recorder's thread's own until it is done.
    PictureNames m_names;
    CameraStream m_stream;
    FrameGate m_gate;
    FrameRate m_rate;
    RecordOutcome m_outcome;

    std::thread m_thread;
};

}  // namespace ZevrinTool
