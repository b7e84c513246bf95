#include <boost/smart_ptr/make_shared.hpp>
#include <cmath>

#include "AutoAdjust.h"
#include "CycleTime.h"
#include "DeviceLayout.h"
#include "Features.h"
#include "SimulatedDevice.h"

namespace Zevrin {

namespace {

constexpr double kNanosecondsPerSecond = 1e9;

/// What can be stamped into the first pixels, in the order of the bits of the embedded information register,
/// which count from the least significant.
struct EmbeddedItem {
    const char* name;
    unsigned int offset;  ///< the register that is stamped; 0: something else
};
constexpr EmbeddedItem kEmbeddedItems[] = {
    {"time stamp", 0},
    {"gain", Register::kHighControl + kRegisterSize* kGain},
    {"shutter", Register::kHighControl + kRegisterSize* kShutter},
    {"brightness", Register::kHighControl + kRegisterSize* kBrightness},
    {"white balance", Register::kHighControl + kRegisterSize* kWhiteBalance},
    {"frame number", 0},
    {"trigger count", 0},
    {"pin levels", 0},
    {"position of the region", Block::kFormat7 + Format7Block::kImagePosition},
    {"temperature", 0},
};
constexpr unsigned int kItemTimeStamp = 0;
constexpr unsigned int kItemFrameNumber = 5;
constexpr unsigned int kItemTriggerCount = 6;
constexpr unsigned int kItemPins = 7;
constexpr unsigned int kItemTemperature = 9;

/// Transports that deliver a time stamp beside the image.
bool HasOwnTimeStamp(InterfaceType type) {
    return type == INTERFACE_U3V || type == INTERFACE_GIGE;
}

unsigned int GetItem(const SimulatedDevice& device, unsigned int item, unsigned long long begin) {
    switch (item) {
        case kItemTimeStamp:
            return MakeCycleTime(begin);
        case kItemFrameNumber:
            return device.GetSequencer().GetExposureCount();
        case kItemTriggerCount:
            return device.GetSequencer().GetTriggerCount();
        case kItemPins:
            return device.GetPins().GetLevels(device.GetRegisters(), begin);
        case kItemTemperature:
            return FloatToWord(device.GetTemperature());
        default:
            return device.GetRegisters().Get(kEmbeddedItems[item].offset);
    }
}

std::vector<unsigned int> GetEmbedded(const SimulatedDevice& device, unsigned long long begin) {
    std::vector<unsigned int> quadlets;
    const unsigned int switches = device.GetRegisters().Get(Advanced::kEmbeddedInfo);
    for (unsigned int item = 0; item < std::size(kEmbeddedItems); ++item) {
        if ((switches >> item & 1) != 0) {
            quadlets.push_back(GetItem(device, item, begin));
        }
    }
    return quadlets;
}

}  // namespace

void SimulatedDevice::AdjustSettings() {
    AdjustAutomatically(&m_registers);
}

/// A camera warms up after it was switched on, and never rests quite.
double SimulatedDevice::GetTemperature() const {
    constexpr double kColdKelvin = 298.2;
    constexpr double kWarmingKelvin = 20;
    constexpr double kWarmingSeconds = 600;
    constexpr double kDriftKelvin = 0.3;
    constexpr double kDriftSeconds = 10;
    const double uptime = GetUptime();
    return kColdKelvin + kWarmingKelvin * (1 - std::exp(-uptime / kWarmingSeconds)) +
           kDriftKelvin * std::sin(uptime / kDriftSeconds);
}

PictureSettings SimulatedDevice::MakePicture(const ImageSetup& setup, double exposure) {
    PictureSettings picture;
    picture.left = setup.left;
    picture.top = setup.top;
    picture.width = setup.width;
    picture.height = setup.height;
    picture.format = setup.format;
    picture.bayer = m_description.bayer;
    picture.serialNumber = m_description.serialNumber;
    picture.frameNumber = m_sequencer.GetExposureCount();
    if (m_description.paint) {
        picture.tones = MakeToneSettings(exposure);
    }
    if (m_identity.isColor && picture.tones.pattern == TestPattern::kScene) {
        constexpr double kPerCent = 100;
        picture.hue = IsFeatureOn(m_registers, kHue) ? GetFeatureValue(m_registers, kHue) : 0;
        picture.saturation =
            IsFeatureOn(m_registers, kSaturation) ? GetFeatureValue(m_registers, kSaturation) / kPerCent : 1;
    }
    return picture;
}

/// The tones themselves are computed where the picture is painted, without the bus's mutex.
ToneSettings SimulatedDevice::MakeToneSettings(double exposure) {
    ToneSettings settings;
    settings.pattern = static_cast<TestPattern>(m_registers.Get(Advanced::kTestPattern));
    if (settings.pattern == TestPattern::kScene) {
        settings = ReadToneSettings(m_registers, m_identity.isColor, exposure);
        if (IsLutOn(m_registers)) {
            if (!m_pLut) {
                m_pLut = boost::make_shared<LutBank>(ReadLutBank(m_registers));
            }
            settings.pLut = m_pLut;
        }
    }
    return settings;
}

boost::shared_ptr<const Exposure> SimulatedDevice::MakeExposure(unsigned long long begin,
                                                                unsigned long long duration) {
    const ImageSetup setup = GetImageSetup();
    auto pExposure = boost::make_shared<Exposure>();
    pExposure->picture = MakePicture(setup, static_cast<double>(duration) / kNanosecondsPerSecond);
    pExposure->isPainted = m_description.paint;
    pExposure->size = setup.GetSize();
    pExposure->embedded = GetEmbedded(*this, begin);
    pExposure->hasTimeStamp = HasOwnTimeStamp(m_description.interfaceType);
    SetCycleTime(MakeCycleTime(begin), &pExposure->timeStamp);
    return pExposure;
}

}  // namespace Zevrin
