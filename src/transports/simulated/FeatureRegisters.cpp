#include <cmath>

#include "AutoAdjust.h"
#include "DeviceLayout.h"
#include "DeviceRegisters.h"
#include "Features.h"
#include "RegisterFields.h"
#include "SimulatedDevice.h"

namespace Zevrin {

namespace {

bool IsWithin(unsigned int value, const FeatureRow& row) {
    return value >= row.min && value <= row.max;
}

const FeatureRow& RowAt(unsigned int controlOffset) {
    return *FindFeature((controlOffset - Register::kHighControl) / kRegisterSize);
}

const FeatureRow& RowOfBlock(unsigned int blockOffset) {
    return *FindFeature((blockOffset - Block::kAbsolute) / Block::kAbsoluteSize);
}

/// The value fields after a write: what the camera adjusts by itself or follows an absolute value stays, and
/// so does what was to be set out of its range.
unsigned int SettleValues(const FeatureRow& row, unsigned int stored, unsigned int before) {
    const bool isFixed = (stored & (FeatureControl::kAuto | FeatureControl::kAbsolute)) != 0;
    for (const RegisterField& field : {FeatureControl::kValue, FeatureControl::kSecondValue}) {
        if (isFixed || !IsWithin(field.Get(stored), row)) {
            stored = field.Put(stored, field.Get(before));
        }
    }
    return stored;
}

/// Keeps the raw and the absolute value the same. A value may stand in the absolute register before absolute
/// control is switched on; it rules from then on.
void FeatureWritten(SimulatedDevice& device, unsigned int offset, unsigned int, unsigned int before) {
    RegisterFile& registers = device.GetRegisters();
    const FeatureRow& row = RowAt(offset);
    const unsigned int stored = SettleValues(row, registers.Get(offset), before);
    registers.Set(offset, stored);
    if (HasAbsolute(row)) {
        if ((stored & FeatureControl::kAbsolute) != 0) {
            SetFeatureValue(&registers, row.bit, WordToFloat(registers.Get(AbsoluteValueOf(row.bit))));
        } else {
            SetFeatureValue(&registers, row.bit, ToAbsolute(row, FeatureControl::kValue.Get(stored)));
        }
    }
    if (!device.GetSequencer().IsSending()) {
        AdjustAutomatically(&registers);  // else with the next exposure
    }
    if (row.bit == kFrameRate) {
        device.GetSequencer().FollowFrameRate();
    }
}

void AbsoluteWritten(SimulatedDevice& device, unsigned int offset, unsigned int written,
                     unsigned int before) {
    RegisterFile& registers = device.GetRegisters();
    const FeatureRow& row = RowOfBlock(offset);
    const double value = WordToFloat(written);
    const auto isNear = [](double left, double right) { return FloatToWord(left) == FloatToWord(right); };
    const bool isWithin = (value >= row.absoluteMin && value <= row.absoluteMax) ||
                          isNear(value, row.absoluteMin) || isNear(value, row.absoluteMax);
    const unsigned int control = registers.Get(ControlOf(row.bit));
    if (!std::isfinite(value) || !isWithin || (control & FeatureControl::kAuto) != 0) {
        registers.Set(offset, before);
    } else if ((control & FeatureControl::kAbsolute) != 0) {
        registers.Set(ControlOf(row.bit), FeatureControl::kValue.Put(control, ToRaw(row, value)));
        if (row.bit == kFrameRate) {
            device.GetSequencer().FollowFrameRate();
        }
    }
}

unsigned int ReadTemperature(const SimulatedDevice& device, unsigned int, unsigned int stored) {
    return FeatureControl::kValue.Put(stored, ToRaw(*FindFeature(kTemperature), device.GetTemperature()));
}

unsigned int ReadAbsoluteTemperature(const SimulatedDevice& device, unsigned int, unsigned int) {
    return FloatToWord(device.GetTemperature());
}

/// The bits of the control register that follow from what the feature can do.
unsigned int GetWritable(const FeatureRow& row) {
    const auto can = [&](unsigned int ability) { return (row.abilities & ability) != 0; };
    if (!can(FeatureInquiry::kManual)) {
        return 0;
    }
    return (can(FeatureInquiry::kAbsolute) ? FeatureControl::kAbsolute : 0) |
           (can(FeatureInquiry::kOnePush) ? FeatureControl::kOnePush : 0) |
           (can(FeatureInquiry::kOnOff) ? FeatureControl::kOnOff : 0) |
           (can(FeatureInquiry::kAuto) ? FeatureControl::kAuto : 0) | FeatureControl::kValue.GetMask() |
           (row.bit == kWhiteBalance ? FeatureControl::kSecondValue.GetMask() : 0);
}

/// The absolute value after power-up.
double GetReset(const FeatureRow& row, const CameraDescription& camera) {
    constexpr double kMicrosecondsPerSecond = 1e6;
    switch (row.bit) {
        case kFrameRate:
            return camera.frameRate;
        case kShutter:
            return camera.exposureUs / kMicrosecondsPerSecond;
        default:
            return ToAbsolute(row, row.reset);
    }
}

void AppendFeature(const FeatureRow& row, double reset, std::vector<RegisterRow>* pRows) {
    const unsigned int inquiry =
        row.abilities | FeatureInquiry::kMinimum.Make(row.min) | FeatureInquiry::kMaximum.Make(row.max);
    const unsigned int raw = HasAbsolute(row) ? ToRaw(row, reset) : row.reset;
    const unsigned int second = row.bit == kWhiteBalance ? row.reset : 0;
    const unsigned int control = FeatureControl::kPresence | row.resetBits |
                                 FeatureControl::kValue.Make(raw) | FeatureControl::kSecondValue.Make(second);
    const bool isTemperature = row.bit == kTemperature;
    pRows->push_back({Register::kHighInquiry + kRegisterSize * row.bit, 1, 0, inquiry, row.name});
    pRows->push_back({ControlOf(row.bit), 1, GetWritable(row), control, row.name,
                      isTemperature ? ReadTemperature : nullptr, isTemperature ? nullptr : FeatureWritten});
    if (HasAbsolute(row)) {
        const unsigned int block = AbsoluteValueOf(row.bit) - AbsoluteBlock::kValue;
        pRows->push_back({Register::kHighAbsoluteCsrInquiry + kRegisterSize * row.bit, 1, 0,
                          QuadletOffset(block), row.name});
        pRows->push_back({block + AbsoluteBlock::kMinimum, 1, 0, FloatToWord(row.absoluteMin), row.name});
        pRows->push_back({block + AbsoluteBlock::kMaximum, 1, 0, FloatToWord(row.absoluteMax), row.name});
        pRows->push_back({AbsoluteValueOf(row.bit), 1, isTemperature ? 0 : 0xFFFFFFFFU, FloatToWord(reset),
                          row.name, isTemperature ? ReadAbsoluteTemperature : nullptr,
                          isTemperature ? nullptr : AbsoluteWritten});
    }
}

}  // namespace

std::vector<RegisterRow> MakeFeatureRegisters(const CameraDescription& camera) {
    constexpr unsigned int kRegistersOfFeatures = 0x40;
    std::vector<RegisterRow> rows = {
        {Register::kHighInquiry, kRegistersOfFeatures, 0, 0, "inquiry of an absent feature"},
        {Register::kHighAbsoluteCsrInquiry, kRegistersOfFeatures, 0, 0, "inquiry of an absent feature"},
        {Register::kHighControl, kRegistersOfFeatures, 0, 0, "an absent feature"},
        {Register::kFeatureLowInquiry, 1, 0, 0, "FEATURE_LO_INQ"},
    };
    unsigned int presence = kTriggerFeature;
    for (const FeatureRow& row : kFeatures) {
        if (row.isColorOnly && camera.bayer == BAYER_NONE) {
            continue;
        }
        presence |= RegisterBit(row.bit);
        AppendFeature(row, GetReset(row, camera), &rows);
    }
    rows.push_back({Register::kFeatureHighInquiry, 1, 0, presence, "FEATURE_HI_INQ"});
    return rows;
}

}  // namespace Zevrin
