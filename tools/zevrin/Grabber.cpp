#include "Grabber.h"

#include "PictureMetadata.h"

namespace ZevrinTool {

Grabber::Grabber(unsigned int serialNumber, boost::shared_ptr<Zevrin::IidcCamera> pCamera,
                 const GrabPlan& plan)
    : m_serialNumber(serialNumber),
      m_plan(plan),
      m_names(serialNumber),
      m_stream(serialNumber, std::move(pCamera), m_stop) {}

Grabber::~Grabber() {
    Stop();
    Join();
}

void Grabber::Start() {
    m_thread = std::thread([this] { Run(); });
}

const GrabOutcome& Grabber::Join() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
    return m_outcome;
}

void Grabber::Run() {
    const WorkEnd end = RunToItsEnd([this] { Grab(); });
    m_outcome.exitCode = end.exitCode;
    m_outcome.failure = end.failure;
    m_outcome.losses = m_outcome.losses ? m_outcome.losses : m_stream.GetLosses();
    m_done = true;
}

void Grabber::Grab() {
    if (!m_plan.folder.empty()) {
        m_metadata = ReadMetadata(m_stream.GetCamera(), m_serialNumber);
    }
    m_stream.SetResumed([this] {
        Complain(NameOf(m_serialNumber) + ": its bus was reset; connected again after frame " +
                 std::to_string(m_outcome.frames));
    });
    m_stream.SetReconnection(m_plan.reconnectSeconds);
    m_stream.Start(m_plan.buffers);
    while (m_outcome.frames < m_plan.count) {
        Zevrin::Image image;
        unsigned long long number = 0;
        if (!m_stream.Next(m_plan.timeoutMs, &image, &number)) {
            throw ToolFailure(kExitFailed, "stopped");
        }
        Take(image, number);
    }
    m_outcome.losses = m_stream.GetLosses();  // stopping drops what still waits
    m_stream.Stop();
}

void Grabber::Take(const Zevrin::Image& image, unsigned long long number) {
    if (m_outcome.frames == 0) {
        m_outcome.width = image.GetWidth();
        m_outcome.height = image.GetHeight();
        m_outcome.pixelFormat = Zevrin::GetPixelFormatName(image.GetPixelFormat());
    }
    m_rate.Add(image);
    m_outcome.framesPerSecond = m_rate.Get();
    if (!m_plan.folder.empty()) {
        const std::string path = m_plan.folder + "/" + m_names.Next(number, ".png");
        Check(Zevrin::SaveImage(image, path, m_metadata));
        m_outcome.files.push_back(path);
    }
    m_frames = ++m_outcome.frames;
}

}  // namespace ZevrinTool
