#include "Trigger.h"

#include <boost/thread/lock_guard.hpp>
#include <string>

#include "Failure.h"
#include "RegisterFields.h"
#include "RegisterSequence.h"
#include "Registers.h"

namespace Zevrin {

namespace {

constexpr unsigned int kMaskBits = 32;

bool HasNumber(unsigned int mask, unsigned int number) {
    return number < kMaskBits && (mask >> number & 1) != 0;
}

/// The numbers in a mask, such as "0, 1, 15".
std::string ListNumbers(unsigned int mask) {
    std::string list;
    for (unsigned int number = 0; number < kMaskBits; ++number) {
        if (HasNumber(mask, number)) {
            list += (list.empty() ? "" : ", ") + std::to_string(number);
        }
    }
    return list.empty() ? "none" : list;
}

Error CheckMode(const TriggerMode& mode, const TriggerModeInfo& info) {
    if (!mode.onOff && !info.onOffSupported) {
        return Failure(ERR_NOT_SUPPORTED, "The trigger of this camera cannot be switched off.");
    }
    if (mode.polarity > TriggerControl::kPolarity.GetMax()) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The trigger polarity is to be %u; it must be 0 (active low) or 1 (active high).",
                       mode.polarity);
    }
    if (!HasNumber(info.sourceMask, mode.source)) {
        return Failure(ERR_INVALID_MODE,
                       "This camera has no trigger source %u; it has %s (7 is the software trigger).",
                       mode.source, ListNumbers(info.sourceMask).c_str());
    }
    if (!HasNumber(info.modeMask, mode.mode)) {
        return Failure(ERR_INVALID_MODE, "This camera has no trigger mode %u; it has %s.", mode.mode,
                       ListNumbers(info.modeMask).c_str());
    }
    if (mode.parameter > TriggerControl::kParameter.GetMax()) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "The trigger parameter is to be %u; it must be 0 to %u.",
                       mode.parameter, TriggerControl::kParameter.GetMax());
    }
    return Error();
}

}  // namespace

Error Trigger::ReadAbilities(TriggerModeInfo* pInfo) {
    RegisterSequence camera(*this);
    unsigned int inquiry = 0;
    if ((camera.Read(Register::kFeatureHighInquiry) & kTriggerFeature) != 0) {
        inquiry = camera.Read(Register::kTriggerInquiry);
    }
    const auto can = [inquiry](unsigned int ability) { return (inquiry & ability) != 0; };
    *pInfo = TriggerModeInfo();
    if (can(TriggerInquiry::kPresence)) {
        pInfo->present = true;
        pInfo->readOutSupported = can(TriggerInquiry::kReadOut);
        pInfo->onOffSupported = can(TriggerInquiry::kOnOff);
        pInfo->polaritySupported = can(TriggerInquiry::kPolarity);
        pInfo->valueReadable = can(TriggerInquiry::kValueRead);
        pInfo->softwareTriggerSupported = can(TriggerInquiry::kSoftware);
        pInfo->sourceMask = GetFlags(inquiry, TriggerInquiry::kSources);
        if (pInfo->softwareTriggerSupported) {
            pInfo->sourceMask |= 1U << kSoftwareTriggerSource;
        }
        pInfo->modeMask = GetFlags(inquiry, TriggerInquiry::kModes);
    }
    return camera.GetError();
}

Error Trigger::RequireTrigger(TriggerModeInfo* pInfo) {
    const Error error = ReadAbilities(pInfo);
    if (error == ERR_OK && !pInfo->present) {
        return Failure(ERR_FEATURE_ABSENT, "This camera has no trigger.");
    }
    return error;
}

Error Trigger::GetTriggerModeInfo(TriggerModeInfo* pInfo) {
    if (pInfo == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The trigger information needs a record to go to.");
    }
    TriggerModeInfo info;
    const Error error = ReadAbilities(&info);
    if (error == ERR_OK) {
        *pInfo = info;
    }
    return error;
}

