#include "ControlWatch.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <chrono>
#include <utility>

namespace Zevrin {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kInterval(150);
constexpr unsigned int kMaxUnanswered = 5;

}  // namespace

ControlWatch::ControlWatch(const std::string& address, std::function<void()> onSilent)
    : m_reader(address),
      m_probe(address),
      m_onSilent(std::move(onSilent)),
      m_end(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!m_probe.IsOpen() || !m_end.IsOpen()) {  // it would never end, or take the device for silent
        throw boost::thread_resource_error();
    }
    m_thread = boost::thread([this] { Run(); });
}

ControlWatch::~ControlWatch() {
    const boost::this_thread::disable_interruption notInterrupted;
    eventfd_write(m_end.Get(), 1);
    m_thread.join();
}

bool ControlWatch::Read(unsigned int address, unsigned int* pValue) {
    if (!m_isExpectedToAnswer || !m_reader.IsOpen() || m_missedReads >= kMaxMissedReads ||
        !m_reader.ReadRegister(address, pValue)) {
        return false;
    }
    m_missedReads = 0;
    return true;
}

bool ControlWatch::IsToEnd() const {
    pollfd event{m_end.Get(), POLLIN, 0};
    return poll(&event, 1, 0) > 0;
}

/// Questions are counted, not time: while this process is kept from running, the device is not silent.
void ControlWatch::Run() {
    unsigned int unanswered = 0;
    while (!IsToEnd() && unanswered < kMaxUnanswered) {
        const auto next = Clock::now() + kInterval;
        m_probe.Ask();
        if (m_probe.WaitForAnswer(kInterval, m_end.Get())) {
            m_isExpectedToAnswer = true;
            unanswered = 0;
            pollfd event{m_end.Get(), POLLIN, 0};
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(next - Clock::now());
            poll(&event, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
        } else if (m_isExpectedToAnswer) {
            ++unanswered;
        }
    }
    if (!IsToEnd()) {
        m_onSilent();
    }
}

}  // namespace Zevrin
