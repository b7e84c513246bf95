#include "UserSetView.h"

#include <map>

#include "Failure.h"
#include "FeatureTable.h"

namespace Zevrin {

namespace {

constexpr char kFactorySet[] = "Default";
constexpr char kUserSet[] = "UserSet";
constexpr std::size_t kMaxChannels = 16;
constexpr std::size_t kMaxDigits = 3;

/// The names of the sets, by channel. The first is empty when there is no factory set.
std::vector<std::string> FindSets(DeviceFeatures& features) {
    std::map<unsigned long, std::string> sets;
    std::vector<std::string> channels(1);
    const char* const selector = features.Find(FeatureName::kUserSetSelector);
    if (selector == nullptr) {
        return channels;
    }
    const std::string prefix = kUserSet;
    for (const FeatureEntry& entry : features.GetEntries(selector)) {
        const std::string number =
            entry.name.compare(0, prefix.size(), prefix) == 0 ? entry.name.substr(prefix.size()) : "";
        if (entry.name == kFactorySet) {
            channels[0] = entry.name;
        } else if (!number.empty() && number.size() <= kMaxDigits &&
                   number.find_first_not_of("0123456789") == std::string::npos) {
            sets[std::stoul(number)] = entry.name;
        }
    }
    for (const auto& set : sets) {
        if (channels.size() < kMaxChannels) {
            channels.push_back(set.second);
        }
    }
    return channels;
}

void Use(DeviceFeatures& features, unsigned int channel, const FeatureNames& commands) {
    const std::vector<std::string> sets = FindSets(features);
    const char* const command = features.Find(commands);
    if (channel >= sets.size() || sets[channel].empty() || command == nullptr) {
        features.Fail(
            Failure(ERR_FEATURE_ABSENT, "the camera has no user set for memory channel %u.", channel));
        return;
    }
    features.SetEntry(features.Find(FeatureName::kUserSetSelector), sets[channel]);
    features.Execute(command);
}

}  // namespace

unsigned int UserSetView::GetHighestChannel(DeviceFeatures& features) {
    return features.Find(FeatureName::kUserSetLoad) != nullptr
               ? static_cast<unsigned int>(FindSets(features).size() - 1)
               : 0;
}

void UserSetView::Load(DeviceFeatures& features, unsigned int channel) {
    Use(features, channel, FeatureName::kUserSetLoad);
    if (!features.HasFailed()) {
        m_channel = channel;
    }
}

void UserSetView::Save(DeviceFeatures& features) {
    Use(features, m_saveChannel, FeatureName::kUserSetSave);
}

}  // namespace Zevrin
