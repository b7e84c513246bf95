#include <algorithm>
#include <cmath>

#include "CameraConfig.h"
#include "CheckRun.h"
#include "Numbers.h"
#include "Properties.h"

namespace ZevrinTool {

namespace {

using Zevrin::IidcCamera;
using Zevrin::Property;
using Zevrin::PropertyInfo;
using Zevrin::PropertyType;

// Registers of IIDC that are there on every camera and say what it can do.
const struct {
    unsigned int address;
    const char* name;
} kReadOnlyRegisters[] = {{0x100, "V_FORMAT_INQ"}, {0x400, "BASIC_FUNC_INQ"}, {0x404, "FEATURE_HI_INQ"}};

constexpr unsigned int kTransmission = 0x614;
constexpr unsigned int kSwitch = 0x80000000U;
constexpr unsigned int kPins = 4;

unsigned int ReadRegister(IidcCamera& camera, unsigned int address) {
    unsigned int value = 0;
    Check(camera.ReadRegister(address, &value), Hex(address));
    return value;
}

/// A camera may refuse the write or take no notice of it.
std::string KeepsReadOnly(IidcCamera& camera, unsigned int address) {
    const unsigned int before = ReadRegister(camera, address);
    const Zevrin::Error refused = camera.WriteRegister(address, ~before);
    static_cast<void>(refused);
    const unsigned int after = ReadRegister(camera, address);
    Require(after == before, "it can be written: " + Hex(before) + " became " + Hex(after));
    return Hex(before) + " stays";
}

std::string SwitchesTransmission(const CheckRun& run) {
    IidcCamera& camera = run.GetCamera();
    const auto isOn = [&] { return (ReadRegister(camera, kTransmission) & kSwitch) != 0; };
    Require(!isOn(), "transmission is on without a stream");
    {
        const CheckStream stream(run);
        Require(isOn(), "transmission is off while a stream runs");
    }
    Require(!isOn(), "transmission is on after a stream has ended");
    return "on with a stream, off without";
}

/// As they are: what is connected to a pin is not known.
std::string KeepsPins(IidcCamera& camera) {
    for (unsigned int pin = 0; pin < kPins; ++pin) {
        unsigned int before = 0;
        unsigned int after = 0;
        const Zevrin::Error error = camera.GetGPIOPinDirection(pin, &before);
        if (IsAboutAbsence(error)) {
            throw CheckIsAbsent{"the camera has none"};
        }
        Check(error);
        Check(camera.SetGPIOPinDirection(pin, before));
        Check(camera.GetGPIOPinDirection(pin, &after));
        Require(before == after, "pin " + std::to_string(pin) + " changed when it was written as it was");
    }
    return "written as they are";
}

// Properties.

Property SetAndRead(IidcCamera& camera, const Property& wanted, const std::string& what) {
    Property property = wanted;
    Check(camera.SetProperty(&wanted), what);
    Check(camera.GetProperty(&property), what);
    return property;
}

Property MakeManual(PropertyType type) {
    Property property;
    property.type = type;
    property.onOff = true;
    return property;
}

void CheckRawValues(IidcCamera& camera, const PropertyInfo& info) {
    Property wanted = MakeManual(info.type);
    for (const unsigned int value : {info.min, info.max, info.min + (info.max - info.min) / 2}) {
        wanted.valueA = wanted.valueB = value;
        const std::string what = "raw " + std::to_string(value);
        const Property got = SetAndRead(camera, wanted, what);
        Require(got.valueA == value, what + " reads back as " + std::to_string(got.valueA));
    }
    wanted.valueA = wanted.valueB = info.max + 1;
    Require(camera.SetProperty(&wanted) == Zevrin::ERR_VALUE_OUT_OF_RANGE,
            "raw " + std::to_string(wanted.valueA) + " is not refused");
}

void CheckAbsoluteValues(IidcCamera& camera, const PropertyInfo& info) {
    constexpr float kTolerance = 0.01F;
    const float range = info.absMax - info.absMin;
    Property wanted = MakeManual(info.type);
    wanted.absControl = true;
    for (const float value : {info.absMin, info.absMax, info.absMin + range / 2}) {
        wanted.absValue = value;
        const std::string what = RealText(Exactly(value)) + " " + info.unitAbbreviation;
        const Property got = SetAndRead(camera, wanted, what);
        Require(got.absControl && std::fabs(got.absValue - value) <= kTolerance * range,
                what + " reads back as " + RealText(Exactly(got.absValue)));
    }
    wanted.absValue = info.absMax + range;
    Require(camera.SetProperty(&wanted) == Zevrin::ERR_VALUE_OUT_OF_RANGE,
            RealText(Exactly(wanted.absValue)) + " " + info.unitAbbreviation + " is not refused");
}

void CheckModes(IidcCamera& camera, const PropertyInfo& info, Property wanted) {
    wanted.absControl = false;
    wanted.valueA = wanted.valueB = info.min;
    wanted.autoManualMode = true;
    Require((camera.SetProperty(&wanted) == Zevrin::ERR_OK) == info.autoSupported,
            info.autoSupported ? "auto is announced and refused" : "auto is not announced and taken");
    if (info.autoSupported) {
        Require(SetAndRead(camera, wanted, "auto").autoManualMode, "auto does not stick");
    }
    wanted.autoManualMode = false;
    if (info.onOffSupported) {
        for (const bool on : {false, true}) {
            wanted.onOff = on;
            Require(SetAndRead(camera, wanted, OnOff(on)).onOff == on,
                    std::string(OnOff(on)) + " does not stick");
        }
    }
}

std::string CheckProperty(IidcCamera& camera, PropertyType type) {
    const PropertyReading found = ReadProperty(camera, type);
    const PropertyInfo& info = found.info;
    if (!info.present) {
        throw CheckIsAbsent{"the camera has none"};
    }
    const std::string raw = "raw " + RangeText(info.min, info.max);
    Require(info.min <= info.max, "its range is " + raw);
    if (info.absValSupported) {
        Require(info.absMin <= found.property.absValue && found.property.absValue <= info.absMax,
                "it is " + ValueText(info, found.property) + "; its range is " +
                    RangeText(Exactly(info.absMin), Exactly(info.absMax)));
    }
    if (found.IsReadOnly() || !info.manualSupported) {
        return "only read: " + ValueText(info, found.property);
    }
    CheckRawValues(camera, info);
    if (info.absValSupported) {
        CheckAbsoluteValues(camera, info);
    }
    CheckModes(camera, info, MakeManual(type));
    return raw + (info.absValSupported ? ", absolute" : "") + (info.autoSupported ? ", auto" : "") +
           (info.onOffSupported ? ", on/off" : "");
}

// Look-up tables.

using Entries = std::vector<unsigned int>;

/// The entries of one channel, which are put back whatever came of the write.
void CheckChannelOfBank(IidcCamera& camera, unsigned int bank, unsigned int channel, bool isWritable,
                        const Zevrin::LUTData& data) {
    const unsigned int max = data.outputBitDepth < 32 ? (1U << data.outputBitDepth) - 1 : ~0U;
    Entries found(data.numEntries);
    Entries got(data.numEntries);
    Check(camera.GetLUTChannel(bank, channel, data.numEntries, found.data()));
    Entries wanted = found;
    for (unsigned int& entry : wanted) {
        entry = max - std::min(entry, max);  // is never what it was
    }
    const Zevrin::Error written = camera.SetLUTChannel(bank, channel, data.numEntries, wanted.data());
    const Zevrin::Error read = camera.GetLUTChannel(bank, channel, data.numEntries, got.data());
    const Zevrin::Error putBack = written == Zevrin::ERR_OK
                                      ? camera.SetLUTChannel(bank, channel, data.numEntries, found.data())
                                      : Zevrin::Error();
    if (isWritable) {
        Check(written);
    }
    Check(read);
    Check(putBack, "putting the entries back");
    Require(isWritable || written != Zevrin::ERR_OK, "it takes entries and says that it cannot be written");
    Require(got == (isWritable ? wanted : found),
            "the entries of channel " + std::to_string(channel) + " read back otherwise");
}

std::string CheckBank(IidcCamera& camera, unsigned int bank, const Zevrin::LUTData& data) {
    bool isReadable = false;
    bool isWritable = false;
    Check(camera.GetLUTBankInfo(bank, &isReadable, &isWritable));
    if (!isReadable) {
        throw CheckIsAbsent{"the bank cannot be read"};
    }
    for (unsigned int channel = 0; channel < data.numChannels; ++channel) {
        CheckChannelOfBank(camera, bank, channel, isWritable, data);
    }
    return isWritable ? "entries read back" : "cannot be written";
}

std::string CheckBankChoice(IidcCamera& camera, const Zevrin::LUTData& data) {
    for (unsigned int bank = 0; bank < data.numBanks; ++bank) {
        unsigned int active = 0;
        Check(camera.SetActiveLUTBank(bank));
        Check(camera.GetActiveLUTBank(&active));
        Require(active == bank, "bank " + std::to_string(bank) + " does not become the active one");
    }
    return std::to_string(data.numBanks) + " banks, each can be the active one";
}

// Memory channels.

/// What memory channels hold by the standard.
Json Remembered(IidcCamera& camera) {
    Json document = ReadConfig(camera).document;
    for (const char* const pOther : {"stream", "lut", "embedded", "pins"}) {
        document.erase(pOther);
    }
    return document;
}

/// Changes the first property that can be changed; its name.
std::string ChangeSomething(IidcCamera& camera) {
    for (const Choice& name : PropertyNames()) {
        const PropertyReading found = ReadProperty(camera, static_cast<PropertyType>(name.value));
        if (found.info.present && found.info.manualSupported && found.info.min < found.info.max) {
            Property wanted = MakeManual(found.info.type);
            const bool isAtMax = found.property.valueA == found.info.max;
            wanted.valueA = wanted.valueB = isAtMax ? found.info.min : found.info.max;
            Check(camera.SetProperty(&wanted));
            return name.word;
        }
    }
    throw CheckIsAbsent{"the camera has no property to change"};
}

std::string SaveChangeRestore(IidcCamera& camera, unsigned int channel) {
    const Json saved = Remembered(camera);
    Check(camera.SaveToMemoryChannel(channel));
    const std::string changed = ChangeSomething(camera);
    Require(!CompareConfigs(saved, Remembered(camera)).empty(),
            "a change of the " + changed + " had no effect");
    Check(camera.RestoreFromMemoryChannel(channel));
    const std::vector<ConfigChange> changes = CompareConfigs(saved, Remembered(camera));
    Require(changes.empty(), changes.empty()
                                 ? ""
                                 : changes.front().path + " was saved as " + Quote(changes.front().to) +
                                       " and restored as " + Quote(changes.front().from));
    unsigned int current = 0;
    Check(camera.GetMemoryChannel(&current));
    Require(current == channel, "the camera says that channel " + std::to_string(current) + " was loaded");
    return "channel " + std::to_string(channel) + ": saved, " + changed + " changed, restored";
}

/// The channel's contents are the user's: they are put back, as far as they are settings that are known.
std::string CheckChannel(IidcCamera& camera, unsigned int channel) {
    unsigned int current = 0;
    Check(camera.GetMemoryChannel(&current));
    const Json before = ReadConfig(camera).document;
    Check(camera.RestoreFromMemoryChannel(channel));
    const Json content = ReadConfig(camera).document;
    const auto become = [&camera](const Json& document) { return ApplyConfig(PlanConfig(document, camera)); };
    const auto putBack = [&] {
        Findings failed = become(content);
        Zevrin::Error error = camera.SaveToMemoryChannel(channel);
        error = error == Zevrin::ERR_OK ? camera.RestoreFromMemoryChannel(current) : error;
        Check(error, "putting the channel's contents back");
        Require(failed.empty(), "the channel's contents could not all be put back");
    };
    Require(become(before).empty(),
            "the settings could not be put back after channel " + std::to_string(channel) + " was looked at");
    std::string result;
    try {
        result = SaveChangeRestore(camera, channel);
    } catch (...) {
        putBack();
        throw;
    }
    putBack();
    return result;
}

}  // namespace

void CheckRegisters(CheckRun& run) {
    IidcCamera& camera = run.GetCamera();
    for (const auto& row : kReadOnlyRegisters) {
        run.Try(row.name, [&] { return KeepsReadOnly(camera, row.address); });
    }
    run.Try("ISO_EN", [&] { return SwitchesTransmission(run); });
    run.Try("pins", [&] { return KeepsPins(camera); });
}

void CheckProperties(CheckRun& run) {
    for (const Choice& name : PropertyNames()) {
        run.Try(name.word,
                [&] { return CheckProperty(run.GetCamera(), static_cast<PropertyType>(name.value)); });
    }
}

void CheckStrobes(CheckRun& run) {
    constexpr unsigned int kOutputs = 4;
    constexpr float kHalfTick = 0.005F;
    IidcCamera& camera = run.GetCamera();
    for (unsigned int output = 0; output < kOutputs; ++output) {
        run.Try(std::to_string(output), [&]() -> std::string {
            Zevrin::StrobeInfo info;
            info.source = output;
            Check(camera.GetStrobeInfo(&info));
            if (!info.present) {
                throw CheckIsAbsent{"the camera has none"};
            }
            Zevrin::StrobeControl control;
            control.source = output;
            Check(camera.GetStrobe(&control));
            for (const float time : {info.minValue, info.maxValue, (info.minValue + info.maxValue) / 2}) {
                control.delay = control.duration = time;
                Check(camera.SetStrobe(&control));
                Zevrin::StrobeControl got = control;
                Check(camera.GetStrobe(&got));
                Require(
                    std::fabs(got.delay - time) <= kHalfTick && std::fabs(got.duration - time) <= kHalfTick,
                    RealText(Exactly(time)) + " ms reads back as " + RealText(Exactly(got.delay)) + " and " +
                        RealText(Exactly(got.duration)) + " ms");
            }
            control.delay = info.maxValue + 1;
            Require(camera.SetStrobe(&control) == Zevrin::ERR_VALUE_OUT_OF_RANGE,
                    "too long a delay is not refused");
            return "delay and duration " + RangeText(Exactly(info.minValue), Exactly(info.maxValue), "ms");
        });
    }
}

void CheckLut(CheckRun& run) {
    IidcCamera& camera = run.GetCamera();
    Zevrin::LUTData data;
    run.Try("table", [&]() -> std::string {
        Check(camera.GetLUTInfo(&data));
        if (!data.supported) {
            throw CheckIsAbsent{"the camera has none"};
        }
        return std::to_string(data.inputBitDepth) + " to " + std::to_string(data.outputBitDepth) + " bits";
    });
    for (unsigned int bank = 0; bank < data.numBanks; ++bank) {
        run.Try("bank " + std::to_string(bank), [&] { return CheckBank(camera, bank, data); });
    }
    if (data.supported) {
        run.Try("active bank", [&] { return CheckBankChoice(camera, data); });
    }
}

void CheckMemory(CheckRun& run) {
    run.Try("channel", [&] {
        unsigned int highest = 0;
        Check(run.GetCamera().GetMemoryChannelInfo(&highest));
        if (highest == 0) {
            throw CheckIsAbsent{"the camera has none"};
        }
        return CheckChannel(run.GetCamera(), highest);
    });
}

}  // namespace ZevrinTool
