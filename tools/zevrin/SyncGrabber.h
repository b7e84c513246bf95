#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include <zevrin/IidcCamera.h>
#include <zevrin/Image.h>
#include <zevrin/ImageFile.h>

#include "CameraStream.h"
#include "ContactSheet.h"
#include "SyncIndex.h"
#include "Tool.h"
#include "WriterPool.h"

namespace ZevrinTool {

/// What to grab from each of the cameras that are in step.
struct SyncPlan {
    unsigned int count = 200;       ///< sets
    unsigned int timeoutMs = 2000;  ///< for one image
    std::string folder;             ///< of the images; empty: none are written
    std::string suffix = ".png";    ///< ".raw": the bytes as they are
};

/// Grabs from a camera that has been started, on a thread of its own. Images are copied at once and written
/// by a pool, so that the stream's buffers are free again for what the camera sends.
class SyncGrabber {
  public:
    /// @param metadata  of all its pictures, with the serial number
    /// @param pSheet    null: there is none
    SyncGrabber(const Zevrin::ImageMetadata& metadata, boost::shared_ptr<Zevrin::IidcCamera> pCamera,
                const SyncPlan& plan, WriterPool* pPool, ContactSheet* pSheet);
    ~SyncGrabber();
    SyncGrabber(const SyncGrabber&) = delete;
    SyncGrabber& operator=(const SyncGrabber&) = delete;

    void Start();
    void Stop() { m_stop = true; }
    bool IsDone() const { return m_isDone; }
    unsigned int CountFrames() const { return m_frames; }
    unsigned int GetSerialNumber() const { return m_serialNumber; }

    /// Waits for the end.
    const WorkEnd& Join();

    /// The images in the order of their arrival; to be read when the pool has finished.
    const std::deque<SyncEntry>& GetEntries() const { return m_entries; }
    /// Images that were to be written and that the pool had no room for.
    unsigned int CountRefused() const { return m_refused; }
    /// Why a file could not be written, the first time; empty when all could.
    std::string GetWriteFailure() const;

  private:
    void Grab();
    unsigned long long Take(const Zevrin::Image& image);
    void HandOver(const Zevrin::PixelView& view, const Zevrin::ImageMetadata& metadata, SyncEntry* pEntry,
                  bool isOnSheet);
    void Write(const Zevrin::PixelView& view, const Zevrin::ImageMetadata& metadata, const std::string& name,
               SyncEntry* pEntry);
    void NoteWriteFailure(const std::string& failure);

    const Zevrin::ImageMetadata m_metadata;
    const unsigned int m_serialNumber;
    const boost::shared_ptr<Zevrin::IidcCamera> m_pCamera;
    const SyncPlan m_plan;
    WriterPool* const m_pPool;
    ContactSheet* const m_pSheet;

    // The grab thread's until it is done; each entry's file is its writer's.
    std::deque<SyncEntry> m_entries;
    PictureNames m_names;
    unsigned int m_refused = 0;
    WorkEnd m_end;

    mutable std::mutex m_mutex;  // guards the failure
    std::string m_writeFailure;
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_isDone{false};
    std::atomic<unsigned int> m_frames{0};
    std::thread m_thread;
};

}  // namespace ZevrinTool
