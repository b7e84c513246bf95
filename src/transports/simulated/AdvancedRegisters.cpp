#include <cmath>

#include "DeviceLayout.h"
#include "DeviceRegisters.h"
#include "Features.h"
#include "RegisterFields.h"
#include "SimulatedDevice.h"
#include "Tones.h"

namespace Zevrin {

namespace {

// The information register of a measurement table counts from the least significant bit.
constexpr unsigned int kTablePresent = 1U << 31;
constexpr unsigned int kTableCountShift = 12;

constexpr unsigned int kUserDataQuadlets = 16;
constexpr unsigned int kEmbeddedInfoPresent = 1U << 31;

/// One reading, which wavers a little around its nominal value.
struct Measurement {
    double nominal;
    double share;   ///< that it wavers by
    double period;  ///< seconds
};

constexpr Measurement kSupplyVoltages[] = {{3.3, 0.005, 7}, {5, 0.01, 11}, {12, 0.02, 13}};  // volts
constexpr Measurement kSupplyCurrents[] = {{0.35, 0.05, 5}, {0.12, 0.1, 3}};                 // amperes

template <unsigned int kBlock, std::size_t kCount>
unsigned int ReadMeasurement(const SimulatedDevice& device, unsigned int offset,
                             const Measurement (&table)[kCount]) {
    constexpr double kTwoPi = 6.283185307179586;
    const Measurement& row = table[(offset - kBlock) / kRegisterSize];
    const double phase = kTwoPi * device.GetUptime() / row.period;
    return FloatToWord(row.nominal * (1 + row.share * std::sin(phase)));
}

unsigned int ReadVoltage(const SimulatedDevice& device, unsigned int offset, unsigned int) {
    return ReadMeasurement<Block::kMeasurementsA>(device, offset, kSupplyVoltages);
}

unsigned int ReadCurrent(const SimulatedDevice& device, unsigned int offset, unsigned int) {
    return ReadMeasurement<Block::kMeasurementsB>(device, offset, kSupplyCurrents);
}

template <std::size_t kCount>
constexpr unsigned int TableInfo(const Measurement (&)[kCount]) {
    return kTablePresent | static_cast<unsigned int>(kCount) << kTableCountShift;
}

template <std::size_t kCount>
constexpr unsigned int CountOf(const Measurement (&)[kCount]) {
    return static_cast<unsigned int>(kCount);
}

unsigned int ReadUptime(const SimulatedDevice& device, unsigned int, unsigned int) {
    return static_cast<unsigned int>(device.GetUptime());
}

unsigned int ReadExposureCount(const SimulatedDevice& device, unsigned int, unsigned int) {
    return device.GetSequencer().GetExposureCount();
}

void TestPatternWritten(SimulatedDevice& device, unsigned int offset, unsigned int written,
                        unsigned int before) {
    if (RegisterField{28, 31}.Get(written) >= static_cast<unsigned int>(TestPattern::kCount)) {
        device.GetRegisters().Set(offset, before);
    }
}

}  // namespace

std::vector<RegisterRow> MakeAdvancedRegisters(const CameraDescription& camera) {
    constexpr unsigned int kAll = 0xFFFFFFFFU;
    return {
        {Register::kAdvancedFeatureInquiry, 1, 0, QuadletOffset(Block::kAdvanced), "ADV_FEATURE_INQ"},
        {Advanced::kTestPattern, 1, RegisterField{28, 31}.GetMask(), 0, "TEST_PATTERN", nullptr,
         TestPatternWritten},
        {Advanced::kUptime, 1, 0, 0, "UPTIME", ReadUptime},
        {Advanced::kExposureCount, 1, 0, 0, "EXPOSURE_COUNT", ReadExposureCount},
        {Advanced::kEmbeddedInfo, 1, camera.embeddedItems, kEmbeddedInfoPresent, "EMBEDDED_INFO"},
        {Advanced::kTransmitFailures, 1, kAll, 0, "TRANSMIT_FAILURES", nullptr, nullptr, false, true},
        {Advanced::kMeasurementsAInfo, 1, 0, TableInfo(kSupplyVoltages), "MEASUREMENTS_A_INFO"},
        {Advanced::kMeasurementsAOffset, 1, 0, Block::kMeasurementsA / kRegisterSize,
         "MEASUREMENTS_A_OFFSET"},
        {Advanced::kMeasurementsBInfo, 1, 0, TableInfo(kSupplyCurrents), "MEASUREMENTS_B_INFO"},
        {Advanced::kMeasurementsBOffset, 1, 0, Block::kMeasurementsB / kRegisterSize,
         "MEASUREMENTS_B_OFFSET"},
        {Block::kMeasurementsA, CountOf(kSupplyVoltages), 0, 0, "MEASUREMENTS_A", ReadVoltage},
        {Block::kMeasurementsB, CountOf(kSupplyCurrents), 0, 0, "MEASUREMENTS_B", ReadCurrent},
        {Advanced::kUserData, kUserDataQuadlets, kAll, 0, "USER_DATA"},
    };
}

}  // namespace Zevrin
