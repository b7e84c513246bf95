#include "Strobe.h"

#include <boost/thread/lock_guard.hpp>
#include <cmath>

#include "Failure.h"
#include "RegisterFields.h"
#include "RegisterSequence.h"
#include "Registers.h"

namespace Zevrin {

struct Strobe::Output {
    unsigned int block = 0;
    unsigned int inquiry = 0;  ///< fields of StrobeInquiry; 0 when the output is not there

    bool Can(unsigned int ability) const { return (inquiry & ability) != 0; }
};

namespace {

double ToMs(unsigned int ticks) {
    return static_cast<double>(ticks) / kStrobeTicksPerMs;
}

/// The ticks of a time that the output takes, `min` at least.
Error ToTicks(unsigned int source, const char* what, float ms, unsigned int min, unsigned int inquiry,
              unsigned int* pTicks) {
    const unsigned int max = StrobeInquiry::kMaximum.Get(inquiry);
    min = std::max(min, StrobeInquiry::kMinimum.Get(inquiry));
    const double ticks = std::round(static_cast<double>(ms) * kStrobeTicksPerMs);
    // Written so that not-a-number is never in range.
    if (!(ms >= 0 && ticks >= min && ticks <= max)) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "The %s of strobe %u is to be %g ms; it must be %g to %g ms.",
                       what, source, static_cast<double>(ms), ToMs(min), ToMs(max));
    }
    *pTicks = static_cast<unsigned int>(ticks);
    return Error();
}

Error CheckControl(const StrobeControl& control, unsigned int inquiry) {
    if (!control.onOff && (inquiry & StrobeInquiry::kOnOff) == 0) {
        return Failure(ERR_NOT_SUPPORTED, "Strobe %u of this camera cannot be switched off.", control.source);
    }
    if (control.polarity > StrobeControlRegister::kPolarity.GetMax()) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The polarity of strobe %u is to be %u; it must be 0 (active low) or 1 (active high).",
                       control.source, control.polarity);
    }
    return Error();
}

}  // namespace

Error Strobe::FindOutput(unsigned int source, Output* pOutput) {
    if (source >= kStrobeOutputs) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "There is no strobe %u; strobes are 0 to %u.", source,
                       kStrobeOutputs - 1);
    }
    RegisterSequence camera(*this);
    if ((camera.Read(Register::kOptionalFunctionInquiry) & OptionalFunction::kStrobe) == 0) {
        return camera.GetError();
    }
    pOutput->block = camera.FindBlock(Register::kStrobeCsrInquiry);
    if (pOutput->block != 0 &&
        (camera.ReadBase(pOutput->block + StrobeBlock::kControlInquiry) & RegisterBit(source)) != 0) {
        pOutput->inquiry = camera.ReadBase(pOutput->block + StrobeBlock::kInquiry + kRegisterSize * source);
    }
    return camera.GetError();
}

Error Strobe::RequireOutput(unsigned int source, Output* pOutput) {
    const Error error = FindOutput(source, pOutput);
    if (error == ERR_OK && !pOutput->Can(StrobeInquiry::kPresence)) {
        return Failure(ERR_FEATURE_ABSENT, "This camera has no strobe %u.", source);
    }
    return error;
}

Error Strobe::GetStrobeInfo(StrobeInfo* pInfo) {
    if (pInfo == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The strobe information needs a record to go to.");
    }
    Output output;
    const Error error = FindOutput(pInfo->source, &output);
    if (error != ERR_OK) {
        return error;
    }
    StrobeInfo info;
    info.source = pInfo->source;
    if (output.Can(StrobeInquiry::kPresence)) {
        info.present = true;
        info.readOutSupported = output.Can(StrobeInquiry::kReadOut);
        info.onOffSupported = output.Can(StrobeInquiry::kOnOff);
        info.polaritySupported = output.Can(StrobeInquiry::kPolarity);
        info.minValue = static_cast<float>(ToMs(StrobeInquiry::kMinimum.Get(output.inquiry)));
        info.maxValue = static_cast<float>(ToMs(StrobeInquiry::kMaximum.Get(output.inquiry)));
    }
    *pInfo = info;
    return Error();
}

Error Strobe::GetStrobe(StrobeControl* pControl) {
    if (pControl == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The strobe setting needs a record to go to.");
    }
    Output output;
    const Error error = RequireOutput(pControl->source, &output);
    if (error != ERR_OK) {
        return error;
    }
    RegisterSequence camera(*this);
    const unsigned int word =
        camera.ReadBase(output.block + StrobeBlock::kControl + kRegisterSize * pControl->source);
    if (!camera.HasFailed()) {
        StrobeControl control;
        control.source = pControl->source;
        // Such that the record can be given back to SetStrobe as it is.
        control.onOff = (word & StrobeControlRegister::kOnOff) != 0 || !output.Can(StrobeInquiry::kOnOff);
        control.polarity = StrobeControlRegister::kPolarity.Get(word);
        control.delay = static_cast<float>(ToMs(StrobeControlRegister::kDelay.Get(word)));
        control.duration = static_cast<float>(ToMs(StrobeControlRegister::kDuration.Get(word)));
        *pControl = control;
    }
    return camera.GetError();
}

Error Strobe::SetStrobe(const StrobeControl* pControl, bool broadcast) {
    if (pControl == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The strobe setting needs a record to come from.");
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    Output output;
    Error error = RequireOutput(pControl->source, &output);
    if (error == ERR_OK) {
        error = CheckControl(*pControl, output.inquiry);
    }
    unsigned int delay = 0;
    if (error == ERR_OK) {
        error = ToTicks(pControl->source, "delay", pControl->delay, 0, output.inquiry, &delay);
    }
    unsigned int duration = 0;
    const bool isAsLongAsExposure = pControl->duration == 0;
    if (error == ERR_OK && !isAsLongAsExposure) {  // nor may it become that by being rounded
        error = ToTicks(pControl->source, "duration", pControl->duration, 1, output.inquiry, &duration);
    }
    if (error != ERR_OK) {
        return error;
    }
    const unsigned int address = output.block + StrobeBlock::kControl + kRegisterSize * pControl->source;
    RegisterSequence camera(*this, broadcast);
    unsigned int word = camera.ReadBase(address);
    const unsigned int polarity = StrobeControlRegister::kPolarity.Get(word);
    if (!camera.HasFailed() && !output.Can(StrobeInquiry::kPolarity) && pControl->polarity != polarity) {
        return Failure(ERR_NOT_SUPPORTED,
                       "The polarity of strobe %u of this camera cannot be changed from %u to %u.",
                       pControl->source, polarity, pControl->polarity);
    }
    word = pControl->onOff ? word | StrobeControlRegister::kOnOff : word & ~StrobeControlRegister::kOnOff;
    word = StrobeControlRegister::kPolarity.Put(word, pControl->polarity);
    word = StrobeControlRegister::kDelay.Put(word, delay);
    word = StrobeControlRegister::kDuration.Put(word, duration);
    camera.WriteBase(address, word);
    return camera.GetError();
}

}  // namespace Zevrin