Error Trigger::GetTriggerMode(TriggerMode* pMode) {
    if (pMode == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The trigger mode needs a record to go to.");
    }
    TriggerModeInfo info;
    const Error error = RequireTrigger(&info);
    if (error != ERR_OK) {
        return error;
    }
    RegisterSequence camera(*this);
    const unsigned int control = camera.Read(Register::kTriggerMode);
    if (!camera.HasFailed()) {
        *pMode = TriggerMode();
        // Such that the record can be given back to SetTriggerMode as it is.
        pMode->onOff = (control & TriggerControl::kOnOff) != 0 || !info.onOffSupported;
        pMode->polarity = TriggerControl::kPolarity.Get(control);
        pMode->source = TriggerControl::kSource.Get(control);
        pMode->mode = TriggerControl::kMode.Get(control);
        pMode->parameter = TriggerControl::kParameter.Get(control);
    }
    return camera.GetError();
}

Error Trigger::SetTriggerMode(const TriggerMode* pMode, bool broadcast) {
    if (pMode == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The trigger mode needs a record to come from.");
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    TriggerModeInfo info;
    Error error = RequireTrigger(&info);
    if (error != ERR_OK) {
        return error;
    }
    RegisterSequence camera(*this, broadcast);
    unsigned int control = camera.Read(Register::kTriggerMode);
    if (camera.HasFailed()) {
        return camera.GetError();
    }
    // What the camera has by itself may stay, also where it offers no way to it.
    info.sourceMask |= 1U << TriggerControl::kSource.Get(control);
    info.modeMask |= 1U << TriggerControl::kMode.Get(control);
    error = CheckMode(*pMode, info);
    if (error != ERR_OK) {
        return error;
    }
    if (!info.polaritySupported && pMode->polarity != TriggerControl::kPolarity.Get(control)) {
        return Failure(ERR_NOT_SUPPORTED,
                       "The trigger polarity of this camera cannot be changed from %u to %u.",
                       TriggerControl::kPolarity.Get(control), pMode->polarity);
    }
    control = pMode->onOff ? control | TriggerControl::kOnOff : control & ~TriggerControl::kOnOff;
    control = TriggerControl::kPolarity.Put(control, pMode->polarity);
    control = TriggerControl::kSource.Put(control, pMode->source);
    control = TriggerControl::kMode.Put(control, pMode->mode);
    control = TriggerControl::kParameter.Put(control, pMode->parameter);
    camera.Write(Register::kTriggerMode, control);
    return camera.GetError();
}

Error Trigger::FireSoftwareTrigger(bool broadcast) {
    TriggerModeInfo info;
    const Error error = RequireTrigger(&info);
    if (error != ERR_OK) {
        return error;
    }
    if (!info.softwareTriggerSupported) {
        return Failure(ERR_FEATURE_ABSENT, "This camera has no software trigger.");
    }
    RegisterSequence camera(*this, broadcast);
    const unsigned int control = camera.Read(Register::kTriggerMode);
    if (camera.HasFailed()) {
        return camera.GetError();
    }
    if ((control & TriggerControl::kOnOff) == 0 && info.onOffSupported) {
        return Failure(ERR_TRIGGER_FAILED, "The trigger is off; switch it on before it is fired.");
    }
    const unsigned int source = TriggerControl::kSource.Get(control);
    if (source != kSoftwareTriggerSource) {
        return Failure(ERR_TRIGGER_FAILED,
                       "The trigger listens to source %u; the software trigger is source %u.", source,
                       kSoftwareTriggerSource);
    }
    if (TriggerControl::kMode.Get(control) == kLevelTriggerMode) {
        return Failure(
            ERR_TRIGGER_FAILED,
            "In mode %u the camera exposes for as long as the trigger lasts; register 0x%03X begins "
            "(0x%08X) and ends (0) that.",
            kLevelTriggerMode, Register::kSoftwareTrigger, kSwitchBit);
    }
    camera.Write(Register::kSoftwareTrigger, kSwitchBit);
    return camera.GetError();
}

}  // namespace Zevrin
