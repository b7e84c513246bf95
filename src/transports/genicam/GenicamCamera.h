#pragma once

#include <boost/smart_ptr/enable_shared_from_this.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include "DeviceEvents.h"
#include "DeviceListing.h"
#include "HardwareInterface.h"

namespace Zevrin {

class GenicamDevice;
class GenicamStream;
class LossReporter;
class RegisterAccess;

/// A GigE Vision or USB3 Vision camera, present or away.
class GenicamCamera : public HardwareInterface, public boost::enable_shared_from_this<GenicamCamera> {
  public:
    GenicamCamera(const DeviceListing& listing, boost::shared_ptr<LossReporter> pReporter);
    ~GenicamCamera() override;

    /// Where discovery found the camera this time.
    void SetListing(const DeviceListing& listing);
    DeviceListing GetListing() const;

    /// Whether it is open and not lost: a loss will be noticed without looking for cameras.
    bool IsControlled() const;

    int GetInterfaceType() const override;
    CameraIdentity GetIdentity() const override;
    Error Open() override;
    void Close() override;
    RegisterBases GetRegisterBases() const override;
    Error ReadQuadlets(unsigned short addressHigh, unsigned int addressLow, unsigned int* pValues,
                       unsigned int count) override;
    Error WriteQuadlets(unsigned short addressHigh, unsigned int addressLow, const unsigned int* pValues,
                        unsigned int count, bool broadcast) override;
    Error GetBusTime(TimeStamp* pTimeStamp) override;
    Error GetPortErrors(unsigned int* pCount) override;
    Error GetStreamFormat(StreamFormat* pFormat) override;
    Error StartStream(const ZevrinConfig& config, const boost::shared_ptr<FrameQueue>& pQueue) override;
    bool IsStreaming(const boost::shared_ptr<FrameQueue>& pQueue) const override;
    void StopStream(const boost::shared_ptr<FrameQueue>& pQueue) override;
    StreamCounters GetStreamCounters() const override;
    Error GetEventNames(std::vector<std::string>* pNames) override;
    Error SetEventSink(EventSink* pSink) override;
    Error SetEventNotification(const std::string& name, bool on) override;

  private:
    /// What there is while the camera is under control.
    struct Session {
        boost::shared_ptr<GenicamDevice> pDevice;
        boost::shared_ptr<RegisterAccess> pView;
    };

    Error OpenSession(bool* pIsToBeReported);
    void ReportLoss();
    Error RequireSession(Session* pSession) const;
    boost::shared_ptr<GenicamStream> GetStream() const;
    void EndStream();
    void HandleLoss();

    const boost::shared_ptr<LossReporter> m_pReporter;

    boost::mutex m_openMutex;    // one opening or closing at a time
    boost::mutex m_streamMutex;  // one start or stop of a stream at a time

    DeviceEvents m_events;

    mutable boost::mutex m_mutex;  // guards what follows; never held while anything else is called
    DeviceListing m_listing;
    CameraIdentity m_identity;
    Session m_session;
    unsigned int m_openCount = 0;
    bool m_isLost = false;           // and not opened since
    boost::thread::id m_reportedBy;  // while a loss is being reported; another thread's opening waits
    boost::condition_variable m_reported;
    boost::shared_ptr<GenicamStream> m_pStream;
    StreamCounters m_endedStreams;  // all that there ever were
};

}  // namespace Zevrin
