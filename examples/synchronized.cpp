// Starts all cameras of a bus in step, takes twenty images from each, and tells how far they are apart.

#include <zevrin/CameraSystem.h>
#include <zevrin/IidcCamera.h>
#include <zevrin/Image.h>
#include <zevrin/SyncReport.h>

#include <cstdio>
#include <vector>

#include "Check.h"

namespace {

constexpr int kImages = 20;

/// The image's bus time, which is all that is kept: its buffer goes back at once.
Zevrin::SyncRecord RecordOf(unsigned int serialNumber, const Zevrin::Image& image) {
    const Zevrin::TimeStamp stamp = image.GetTimeStamp();
    return {serialNumber, image.GetFrameId(), stamp.cycleSeconds, stamp.cycleCount, stamp.cycleOffset};
}

/// A start whose writes were held up can simply be tried again.
void StartInStep(const std::vector<boost::shared_ptr<Zevrin::CameraInternal>>& cameras) {
    const auto count = static_cast<unsigned int>(cameras.size());
    Zevrin::Error error;
    for (int tries = 0; tries < 50; ++tries) {
        error = Zevrin::CameraInternal::StartSyncCapture(count, cameras, nullptr, nullptr);
        if (error != Zevrin::ERR_ISOCH_SYNC_FAILED) {
            break;
        }
    }
    Check(error);
}

}  // namespace

int main() {
    Zevrin::CameraSystem system;
    std::vector<Zevrin::CameraListing> listings;
    Check(system.List(&listings));
    std::vector<unsigned int> serialNumbers;
    std::vector<boost::shared_ptr<Zevrin::CameraInternal>> cameras;
    for (const Zevrin::CameraListing& listing : listings) {
        boost::shared_ptr<Zevrin::IidcCamera> camera;
        Check(system.Connect(listing.serialNumber, &camera));
        serialNumbers.push_back(listing.serialNumber);
        cameras.push_back(camera);
    }
    StartInStep(cameras);
    std::vector<Zevrin::SyncRecord> records;
    for (int count = 0; count < kImages; ++count) {
        for (std::size_t index = 0; index < cameras.size(); ++index) {
            Zevrin::Image image;
            Check(cameras[index]->RetrieveBuffer(&image));
            records.push_back(RecordOf(serialNumbers[index], image));
        }
    }
    for (const auto& camera : cameras) {
        Check(camera->StopCapture());
    }
    Zevrin::SyncReport report;
    Check(Zevrin::AnalyzeSync(serialNumbers, records, &report));
    for (const Zevrin::SyncCamera& camera : report.cameras) {
        std::printf("%u: %.1f us from the first camera on average\n", camera.serialNumber,
                    camera.meanTicks / Zevrin::kSyncTicksPerMicrosecond);
    }
    std::puts(report.isInStep ? "in step" : "not in step");
    return report.isInStep ? 0 : 1;
}
