#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include "Transport.h"
#include "Worker.h"
#include "zevrin/Error.h"

namespace Zevrin {

/// Tells the bus manager which cameras were lost.
///
/// A loss is noticed on threads that the lost device's end waits for: it is therefore reported, and dealt
/// with, on a thread of the reporter. The application is told on another, the bus manager's.
class LossReporter {
  public:
    /// Must have succeeded before a camera is opened.
    /// Errors: ERR_TRANSPORT_FAILED.
    Error Start();
    void Stop();

    /// No report to the former listener is under way when this returns. Not from within a report.
    void SetListener(TopologyListener* pListener);

    /// On the calling thread, which holds no lock.
    void ReportLost(const boost::shared_ptr<HardwareInterface>& pCamera);

    Worker& GetReports() { return m_reports; }

  private:
    boost::mutex m_mutex;  // guards what follows
    boost::condition_variable m_changed;
    TopologyListener* m_pListener = nullptr;
    unsigned int m_underWay = 0;

    Worker m_reports;
};

}  // namespace Zevrin
