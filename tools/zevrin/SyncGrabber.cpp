#include "SyncGrabber.h"

#include <filesystem>
#include <memory>
#include <vector>

namespace ZevrinTool {

SyncGrabber::SyncGrabber(const Zevrin::ImageMetadata& metadata, boost::shared_ptr<Zevrin::IidcCamera> pCamera,
                         const SyncPlan& plan, WriterPool* pPool, ContactSheet* pSheet)
    : m_metadata(metadata),
      m_serialNumber(metadata.serialNumber.value_or(0)),
      m_pCamera(std::move(pCamera)),
      m_plan(plan),
      m_pPool(pPool),
      m_pSheet(pSheet),
      m_names(m_serialNumber) {}

SyncGrabber::~SyncGrabber() {
    Stop();
    Join();
}

void SyncGrabber::Start() {
    m_thread = std::thread([this] {
        m_end = RunToItsEnd([this] { Grab(); });
        const Zevrin::Error ignored = m_pCamera->StopCapture();  // the camera may have gone
        static_cast<void>(ignored);
        m_isDone = true;
    });
}

const WorkEnd& SyncGrabber::Join() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
    return m_end;
}

std::string SyncGrabber::GetWriteFailure() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_writeFailure;
}

/// Ends by the camera's own numbers, so that one that loses a frame ends with the others.
void SyncGrabber::Grab() {
    unsigned long long sets = 0;
    while (sets < m_plan.count) {
        Zevrin::Image image;
        const Zevrin::Error error = WaitForImage(*m_pCamera, &image, m_plan.timeoutMs, m_stop);
        if (m_stop) {
            throw ToolFailure(kExitFailed, "stopped");
        }
        CheckImage(error, m_plan.timeoutMs);
        sets = Take(image);
    }
}

/// Which set of the camera's this is, counted from 1.
unsigned long long SyncGrabber::Take(const Zevrin::Image& image) {
    const Zevrin::TimeStamp stamp = image.GetTimeStamp();
    const Zevrin::PixelView view = Zevrin::ViewOf(image);
    const unsigned long long first =
        m_entries.empty() ? image.GetFrameId() : m_entries.front().record.frameId;
    const bool isNumbered = image.GetFrameId() > first;
    const unsigned long long number = isNumbered ? image.GetFrameId() - first : m_entries.size();
    if (number >= m_plan.count) {
        return number + 1;  // the frames before it were lost
    }
    SyncEntry entry;
    entry.record = {m_serialNumber, image.GetFrameId(), stamp.cycleSeconds, stamp.cycleCount,
                    stamp.cycleOffset};
    entry.isWanted = !m_plan.folder.empty();
    entry.width = view.width;
    entry.height = view.height;
    entry.stride = view.stride;
    entry.pixelFormat = Zevrin::GetPixelFormatName(view.pixelFormat);
    m_entries.push_back(entry);
    Zevrin::ImageMetadata metadata = m_metadata;
    metadata.frameId = entry.record.frameId;
    metadata.timeStamp = stamp;
    HandOver(view, metadata, &m_entries.back(),
             m_pSheet != nullptr && ContactSheet::Wants(number, m_plan.count));
    m_frames = static_cast<unsigned int>(m_entries.size());
    return number + 1;
}

/// Entries stay where they are while others are added, so that a writer can note its file.
void SyncGrabber::HandOver(const Zevrin::PixelView& view, const Zevrin::ImageMetadata& metadata,
                           SyncEntry* pEntry, bool isOnSheet) {
    if (m_plan.folder.empty() && !isOnSheet) {
        return;
    }
    const auto pBytes = std::make_shared<std::vector<unsigned char>>(view.data, view.data + view.size);
    Zevrin::PixelView copy = view;
    copy.data = pBytes->data();
    const std::string name = m_names.Next(pEntry->record.frameId, m_plan.suffix);
    const bool isTaken = m_pPool->Offer(view.size, [this, pBytes, copy, metadata, pEntry, isOnSheet, name] {
        const WorkEnd end = RunToItsEnd([&] {
            if (isOnSheet) {
                m_pSheet->Add(m_serialNumber, pEntry->record.frameId,
                              MakeThumbnail(copy, m_pSheet->GetThumbnailWidth()));
            }
            if (!m_plan.folder.empty()) {
                Write(copy, metadata, name, pEntry);
            }
        });
        if (end.exitCode != kExitGood) {
            NoteWriteFailure(end.failure);
        }
    });
    m_refused += isTaken || m_plan.folder.empty() ? 0 : 1;
}

void SyncGrabber::Write(const Zevrin::PixelView& view, const Zevrin::ImageMetadata& metadata,
                        const std::string& name, SyncEntry* pEntry) {
    const std::string path = m_plan.folder + "/" + name;
    const Zevrin::Error error = Zevrin::SavePixels(view, path, metadata);
    std::error_code problem;
    const auto bytes = std::filesystem::file_size(path, problem);
    if (error == Zevrin::ERR_OK && !problem) {
        pEntry->file = name;
        pEntry->bytes = bytes;
        return;
    }
    NoteWriteFailure(error != Zevrin::ERR_OK ? error.GetDescription() : problem.message());
}

void SyncGrabber::NoteWriteFailure(const std::string& failure) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_writeFailure.empty()) {
        m_writeFailure = failure;
    }
}

}  // namespace ZevrinTool
