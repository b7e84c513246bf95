#include "Description.h"

#include <cstddef>
#include <limits>
#include <map>
#include <utility>

#include "Failure.h"
#include "FormatText.h"
#include "JsonReader.h"

namespace Zevrin {

namespace {

constexpr unsigned int kMaxUnsigned = std::numeric_limits<unsigned int>::max();
constexpr unsigned int kMinSensorSize = 16;
constexpr unsigned int kMaxSensorSize = 8192;
constexpr unsigned int kMaxBuses = 16;
constexpr unsigned int kAllEmbeddedItems = 0x3FF;
constexpr unsigned int kMaxDelayUs = 60000000;

const std::vector<std::string> kInterfaceNames = {"ieee1394", "usb2", "u3v", "gige", "unknown"};
const std::vector<std::string> kClockNames = {"real", "manual"};
const std::vector<std::string> kBayerNames = {"none", "RGGB", "GRBG", "GBRG", "BGGR"};

void ReadFrameFault(JsonReader& reader, const char* key, FrameFault* pFault) {
    reader.ReadObject(key, [&](JsonReader& fault) {
        fault.ReadNumber("share", 0, 1, &pFault->share);
        fault.ReadUnsignedList("frames", 1, kMaxUnsigned, 1, &pFault->frames);
    });
}

void ReadFaults(JsonReader& reader, FaultDescription* pFaults) {
    reader.ReadUnsigned("seed", 0, kMaxUnsigned, &pFaults->seed);
    reader.ReadObject("registers", [&](JsonReader& registers) {
        registers.ReadNumber("share", 0, 1, &pFaults->registerShare);
        registers.ReadUnsignedList("accesses", 1, kMaxUnsigned, 1, &pFaults->registerAccesses);
        registers.ReadUnsignedList("addresses", 0, kMaxUnsigned - 3, 4, &pFaults->registerAddresses);
        registers.ReadUnsigned("readLatencyUs", 0, kMaxLatencyUs, &pFaults->readLatencyUs);
        registers.ReadUnsigned("writeLatencyUs", 0, kMaxLatencyUs, &pFaults->writeLatencyUs);
        registers.ReadUnsigned("jitterUs", 0, kMaxLatencyUs, &pFaults->latencyJitterUs);
    });
    reader.ReadObject("silent", [&](JsonReader& silent) {
        silent.ReadUnsigned("frames", 0, kMaxUnsigned, &pFaults->silent.frames);
        silent.ReadUnsignedList("starts", 1, kMaxUnsigned, 1, &pFaults->silent.starts);
    });
    ReadFrameFault(reader, "drop", &pFaults->drop);
    ReadFrameFault(reader, "corrupt", &pFaults->corrupt);
    ReadFrameFault(reader, "duplicate", &pFaults->duplicate);
    ReadFrameFault(reader, "delay", &pFaults->delay);
    reader.ReadUnsigned("delayUs", 0, kMaxDelayUs, &pFaults->delayUs);
}

/// The texts that follow from what the camera is, unless they were given.
void FillNames(CameraDescription* pCamera) {
    const bool isColor = pCamera->bayer != BAYER_NONE;
    if (pCamera->modelName.empty()) {
        pCamera->modelName = isColor ? "Simulated Colour" : "Simulated Mono";
    }
    if (pCamera->sensorInfo.empty()) {
        pCamera->sensorInfo =
            FormatText("simulated %s %ux%u", isColor ? "colour" : "mono", pCamera->width, pCamera->height);
    }
}

void ReadCamera(JsonReader& reader, CameraDescription* pCamera, unsigned int* pCount) {
    reader.ReadUnsigned("serial", 1, kMaxUnsigned, &pCamera->serialNumber);
    reader.ReadUnsigned("count", 1, kMaxCamerasPerBus, pCount);
    std::size_t interfaceType = pCamera->interfaceType;
    reader.ReadChoice("interface", kInterfaceNames, &interfaceType);
    pCamera->interfaceType = static_cast<InterfaceType>(interfaceType);
    reader.ReadText("vendor", &pCamera->vendorName);
    reader.ReadText("model", &pCamera->modelName);
    reader.ReadText("firmware", &pCamera->firmwareVersion);
    reader.ReadText("sensor", &pCamera->sensorInfo);
    reader.ReadUnsigned("iidcVersion", 131, 132, &pCamera->iidcVersion);
    reader.ReadMultiple("width", kMinSensorSize, kMaxSensorSize, kPixelUnitX, &pCamera->width);
    reader.ReadMultiple("height", kMinSensorSize, kMaxSensorSize, kPixelUnitY, &pCamera->height);
    std::size_t bayer = BAYER_NONE;
    reader.ReadChoice("bayer", kBayerNames, &bayer);
    pCamera->bayer = static_cast<BayerTileFormat>(bayer);
    reader.ReadNumber("frameRate", kMinFrameRate, kMaxFrameRate, &pCamera->frameRate);
    reader.ReadMultiple("exposureUs", kExposureUnitUs, kMaxExposureUs, kExposureUnitUs, &pCamera->exposureUs);
    reader.ReadNumber("clockErrorPpm", -kMaxClockErrorPpm, kMaxClockErrorPpm, &pCamera->clockErrorPpm);
    reader.ReadBool("paint", &pCamera->paint);
    reader.ReadUnsigned("embeddedItems", 0, kAllEmbeddedItems, &pCamera->embeddedItems);
    reader.ReadObject("faults", [&](JsonReader& faults) { ReadFaults(faults, &pCamera->faults); });
    FillNames(pCamera);
}

/// Reads the cameras of a description and keeps their serial numbers apart.
class CameraList {
  public:
    explicit CameraList(bool mayRepeat) : m_mayRepeat(mayRepeat) {}

