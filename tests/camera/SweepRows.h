#pragma once

#include <cstring>
#include <map>

#include "CameraEvents.h"
#include "Failure.h"
#include "IidcCamera.h"
#include "Image.h"
#include "MeteredTransport.h"
#include "zevrin/CameraSystem.h"
#include "zevrin/Simulation.h"

namespace Zevrin {

// How one operation is described for a sweep that loses each of its accesses in turn.

class SweptCamera : public IidcCamera {
  public:
    using IidcCamera::m_bConnected;
};

constexpr unsigned int kEntries = 1024;  // of a channel of the look-up table
constexpr int kScribble = 0xA5;

/// Whatever a caller hands over to be filled in; full of nonsense before each operation.
struct Records {
    PropertyInfo propertyInfo;
    Property property;
    TriggerModeInfo triggerInfo;
    TriggerMode trigger;
    StrobeInfo strobeInfo;
    StrobeControl strobe;
    LUTData lut;
    BayerTileFormat bayer;
    ZevrinConfig config;
    EmbeddedImageInfo embedded;
    CameraStats stats;
    TimeStamp time;
    CameraInfo camera;
    VideoModeInfo videoModeInfo;
    VideoModeSetting videoMode;
    Format7Info format7Info;
    Format7Settings format7;
    unsigned int value;
    unsigned int values[kEntries];
    float floats[16];
    bool flags[2];

    void Scribble() {
        std::memset(static_cast<void*>(this), kScribble, sizeof *this);
        propertyInfo.type = property.type = GAIN;
        strobeInfo.source = strobe.source = 1;
        videoModeInfo.format = 0;
        videoModeInfo.mode = 5;
        format7Info.mode = 0;
    }
    /// The host's clock is the one thing that no two runs share.
    void ForgetHostTime() {
        for (TimeStamp* pTime : {&time, &stats.timeStamp}) {
            if (pTime->seconds > 1000000000 && pTime->seconds < 100000000000) {
                pTime->seconds = 1000000000;
                pTime->microSeconds = 0;
            }
        }
    }
};

/// What the loss of one access comes to.
struct Rule {
    ErrorType type;    ///< ERR_OK: it is passed over
    const char* text;  ///< its beginning; null: the failure's own
    int causes;        ///< how many errors stand between the caller and nothing
};
constexpr Rule kAsItIs{ERR_TIMEOUT, nullptr, 0};
constexpr Rule kWrapped{ERR_TIMEOUT, nullptr, 1};
constexpr Rule kWrappedTwice{ERR_TIMEOUT, nullptr, 2};
constexpr Rule kPassedOver{ERR_OK, "", 0};

using Registers = std::map<unsigned int, unsigned int>;

struct Loss {
    std::size_t number;    ///< of the access, from 1
    std::string access;    ///< that was lost
    const Records& whole;  ///< the records as the operation fills them when nothing is lost
    Records& record;       ///< what they are to hold now: what they held before, or, passed over, `whole`
    Registers& left;       ///< registers that are to differ from before: none
};

struct Row {
    Row(const char* name, std::function<Error(SweptCamera&, Records&)> call, const Rule& common,
        const char* sequence = nullptr)
        : operation(name), run(std::move(call)), rule(common), accesses(sequence) {}
    Row& But(const char* access, const Rule& own) { return exceptions.emplace_back(access, own), *this; }
    Row& Leaves(std::function<void(const Loss&)> what) { return outcome = std::move(what), *this; }
    Row& After(std::function<void(SweptCamera&)> first) { return prepare = std::move(first), *this; }
    Row& Unguarded() { return isGuarded = false, *this; }

