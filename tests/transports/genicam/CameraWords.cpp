#include "CameraWords.h"

#include <gtest/gtest.h>

namespace Zevrin {

namespace {

/// `read` and `write` exchange a property with words.
template <typename Read, typename Write>
Setting OfProperty(PropertyType type, const Read& read, const Write& write) {
    const auto getProperty = [type](IidcCamera& camera) {
        Property property;
        property.type = type;
        EXPECT_EQ(camera.GetProperty(&property).GetType(), ERR_OK);
        return property;
    };
    return {[=](IidcCamera& camera) { return read(getProperty(camera)); },
            [=](IidcCamera& camera, std::istringstream& words) {
                Property property = getProperty(camera);
                write(words, &property);
                return camera.SetProperty(&property);
            }};
}

}  // namespace

Setting Absolute(PropertyType type) {
    return OfProperty(
        type, [](const Property& property) { return Join(property.absValue); },
        [](std::istringstream& words, Property* pProperty) {
            words >> pProperty->absValue;
            pProperty->absControl = true;
            pProperty->onOff = true;
            pProperty->autoManualMode = pProperty->onePush = false;
        });
}

Setting Raw(PropertyType type) {
    return OfProperty(
        type, [](const Property& property) { return Join(property.valueA, property.valueB); },
        [](std::istringstream& words, Property* pProperty) {
            words >> pProperty->valueA >> pProperty->valueB;
            pProperty->absControl = false;
            pProperty->autoManualMode = pProperty->onePush = false;
        });
}

Setting Modes(PropertyType type) {
    return OfProperty(
        type,
        [](const Property& property) {
            return Join(property.onOff, property.autoManualMode, property.onePush);
        },
        [](std::istringstream& words, Property* pProperty) {
            words >> pProperty->onOff >> pProperty->autoManualMode >> pProperty->onePush;
        });
}

Setting TheTrigger() {
    return {[](IidcCamera& camera) {
                TriggerMode mode;
                EXPECT_EQ(camera.GetTriggerMode(&mode).GetType(), ERR_OK);
                return Join(mode.onOff, mode.source, mode.mode, mode.polarity);
            },
            [](IidcCamera& camera, std::istringstream& words) {
                TriggerMode mode;
                words >> mode.onOff >> mode.source >> mode.mode >> mode.polarity;
                return camera.SetTriggerMode(&mode);
            }};
}

Setting StrobeOf(unsigned int source) {
    return {[source](IidcCamera& camera) {
                StrobeControl control;
                control.source = source;
                EXPECT_EQ(camera.GetStrobe(&control).GetType(), ERR_OK);
                return Join(control.onOff, control.polarity);
            },
            [source](IidcCamera& camera, std::istringstream& words) {
                StrobeControl control;
                control.source = source;
                words >> control.onOff >> control.polarity;
                return camera.SetStrobe(&control);
            }};
}

Setting Pin(unsigned int pin) {
    return {[pin](IidcCamera& camera) {
                unsigned int direction = 9;
                EXPECT_EQ(camera.GetGPIOPinDirection(pin, &direction).GetType(), ERR_OK);
                return Join(direction);
            },
            [pin](IidcCamera& camera, std::istringstream& words) {
                unsigned int direction = 0;
                words >> direction;
                return camera.SetGPIOPinDirection(pin, direction);
            }};
}

Setting Region() {
    return {[](IidcCamera& camera) {
                Format7Settings region;
                EXPECT_EQ(camera.GetFormat7(&region).GetType(), ERR_OK);
                return Join(region.mode, region.left, region.top, region.width, region.height,
                            GetPixelFormatName(region.pixelFormat));
            },
            [](IidcCamera& camera, std::istringstream& words) {
                Format7Settings region;
                std::string format;
                words >> region.mode >> region.left >> region.top >> region.width >> region.height >> format;
                for (int number = PIXEL_FORMAT_MONO8; number <= PIXEL_FORMAT_RAW16; ++number) {
                    if (format == GetPixelFormatName(static_cast<PixelFormat>(number))) {
                        region.pixelFormat = static_cast<PixelFormat>(number);
                    }
                }
                return camera.SetFormat7(&region);
            }};
}

Setting TheMemoryChannel() {
    return {[](IidcCamera& camera) {
                unsigned int channel = 9;
                unsigned int highest = 9;
                EXPECT_EQ(camera.GetMemoryChannel(&channel).GetType(), ERR_OK);
                EXPECT_EQ(camera.GetMemoryChannelInfo(&highest).GetType(), ERR_OK);
                return Join(channel, highest);
            },
            [](IidcCamera& camera, std::istringstream& words) {
                unsigned int toLoad = 0;
                unsigned int toSave = 0;
                words >> toLoad >> toSave;
                const Error error = camera.RestoreFromMemoryChannel(toLoad);
                return error == ERR_OK ? camera.SaveToMemoryChannel(toSave) : error;
            }};
}

Setting LutEntry() {
    return {[](IidcCamera& camera) {
                LUTData data;
                unsigned int entries[16] = {};
                EXPECT_EQ(camera.GetLUTInfo(&data).GetType(), ERR_OK);
                EXPECT_EQ(camera.GetLUTChannel(0, 1, 16, entries).GetType(), ERR_OK);
                return Join(data.enabled, entries[3]);
            },
            [](IidcCamera& camera, std::istringstream& words) {
                bool isOn = false;
                unsigned int entries[16] = {};
                words >> isOn >> entries[3];
                const Error error = camera.SetLUTChannel(0, 1, 16, entries);
                return error == ERR_OK ? camera.EnableLUT(isOn) : error;
            }};
}

Setting Fire() {
    return {[](IidcCamera&) { return std::string(); },
            [](IidcCamera& camera, std::istringstream&) { return camera.FireSoftwareTrigger(); }};
}

}  // namespace Zevrin
