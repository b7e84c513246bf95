#pragma once

#include <cstring>

#include "CameraEvents.h"
#include "Failure.h"
#include "IidcCamera.h"
#include "Image.h"
#include "MeteredTransport.h"
#include "SweepRow.h"
#include "zevrin/CameraSystem.h"
#include "zevrin/Simulation.h"

namespace Zevrin {

// The operations of the camera object and of the concrete camera, and what each comes to when one of its
// accesses is lost.

inline boost::shared_ptr<Simulation> g_pSimulation;

constexpr unsigned int kSerialNumber = 1001;
constexpr unsigned int kEntriesPerAccess = 128;
constexpr std::size_t kFirstOfEntries = 5;  // number of the access

inline Error Ok(bool condition) {
    return condition ? Error() : Failure(ERR_FAILED, "not so");
}

inline void Prepared(const Error& error) {
    EXPECT_EQ(error, ERR_OK) << error.GetTrace();
}

inline void Start(SweptCamera& camera) {
    Prepared(camera.StartCapture(nullptr, nullptr));
}

/// What the operations are given.
struct Inputs {
    Property gain;
    Property delay;
    TriggerMode trigger;
    StrobeControl strobe;
    std::vector<unsigned int> entries = std::vector<unsigned int>(kEntries);
    EmbeddedImageInfo embedded;
    std::string eventName = GetCameraEventNames().front();
    EventOptions event;
    VideoModeSetting videoMode;
    Format7Settings format7;
    ZevrinConfig config;

