#include "Recorder.h"

#include <utility>

#include <zevrin/Image.h>

#include "Interruption.h"
#include "PictureMetadata.h"

namespace ZevrinTool {

namespace {

constexpr unsigned int kSpareBuffers = 8;  // for the camera to fill while the queue is full

}  // namespace

unsigned long long BurstClock::Count() const {
    unsigned long long count = 1 + CountTriggers();
    if (m_interval.count() > 0) {
        count += static_cast<unsigned long long>((std::chrono::steady_clock::now() - m_begin) / m_interval);
    }
    return count;
}

Recorder::Recorder(std::size_t index, unsigned int serialNumber,
                   boost::shared_ptr<Zevrin::IidcCamera> pCamera, const RecordShare& share)
    : m_index(index),
      m_serialNumber(serialNumber),
      m_share(share),
      m_names(serialNumber),
      m_stream(serialNumber, std::move(pCamera), share.stop),
      m_gate(share.plan.every, share.plan.burst) {}

Recorder::~Recorder() {
    m_share.stop = true;
    Join();
}

void Recorder::Start() {
    m_thread = std::thread([this] { Run(); });
}

const RecordOutcome& Recorder::Join() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
    return m_outcome;
}

void Recorder::Run() {
    const WorkEnd end = RunToItsEnd([this] { Record(); });
    m_outcome.exitCode = end.exitCode;
    m_outcome.failure = end.failure;
    if (!m_outcome.failure.empty()) {
        Complain(NameOf(m_serialNumber) + ": " + m_outcome.failure);
    }
    m_stream.Stop();
    m_outcome.losses = m_stream.GetLosses();
    m_outcome.framesPerSecond = m_rate.Get();
    m_done = true;
}

void Recorder::Record() {
    m_metadata = ReadMetadata(m_stream.GetCamera(), m_serialNumber);
    m_stream.SetResumed([this] {
        Complain(NameOf(m_serialNumber) + ": its bus was reset; connected again after frame " +
                 std::to_string(m_counts.delivered));
    });
    m_stream.Start(m_share.plan.queue.framesPerCamera + kSpareBuffers);
    unsigned int kept = 0;
    while (m_share.plan.count == 0 || kept < m_share.plan.count) {
        Shot shot;
        if (!m_stream.Next(m_share.plan.timeoutMs, &shot.image, &shot.number)) {
            break;
        }
        kept += Take(std::move(shot)) ? 1 : 0;
    }
}

/// True when the frame is on its way to the disk.
bool Recorder::Take(Shot&& shot) {
    const Zevrin::Image& image = shot.image;
    if (m_counts.delivered++ == 0) {
        m_outcome.width = image.GetWidth();
        m_outcome.height = image.GetHeight();
        m_outcome.pixelFormat = Zevrin::GetPixelFormatName(image.GetPixelFormat());
    }
    m_rate.Add(image);
    const unsigned long long burst = m_share.plan.burst != 0 ? m_share.bursts.Count() : 0;
    if (!m_gate.Keep(shot.number, burst)) {
        ++m_counts.skipped;
        return false;
    }
    shot.camera = m_index;
    shot.burst = burst;
    shot.file = m_names.Next(shot.number, m_share.plan.suffix);
    if (!m_share.queue.Push(std::move(shot))) {
        // Before all recorders are done, only a failure closes it.
        ++(m_share.queue.IsClosed() ? m_counts.unwritten : m_counts.queueDropped);
        return false;
    }
    return true;
}

}  // namespace ZevrinTool