    const char* operation;  ///< as a header declares it
    std::function<Error(SweptCamera&, Records&)> run;
    Rule rule;
    std::vector<std::pair<const char*, Rule>> exceptions;  ///< by the beginning of the access
    std::function<void(const Loss&)> outcome;              ///< what is left, where it is not nothing
    const char* accesses;                                  ///< exactly these, where they are laid down
    std::function<void(SweptCamera&)> prepare;
    bool isGuarded = true;
};

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
inline Inputs g_in;

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
        loss.left[0x11000 + 4 * index] = g_in.entries[index];
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
#define ROW(operation, arguments, ...) Row(#operation, CALL(c.operation arguments), __VA_ARGS__)
#define UNGUARDED(...) ROW(__VA_ARGS__).Unguarded()
#define PREPARE(expression) [](SweptCamera& c) { Prepared(expression); }
#define LEAVES(change)            \
    Leaves([](const Loss& loss) { \
        if (loss.number > 0) {    \
            change;               \
        }                         \
    })

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

inline Error NameEvents(SweptCamera& camera) {
    std::vector<std::string> names;
    const Error error = camera.GetEventNames(&names);
    EXPECT_EQ(names.empty(), error != ERR_OK);
    return error;
}

inline const Rule kNoPins{ERR_READ_REGISTER_FAILED, "Failed to read PIO direction register.", 2};
inline const Rule kNotWritten{ERR_TIMEOUT, "The look-up table could not be written beyond ", 2};
inline const Rule kNotRead{ERR_TIMEOUT, "The look-up table could not be read beyond ", 2};
inline const Rule kNotStarted{ERR_ISOCH_START_FAILED, "The camera's transmission could not be switched on.",
                              2};
inline const Rule kNoEvent{ERR_FAILED, "Could not register ", 0};

inline const std::vector<Row> kRows = {
    ROW(ReadRegister, (0x11F8, &r.value), kWrapped, "r11F8"),
    ROW(WriteRegister, (0x1F00, 5), kWrapped, "w1F00"),
    ROW(ReadBaseRegister, (0xF01F00, &r.value), kWrapped, "r1F00"),
    ROW(WriteBaseRegister, (0xF01F00, 6), kWrapped, "w1F00"),
    ROW(ReadRegisterBlock, (0xFFFF, 0xF0F01F00, r.values, 9), kWrapped, "r1F00"),
    ROW(WriteRegisterBlock, (0xFFFF, 0xF0F01F00, g_in.entries.data(), 9), kWrapped, "w1F00"),
    ROW(GetPropertyInfo, (&r.propertyInfo), kAsItIs),
    ROW(GetProperty, (&r.property), kAsItIs),
    ROW(SetProperty, (&g_in.gain), kAsItIs),
    ROW(GetTriggerDelayInfo, (&r.propertyInfo), kWrapped)
        .LEAVES(loss.record.propertyInfo.type = TRIGGER_DELAY),
    ROW(GetTriggerDelay, (&r.property), kWrapped).LEAVES(loss.record.property.type = TRIGGER_DELAY),
    ROW(SetTriggerDelay, (&g_in.delay), kWrapped),
    ROW(GetTriggerModeInfo, (&r.triggerInfo), kWrapped),
    ROW(GetTriggerMode, (&r.trigger), kWrapped),
    ROW(SetTriggerMode, (&g_in.trigger), kWrapped),
    ROW(FireSoftwareTrigger, (), kWrapped).After(PREPARE(c.SetTriggerMode(&g_in.trigger))),
    ROW(GetStrobeInfo, (&r.strobeInfo), kWrapped),
    ROW(GetStrobe, (&r.strobe), kWrapped),
    ROW(SetStrobe, (&g_in.strobe), kWrapped),
    ROW(GetLUTInfo, (&r.lut), kWrapped),
    ROW(GetLUTBankInfo, (1, &r.flags[0], &r.flags[1]), kWrapped),
    ROW(GetActiveLUTBank, (&r.value), kWrapped),
    ROW(SetActiveLUTBank, (1), kWrapped),
    ROW(EnableLUT, (true), kWrapped),
    ROW(GetLUTChannel, (0, 0, kEntries, r.values), kWrapped).But("r11", kNotRead).Leaves(EntriesRead),
    ROW(SetLUTChannel, (0, 0, kEntries, g_in.entries.data()), kWrapped)
        .But("w11", kNotWritten)
        .Leaves(EntriesWritten),
    ROW(GetMemoryChannel, (&r.value), kWrapped),
    ROW(GetMemoryChannelInfo, (&r.value), kWrapped),
    ROW(RestoreFromMemoryChannel, (0), kWrapped).After(PREPARE(c.SetActiveLUTBank(1))).Leaves(ChannelLoaded),
    ROW(SaveToMemoryChannel, (2),
        Rule{ERR_MEMORY_CHANNEL_FAILED, "The settings may not have been saved to memory channel 2: ", 2},
        "r400 w620 w618 r618")
        .But("r400", kWrapped)
        .Leaves(ChannelChosen),
    ROW(GetEmbeddedImageInfo, (&r.embedded), kWrappedTwice, "r12F8 w12F8 r12F8 w12F8")
        .After(PREPARE(c.WriteRegister(0x12F8, 0x205)))
        .Leaves(AfterTheProbe),
    ROW(SetEmbeddedImageInfo, (&g_in.embedded), kWrappedTwice, "r12F8 w12F8"),
    ROW(GetStats, (&r.stats), kPassedOver)
        .But("r12FC", {ERR_REGISTER_FAILED, "Error reading transmit failure register of the camera.", 2})
        .But("r610", {ERR_REGISTER_FAILED, "Error reading power register of the camera.", 2})
        .Leaves(StatsWithout),
    ROW(ResetStats, (),
        Rule{ERR_REGISTER_FAILED, "Error resetting transmit failure register of the camera.", 2}, "w12FC"),
    UNGUARDED(GetCycleTime, (&r.time), kWrapped, "BusTime"),
    ROW(ReadRegValues, (0x1A50, 0x1A54, r.floats, &r.value), kWrapped, "r1A50 r1A54 r2100 r2104 r2108")
        .Leaves(ValuesRead),
    ROW(GetGPIOPinDirection, (2, &r.value), kNoPins, "r11F8"),
    ROW(SetGPIOPinDirection, (2, 1), kNoPins, "r11F8 w11F8")
        .But("w11F8", {ERR_WRITE_REGISTER_FAILED, "Failed to write PIO direction register.", 2}),
    ROW(GetCameraInfo, (&r.camera), kPassedOver)
        .But("StreamFormat", kWrapped)
        .LEAVES(loss.record.camera = loss.whole.camera),
    UNGUARDED(GetBayerFormat, (&r.bayer), kAsItIs, "StreamFormat"),
    ROW(StartCapture, (nullptr, nullptr), kWrapped, "StreamFormat StartStream r12F8 w614")
        .But("r12F8", kPassedOver)
        .But("w614", kNotStarted),
    ROW(StopCapture, (), Rule{ERR_ISOCH_STOP_FAILED, "Error stopping stream.", 2}, "w614").After(Start),
    Row("RetrieveBuffer", CALL(Retrieve(c, false)), kWrapped, "").After(Start),
    Row("WaitForBufferEvent", CALL(Retrieve(c, true)), kWrapped, "").After(Start),
    ROW(SetCallback, (nullptr, nullptr), kWrapped, ""),
    ROW(SetUserBuffers, (nullptr, 0, 0), kWrapped, ""),
    Row("InterfaceSupportsEvents", CALL(Ok(c.InterfaceSupportsEvents())), kWrapped, "").Unguarded(),
    UNGUARDED(RegisterEvent, (&g_in.event), kNoEvent, "EventNames EventSink"),
    UNGUARDED(RegisterAllEvents, (&g_in.event), kNoEvent, "EventNames EventSink"),
    UNGUARDED(DeregisterEvent, (&g_in.event), kWrapped, "").After(PREPARE(c.RegisterEvent(&g_in.event))),
    UNGUARDED(DeregisterAllEvents, (), kWrapped, "").After(PREPARE(c.RegisterAllEvents(&g_in.event))),
    ROW(GetVideoModeInfo, (&r.videoModeInfo), kWrapped),
    ROW(GetVideoMode, (&r.videoMode), kWrapped),
    ROW(SetVideoMode, (&g_in.videoMode), kWrapped,
        "r100 r180 r214 r608 r604 r600 w608 w604 w600 r608 r604 r600"),
    ROW(GetFormat7Info, (&r.format7Info), kWrapped),
    ROW(GetFormat7, (&r.format7), kWrapped),
    ROW(SetFormat7, (&g_in.format7), kWrapped),
    Row("GetEventNames", CALL(NameEvents(c)), kAsItIs, "EventNames").Unguarded(),
    UNGUARDED(GetConfiguration, (&r.config), kWrapped, ""),
    UNGUARDED(SetConfiguration, (&g_in.config), kWrapped, ""),
    Row("Connect", CALL(ConnectAnother()), kPassedOver).But("Open", kWrapped).Unguarded(),
    Row("CameraSystem::Connect", CALL(ConnectThroughTheSystem()), kPassedOver)
        .But("Open", kWrapped)
        .Unguarded(),
    UNGUARDED(Disconnect, (), kPassedOver, "w614").After(Start).LEAVES(loss.left.clear()),
    Row("List", CALL(List()), kWrapped, "").Unguarded(),
    Row("Rescan", CALL(CameraSystem().Rescan()), kAsItIs, "Discover").Unguarded(),
};

}  // namespace Zevrin
