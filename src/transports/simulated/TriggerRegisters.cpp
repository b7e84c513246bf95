#include "CameraSettings.h"
#include "DeviceLayout.h"
#include "DeviceRegisters.h"
#include "RegisterFields.h"
#include "SimulatedDevice.h"

namespace Zevrin {

namespace {

constexpr unsigned int kRawInput = RegisterBit(11);
constexpr unsigned int kModes = 1U << 15 | 1U << 14 | 1U << 1 | 1U << 0;  // 0, 1, 14, 15

/// A field of flags from a mask whose bit n stands for number n.
unsigned int MakeFlags(unsigned int mask, RegisterField field) {
    unsigned int word = 0;
    for (unsigned int number = 0; field.first + number <= field.last; ++number) {
        word |= (mask >> number & 1) != 0 ? RegisterBit(field.first + number) : 0;
    }
    return word;
}

/// Modes and sources that the camera lacks do not stick.
void TriggerModeWritten(SimulatedDevice& device, unsigned int offset, unsigned int, unsigned int before) {
    RegisterFile& registers = device.GetRegisters();
    unsigned int stored = registers.Get(offset);
    const unsigned int source = TriggerControl::kSource.Get(stored);
    if (source >= kPinCount && source != kSoftwareTriggerSource) {
        stored = TriggerControl::kSource.Put(stored, TriggerControl::kSource.Get(before));
    }
    if ((kModes >> TriggerControl::kMode.Get(stored) & 1) == 0) {
        stored = TriggerControl::kMode.Put(stored, TriggerControl::kMode.Get(before));
    }
    registers.Set(offset, stored);
    if (stored != before) {
        device.GetSequencer().FollowTrigger();
    }
}

unsigned int ReadTriggerMode(const SimulatedDevice& device, unsigned int, unsigned int stored) {
    const unsigned int source = TriggerControl::kSource.Get(stored);
    const bool isHigh =
        source < kPinCount && device.GetPins().IsHigh(device.GetRegisters(), source, device.GetTime());
    return isHigh ? stored | kRawInput : stored;
}

/// Clears itself, but in the mode in which its length counts.
void SoftwareTriggerWritten(SimulatedDevice& device, unsigned int offset, unsigned int, unsigned int before) {
    RegisterFile& registers = device.GetRegisters();
    const TriggerSettings trigger = ReadTrigger(registers);
    const bool isActive = (registers.Get(offset) & kSwitchBit) != 0;
    const bool wasActive = (before & kSwitchBit) != 0;
    const bool lasts = trigger.isOn && trigger.mode == kLevelTriggerMode;
    if (!lasts) {
        registers.Set(offset, 0);
    }
    if (trigger.source == kSoftwareTriggerSource && (isActive != wasActive || !lasts)) {
        device.GetSequencer().OnSignal(isActive);
    }
}

constexpr unsigned int kOneShot = RegisterBit(0);
constexpr unsigned int kMultiShot = RegisterBit(1);
constexpr RegisterField kShotCount{16, 31};

/// Of many shots, those that are still to come.
unsigned int ReadShots(const SimulatedDevice& device, unsigned int, unsigned int stored) {
    return (stored & kMultiShot) != 0 ? kShotCount.Put(stored, device.GetSequencer().GetFramesLeft())
                                      : stored;
}

void ShotsWritten(SimulatedDevice& device, unsigned int offset, unsigned int written, unsigned int) {
    device.GetRegisters().Set(offset, 0);
    if ((written & kOneShot) != 0) {
        device.StartShots(1, kOneShot);
    } else if ((written & kMultiShot) != 0 && kShotCount.Get(written) != 0) {
        device.StartShots(kShotCount.Get(written), kMultiShot);
    } else {
        device.StopShots();
    }
}

}  // namespace

std::vector<RegisterRow> MakeTriggerRegisters(const CameraDescription&) {
    const unsigned int inquiry = TriggerInquiry::kPresence | TriggerInquiry::kReadOut |
                                 TriggerInquiry::kOnOff | TriggerInquiry::kPolarity |
                                 TriggerInquiry::kValueRead | TriggerInquiry::kSoftware |
                                 MakeFlags((1U << kPinCount) - 1, TriggerInquiry::kSources) |
                                 MakeFlags(kModes, TriggerInquiry::kModes);
    constexpr unsigned int kWritable = TriggerControl::kOnOff | TriggerControl::kPolarity.GetMask() |
                                       TriggerControl::kSource.GetMask() | TriggerControl::kMode.GetMask() |
                                       TriggerControl::kParameter.GetMask();
    constexpr unsigned int kReset = FeatureControl::kPresence | TriggerControl::kPolarity.GetMask();
    return {
        {Register::kTriggerInquiry, 1, 0, inquiry, "TRIGGER_INQ"},
        {Register::kTriggerMode, 1, kWritable, kReset, "TRIGGER_MODE", ReadTriggerMode, TriggerModeWritten},
        {Register::kSoftwareTrigger, 1, kSwitchBit, 0, "SOFTWARE_TRIGGER", nullptr, SoftwareTriggerWritten,
         false, true},
        {Register::kShots, 1, 0, 0, "ONE_SHOT", ReadShots, ShotsWritten, false, true},
    };
}

}  // namespace Zevrin
