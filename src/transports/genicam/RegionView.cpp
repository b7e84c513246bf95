#include "RegionView.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "Failure.h"
#include "RegisterFields.h"
#include "Registers.h"
#include "StandardModes.h"

namespace Zevrin {

namespace {

constexpr char kWidth[] = "Width";
constexpr char kHeight[] = "Height";
constexpr char kLeft[] = "OffsetX";
constexpr char kTop[] = "OffsetY";
constexpr char kPixelFormat[] = "PixelFormat";
constexpr char kBinningX[] = "BinningHorizontal";
constexpr char kBinningY[] = "BinningVertical";

constexpr double kMaxPixels = kHorizontalField.GetMax();
constexpr FeatureLimits kAnyPixels{0, kMaxPixels, 0, true};
constexpr FeatureLimits kAnyBinning{1, 64, 0, true};
constexpr unsigned int kNoCoding = kColorCodingField.GetMax();  // a pixel format that IIDC does not have

struct Binning {
    unsigned int x;
    unsigned int y;
};

/// By mode. The first is also the mode of a binning that is none of these.
constexpr Binning kBinnings[] = {{1, 1}, {2, 2}, {4, 4}, {2, 1}, {1, 2}};

unsigned int ToPixels(double value) {
    return static_cast<unsigned int>(std::lround(std::clamp(value, 0.0, kMaxPixels)));
}

unsigned int MakePair(unsigned int horizontal, unsigned int vertical) {
    return kHorizontalField.Make(horizontal) | kVerticalField.Make(vertical);
}

unsigned int ReadPixels(DeviceFeatures& features, const char* feature) {
    return features.Has(feature) ? ToPixels(features.GetNumber(feature)) : 0;
}

/// At least one pixel.
unsigned int ReadStep(DeviceFeatures& features, const char* feature) {
    const FeatureLimits limits = features.GetLimits(feature, kAnyPixels);
    return limits.isValid ? std::max(ToPixels(limits.step), 1U) : 1;
}

bool CanBin(DeviceFeatures& features, const char* feature, unsigned int factor) {
    const FeatureLimits limits = features.GetLimits(feature, kAnyBinning);
    return features.Has(feature) && limits.isValid && factor >= limits.min && factor <= limits.max;
}

unsigned int ReadBinning(DeviceFeatures& features, const char* feature) {
    return features.Has(feature) ? std::max(ToPixels(features.GetNumber(feature)), 1U) : 1;
}

void WriteBinning(DeviceFeatures& features, const Binning& binning) {
    const auto write = [&](const char* feature, unsigned int factor) {
        if (ReadBinning(features, feature) != factor) {
            features.SetNumber(feature, factor);
        }
    };
    write(kBinningX, binning.x);
    write(kBinningY, binning.y);
}

/// The largest extent with the present binning, whatever the region is.
unsigned int ReadExtent(DeviceFeatures& features, const char* maxFeature, const char* sizeFeature,
                        const char* startFeature) {
    const unsigned int own = ReadPixels(features, maxFeature);
    if (own != 0) {
        return own;
    }
    const FeatureLimits limits = features.GetLimits(sizeFeature, kAnyPixels);
    return limits.isValid ? ToPixels(limits.max + ReadPixels(features, startFeature)) : 0;
}

unsigned int ToCoding(const PixelLayout& layout) {
    if (layout.format == PIXEL_FORMAT_MONO10 || layout.format == PIXEL_FORMAT_MONO12) {
        return ToColorCoding(PIXEL_FORMAT_MONO16);  // samples of 16 bits, of which fewer mean something
    }
    return layout.format == PIXEL_FORMAT_UNKNOWN || layout.format > PIXEL_FORMAT_RAW16
               ? kNoCoding
               : ToColorCoding(layout.format);
}

PixelLayout ReadLayout(DeviceFeatures& features) {
    const std::string present = features.GetEntry(kPixelFormat);
    for (const FeatureEntry& entry : features.GetEntries(kPixelFormat)) {
        if (entry.name == present) {
            return GetPixelLayout(static_cast<ArvPixelFormat>(entry.value));
        }
    }
    return PixelLayout();
}

unsigned int ReadCodings(DeviceFeatures& features) {
    unsigned int codings = 0;
    for (const FeatureEntry& entry : features.GetEntries(kPixelFormat)) {
        const unsigned int coding = ToCoding(GetPixelLayout(static_cast<ArvPixelFormat>(entry.value)));
        codings |= coding != kNoCoding ? RegisterBit(coding) : 0;
    }
    return codings;
}

/// Of several pixel formats with one coding, that with the finest samples.
void WriteCoding(DeviceFeatures& features, unsigned int coding) {
    if (coding == kNoCoding || coding == ToCoding(ReadLayout(features))) {
        return;
    }
    std::string finest;
    unsigned int depth = 0;
    for (const FeatureEntry& entry : features.GetEntries(kPixelFormat)) {
        const PixelLayout layout = GetPixelLayout(static_cast<ArvPixelFormat>(entry.value));
        if (ToCoding(layout) == coding && layout.depth > depth) {
            finest = entry.name;
            depth = layout.depth;
        }
    }
    if (finest.empty()) {
        features.Fail(Failure(ERR_NOT_SUPPORTED, "the camera has no colour coding %u.", coding));
        return;
    }
    features.SetEntry(kPixelFormat, finest);
}

void WritePixels(DeviceFeatures& features, const char* feature, unsigned int pixels) {
    if (ReadPixels(features, feature) == pixels) {
        return;
    }
    const FeatureLimits limits = features.GetLimits(feature, kAnyPixels);
    const bool isOnStep = limits.step == 0 || std::fmod(pixels - limits.min, limits.step) == 0;
    if (!limits.isValid || pixels < limits.min || pixels > limits.max || !isOnStep) {
        features.Fail(Failure(ERR_VALUE_OUT_OF_RANGE, "%s is to be %u; it must be %g to %g in steps of %g.",
                              feature, pixels, limits.min, limits.max, std::max(limits.step, 1.0)));
    }
    features.SetNumber(feature, pixels);
}

void WritePixels(DeviceFeatures& features, const char* horizontal, const char* vertical, unsigned int word) {
    WritePixels(features, horizontal, kHorizontalField.Get(word));
    WritePixels(features, vertical, kVerticalField.Get(word));
}

bool Contains(RegisterField field, unsigned int outer, unsigned int start, unsigned int size) {
    return field.Get(size) >= 1 && field.Get(start) + field.Get(size) <= field.Get(outer);
}

}  // namespace

/// What can be read only depends on the mode.
struct RegionView::Row {
    unsigned int offset;
    unsigned int Region::*value;  ///< null: read by `read`
    unsigned int (*read)(DeviceFeatures& features, unsigned int mode);
};

const RegionView::Row RegionView::kRows[] = {
    {Format7Block::kMaxImageSize, nullptr, &RegionView::ReadMaxSize},
    {Format7Block::kUnitSize, nullptr,
     [](DeviceFeatures& features, unsigned int) { return ReadUnits(features, kWidth, kHeight); }},
    {Format7Block::kImagePosition, &Region::position, nullptr},
    {Format7Block::kImageSize, &Region::size, nullptr},
    {Format7Block::kColorCoding, &Region::coding, nullptr},
    {Format7Block::kColorCodingInquiry, nullptr,
     [](DeviceFeatures& features, unsigned int) { return ReadCodings(features); }},
    {Format7Block::kUnitPosition, nullptr,
     [](DeviceFeatures& features, unsigned int) { return ReadUnits(features, kLeft, kTop); }},
};

bool RegionView::IsThere(DeviceFeatures& features) {
    return features.Has(kWidth) && features.Has(kHeight) && features.Has(kPixelFormat);
}

unsigned int RegionView::ReadModes(DeviceFeatures& features) {
    if (!IsThere(features)) {
        return 0;
    }
    unsigned int modes = RegisterBit(0);
    for (unsigned int mode = 1; mode < std::size(kBinnings); ++mode) {
        const bool canBin =
            CanBin(features, kBinningX, kBinnings[mode].x) && CanBin(features, kBinningY, kBinnings[mode].y);
        modes |= canBin ? RegisterBit(mode) : 0;
    }
    return modes;
}

unsigned int RegionView::ReadMode(DeviceFeatures& features) {
    const unsigned int x = ReadBinning(features, kBinningX);
    const unsigned int y = ReadBinning(features, kBinningY);
    for (unsigned int mode = 0; mode < std::size(kBinnings); ++mode) {
        if (kBinnings[mode].x == x && kBinnings[mode].y == y) {
            return mode;
        }
    }
    return 0;
}

/// Another mode begins with the region that waits for it, or with the whole sensor. When the camera refuses,
/// the former mode comes back.
void RegionView::WriteMode(DeviceFeatures& features, unsigned int mode) {
    if ((ReadModes(features) & RegisterBit(mode)) == 0) {
        features.Fail(Failure(ERR_INVALID_MODE, "the camera has no mode %u of format 7.", mode));
    }
    const unsigned int present = ReadMode(features);
    if (features.HasFailed() || mode == present) {
        return;
    }
    const Region region = Get(features, mode);
    const Region former = ReadPresent(features);
    WritePixels(features, kLeft, kTop, 0);
    WriteBinning(features, kBinnings[mode]);
    Apply(features, region);
    if (features.HasFailed()) {
        DeviceFeatures undo(features.GetDevice());
        WriteBinning(undo, kBinnings[present]);
        Apply(undo, former);
        return;
    }
    m_waiting[mode].reset();
}

unsigned int RegionView::ReadDataDepth(DeviceFeatures& features) {
    return kColorCodingField.Make(ReadLayout(features).depth);
}

unsigned int RegionView::ReadUnits(DeviceFeatures& features, const char* horizontal, const char* vertical) {
    return MakePair(ReadStep(features, horizontal), ReadStep(features, vertical));
}

/// Of another mode than the present one it is computed: no more than the sensor has, also of a camera whose
/// binning does not change its extent.
unsigned int RegionView::ReadMaxSize(DeviceFeatures& features, unsigned int mode) {
    const unsigned int width = ReadExtent(features, "WidthMax", kWidth, kLeft);
    const unsigned int height = ReadExtent(features, "HeightMax", kHeight, kTop);
    if (mode == ReadMode(features)) {
        return MakePair(width, height);
    }
    const auto scale = [&](unsigned int size, const char* binning, const char* sensorFeature,
                           unsigned int factor, const char* feature) {
        const unsigned int sensor = ReadPixels(features, sensorFeature);
        const unsigned int scaled =
            ToPixels(std::floor(static_cast<double>(size) * ReadBinning(features, binning) / factor));
        const unsigned int possible = sensor != 0 ? std::min(scaled, sensor / factor) : scaled;
        return possible - possible % ReadStep(features, feature);
    };
    return MakePair(scale(width, kBinningX, "SensorWidth", kBinnings[mode].x, kWidth),
                    scale(height, kBinningY, "SensorHeight", kBinnings[mode].y, kHeight));
}

RegionView::Region RegionView::ReadPresent(DeviceFeatures& features) {
    return {MakePair(ReadPixels(features, kLeft), ReadPixels(features, kTop)),
            MakePair(ReadPixels(features, kWidth), ReadPixels(features, kHeight)),
            kColorCodingField.Make(ToCoding(ReadLayout(features)))};
}

/// At the sensor's corner first: neither the old region nor the new one may stick out meanwhile.
void RegionView::Apply(DeviceFeatures& features, const Region& region) {
    WritePixels(features, kLeft, kTop, 0);
    WritePixels(features, kWidth, kHeight, region.size);
    WriteCoding(features, kColorCodingField.Get(region.coding));
    WritePixels(features, kLeft, kTop, region.position);
}

RegionView::Region RegionView::Get(DeviceFeatures& features, unsigned int mode) const {
    const Region present = ReadPresent(features);
    if (mode == ReadMode(features)) {
        return present;
    }
    return m_waiting[mode].value_or(Region{0, ReadMaxSize(features, mode), present.coding});
}

void RegionView::Check(DeviceFeatures& features, unsigned int mode, const Region& region) const {
    const unsigned int outer = ReadMaxSize(features, mode);
    if (!Contains(kHorizontalField, outer, region.position, region.size) ||
        !Contains(kVerticalField, outer, region.position, region.size)) {
        features.Fail(Failure(ERR_VALUE_OUT_OF_RANGE, "the region does not lie in %u x %u pixels.",
                              kHorizontalField.Get(outer), kVerticalField.Get(outer)));
    }
    const unsigned int coding = kColorCodingField.Get(region.coding);
    if (coding != kNoCoding &&
        (coding > kColorCodingFlags.last || (ReadCodings(features) & RegisterBit(coding)) == 0)) {
        features.Fail(Failure(ERR_NOT_SUPPORTED, "the camera has no colour coding %u.", coding));
    }
}

/// Other registers of the block are those of things that no GenICam camera has: they read 0.
unsigned int RegionView::Read(DeviceFeatures& features, unsigned int mode, unsigned int offset) {
    const bool isThere = mode < std::size(kBinnings) && (ReadModes(features) & RegisterBit(mode)) != 0;
    for (const Row& row : kRows) {
        if (row.offset == offset && isThere) {
            return row.read != nullptr ? row.read(features, mode) : Get(features, mode).*row.value;
        }
    }
    return 0;
}

void RegionView::Write(DeviceFeatures& features, unsigned int mode, unsigned int offset, unsigned int word) {
    const bool isThere = mode < std::size(kBinnings) && (ReadModes(features) & RegisterBit(mode)) != 0;
    const auto* const pRow = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& row) {
        return row.offset == offset && row.value != nullptr;
    });
    if (!isThere || pRow == std::end(kRows)) {
        // The packet size among them: it is the stream's affair here.
        features.Fail(Failure(ERR_FEATURE_READ_ONLY, "it cannot be written."));
        return;
    }
    Region region = Get(features, mode);
    region.*pRow->value = word;
    if (mode != ReadMode(features)) {
        Check(features, mode, region);
        if (!features.HasFailed()) {
            m_waiting[mode] = region;
        }
    } else if (pRow->value == &Region::position) {
        WritePixels(features, kLeft, kTop, word);
    } else if (pRow->value == &Region::size) {
        WritePixels(features, kWidth, kHeight, word);
    } else {
        WriteCoding(features, kColorCodingField.Get(word));
    }
}

}  // namespace Zevrin
