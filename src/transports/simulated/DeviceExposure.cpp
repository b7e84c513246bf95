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

TestPattern ReadTestPattern(const RegisterFile& registers) {
    return static_cast<TestPattern>(registers.Get(Advanced::kTestPattern));
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

PictureSettings SimulatedDevice::MakePicture(TestPattern pattern) const {
    const ImageSetup setup = GetImageSetup();
    PictureSettings picture;
    picture.left = setup.left;
    picture.top = setup.top;
    picture.width = setup.width;
    picture.height = setup.height;
    picture.format = setup.format;
    picture.bayer = m_description.bayer;
    picture.serialNumber = m_description.serialNumber;
    picture.frameNumber = m_sequencer.GetExposureCount();
    picture.isStill = pattern != TestPattern::kScene;
    if (m_identity.isColor && pattern == TestPattern::kScene) {
        constexpr double kPerCent = 100;
        picture.hue = IsFeatureOn(m_registers, kHue) ? GetFeatureValue(m_registers, kHue) : 0;
        picture.saturation =
            IsFeatureOn(m_registers, kSaturation) ? GetFeatureValue(m_registers, kSaturation) / kPerCent : 1;
    }
    return picture;
}

boost::shared_ptr<const ToneTable> SimulatedDevice::MakeTonesFor(TestPattern pattern, double exposure) {
    constexpr unsigned short kWhite = 0xFFFF;
    constexpr unsigned short kGrey = 0x8000;
    switch (pattern) {
        case TestPattern::kStill:
            return boost::make_shared<ToneTable>(GetLinearTones());
        case TestPattern::kBlack:
            return boost::make_shared<ToneTable>(MakeFlatTones(0));
        case TestPattern::kWhite:
            return boost::make_shared<ToneTable>(MakeFlatTones(kWhite));
        case TestPattern::kGrey:
            return boost::make_shared<ToneTable>(MakeFlatTones(kGrey));
        default:
            break;
    }
    ToneSettings settings = ReadToneSettings(m_registers, m_identity.isColor, exposure);
    settings.lutRevision = m_lutRevision;
    if (!m_pTones || !(settings == m_toneSettings)) {
        m_toneSettings = settings;
        m_pTones = boost::make_shared<ToneTable>(MakeTones(settings, m_registers, m_identity.isColor));
    }
    return m_pTones;
}

boost::shared_ptr<const Exposure> SimulatedDevice::MakeExposure(unsigned long long begin,
                                                                unsigned long long duration) {
    const TestPattern pattern = ReadTestPattern(m_registers);
    auto pExposure = boost::make_shared<Exposure>();
    pExposure->picture = MakePicture(pattern);
    if (m_description.paint) {
        pExposure->pTones = MakeTonesFor(pattern, static_cast<double>(duration) / kNanosecondsPerSecond);
    }
    pExposure->size = GetImageSetup().GetSize();
    pExposure->embedded = GetEmbedded(*this, begin);
    pExposure->hasTimeStamp = HasOwnTimeStamp(m_description.interfaceType);
    SetCycleTime(MakeCycleTime(begin), &pExposure->timeStamp);
    return pExposure;
}

}  // namespace Zevrin
