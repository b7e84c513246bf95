#include "BusTime.h"

#include <cstdio>
#include <ctime>

#include <zevrin/ImageFile.h>

namespace ZevrinTool {

namespace {

using Zevrin::TimeStamp;

constexpr double kCyclesPerSecond = 8000;
constexpr double kTicksPerSecond = 24576000;

std::string UtcText(const TimeStamp& stamp) {
    const std::time_t seconds = stamp.seconds;
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts);
    char text[48];
    std::snprintf(text, sizeof text, "%s.%06uZ", date, stamp.microSeconds);
    return text;
}

std::string BusTimeText(const TimeStamp& stamp) {
    char text[32];
    std::snprintf(
        text, sizeof text, "%.7f s",
        stamp.cycleSeconds + stamp.cycleCount / kCyclesPerSecond + stamp.cycleOffset / kTicksPerSecond);
    return text;
}

}  // namespace

Facts DescribeBusTime(const TimeStamp& stamp) {
    if (stamp.seconds == 0 && !Zevrin::HasBusTime(stamp)) {
        return {{"Bus time", "", nullptr, ""},
                {"", "cycleSeconds", nullptr, ""},
                {"", "cycleCount", nullptr, ""},
                {"", "cycleOffset", nullptr, ""},
                {"Taken at", "utc", nullptr, ""}};
    }
    return {
        {"Bus time", "", nullptr, BusTimeText(stamp)},
        {"Cycle seconds", "cycleSeconds", stamp.cycleSeconds, ""},
        {"Cycle count", "cycleCount", stamp.cycleCount, ""},
        {"Cycle offset", "cycleOffset", stamp.cycleOffset, ""},
        {"Taken at", "utc", UtcText(stamp), ""},
    };
}

}  // namespace ZevrinTool
