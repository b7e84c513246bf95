#include <algorithm>
#include <functional>
#include <vector>

#include "GigePeer.h"
#include "HardwareInterface.h"
#include "Image.h"
#include "Measure.h"
#include "OpenCamera.h"
#include "zevrin/CameraSystem.h"

namespace {

using namespace Zevrin;
using namespace ZevrinBench;

constexpr unsigned int kWidthAddress = 0x100;
constexpr unsigned int kHeightAddress = 0x104;
constexpr unsigned int kBuffers = 10;
constexpr double kSpan = 0.7;   // seconds of one side at a time
constexpr double kRunUp = 0.2;  // seconds before that
constexpr int kTurns = 15;

/// What a consumer had of a span.
struct Harvest {
    double framesPerSecond = 0;
    double processor = 0;  ///< seconds for each frame, of the whole process
};

/// Calls `take`, which waits for a frame and says whether one came, for as long as a span lasts.
template <typename Take>
Harvest Gather(const Take& take) {
    for (const double begin = Now(CLOCK_MONOTONIC); Now(CLOCK_MONOTONIC) - begin < kRunUp;) {
        take();
    }
    const double processorBefore = Now(CLOCK_PROCESS_CPUTIME_ID);
    const double begin = Now(CLOCK_MONOTONIC);
    double frames = 0;
    double took = 0;
    for (; took < kSpan; took = Now(CLOCK_MONOTONIC) - begin) {
        frames += take() ? 1 : 0;
    }
    return {frames / took, (Now(CLOCK_PROCESS_CPUTIME_ID) - processorBefore) / std::max(1.0, frames)};
}

struct Shape {
    unsigned int size;  ///< pixels, each way
    unsigned int packetSize;
};

/// Images, and those of them whose pixels are where the stream has received them.
struct Places {
    double images = 0;
    double inPlace = 0;
};

/// Through the camera object, into memory of the caller's.
Harvest GatherOurs(const GigePeer& peer, const Shape& shape, Places* pPlaces) {
    OpenCamera camera;
    ZevrinBench::Require(camera.Connect(peer.GetSerialNumber()));
    ZevrinBench::Require(camera.WriteRegisterBlock(kDeviceMemory, kWidthAddress, &shape.size, 1));
    ZevrinBench::Require(camera.WriteRegisterBlock(kDeviceMemory, kHeightAddress, &shape.size, 1));
    ZevrinConfig config;
    config.numBuffers = kBuffers;
    config.packetSize = shape.packetSize;
    ZevrinBench::Require(camera.SetConfiguration(&config));
    const std::size_t imageSize = std::size_t{shape.size} * shape.size;
    std::vector<unsigned char> memory(imageSize * kBuffers);
    ZevrinBench::Require(
        camera.SetUserBuffers(memory.data(), static_cast<int>(imageSize), static_cast<int>(kBuffers)));
    ZevrinBench::Require(camera.StartCapture(nullptr, nullptr));
    Image image;
    const Harvest harvest = Gather([&] {
        if (camera.RetrieveBuffer(&image) != ERR_OK) {
            return false;
        }
        const std::less<const unsigned char*> isBefore;
        const bool isOutside = isBefore(image.GetData(), memory.data()) ||
                               !isBefore(image.GetData(), memory.data() + memory.size());
        pPlaces->images += 1;
        pPlaces->inPlace += isOutside ? 0 : 1;
        return true;
    });
    ZevrinBench::Require(camera.StopCapture());
    ZevrinBench::Require(image.ReleaseBuffer());
    return harvest;
}

/// Through Aravis alone, with the same socket.
Harvest GatherBare(const GigePeer& peer, const Shape& shape, bool ownSocketOption) {
    BareDevice bare(peer.GetAddress());
    bare.SetInteger("Width", shape.size);
    bare.SetInteger("Height", shape.size);
    bare.SetInteger("GevSCPSPacketSize", shape.packetSize);
    arv_gv_device_set_packet_size_adjustment(ARV_GV_DEVICE(bare.Get()), ARV_GV_PACKET_SIZE_ADJUSTMENT_NEVER);
    if (!ownSocketOption) {
        arv_gv_device_set_stream_options(ARV_GV_DEVICE(bare.Get()),
                                         ARV_GV_STREAM_OPTION_PACKET_SOCKET_DISABLED);
    }
    const auto payload = static_cast<std::size_t>(bare.GetInteger("PayloadSize"));
    AravisError error;
    const GObjectHandle<ArvStream> pStream(
        arv_device_create_stream(bare.Get(), nullptr, nullptr, error.Out()));
    ZevrinBench::Require(error);
    g_object_set(pStream.get(), "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size",
                 static_cast<gint>(std::max<std::size_t>(2 * payload, 1 << 20)), nullptr);
    for (unsigned int index = 0; index < kBuffers; ++index) {
        arv_stream_push_buffer(pStream.get(), arv_buffer_new_allocate(payload));
    }
    bare.Execute("AcquisitionStart");
    const Harvest harvest = Gather([&] {
        constexpr guint64 kLongestUs = 1000000;
        ArvBuffer* const pBuffer = arv_stream_timeout_pop_buffer(pStream.get(), kLongestUs);
        if (pBuffer == nullptr) {
            return false;
        }
        const bool isComplete = arv_buffer_get_status(pBuffer) == ARV_BUFFER_STATUS_SUCCESS;
        arv_stream_push_buffer(pStream.get(), pBuffer);
        return isComplete;
    });
    bare.Execute("AcquisitionStop");
    return harvest;
}

/// The two in turn on one camera, which sends as fast as it can.
void GigeStream(benchmark::State& state) {
    const Shape shape{static_cast<unsigned int>(state.range(0)), static_cast<unsigned int>(state.range(1))};
    const bool ownSocketOption = state.range(2) != 0;
    const GigePeer peer(1);
    const CameraSystem system;  // finds the camera once for all turns
    std::vector<double> frames, bareFrames, processor, bareProcessor, frameRatios, processorRatios;
    Places places;
    for (auto round : state) {
        for (int turn = 0; turn < kTurns; ++turn) {
            const Harvest ours = GatherOurs(peer, shape, &places);
            const Harvest bare = GatherBare(peer, shape, ownSocketOption);
            frames.push_back(ours.framesPerSecond);
            bareFrames.push_back(bare.framesPerSecond);
            processor.push_back(ours.processor);
            bareProcessor.push_back(bare.processor);
            frameRatios.push_back(ours.framesPerSecond / bare.framesPerSecond);
            processorRatios.push_back(ours.processor / bare.processor);
        }
        state.SetIterationTime(1 / Median(frames));
        state.counters["frames_per_s"] = Median(frames);
        state.counters["bare_frames_per_s"] = Median(bareFrames);
        state.counters["frame_ratio"] = Median(frameRatios);
        state.counters["processor_us"] = Median(processor) * 1e6;
        state.counters["bare_processor_us"] = Median(bareProcessor) * 1e6;
        state.counters["in_place"] = places.inPlace / places.images;
        ShowRatio(state, Median(processorRatios), 1.05);
        if (Median(frameRatios) < 0.97) {
            state.SetLabel("MISSED: frames");
        }
    }
}

BENCHMARK(GigeStream)
    ->ArgNames({"size", "packet", "aravis_socket"})
    ->ArgsProduct({{512, 2048}, {1400, 8000}, {0}})
    ->Args({2048, 8000, 1})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
