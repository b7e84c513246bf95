#include "Reconnector.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <utility>

#include "Failure.h"

namespace Zevrin {

namespace {

constexpr unsigned int kMaxIntervalMs = 60000;

thread_local const Reconnector* t_pReconnector = nullptr;  // whose thread this is

// The generation is looked at, which takes no lock: a bus reset is told to nobody.
constexpr boost::chrono::milliseconds kLookInterval(20);

}  // namespace

Reconnector::Reconnector(Actions actions) : m_actions(std::move(actions)) {}

Error Reconnector::SetPolicy(const ReconnectPolicy& policy) {
    if (policy.intervalMs < 1 || policy.intervalMs > kMaxIntervalMs) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "The interval between tries is %u ms; it must be 1 to %u ms.",
                       policy.intervalMs, kMaxIntervalMs);
    }
    if (policy.settings != RECONNECT_RESTORE && policy.settings != RECONNECT_KEEP) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The settings of a reconnection are %u; they must be %u (restore) or %u (keep).",
                       static_cast<unsigned int>(policy.settings),
                       static_cast<unsigned int>(RECONNECT_RESTORE),
                       static_cast<unsigned int>(RECONNECT_KEEP));
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_policy = policy;
    return Error();
}

ReconnectPolicy Reconnector::GetPolicy() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_policy;
}

Error Reconnector::Start(unsigned int serialNumber) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_serialNumber = serialNumber;
    m_isStopping = false;
    m_hasGivenUp = false;
    try {
        if (m_policy.limitMs != 0) {
            m_thread = boost::thread([this] { Run(); });
        }
    } catch (const boost::thread_resource_error&) {
        return Failure(ERR_FAILED, "The system refuses a thread that connects again.");
    }
    return Error();
}

void Reconnector::Stop() {
    const boost::this_thread::disable_interruption notInterrupted;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_isStopping = true;
        m_changed.notify_all();
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

Error Reconnector::Wait(unsigned int timeoutMs) {
    const boost::this_thread::disable_interruption notInterrupted;
    const auto deadline = Clock::now() + boost::chrono::milliseconds(timeoutMs);
    boost::unique_lock<boost::mutex> lock(m_mutex);
    for (;;) {
        const bool isLeftAlone = m_policy.limitMs == 0 || m_hasGivenUp || m_isStopping;
        if (!m_isRecovering) {
            lock.unlock();
            const bool isStale = m_actions.isStale();
            lock.lock();
            if (!isStale && !m_isRecovering) {
                return Error();
            }
            if (isLeftAlone) {
                return Failure(ERR_CAMERA_LOST,
                               "The connection to camera %u is stale, and is not made again.",
                               m_serialNumber);
            }
        }
        const auto now = Clock::now();
        if (now >= deadline) {
            return Failure(ERR_TIMEOUT, "Camera %u was not connected again within %u ms.", m_serialNumber,
                           timeoutMs);
        }
        m_changed.wait_until(lock, std::min<Clock::time_point>(deadline, now + kLookInterval));
    }
}

/// False when it is to stop.
bool Reconnector::Pause(Clock::duration duration) {
    boost::unique_lock<boost::mutex> lock(m_mutex);
    m_changed.wait_for(lock, duration, [this] { return m_isStopping; });
    return !m_isStopping;
}

bool Reconnector::IsCurrent() const {
    return t_pReconnector == this;
}

void Reconnector::Run() {
    t_pReconnector = this;
    while (Pause(kLookInterval)) {
        if (!m_actions.isStale()) {
            continue;
        }
        {
            boost::lock_guard<boost::mutex> lock(m_mutex);
            m_isRecovering = true;
        }
        m_lostAt = Clock::now();
        Recover();
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_isRecovering = false;
        m_changed.notify_all();
        if (m_hasGivenUp) {
            return;
        }
    }
}

/// Every failure is worth another try: a camera that is starting up refuses many a thing.
void Reconnector::Recover() {
    const ReconnectPolicy policy = GetPolicy();
    const Clock::time_point end = m_lostAt + boost::chrono::milliseconds(policy.limitMs);
    m_tries = 0;
    m_actions.suspend();
    Tell(RECONNECT_LOST, 0, Error());
    const auto tell = [this](ReconnectStep step, unsigned int count, const Error& error) {
        Tell(step, count, error);
    };
    Clock::duration pause(0);
    while (Pause(pause)) {
        ++m_tries;
        const Error error = m_actions.tryAgain(policy.settings, tell);
        if (error == ERR_OK) {
            Tell(RECONNECT_DONE, 0, error);
            return;
        }
        Tell(RECONNECT_TRY_FAILED, 0, error);
        const Clock::time_point now = Clock::now();
        if (now >= end) {
            {
                boost::lock_guard<boost::mutex> lock(m_mutex);
                m_hasGivenUp = true;
            }
            Tell(RECONNECT_GAVE_UP, 0, error);
            return;
        }
        pause = std::min<Clock::duration>(boost::chrono::milliseconds(policy.intervalMs), end - now);
    }
}

void Reconnector::Tell(ReconnectStep step, unsigned int count, const Error& error) const {
    const ReconnectPolicy policy = GetPolicy();
    if (policy.callback == nullptr) {
        return;
    }
    ReconnectReport report;
    report.serialNumber = m_serialNumber;
    report.step = step;
    report.tries = m_tries;
    report.elapsedMs = static_cast<unsigned int>(
        boost::chrono::duration_cast<boost::chrono::milliseconds>(Clock::now() - m_lostAt).count());
    report.count = count;
    report.error = error.GetType();
    report.description = error == ERR_OK ? "" : error.GetDescription();
    report.userData = policy.userData;
    policy.callback(&report);
}

}  // namespace Zevrin
