// What a stream counts, for as long as the component lives or until it is reset.

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>

#include "FrameQueue.h"
#include "HardwareInterface.h"
#include "Iso.h"

namespace Zevrin {

/// The transport counts for all that use the camera, this component for itself.
StreamCounters Iso::AddResends(const StreamCounters& total, const StreamCounters& from,
                               const StreamCounters& to) {
    return {total.resendPacketsRequested + to.resendPacketsRequested - from.resendPacketsRequested,
            total.resendPacketsReceived + to.resendPacketsReceived - from.resendPacketsReceived};
}

unsigned int Iso::GetNumOfImageCorrupt() const {
    return m_pCounters->corrupt;
}

unsigned int Iso::GetNumOfImageDriverDropped() const {
    return m_pCounters->driverDropped;
}

unsigned int Iso::GetNumOfImageDropped() const {
    return m_pCounters->dropped;
}

unsigned int Iso::GetNumOfImageDelivered() const {
    return m_pCounters->delivered;
}

void Iso::ResetNumOfImageCorrupt() {
    m_pCounters->corrupt = 0;
}

void Iso::ResetNumOfImageDriverDropped() {
    m_pCounters->driverDropped = 0;
}

void Iso::ResetNumOfImageDropped() {
    m_pCounters->dropped = 0;
}

StreamCounters Iso::CountResends() const {
    boost::unique_lock<boost::mutex> lock(m_mutex);
    const boost::shared_ptr<HardwareInterface> pHardware = m_pStreamHardware.lock();
    const StreamCounters ended = m_resends;
    const StreamCounters base = m_resendsBase;
    lock.unlock();
    return pHardware ? AddResends(ended, base, pHardware->GetStreamCounters()) : ended;
}

unsigned int Iso::GetNumResendPacketsReceived() const {
    return CountResends().resendPacketsReceived;
}

unsigned int Iso::GetNumResendPacketsRequested() const {
    return CountResends().resendPacketsRequested;
}

Error Iso::ResetNumResendPacketsReceived() {
    const unsigned int count = CountResends().resendPacketsReceived;
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_resends.resendPacketsReceived -= count;
    return Error();
}

Error Iso::ResetNumResendPacketsRequested() {
    const unsigned int count = CountResends().resendPacketsRequested;
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_resends.resendPacketsRequested -= count;
    return Error();
}

}  // namespace Zevrin
