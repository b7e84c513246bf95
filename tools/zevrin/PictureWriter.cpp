#include "PictureWriter.h"

#include <unistd.h>

#include <cstdio>
#include <exception>

#include <zevrin/ImageConversion.h>

#include "Folder.h"

namespace ZevrinTool {

namespace {

constexpr double kBytesPerMebibyte = 1 << 20;

Json DescribeShot(const Shot& shot, unsigned int serialNumber, const RecordPlan& plan) {
    const Zevrin::TimeStamp stamp = shot.image.GetTimeStamp();
    const Zevrin::PixelFormat source = shot.image.GetPixelFormat();
    Json entry = {{"file", shot.file},
                  {"serialNumber", serialNumber},
                  {"frame", shot.number},
                  {"frameId", shot.image.GetFrameId()},
                  {"seconds", stamp.seconds},
                  {"microSeconds", stamp.microSeconds},
                  {"width", shot.image.GetWidth()},
                  {"height", shot.image.GetHeight()},
                  {"pixelFormat", Zevrin::GetPixelFormatName(plan.pixelFormat.value_or(source))},
                  {"sourcePixelFormat", Zevrin::GetPixelFormatName(source)}};
    if (Zevrin::HasBusTime(stamp)) {
        entry.update({{"cycleSeconds", stamp.cycleSeconds},
                      {"cycleCount", stamp.cycleCount},
                      {"cycleOffset", stamp.cycleOffset}});
    }
    if (shot.burst != 0) {
        entry["burst"] = shot.burst;
    }
    return entry;
}

void RequireSpace(const RecordPlan& plan, unsigned long long bytes) {
    const unsigned long long free = GetFreeSpace(plan.folder);
    if (free < plan.keepFree || free - plan.keepFree < bytes) {
        char text[96];
        std::snprintf(text, sizeof text, "the disk has %.1f MiB free, of which --keep-free keeps %.1f MiB",
                      static_cast<double>(free) / kBytesPerMebibyte,
                      static_cast<double>(plan.keepFree) / kBytesPerMebibyte);
        throw ToolFailure(kExitFailed, text + (bytes == 0 ? std::string(": nothing can be written")
                                                          : ": no room for a frame of " +
                                                                std::to_string(bytes) + " bytes"));
    }
}

/// Nothing is begun on a disk that is full.
const std::string& CheckFolder(const RecordPlan& plan) {
    RequireSpace(plan, 0);
    return plan.folder;
}

}  // namespace

PictureWriter::PictureWriter(const RecordShare& share, const Recorders& recorders)
    : m_share(share), m_recorders(recorders), m_index(CheckFolder(share.plan)) {}

PictureWriter::~PictureWriter() {
    m_share.queue.Close();
    Join();
}

void PictureWriter::Start() {
    for (unsigned int count = 0; count < m_share.plan.writers; ++count) {
        m_threads.emplace_back([this] { Run(); });
    }
}

void PictureWriter::Join() {
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    m_threads.clear();
}

std::string PictureWriter::GetFailure() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_failure;
}

void PictureWriter::Run() {
    for (Shot shot; m_share.queue.Pop(&shot);) {
        ShotCounts& counts = m_recorders[shot.camera]->GetCounts();
        const std::size_t bytes = shot.image.GetDataSize();
        try {
            Write(shot);
            ++counts.written;
            m_bytes += bytes;
        } catch (const std::exception& problem) {
            ++counts.unwritten;
            GiveUp(problem.what());
        }
        const Zevrin::Error released = shot.image.ReleaseBuffer();
        static_cast<void>(released);
        m_share.queue.Finish(shot.camera, bytes);
    }
}

void PictureWriter::GiveUp(const std::string& reason) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_failure = m_failure.empty() ? reason : m_failure;
    }
    m_share.stop = true;
    const std::vector<unsigned long long> discarded = m_share.queue.Discard();
    for (std::size_t camera = 0; camera < discarded.size(); ++camera) {
        m_recorders[camera]->GetCounts().unwritten += discarded[camera];
    }
}

void PictureWriter::Write(const Shot& shot) {
    const unsigned int serialNumber = m_recorders[shot.camera]->GetSerialNumber();
    const std::string path = m_share.plan.folder + "/" + shot.file;
    RequireSpace(m_share.plan, shot.image.GetDataSize());
    m_index.Reserve();
    WriteFile(shot, path);
    try {
        m_index.Append(DescribeShot(shot, serialNumber, m_share.plan));
    } catch (const ToolFailure&) {
        unlink(path.c_str());  // no file that the index does not know
        unlink((path + ".json").c_str());
        throw;
    }
}

void PictureWriter::WriteFile(const Shot& shot, const std::string& path) const {
    const Zevrin::ImageMetadata& metadata = m_recorders[shot.camera]->GetMetadata();
    if (!m_share.plan.pixelFormat) {
        Check(Zevrin::SaveImage(shot.image, path, metadata));
        return;
    }
    Zevrin::PixelBuffer converted;
    Zevrin::ImageMetadata whole = metadata;
    whole.frameId = shot.image.GetFrameId();
    whole.timeStamp = shot.image.GetTimeStamp();
    Zevrin::ConversionTarget target;
    target.pixelFormat = *m_share.plan.pixelFormat;
    Check(Zevrin::ConvertImage(shot.image, target, &converted));
    Check(Zevrin::SavePixels(converted.View(), path, whole));
}

}  // namespace ZevrinTool
