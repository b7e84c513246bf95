#include "Pins.h"

#include "DeviceLayout.h"
#include "DeviceRegisters.h"
#include "RegisterFields.h"
#include "SimulatedDevice.h"

namespace Zevrin {

namespace {

constexpr unsigned long long kNanosecondsPerTick = 1000000 / kStrobeTicksPerMs;

bool IsOutput(const RegisterFile& registers, unsigned int pin) {
    return (registers.Get(Advanced::kPinDirection) & RegisterBit(pin)) != 0;
}

unsigned int GetStrobeControl(const RegisterFile& registers, unsigned int pin) {
    return registers.Get(Block::kStrobe + StrobeBlock::kControl + kRegisterSize * pin);
}

unsigned int ReadPins(const SimulatedDevice& device, unsigned int, unsigned int) {
    return device.GetPins().GetLevels(device.GetRegisters(), device.GetTime());
}

}  // namespace

bool Pins::SetInput(const RegisterFile& registers, unsigned int pin, bool isHigh) {
    const unsigned int before = m_inputs;
    m_inputs = isHigh ? m_inputs | RegisterBit(pin) : m_inputs & ~RegisterBit(pin);
    return m_inputs != before && !IsOutput(registers, pin);
}

bool Pins::IsStrobeActive(unsigned int control, unsigned long long now) const {
    if (!m_hasExposed) {
        return false;
    }
    const unsigned long long begin =
        m_exposureStart + StrobeControlRegister::kDelay.Get(control) * kNanosecondsPerTick;
    const unsigned int duration = StrobeControlRegister::kDuration.Get(control);
    const unsigned long long end = duration != 0 ? begin + duration * kNanosecondsPerTick : m_exposureEnd;
    return now >= begin && now < end;
}

bool Pins::IsHigh(const RegisterFile& registers, unsigned int pin, unsigned long long now) const {
    if (!IsOutput(registers, pin)) {
        return (m_inputs & RegisterBit(pin)) != 0;
    }
    const unsigned int control = GetStrobeControl(registers, pin);
    if ((control & StrobeControlRegister::kOnOff) != 0) {
        const bool isActiveHigh = StrobeControlRegister::kPolarity.Get(control) != 0;
        return IsStrobeActive(control, now) == isActiveHigh;
    }
    return (registers.Get(Block::kPio + PioBlock::kOut) & RegisterBit(pin)) != 0;
}

unsigned int Pins::GetLevels(const RegisterFile& registers, unsigned long long now) const {
    unsigned int levels = 0;
    for (unsigned int pin = 0; pin < kPinCount; ++pin) {
        levels |= IsHigh(registers, pin, now) ? RegisterBit(pin) : 0;
    }
    return levels;
}

std::vector<RegisterRow> MakePinRegisters(const CameraDescription&) {
    constexpr unsigned int kInquiry = StrobeInquiry::kPresence | StrobeInquiry::kReadOut |
                                      StrobeInquiry::kOnOff | StrobeInquiry::kPolarity |
                                      StrobeInquiry::kMaximum.GetMask();
    constexpr unsigned int kWritable =
        StrobeControlRegister::kOnOff | StrobeControlRegister::kPolarity.GetMask() |
        StrobeControlRegister::kDelay.GetMask() | StrobeControlRegister::kDuration.GetMask();
    constexpr unsigned int kReset = RegisterBit(0) | StrobeControlRegister::kPolarity.GetMask();
    return {
        {Advanced::kPinDirection, 1, kAllPins, 0, "PIO_DIRECTION"},
        {Register::kPioCsrInquiry, 1, 0, QuadletOffset(Block::kPio), "PIO_CONTROL_CSR_INQ"},
        {Block::kPio + PioBlock::kOut, 1, kAllPins, 0, "PIO_OUT"},
        {Block::kPio + PioBlock::kIn, 1, 0, 0, "PIO_IN", ReadPins},
        {Register::kStrobeCsrInquiry, 1, 0, QuadletOffset(Block::kStrobe), "STROBE_OUTPUT_CSR_INQ"},
        {Block::kStrobe + StrobeBlock::kControlInquiry, 1, 0, kAllPins, "STROBE_CTRL_INQ"},
        {Block::kStrobe + StrobeBlock::kInquiry, kStrobeOutputs, 0, kInquiry, "STROBE_INQ"},
        {Block::kStrobe + StrobeBlock::kControl, kStrobeOutputs, kWritable, kReset, "STROBE_CNT"},
    };
}

}  // namespace Zevrin