    void Read(JsonReader& reader, std::size_t bus, BusDescription* pBus, Error* pError) {
        reader.ReadList(
            "cameras", 1, kMaxCamerasPerBus, [&](const nlohmann::json& value, const std::string& path) {
                JsonReader camera(value, path, pError);
                CameraDescription description;
                description.serialNumber = m_next;
                unsigned int count = 1;
                ReadCamera(camera, &description, &count);
                camera.Finish();
                if (pBus->cameras.size() + count > kMaxCamerasPerBus) {
                    camera.Complain("count",
                                    FormatText("small enough for %u cameras on one bus", kMaxCamerasPerBus));
                } else if (description.serialNumber == 0 ||
                           description.serialNumber > kMaxUnsigned - count + 1) {
                    camera.Complain(
                        "serial", FormatText("at most %u with %u cameras", kMaxUnsigned - count + 1, count));
                }
                for (; count > 0 && *pError == ERR_OK; --count) {
                    Take(camera, bus, description.serialNumber);
                    pBus->cameras.push_back(description);
                    m_next = ++description.serialNumber;
                }
            });
    }

  private:
    void Take(JsonReader& camera, std::size_t bus, unsigned int serialNumber) {
        const auto used = m_used.emplace(serialNumber, bus);
        if (!used.second && (used.first->second == bus || !m_mayRepeat)) {
            camera.Complain("serial",
                            FormatText("another one: %u is taken (two buses may share serial numbers when "
                                       "\"duplicateSerials\" is true)",
                                       serialNumber));
        }
        used.first->second = bus;
    }

    const bool m_mayRepeat;
    unsigned int m_next = kFirstSerialNumber;
    std::map<unsigned int, std::size_t> m_used;  // serial number, the last bus that has it
};

void ReadWorld(JsonReader& reader, WorldDescription* pWorld, Error* pError) {
    std::size_t clock = 0;
    reader.ReadChoice("clock", kClockNames, &clock);
    pWorld->isClockManual = clock == 1;
    bool mayRepeat = false;
    reader.ReadBool("duplicateSerials", &mayRepeat);
    CameraList cameras(mayRepeat);
    if (reader.Has("buses") == reader.Has("cameras")) {
        reader.Complain("cameras", "given, or else \"buses\", but not both");
    }
    if (reader.Has("cameras")) {
        pWorld->buses.emplace_back();
        cameras.Read(reader, 0, &pWorld->buses.back(), pError);
    }
    reader.ReadList("buses", 1, kMaxBuses, [&](const nlohmann::json& value, const std::string& path) {
        JsonReader bus(value, path, pError);
        pWorld->buses.emplace_back();
        if (!bus.Has("cameras")) {
            bus.Complain("cameras", "a list of cameras");
        }
        cameras.Read(bus, pWorld->buses.size() - 1, &pWorld->buses.back(), pError);
        bus.Finish();
    });
}

template <typename Description, typename Read>
Error Parse(const std::string& text, Read read, Description* pDescription) {
    nlohmann::json value;
    Error error = ParseJson(text, &value);
    if (error != ERR_OK) {
        return error;
    }
    Description description;
    JsonReader reader(value, "", &error);
    read(reader, &description, &error);
    reader.Finish();
    if (error == ERR_OK) {
        *pDescription = std::move(description);
    }
    return error;
}

}  // namespace

Error ParseWorld(const std::string& json, WorldDescription* pWorld) {
    return Parse(json, ReadWorld, pWorld);
}

Error ParseFaults(const std::string& json, FaultDescription* pFaults) {
    return Parse(
        json, [](JsonReader& reader, FaultDescription* pRead, Error*) { ReadFaults(reader, pRead); },
        pFaults);
}

Error DescribeCount(unsigned int cameraCount, WorldDescription* pWorld) {
    if (cameraCount < 1 || cameraCount > kMaxCamerasPerBus) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "%u cameras cannot be simulated; it must be 1 to %u.",
                       cameraCount, kMaxCamerasPerBus);
    }
    BusDescription bus;
    for (unsigned int index = 0; index < cameraCount; ++index) {
        CameraDescription camera;
        camera.serialNumber = kFirstSerialNumber + index;
        camera.bayer = index % 2 == 0 ? BAYER_NONE : BAYER_RGGB;
        FillNames(&camera);
        bus.cameras.push_back(std::move(camera));
    }
    *pWorld = WorldDescription();
    pWorld->buses.push_back(std::move(bus));
    return Error();
}

}  // namespace Zevrin
