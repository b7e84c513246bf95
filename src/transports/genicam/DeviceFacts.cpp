#include "DeviceFacts.h"

#include <glib.h>

#include <boost/thread/lock_guard.hpp>
#include <string>

#include "Failure.h"
#include "GenicamDevice.h"
#include "PixelFormats.h"

namespace Zevrin {

namespace {

constexpr long long kMaxPixels = 1 << 20;  // of a row, and rows
constexpr long long kMaxPayload = 1LL << 32;
constexpr long long kMaxExtra = 1LL << 20;  // bytes of a payload beside the image, and once the image
constexpr long long kBitsPerByte = 8;
constexpr long long kMakersOwnFormat = 1LL << 31;
constexpr unsigned long long kNanosecondsPerSecond = 1000000000ULL;

/// Clocks that a host can read: GenICam's own, in nanoseconds, and that of GigE Vision, in ticks.
struct Clock {
    const char* latch;
    const char* value;
    const char* frequency;  ///< ticks per second; null: nanoseconds
};

constexpr Clock kClocks[] = {
    {"TimestampLatch", "TimestampLatchValue", nullptr},
    {"GevTimestampControlLatch", "GevTimestampValue", "GevTimestampTickFrequency"},
};

Error ReadBounded(GenicamDevice& device, const char* feature, long long max, long long* pValue) {
    const Error error = device.GetInteger(feature, pValue);
    if (error == ERR_OK && (*pValue < 1 || *pValue > max)) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "The camera's %s is %lld; 1 to %lld are possible.", feature,
                       *pValue, max);
    }
    return error;
}

Error ReadLatched(GenicamDevice& device, const Clock& clock, unsigned long long* pNanoseconds) {
    boost::lock_guard<boost::recursive_mutex> lock(device.GetAccessMutex());
    long long ticks = 0;
    long long frequency = static_cast<long long>(kNanosecondsPerSecond);
    Error error = device.Execute(clock.latch);
    if (error == ERR_OK) {
        error = device.GetInteger(clock.value, &ticks);
    }
    if (error == ERR_OK && clock.frequency != nullptr) {
        error = ReadBounded(device, clock.frequency, 10 * frequency, &frequency);
    }
    if (error == ERR_OK) {
        *pNanoseconds =
            ToNanoseconds(static_cast<unsigned long long>(ticks), static_cast<unsigned long long>(frequency));
    }
    return error;
}

void ReadText(GenicamDevice& device, const char* feature, std::string* pText) {
    std::string text;
    const Error error = device.Offers(feature) ? device.GetText(feature, &text) : Error();
    if (error == ERR_OK && !text.empty()) {
        *pText = text;
    }
}

void ReadSize(GenicamDevice& device, const char* feature, unsigned int* pPixels) {
    long long pixels = 0;
    if (device.Offers(feature) && ReadBounded(device, feature, kMaxPixels, &pixels) == ERR_OK) {
        *pPixels = static_cast<unsigned int>(pixels);
    }
}

bool OffersColor(GenicamDevice& device) {
    bool isColor = false;
    const Error error = device.Ask<bool>(
        ERR_TRANSPORT_FAILED, "Asking for pixel formats",
        [](ArvDevice* pDevice, GError** ppReport) {
            bool hasColor = false;
            guint count = 0;
            gint64* const formats =
                arv_device_dup_available_enumeration_feature_values(pDevice, "PixelFormat", &count, ppReport);
            for (guint index = 0; formats != nullptr && index < count; ++index) {
                hasColor = hasColor || IsColor(static_cast<ArvPixelFormat>(formats[index]));
            }
            g_free(formats);
            return hasColor;
        },
        &isColor);
    return error == ERR_OK && isColor;
}

}  // namespace

/// Split, so that the product does not overflow.
unsigned long long ToNanoseconds(unsigned long long ticks, unsigned long long frequency) {
    return ticks / frequency * kNanosecondsPerSecond + ticks % frequency * kNanosecondsPerSecond / frequency;
}

Error ReadStreamFormat(GenicamDevice& device, StreamFormat* pFormat) {
    boost::lock_guard<boost::recursive_mutex> lock(device.GetAccessMutex());
    long long width = 0;
    long long height = 0;
    long long pixelFormat = 0;
    long long payload = 0;
    Error error = ReadBounded(device, "Width", kMaxPixels, &width);
    if (error == ERR_OK) {
        error = ReadBounded(device, "Height", kMaxPixels, &height);
    }
    if (error == ERR_OK) {
        error = device.GetInteger("PixelFormat", &pixelFormat);
    }
    if (error == ERR_OK) {
        error = ReadBounded(device, "PayloadSize", kMaxPayload, &payload);
    }
    if (error != ERR_OK) {
        return error;
    }
    const PixelLayout layout = GetPixelLayout(static_cast<ArvPixelFormat>(pixelFormat));
    // Also of formats that are unknown here; but what a maker's own ones take is the maker's secret.
    const bool isStandard = (pixelFormat & kMakersOwnFormat) == 0;
    const long long bits = isStandard ? ARV_PIXEL_FORMAT_BIT_PER_PIXEL(pixelFormat) : 0;
    if (width * height * bits > payload * kBitsPerByte) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The camera's PayloadSize is %lld bytes; %lld x %lld pixels of %lld bits take more.",
                       payload, width, height, bits);
    }
    const long long imageSize = width * height * bits / kBitsPerByte;
    if (isStandard && bits != 0 && payload > 2 * imageSize + kMaxExtra) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The camera's PayloadSize is %lld bytes; %lld x %lld pixels of %lld bits take %lld.",
                       payload, width, height, bits, imageSize);
    }
    pFormat->width = static_cast<unsigned int>(width);
    pFormat->height = static_cast<unsigned int>(height);
    pFormat->pixelFormat = layout.format;
    pFormat->bayerFormat = layout.bayerFormat;
    pFormat->significantBits = layout.depth;
    pFormat->payloadSize = static_cast<std::size_t>(payload);
    return Error();
}

void ReadIdentity(GenicamDevice& device, CameraIdentity* pIdentity) {
    ReadText(device, "DeviceVersion", &pIdentity->firmwareVersion);
    ReadText(device, "DeviceFirmwareVersion", &pIdentity->firmwareVersion);
    ReadText(device, "SensorName", &pIdentity->sensorInfo);
    ReadSize(device, "WidthMax", &pIdentity->sensorWidth);  // as far as nothing better is told
    ReadSize(device, "HeightMax", &pIdentity->sensorHeight);
    ReadSize(device, "SensorWidth", &pIdentity->sensorWidth);
    ReadSize(device, "SensorHeight", &pIdentity->sensorHeight);
    pIdentity->isColor = OffersColor(device);
}

Error ReadTickFrequency(GenicamDevice& device, unsigned long long* pFrequency) {
    return device.Ask<unsigned long long>(
        ERR_TRANSPORT_FAILED, "Asking for the clock's frequency",
        [](ArvDevice* pDevice, GError** ppReport) {
            return arv_gv_device_get_timestamp_tick_frequency(ARV_GV_DEVICE(pDevice), ppReport);
        },
        pFrequency);
}

Error ReadClock(GenicamDevice& device, unsigned long long* pNanoseconds) {
    for (const Clock& clock : kClocks) {
        if (device.Offers(clock.latch)) {
            Error error = ReadLatched(device, clock, pNanoseconds);
            if (error != ERR_OK || *pNanoseconds != 0) {
                return error;
            }
        }
    }
    return Failure(ERR_FEATURE_ABSENT, "The camera has no clock that can be read.");
}

}  // namespace Zevrin
