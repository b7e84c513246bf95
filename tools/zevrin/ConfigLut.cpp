#include "CameraConfig.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Zevrin::IidcCamera;
using Zevrin::LUTData;

using Entries = std::vector<unsigned int>;

/// A bank that cannot be both read and written is not part of what can be set.
bool IsSettable(IidcCamera& camera, unsigned int bank) {
    bool isReadable = false;
    bool isWritable = false;
    Check(camera.GetLUTBankInfo(bank, &isReadable, &isWritable));
    return isReadable && isWritable;
}

Json Read(IidcCamera& camera, Findings*) {
    LUTData data;
    Check(camera.GetLUTInfo(&data));
    if (!data.supported) {
        return nullptr;
    }
    unsigned int active = 0;
    Check(camera.GetActiveLUTBank(&active));
    Json lut = {{"on", data.enabled}, {"activeBank", active}, {"banks", Json::object()}};
    for (unsigned int bank = 0; bank < data.numBanks; ++bank) {
        for (unsigned int channel = 0; channel < data.numChannels && IsSettable(camera, bank); ++channel) {
            Entries entries(data.numEntries);
            Check(camera.GetLUTChannel(bank, channel, data.numEntries, entries.data()));
            lut["banks"][std::to_string(bank)][std::to_string(channel)] = entries;
        }
    }
    return lut;
}

void PlanChannel(ConfigEntry& entry, unsigned int bank, unsigned int channel, const LUTData& data,
                 IidcCamera& camera, ConfigPlan* pPlan) {
    const std::string key = std::to_string(channel);
    Entries entries;
    if (entry.Find(key) == nullptr || !entry.ReadList(key, {0, (1LL << data.outputBitDepth) - 1}, &entries)) {
        return;
    }
    if (entries.size() != data.numEntries) {
        entry.Refuse(key, "it has " + std::to_string(entries.size()) + " entries; it must have " +
                              std::to_string(data.numEntries));
    }
    pPlan->steps.push_back({kStageOutputs, entry.GetPath() + "." + key, [&camera, bank, channel, entries] {
                                return camera.SetLUTChannel(
                                    bank, channel, static_cast<unsigned int>(entries.size()), entries.data());
                            }});
}

void PlanBanks(ConfigEntry& banks, const LUTData& data, IidcCamera& camera, ConfigPlan* pPlan) {
    for (unsigned int bank = 0; bank < data.numBanks; ++bank) {
        const std::string key = std::to_string(bank);
        if (banks.Find(key) == nullptr) {
            continue;
        }
        if (!IsSettable(camera, bank)) {
            banks.Refuse(key, "the bank cannot be written");
            continue;
        }
        ConfigEntry entry = banks.Enter(key);
        for (unsigned int channel = 0; channel < data.numChannels; ++channel) {
            PlanChannel(entry, bank, channel, data, camera, pPlan);
        }
        entry.RefuseOthers();
    }
    banks.RefuseOthers();
}

void Plan(ConfigEntry& entry, IidcCamera& camera, ConfigPlan* pPlan) {
    LUTData data;
    Check(camera.GetLUTInfo(&data));
    if (!data.supported) {
        entry.Refuse("this camera has none");
        return;
    }
    if (entry.Find("banks") != nullptr) {
        ConfigEntry banks = entry.Enter("banks");
        PlanBanks(banks, data, camera, pPlan);
    }
    unsigned int active = 0;
    Check(camera.GetActiveLUTBank(&active));
    entry.Read("activeBank", IntegerRange{0, data.numBanks - 1LL}, &active);
    bool on = data.enabled;
    entry.Read("on", &on);
    entry.RefuseOthers();
    pPlan->steps.push_back({kStageOutputs, entry.GetPath() + ".activeBank",
                            [&camera, active] { return camera.SetActiveLUTBank(active); }});
    // A table that cannot be switched says so to those who try.
    pPlan->steps.push_back({kStageOutputs, entry.GetPath() + ".on", [&camera, on] {
                                LUTData now;
                                const Zevrin::Error error = camera.GetLUTInfo(&now);
                                return error != Zevrin::ERR_OK || now.enabled == on ? error
                                                                                    : camera.EnableLUT(on);
                            }});
}

}  // namespace

const ConfigSection kLutSection = {"lut", Read, Plan};

}  // namespace ZevrinTool
