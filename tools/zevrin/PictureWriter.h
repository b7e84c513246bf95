#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Recorder.h"
#include "RecordingIndex.h"
#include "WriteQueue.h"

namespace ZevrinTool {

using Recorders = std::vector<std::unique_ptr<Recorder>>;

/// The threads that write what the queue holds. The first frame that cannot be written ends the recording:
/// what has been written until then is whole and stands in the index.
class PictureWriter {
  public:
    /// @param recorders  in the order of `Shot::camera`
    PictureWriter(const RecordShare& share, const Recorders& recorders);
    ~PictureWriter();
    PictureWriter(const PictureWriter&) = delete;
    PictureWriter& operator=(const PictureWriter&) = delete;

    void Start();

    /// Waits until all that the closed queue holds has been written.
    void Join();

    /// Why the recording ended early; empty when it did not.
    std::string GetFailure() const;

    unsigned long long CountBytes() const { return m_bytes; }
    const std::string& GetIndexPath() const { return m_index.GetPath(); }

  private:
    void Run();
    void Write(const Shot& shot);
    void WriteFile(const Shot& shot, const std::string& path) const;
    void GiveUp(const std::string& reason);

    const RecordShare m_share;
    const Recorders& m_recorders;
    RecordingIndex m_index;
    std::atomic<unsigned long long> m_bytes{0};  // of the frames that were written, as they came
    std::vector<std::thread> m_threads;

    mutable std::mutex m_mutex;  // guards what follows
    std::string m_failure;
};

}  // namespace ZevrinTool
