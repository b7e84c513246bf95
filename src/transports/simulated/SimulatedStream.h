#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <vector>

#include "Faults.h"
#include "FrameQueue.h"
#include "SimulatedBus.h"
#include "TestPicture.h"
#include "zevrin/Simulation.h"

namespace Zevrin {

/// A frame from the end of its exposure on, with the settings that it was taken with.
struct Exposure {
    PictureSettings picture;
    bool isPainted = true;
    std::size_t size = 0;                ///< bytes
    std::vector<unsigned int> embedded;  ///< quadlets for the first pixels
    bool hasTimeStamp = false;           ///< also beside the image
    TimeStamp timeStamp;
};

/// A camera's frames on their way into the buffers of whoever listens.
class SimulatedStream {
  public:
    SimulatedStream(SimulatedBus& bus, const CameraDescription& camera);
    SimulatedStream(const SimulatedStream&) = delete;
    SimulatedStream& operator=(const SimulatedStream&) = delete;

    /// A frame and what becomes of it; without a queue, nothing.
    struct Parcel {
        boost::shared_ptr<FrameQueue> pQueue;
        boost::shared_ptr<const Exposure> pExposure;
        enum class Fate { kArrives, kDropped, kCorrupt, kDuplicated } fate = Fate::kArrives;
    };

    /// Held while a queue is used. Taken before the bus's mutex, and not by who holds that.
    boost::mutex& GetFillMutex() { return m_fillMutex; }

    // With the bus's mutex held.

    bool IsListening() const { return m_pQueue != nullptr; }
    bool IsListening(const boost::shared_ptr<FrameQueue>& pQueue) const {
        return m_pQueue != nullptr && m_pQueue == pQueue;
    }
    void Start(const boost::shared_ptr<FrameQueue>& pQueue);

    /// Frames that are still on their way never arrive. The result is no longer used once the fill mutex is
    /// free.
    boost::shared_ptr<FrameQueue> Detach();

    void SetFaults(const FaultDescription& faults) { m_faults = Faults(faults); }
    Faults& GetFaults() { return m_faults; }
    const SimulatedFrameCounts& GetCounts() const { return m_counts; }

    /// The camera sends a frame at the time of the event.
    Parcel Send(const BusEvent& event, const boost::shared_ptr<const Exposure>& pExposure);
    Parcel TakeDelayed(const BusEvent& event);

    /// Frames that are delayed never arrive. How many there were.
    unsigned int LoseDelayed();

    // With the fill mutex held, and not the bus's.

    void Deliver(const Parcel& parcel);

  private:
    void Fill(FrameQueue& queue, const Exposure& exposure, bool isComplete);

    SimulatedBus& m_bus;

    // Guarded by the bus's mutex.
    Faults m_faults;
    SimulatedFrameCounts m_counts;
    boost::shared_ptr<FrameQueue> m_pQueue;
    unsigned int m_epoch = 0;          ///< moves on when delayed frames are lost
    unsigned int m_delayedFrames = 0;  ///< sent to m_pQueue, not arrived yet

    boost::mutex m_fillMutex;  // guards m_picture
    TestPicture m_picture;
};

}  // namespace Zevrin