    Inputs() {
        gain.type = GAIN;
        gain.onOff = gain.absControl = true;
        gain.absValue = 3;
        delay = gain;
        delay.absValue = 0.01F;
        trigger.onOff = true;
        trigger.source = 7;
        strobe.source = 1;
        strobe.onOff = true;
        strobe.duration = 2;
        for (unsigned int index = 0; index < kEntries; ++index) {
            entries[index] = (index + 1) % kEntries;
        }
        embedded.timestamp.onOff = true;
        event.callback = [](const DeviceEvent*) {};
        event.eventName = eventName.c_str();
        videoMode.mode = 5;
        videoMode.frameRate = 2;
        format7.left = format7.top = 8;
        format7.width = format7.height = 16;
        format7.pixelFormat = PIXEL_FORMAT_MONO16;
    }
};
inline Inputs g_inputs;

/// The switches are told before the probe, which a failure to read back leaves in the register.
inline void AfterTheProbe(const Loss& loss) {
    for (unsigned int item = 0; item < EmbeddedImageInfo::kItemCount && loss.number > 1; ++item) {
        EmbeddedImageItem* const pItem = &loss.record.embedded.timestamp + item;
        pItem->onOff = (&loss.whole.embedded.timestamp + item)->onOff;
    }
    if (loss.number > 2) {
        loss.left[0x12F8] = 0x800003FF;
    }
}

inline void EntriesRead(const Loss& loss) {
    const std::size_t accesses = std::max(loss.number, kFirstOfEntries) - kFirstOfEntries;
    std::copy_n(loss.whole.values, accesses * kEntriesPerAccess, loss.record.values);
}

inline void EntriesWritten(const Loss& loss) {
    for (unsigned int index = 0; kFirstOfEntries + index / kEntriesPerAccess < loss.number; ++index) {
        loss.left[0x11000 + 4 * index] = g_inputs.entries[index];
    }
}

/// What precedes a failure is filled in; what is passed over is zero.
inline void StatsWithout(const Loss& loss) {
    if (loss.number == 0) {
        return;
    }
    CameraStats& stats = loss.record.stats;
    const auto isLost = [&](const char* access) { return loss.access == access; };
    if (isLost("r12FC") || isLost("r610")) {
        const CameraStats& whole = loss.whole.stats;
        stats.numImagesDropped = stats.numImagesCorrupt = stats.numImagesDriverDropped = 0;
        stats.numResendPacketsRequested = stats.numResendPacketsReceived = 0;
        stats.portErrors = whole.portErrors;
        if (isLost("r610")) {
            stats.transmitFailures = whole.transmitFailures;
            stats.cameraPowerUp = false;
        }
        return;
    }
    stats.registerReadFailures = loss.access[0] == 'r' ? 1 : 0;
    if (isLost("PortErrors")) {
        stats.portErrors = 0;
    } else if (isLost("BusTime")) {
        stats.timeStamp = TimeStamp();
        std::memset(stats.timeStamp.reserved, kScribble, sizeof stats.timeStamp.reserved);
    } else if (isLost("r12E0") || isLost("r12E4")) {
        (isLost("r12E0") ? stats.register12E0Value : stats.register12E4Value) = 0;
    } else if (loss.access.find("r1A5") == 0 || loss.access.find("r2") == 0) {
        // 1A50 and 1A54 describe the table at 2100, 1A58 and 1A5C that at 2200.
        const unsigned int address =
            static_cast<unsigned int>(std::stoul(loss.access.substr(1), nullptr, 16));
        const bool isFirst = address < 0x1A58 || (address >= 0x2100 && address < 0x2200);
        const unsigned int read = address < 0x2000 ? 0 : (address & 0xFF) / 4;
        (isFirst ? stats.numMeasurementsA : stats.numMeasurementsB) = read;
        float* const pValues = isFirst ? stats.measurementsA : stats.measurementsB;
        std::fill(pValues + read, pValues + CameraStats::kMaxMeasurements, 0.0F);
    } else {
        stats.property17Value = 0;
    }
}

inline void TypeIsWritten(const Loss& loss) {
    loss.record.property.type = loss.number > 0 ? TRIGGER_DELAY : loss.record.property.type;
}

inline void InfoTypeIsWritten(const Loss& loss) {
    loss.record.propertyInfo.type = loss.number > 0 ? TRIGGER_DELAY : loss.record.propertyInfo.type;
}

inline void InfoIsFilled(const Loss& loss) {
    if (loss.number > 0) {
        loss.record.camera = loss.whole.camera;
    }
}

inline void NothingIsWritten(const Loss& loss) {
    loss.left.clear();
}

inline void ChannelChosen(const Loss& loss) {
    if (loss.number > 2) {
        loss.left[0x620] = 0x20000000;
    }
}

inline void ChannelLoaded(const Loss& loss) {
    if (loss.access == "r624") {
        loss.left[0x10004] = 0;  // the active bank, as it was before
    }
}

inline void ValuesRead(const Loss& loss) {
    loss.record.value = static_cast<unsigned int>(std::max<std::size_t>(loss.number, 3) - 3);
    std::copy_n(loss.whole.floats, loss.record.value, loss.record.floats);
}

#define CALL(expression) \
    [](SweptCamera& c, Records& r) -> Error { return static_cast<void>(c), static_cast<void>(r), expression; }
#define PREPARE(expression) [](SweptCamera& c) { Prepared(expression); }

inline Error ConnectAnother() {
    SweptCamera camera;
    const Error error = camera.Connect(kSerialNumber);
    EXPECT_EQ(camera.IsConnected(), error == ERR_OK);
    return error;
}

inline Error ConnectThroughTheSystem() {
    boost::shared_ptr<IidcCamera> pCamera;
    const Error error = CameraSystem().Connect(kSerialNumber, &pCamera);
    EXPECT_EQ(pCamera != nullptr, error == ERR_OK);
    return error;
}

inline Error List() {
    std::vector<CameraListing> cameras;
    const Error error = CameraSystem().List(&cameras);
    EXPECT_EQ(cameras.size(), 1U);
    return error;
}

inline Error Retrieve(SweptCamera& camera, bool isEvent) {
    Image image;
    g_pSimulation->AdvanceClock(20000);
    return isEvent ? camera.WaitForBufferEvent(&image, 0) : camera.RetrieveBuffer(&image);
}

inline const Rule kNoPins{ERR_READ_REGISTER_FAILED, "Failed to read PIO direction register.", 2};
inline const Rule kNotWritten{ERR_TIMEOUT, "The look-up table could not be written beyond ", 2};
inline const Rule kNotRead{ERR_TIMEOUT, "The look-up table could not be read beyond ", 2};
inline const Rule kNotStarted{ERR_ISOCH_START_FAILED, "The camera's transmission could not be switched on.",
                              2};
inline const Rule kNoEvent{
    ERR_FAILED,
    "Could not register event, likely due to it already being registered. De-register it "
    "first, and try again.",
    0};
inline const Rule kNoEvents{
    ERR_FAILED,
    "Could not register all events, likely due to at least one already being registered. "
    "De-register all events and try again.",
    0};

inline const std::vector<Row> kRows = {
    Row("ReadRegister", CALL(c.ReadRegister(0x11F8, &r.value)), kWrapped, "r11F8"),
    Row("WriteRegister", CALL(c.WriteRegister(0x1F00, 5)), kWrapped, "w1F00"),
    Row("ReadBaseRegister", CALL(c.ReadBaseRegister(0xF01F00, &r.value)), kWrapped, "r1F00"),
    Row("WriteBaseRegister", CALL(c.WriteBaseRegister(0xF01F00, 6)), kWrapped, "w1F00"),
    Row("ReadRegisterBlock", CALL(c.ReadRegisterBlock(0xFFFF, 0xF0F01F00, r.values, 9)), kWrapped, "r1F00"),
    Row("WriteRegisterBlock", CALL(c.WriteRegisterBlock(0xFFFF, 0xF0F01F00, g_inputs.entries.data(), 9)),
        kWrapped, "w1F00"),
    Row("GetPropertyInfo", CALL(c.GetPropertyInfo(&r.propertyInfo)), kAsItIs),
    Row("GetProperty", CALL(c.GetProperty(&r.property)), kAsItIs),
    Row("SetProperty", CALL(c.SetProperty(&g_inputs.gain)), kAsItIs),
    Row("GetTriggerDelayInfo", CALL(c.GetTriggerDelayInfo(&r.propertyInfo))).Leaves(InfoTypeIsWritten),
    Row("GetTriggerDelay", CALL(c.GetTriggerDelay(&r.property))).Leaves(TypeIsWritten),
    Row("SetTriggerDelay", CALL(c.SetTriggerDelay(&g_inputs.delay))),
    Row("GetTriggerModeInfo", CALL(c.GetTriggerModeInfo(&r.triggerInfo))),
    Row("GetTriggerMode", CALL(c.GetTriggerMode(&r.trigger))),
    Row("SetTriggerMode", CALL(c.SetTriggerMode(&g_inputs.trigger))),
    Row("FireSoftwareTrigger", CALL(c.FireSoftwareTrigger()))
        .After(PREPARE(c.SetTriggerMode(&g_inputs.trigger))),
    Row("GetStrobeInfo", CALL(c.GetStrobeInfo(&r.strobeInfo))),
    Row("GetStrobe", CALL(c.GetStrobe(&r.strobe))),
    Row("SetStrobe", CALL(c.SetStrobe(&g_inputs.strobe))),
    Row("GetLUTInfo", CALL(c.GetLUTInfo(&r.lut))),
    Row("GetLUTBankInfo", CALL(c.GetLUTBankInfo(1, &r.flags[0], &r.flags[1]))),
    Row("GetActiveLUTBank", CALL(c.GetActiveLUTBank(&r.value))),
    Row("SetActiveLUTBank", CALL(c.SetActiveLUTBank(1))),
    Row("EnableLUT", CALL(c.EnableLUT(true))),
    Row("GetLUTChannel", CALL(c.GetLUTChannel(0, 0, kEntries, r.values)))
        .But("r11", kNotRead)
        .Leaves(EntriesRead),
    Row("SetLUTChannel", CALL(c.SetLUTChannel(0, 0, kEntries, g_inputs.entries.data())))
        .But("w11", kNotWritten)
        .Leaves(EntriesWritten),
    Row("GetMemoryChannel", CALL(c.GetMemoryChannel(&r.value))),
    Row("GetMemoryChannelInfo", CALL(c.GetMemoryChannelInfo(&r.value))),
    Row("RestoreFromMemoryChannel", CALL(c.RestoreFromMemoryChannel(0)))
        .After(PREPARE(c.SetActiveLUTBank(1)))
        .Leaves(ChannelLoaded),
    Row("SaveToMemoryChannel", CALL(c.SaveToMemoryChannel(2)),
        Rule{ERR_MEMORY_CHANNEL_FAILED, "The settings may not have been saved to memory channel 2: ", 2},
        "r400 w620 w618 r618")
        .But("r400", kWrapped)
        .Leaves(ChannelChosen),
    Row("GetEmbeddedImageInfo", CALL(c.GetEmbeddedImageInfo(&r.embedded)), kWrappedTwice,
        "r12F8 w12F8 r12F8 w12F8")
        .After(PREPARE(c.WriteRegister(0x12F8, 0x205)))
        .Leaves(AfterTheProbe),
    Row("SetEmbeddedImageInfo", CALL(c.SetEmbeddedImageInfo(&g_inputs.embedded)), kWrappedTwice,
        "r12F8 w12F8"),
    Row("GetStats", CALL(c.GetStats(&r.stats)), kPassedOver)
        .But("r12FC", {ERR_REGISTER_FAILED, "Error reading transmit failure register of the camera.", 2})
        .But("r610", {ERR_REGISTER_FAILED, "Error reading power register of the camera.", 2})
        .Leaves(StatsWithout),
    Row("ResetStats", CALL(c.ResetStats()),
        Rule{ERR_REGISTER_FAILED, "Error resetting transmit failure register of the camera.", 2}, "w12FC"),
    Row("GetCycleTime", CALL(c.GetCycleTime(&r.time)), kWrapped, "BusTime").Unguarded(),
    Row("ReadRegValues", CALL(c.ReadRegValues(0x1A50, 0x1A54, r.floats, &r.value)), kWrapped,
        "r1A50 r1A54 r2100 r2104 r2108")
        .Leaves(ValuesRead),
    Row("GetGPIOPinDirection", CALL(c.GetGPIOPinDirection(2, &r.value)), kNoPins, "r11F8"),
    Row("SetGPIOPinDirection", CALL(c.SetGPIOPinDirection(2, 1)), kNoPins, "r11F8 w11F8")
        .But("w11F8", {ERR_WRITE_REGISTER_FAILED, "Failed to write PIO direction register.", 2}),
    Row("GetCameraInfo", CALL(c.GetCameraInfo(&r.camera)), kPassedOver)
        .But("StreamFormat", kWrapped)
        .Leaves(InfoIsFilled),
    Row("GetBayerFormat", CALL(c.GetBayerFormat(&r.bayer)), kAsItIs, "StreamFormat").Unguarded(),
    Row("StartCapture", CALL(c.StartCapture(nullptr, nullptr)), kWrapped,
        "StreamFormat StartStream r12F8 w614")
        .But("r12F8", kPassedOver)
        .But("w614", kNotStarted),
    Row("StopCapture", CALL(c.StopCapture()), Rule{ERR_ISOCH_STOP_FAILED, "Error stopping stream.", 2},
        "w614")
        .After(Start),
    Row("RetrieveBuffer", CALL(Retrieve(c, false)), kWrapped, "").After(Start),
    Row("WaitForBufferEvent", CALL(Retrieve(c, true)), kWrapped, "").After(Start),
    Row("SetCallback", CALL(c.SetCallback(nullptr, nullptr)), kWrapped, ""),
    Row("SetUserBuffers", CALL(c.SetUserBuffers(nullptr, 0, 0)), kWrapped, ""),
    Row("InterfaceSupportsEvents", CALL(Ok(c.InterfaceSupportsEvents())), kWrapped, "").Unguarded(),
    Row("RegisterEvent", CALL(c.RegisterEvent(&g_inputs.event)), kNoEvent, "EventNames EventSink")
        .Unguarded(),
    Row("RegisterAllEvents", CALL(c.RegisterAllEvents(&g_inputs.event)), kNoEvents, "EventNames EventSink")
        .Unguarded(),
    Row("DeregisterEvent", CALL(c.DeregisterEvent(&g_inputs.event)), kWrapped, "")
        .After(PREPARE(c.RegisterEvent(&g_inputs.event)))
        .Unguarded(),
    Row("DeregisterAllEvents", CALL(c.DeregisterAllEvents()), kWrapped, "")
        .After(PREPARE(c.RegisterAllEvents(&g_inputs.event)))
        .Unguarded(),
    Row("GetVideoModeInfo", CALL(c.GetVideoModeInfo(&r.videoModeInfo))),
    Row("GetVideoMode", CALL(c.GetVideoMode(&r.videoMode))),
    Row("SetVideoMode", CALL(c.SetVideoMode(&g_inputs.videoMode)), kWrapped,
        "r100 r180 r214 r608 r604 r600 w608 w604 w600 r608 r604 r600"),
    Row("GetFormat7Info", CALL(c.GetFormat7Info(&r.format7Info))),
    Row("GetFormat7", CALL(c.GetFormat7(&r.format7))),
    Row("SetFormat7", CALL(c.SetFormat7(&g_inputs.format7))),
    Row("GetConfiguration", CALL(c.GetConfiguration(&r.config)), kWrapped, "").Unguarded(),
    Row("SetConfiguration", CALL(c.SetConfiguration(&g_inputs.config)), kWrapped, "").Unguarded(),
    Row("Connect", CALL(ConnectAnother()), kPassedOver).But("Open", kWrapped).Unguarded(),
    Row("CameraSystem::Connect", CALL(ConnectThroughTheSystem()), kPassedOver)
        .But("Open", kWrapped)
        .Unguarded(),
    Row("Disconnect", CALL(c.Disconnect()), kPassedOver, "w614")
        .After(Start)
        .Leaves(NothingIsWritten)
        .Unguarded(),
    Row("List", CALL(List()), kWrapped, "").Unguarded(),
    Row("Rescan", CALL(CameraSystem().Rescan()), kAsItIs, "Discover").Unguarded(),
};

}  // namespace Zevrin
