#include "AutoAdjust.h"

#include <algorithm>
#include <cmath>

#include "Features.h"
#include "RegisterFields.h"
#include "Tones.h"

namespace Zevrin {

namespace {

bool IsAdjusting(const RegisterFile& registers, Feature feature) {
    return (registers.Get(ControlOf(feature)) & (FeatureControl::kAuto | FeatureControl::kOnePush)) != 0;
}

/// In the steps of the raw value.
void Adjust(RegisterFile* pRegisters, Feature feature, double wanted) {
    const FeatureRow& row = *FindFeature(feature);
    const double possible = std::clamp(wanted, row.absoluteMin, row.absoluteMax);
    SetFeatureValue(pRegisters, feature, ToAbsolute(row, ToRaw(row, possible)));
}

void EndOnePush(RegisterFile* pRegisters, Feature feature) {
    pRegisters->Set(ControlOf(feature), pRegisters->Get(ControlOf(feature)) & ~FeatureControl::kOnePush);
}

}  // namespace

void AdjustAutomatically(RegisterFile* pRegisters) {
    const double stops =
        IsFeatureOn(*pRegisters, kAutoExposure) ? GetFeatureValue(*pRegisters, kAutoExposure) : 0;
    const double wanted = std::exp2(stops);
    // The shutter first: a longer exposure is better than noise.
    if (IsAdjusting(*pRegisters, kShutter)) {
        const double byGain =
            IsAdjusting(*pRegisters, kGain) ? 1 : GainToFactor(GetFeatureValue(*pRegisters, kGain));
        Adjust(pRegisters, kShutter, kNeutralExposure * wanted / byGain);
        EndOnePush(pRegisters, kShutter);
    }
    if (IsAdjusting(*pRegisters, kGain)) {
        const double byShutter = GetFeatureValue(*pRegisters, kShutter) / kNeutralExposure;
        Adjust(pRegisters, kGain, FactorToGain(wanted / byShutter));
        EndOnePush(pRegisters, kGain);
    }
    if (IsAdjusting(*pRegisters, kWhiteBalance)) {
        const unsigned int control = pRegisters->Get(ControlOf(kWhiteBalance));
        const unsigned int neutral = FindFeature(kWhiteBalance)->reset;
        pRegisters->Set(
            ControlOf(kWhiteBalance),
            FeatureControl::kValue.Put(FeatureControl::kSecondValue.Put(control, neutral), neutral));
        EndOnePush(pRegisters, kWhiteBalance);
    }
}

}  // namespace Zevrin
