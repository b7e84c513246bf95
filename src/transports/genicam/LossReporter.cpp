#include "LossReporter.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>

#include "Failure.h"

namespace Zevrin {

Error LossReporter::Start() {
    try {
        m_reports.Start();
    } catch (const boost::thread_resource_error&) {
        return Failure(ERR_TRANSPORT_FAILED, "The system refuses a thread that watches over cameras.");
    }
    return Error();
}

void LossReporter::Stop() {
    m_reports.Stop();
}

void LossReporter::SetListener(TopologyListener* pListener) {
    const boost::this_thread::disable_interruption notInterrupted;
    boost::unique_lock<boost::mutex> lock(m_mutex);
    m_pListener = pListener;
    m_changed.wait(lock, [this] { return m_underWay == 0; });
}

void LossReporter::ReportLost(const boost::shared_ptr<HardwareInterface>& pCamera) {
    TopologyListener* pListener = nullptr;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (m_pListener == nullptr) {
            return;
        }
        pListener = m_pListener;
        ++m_underWay;
    }
    pListener->OnCameraLost(pCamera);
    boost::lock_guard<boost::mutex> lock(m_mutex);
    --m_underWay;
    m_changed.notify_all();
}

}  // namespace Zevrin
