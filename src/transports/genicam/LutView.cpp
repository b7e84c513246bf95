#include "LutView.h"

#include "Failure.h"
#include "FeatureTable.h"
#include "RegisterFields.h"
#include "Registers.h"

namespace Zevrin {

namespace {

constexpr unsigned int kMaxInputBits = 16;
constexpr unsigned int kMaxOutputBits = 32;
constexpr unsigned int kMaxChannels = LutInquiry::kChannels.GetMax();

/// The bits of the numbers from 0 to `max`; 0 when these are not all that so many bits can say.
unsigned int CountBits(double max, unsigned int maxBits) {
    for (unsigned int bits = 1; bits <= maxBits; ++bits) {
        if (max + 1 == static_cast<double>(1ULL << bits)) {
            return bits;
        }
    }
    return 0;
}

unsigned int ReadBits(DeviceFeatures& features, const FeatureNames& names, unsigned int maxBits) {
    const char* const feature = features.Find(names);
    if (feature == nullptr || !features.IsInteger(feature)) {
        return 0;
    }
    const FeatureLimits limits = features.GetLimits(feature, {0, 4294967295.0, 0, true});
    return limits.isValid && limits.min == 0 ? CountBits(limits.max, maxBits) : 0;
}

std::vector<std::string> FindChannels(DeviceFeatures& features) {
    std::vector<std::string> channels;
    if (const char* const selector = features.Find(FeatureName::kLutSelector)) {
        for (const FeatureEntry& entry : features.GetEntries(selector)) {
            if (channels.size() < kMaxChannels) {
                channels.push_back(entry.name);
            }
        }
    } else {
        channels.emplace_back();
    }
    return channels;
}

}  // namespace

bool LutView::IsThere(DeviceFeatures& features) {
    return ReadInquiry(features) != 0;
}

unsigned int LutView::ReadInquiry(DeviceFeatures& features) {
    const unsigned int inputBits = ReadBits(features, FeatureName::kLutIndex, kMaxInputBits);
    const unsigned int outputBits = ReadBits(features, FeatureName::kLutValue, kMaxOutputBits);
    const std::size_t channels = FindChannels(features).size();
    if (inputBits == 0 || outputBits == 0 || channels == 0) {
        return 0;
    }
    const char* const enable = features.Find(FeatureName::kLutEnable);
    return LutInquiry::kPresence | (enable != nullptr ? LutInquiry::kOnOff : 0) |
           LutInquiry::kInputBits.Make(inputBits) | LutInquiry::kOutputBits.Make(outputBits) |
           LutInquiry::kBanks.Make(1) | LutInquiry::kChannels.Make(static_cast<unsigned int>(channels));
}

unsigned int LutView::ReadControl(DeviceFeatures& features) {
    const char* const enable = features.Find(FeatureName::kLutEnable);
    return enable == nullptr || features.GetSwitch(enable) ? LutControl::kEnable : 0;
}

void LutView::WriteControl(DeviceFeatures& features, unsigned int word) {
    const char* const enable = features.Find(FeatureName::kLutEnable);
    if (enable == nullptr || LutControl::kActiveBank.Get(word) != 0) {
        features.Fail(Failure(ERR_NOT_SUPPORTED, "the look-up table has one bank and %s.",
                              enable == nullptr ? "no switch" : "can be on or off"));
        return;
    }
    // In every channel that has a switch of its own.
    for (const std::string& channel : FindChannels(features)) {
        if (channel.empty() || features.Select({FeatureName::kLutSelector[0], {channel.c_str()}})) {
            features.SetSwitch(enable, (word & LutControl::kEnable) != 0);
        }
    }
}

unsigned int LutView::ReadBankStatus(DeviceFeatures& features) {
    const char* const value = features.Find(FeatureName::kLutValue);
    const bool canWrite = value != nullptr && features.CanWrite(value);
    return LutBankStatus::Readable(0) | (canWrite ? LutBankStatus::Writable(0) : 0);
}

LutView::LutView(DeviceFeatures& features)
    : m_features(features),
      m_channels(FindChannels(features)),
      m_entries(1U << ReadBits(features, FeatureName::kLutIndex, kMaxInputBits)) {}

bool LutView::SelectEntry(unsigned int index) {
    if (index >= GetSize() || m_entries == 1) {
        m_features.Fail(Failure(ERR_INVALID_ADDRESS, "the look-up table has no entry there."));
        return false;
    }
    const std::string& channel = m_channels[index / m_entries];
    if (!channel.empty() && !m_features.Select({FeatureName::kLutSelector[0], {channel.c_str()}})) {
        m_features.Fail(Failure(ERR_LUT_FAILED, "the camera does not select that channel."));
    }
    m_features.SetNumber(FeatureName::kLutIndex[0], index % m_entries);
    return !m_features.HasFailed();
}

unsigned int LutView::ReadEntry(unsigned int index) {
    const double value = SelectEntry(index) ? m_features.GetNumber(FeatureName::kLutValue[0]) : 0;
    return value >= 0 && value <= 4294967295.0 ? static_cast<unsigned int>(value) : 0;
}

void LutView::WriteEntry(unsigned int index, unsigned int value) {
    if (SelectEntry(index)) {
        m_features.SetNumber(FeatureName::kLutValue[0], value);
    }
}

}  // namespace Zevrin
