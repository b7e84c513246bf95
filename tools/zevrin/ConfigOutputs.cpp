#include <algorithm>

#include "CameraConfig.h"
#include "EmbeddedItems.h"
#include "Polarity.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Zevrin::EmbeddedImageInfo;
using Zevrin::EmbeddedImageItem;
using Zevrin::IidcCamera;
using Zevrin::StrobeControl;
using Zevrin::StrobeInfo;
using Zevrin::TriggerMode;
using Zevrin::TriggerModeInfo;

constexpr unsigned int kOutputs = 4;
constexpr unsigned int kPins = 32;
constexpr unsigned int kMaxParameter = 4095;

// The trigger.

Json ReadTrigger(IidcCamera& camera, Findings*) {
    TriggerModeInfo info;
    Check(camera.GetTriggerModeInfo(&info));
    if (!info.present) {
        return nullptr;
    }
    TriggerMode mode;
    Check(camera.GetTriggerMode(&mode));
    return {{"on", mode.onOff},
            {"polarity", WordFor(mode.polarity, kPolarities)},
            {"source", mode.source},
            {"mode", mode.mode},
            {"parameter", mode.parameter}};
}

/// A number that has to be one of those whose bits are set, or the present one.
void ReadFromMask(ConfigEntry& entry, const char* key, unsigned int mask, unsigned int* pValue) {
    const Json* const pJson = entry.Find(key);
    if (pJson == nullptr) {
        return;
    }
    std::string numbers;
    for (const unsigned int number : BitsOf(mask | 1U << *pValue)) {
        numbers += (numbers.empty() ? "" : ", ") + std::to_string(number);
        if (pJson->is_number_integer() && *pJson == number) {
            *pValue = number;
            return;
        }
    }
    entry.Refuse(key, numbers.empty() ? "this camera has none" : "it must be one of " + numbers);
}

template <typename Record>
void ReadSwitchAndPolarity(ConfigEntry& entry, bool canSwitch, bool canTurn, Record* pRecord) {
    const unsigned int polarity = pRecord->polarity;
    entry.Read("on", &pRecord->onOff);
    entry.Read("polarity", kPolarities, &pRecord->polarity);
    if (!pRecord->onOff && !canSwitch) {
        entry.Refuse("on", "it cannot be switched off");
    }
    if (pRecord->polarity != polarity && !canTurn) {
        entry.Refuse("polarity", "it cannot be changed from " + WordFor(polarity, kPolarities));
    }
}

void PlanTrigger(ConfigEntry& entry, IidcCamera& camera, ConfigPlan* pPlan) {
    TriggerModeInfo info;
    Check(camera.GetTriggerModeInfo(&info));
    if (!info.present) {
        entry.Refuse("this camera has none");
        return;
    }
    TriggerMode mode;
    Check(camera.GetTriggerMode(&mode));
    ReadSwitchAndPolarity(entry, info.onOffSupported, info.polaritySupported, &mode);
    ReadFromMask(entry, "source", info.sourceMask, &mode.source);
    ReadFromMask(entry, "mode", info.modeMask, &mode.mode);
    entry.Read("parameter", IntegerRange{0, kMaxParameter}, &mode.parameter);
    entry.RefuseOthers();
    pPlan->steps.push_back(
        {kStageTrigger, entry.GetPath(), [&camera, mode] { return camera.SetTriggerMode(&mode); }});
}

// The strobes, by the numbers of their outputs.

StrobeInfo ReadStrobeInfo(IidcCamera& camera, unsigned int output) {
    StrobeInfo info;
    info.source = output;
    Check(camera.GetStrobeInfo(&info));
    return info;
}

StrobeControl ReadStrobe(IidcCamera& camera, unsigned int output) {
    StrobeControl control;
    control.source = output;
    Check(camera.GetStrobe(&control));
    return control;
}

Json ReadStrobes(IidcCamera& camera, Findings*) {
    Json strobes;
    for (unsigned int output = 0; output < kOutputs; ++output) {
        if (ReadStrobeInfo(camera, output).present) {
            const StrobeControl control = ReadStrobe(camera, output);
            strobes[std::to_string(output)] = {{"on", control.onOff},
                                               {"polarity", WordFor(control.polarity, kPolarities)},
                                               {"delayMs", Exactly(control.delay)},
                                               {"durationMs", Exactly(control.duration)}};
        }
    }
    return strobes;
}

