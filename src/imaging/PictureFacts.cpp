#include "PictureFacts.h"

#include <ctime>

#include "FormatText.h"

namespace Zevrin {

namespace {

constexpr const char* kTileNames[] = {"none", "RGGB", "GRBG", "GBRG", "BGGR"};

/// ISO 8601 in UTC; nothing for a time that no calendar has.
void AddTime(const TimeStamp& stamp, PictureFacts* pFacts) {
    const auto seconds = static_cast<std::time_t>(stamp.seconds);
    std::tm date = {};
    char text[32];
    if ((stamp.seconds != 0 || stamp.microSeconds != 0) && gmtime_r(&seconds, &date) != nullptr &&
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &date) != 0) {
        (*pFacts)["time"] = text + FormatText(".%06uZ", stamp.microSeconds % 1000000);
    }
    if (HasBusTime(stamp)) {
        (*pFacts)["cycleSeconds"] = stamp.cycleSeconds;
        (*pFacts)["cycleCount"] = stamp.cycleCount;
        (*pFacts)["cycleOffset"] = stamp.cycleOffset;
    }
}

template <typename Value>
void AddIfKnown(const char* key, const std::optional<Value>& value, PictureFacts* pFacts) {
    if (value) {
        (*pFacts)[key] = *value;
    }
}

}  // namespace

bool HasBusTime(const TimeStamp& stamp) {
    return stamp.cycleSeconds != 0 || stamp.cycleCount != 0 || stamp.cycleOffset != 0;
}

PictureFacts DescribePicture(const PixelView& pixels, const ImageMetadata& metadata) {
    PictureFacts facts = PictureFacts::object();
    AddIfKnown("serialNumber", metadata.serialNumber, &facts);
    AddIfKnown("frameId", metadata.frameId, &facts);
    if (metadata.timeStamp) {
        AddTime(*metadata.timeStamp, &facts);
    }
    AddIfKnown("exposureSeconds", metadata.exposureSeconds, &facts);
    AddIfKnown("gainDb", metadata.gainDb, &facts);
    facts["width"] = pixels.width;
    facts["height"] = pixels.height;
    facts["pixelFormat"] = GetPixelFormatName(pixels.pixelFormat);
    if (pixels.bayerTileFormat > BAYER_NONE && pixels.bayerTileFormat <= BAYER_BGGR) {
        facts["bayerTile"] = kTileNames[pixels.bayerTileFormat];
    }
    if (pixels.significantBits != 0) {
        facts["significantBits"] = pixels.significantBits;
    }
    return facts;
}

std::vector<std::pair<std::string, std::string>> ListFacts(const PictureFacts& facts) {
    std::vector<std::pair<std::string, std::string>> list;
    for (const auto& fact : facts.items()) {
        const auto& value = fact.value();
        list.emplace_back(fact.key(), value.is_string() ? value.get<std::string>() : value.dump());
    }
    return list;
}

}  // namespace Zevrin