void PlanStrobe(ConfigEntry& entry, unsigned int output, IidcCamera& camera, ConfigPlan* pPlan) {
    const StrobeInfo info = ReadStrobeInfo(camera, output);
    if (!info.present) {
        entry.Refuse("this camera has none");
        return;
    }
    StrobeControl control = ReadStrobe(camera, output);
    const RealRange times = {Exactly(info.minValue), Exactly(info.maxValue), "ms"};
    ReadSwitchAndPolarity(entry, info.onOffSupported, info.polaritySupported, &control);
    entry.Read("delayMs", times, &control.delay);
    // The duration 0 is that of the exposure, whatever the smallest one is.
    if (entry.Has("durationMs") && entry.GetObject().at("durationMs") == 0) {
        entry.Find("durationMs");
        control.duration = 0;
    } else {
        entry.Read("durationMs", times, &control.duration);
    }
    entry.RefuseOthers();
    pPlan->steps.push_back(
        {kStageOutputs, entry.GetPath(), [&camera, control] { return camera.SetStrobe(&control); }});
}

void PlanStrobes(ConfigEntry& entry, IidcCamera& camera, ConfigPlan* pPlan) {
    for (unsigned int output = 0; output < kOutputs; ++output) {
        const std::string key = std::to_string(output);
        if (entry.Find(key) != nullptr) {
            ConfigEntry strobe = entry.Enter(key);
            if (strobe.IsGood()) {
                PlanStrobe(strobe, output, camera, pPlan);
            }
        }
    }
    entry.RefuseOthers();
}

// The pins.

std::vector<unsigned int> ReadOutputPins(IidcCamera& camera) {
    std::vector<unsigned int> outputs;
    for (unsigned int pin = 0; pin < kPins; ++pin) {
        unsigned int direction = 0;
        Check(camera.GetGPIOPinDirection(pin, &direction));
        if (direction == 1) {
            outputs.push_back(pin);
        }
    }
    return outputs;
}

Json ReadPins(IidcCamera& camera, Findings*) {
    unsigned int direction = 0;
    const Zevrin::Error first = camera.GetGPIOPinDirection(0, &direction);
    return IsAboutAbsence(first) ? Json() : Json{{"outputs", ReadOutputPins(camera)}};
}

void PlanPins(ConfigEntry& entry, IidcCamera& camera, ConfigPlan* pPlan) {
    const std::vector<unsigned int> present = ReadOutputPins(camera);
    std::vector<unsigned int> wanted;
    entry.ReadList("outputs", {0, kPins - 1}, &wanted);
    entry.RefuseOthers();
    const auto has = [](const std::vector<unsigned int>& pins, unsigned int pin) {
        return std::find(pins.begin(), pins.end(), pin) != pins.end();
    };
    for (unsigned int pin = 0; pin < kPins; ++pin) {
        const unsigned int direction = has(wanted, pin) ? 1 : 0;
        // Inputs that stay inputs are left alone: the camera may not have them.
        if (has(present, pin) || direction == 1) {
            pPlan->steps.push_back(
                {kStageOutputs, entry.GetPath() + " " + std::to_string(pin),
                 [&camera, pin, direction] { return camera.SetGPIOPinDirection(pin, direction); }});
        }
    }
}

// The items that are stamped into images.

Json ReadEmbedded(IidcCamera& camera, Findings*) {
    EmbeddedImageInfo info;
    Check(camera.GetEmbeddedImageInfo(&info));
    Json items;
    for (const Choice& name : kEmbeddedItems) {
        const EmbeddedImageItem& item = EmbeddedItem(&info, name.value);
        if (item.available) {
            items[name.word] = item.onOff;
        }
    }
    return items;
}

void PlanEmbedded(ConfigEntry& entry, IidcCamera& camera, ConfigPlan* pPlan) {
    EmbeddedImageInfo info;
    Check(camera.GetEmbeddedImageInfo(&info));
    for (const Choice& name : kEmbeddedItems) {
        EmbeddedImageItem& item = EmbeddedItem(&info, name.value);
        entry.Read(name.word, &item.onOff);
        if (item.onOff && !item.available) {
            entry.Refuse(name.word, "this camera has no such item");
        }
    }
    entry.RefuseOthers();
    pPlan->steps.push_back({kStageOutputs, entry.GetPath(), [&camera, info] {
                                EmbeddedImageInfo items = info;
                                return camera.SetEmbeddedImageInfo(&items);
                            }});
}

}  // namespace

const ConfigSection kTriggerSection = {"trigger", ReadTrigger, PlanTrigger};
const ConfigSection kStrobeSection = {"strobes", ReadStrobes, PlanStrobes};
const ConfigSection kPinSection = {"pins", ReadPins, PlanPins};
const ConfigSection kEmbeddedSection = {"embedded", ReadEmbedded, PlanEmbedded};

}  // namespace ZevrinTool
