#pragma once

#include <functional>
#include <sstream>
#include <string>

#include "GigeFixture.h"

namespace Zevrin {

/// One thing that can be set, as words: what the camera object has, and how it is given.
struct Setting {
    std::function<std::string(TestCamera&)> get;
    std::function<Error(TestCamera&, std::istream& words)> set;
};

template <typename... Words>
std::string Join(Words... words) {
    std::ostringstream text;
    ((text << words << ' '), ...);
    return text.str().substr(0, text.str().size() - 1);
}

inline std::istream& operator>>(std::istream& words, PixelFormat& format) {
    int number = 0;
    words >> number;
    format = static_cast<PixelFormat>(number);
    return words;
}

inline Error Exchange(TestCamera& camera, Property* pProperty, bool isSet) {
    return isSet ? camera.SetProperty(pProperty) : camera.GetProperty(pProperty);
}
inline Error Exchange(TestCamera& camera, TriggerMode* pMode, bool isSet) {
    return isSet ? camera.SetTriggerMode(pMode) : camera.GetTriggerMode(pMode);
}
inline Error Exchange(TestCamera& camera, StrobeControl* pControl, bool isSet) {
    return isSet ? camera.SetStrobe(pControl) : camera.GetStrobe(pControl);
}
inline Error Exchange(TestCamera& camera, Format7Settings* pSettings, bool isSet) {
    return isSet ? camera.SetFormat7(pSettings) : camera.GetFormat7(pSettings);
}

struct Pin {
    unsigned int number;
    unsigned int direction;
};
inline Error Exchange(TestCamera& camera, Pin* pPin, bool isSet) {
    return isSet ? camera.SetGPIOPinDirection(pPin->number, pPin->direction)
                 : camera.GetGPIOPinDirection(pPin->number, &pPin->direction);
}

struct MemoryChannels {
    unsigned int first;   ///< got: loaded; set: to load
    unsigned int second;  ///< got: highest; set: to save to
};
inline Error Exchange(TestCamera& camera, MemoryChannels* pChannels, bool isSet) {
    const Error error = isSet ? camera.RestoreFromMemoryChannel(pChannels->first)
                              : camera.GetMemoryChannel(&pChannels->first);
    return error != ERR_OK ? error
           : isSet         ? camera.SaveToMemoryChannel(pChannels->second)
                           : camera.GetMemoryChannelInfo(&pChannels->second);
}

struct Lut {
    bool isOn;
    unsigned int entry;  ///< with the number 3, of channel 1
};
inline Error Exchange(TestCamera& camera, Lut* pLut, bool isSet) {
    LUTData data;
    unsigned int entries[16] = {};
    entries[3] = pLut->entry;
    Error error = isSet ? camera.SetLUTChannel(0, 1, 16, entries) : camera.GetLUTChannel(0, 1, 16, entries);
    if (error == ERR_OK) {
        error = isSet ? camera.EnableLUT(pLut->isOn) : camera.GetLUTInfo(&data);
    }
    *pLut = isSet ? *pLut : Lut{data.enabled, entries[3]};
    return error;
}

/// Fields of a record.
/// @param chosen   says what the record is about
/// @param prepare  what else a set takes; may be empty
template <typename Record, typename... Fields>
Setting OfRecord(const Record& chosen, const std::function<void(Record*)>& prepare,
                 Fields Record::*... fields) {
    const auto get = [=](TestCamera& camera) {
        Record record = chosen;
        EXPECT_OK(Exchange(camera, &record, false));
        return record;
    };
    return {[=](TestCamera& camera) {
                const Record record = get(camera);
                return Join(record.*fields...);
            },
            [=](TestCamera& camera, std::istream& words) {
                Record record = get(camera);
                if (prepare) {
                    prepare(&record);
                }
                (words >> ... >> (record.*fields));
                return Exchange(camera, &record, true);
            }};
}

template <bool isAbsolute>
void MakeManual(Property* pProperty) {
    pProperty->absControl = isAbsolute;
    pProperty->onOff = true;
    pProperty->autoManualMode = pProperty->onePush = false;
}
inline Property Choose(PropertyType type) {
    Property property;
    property.type = type;
    return property;
}
inline Setting Absolute(PropertyType type) {
    return OfRecord<Property>(Choose(type), MakeManual<true>, &Property::absValue);
}
inline Setting Raw(PropertyType type) {
    return OfRecord<Property>(Choose(type), MakeManual<false>, &Property::valueA, &Property::valueB);
}
inline Setting Modes(PropertyType type) {
    return OfRecord<Property>(Choose(type), nullptr, &Property::onOff, &Property::autoManualMode,
                              &Property::onePush);
}
inline Setting TheTrigger() {
    return OfRecord<TriggerMode>(TriggerMode(), nullptr, &TriggerMode::onOff, &TriggerMode::source,
                                 &TriggerMode::mode, &TriggerMode::polarity);
}
inline Setting StrobeOf(unsigned int source) {
    StrobeControl chosen;
    chosen.source = source;
    return OfRecord<StrobeControl>(chosen, nullptr, &StrobeControl::onOff, &StrobeControl::polarity);
}
inline Setting Region() {
    using Fields = Format7Settings;
    const auto recommendPacket = [](Fields* pSettings) { pSettings->packetSize = 0; };
    return OfRecord<Fields>(Fields(), recommendPacket, &Fields::mode, &Fields::left, &Fields::top,
                            &Fields::width, &Fields::height, &Fields::pixelFormat);
}

inline Setting Direction(unsigned int pin) {
    return OfRecord<Pin>(Pin{pin, 9}, nullptr, &Pin::direction);
}
inline Setting TheMemoryChannel() {
    return OfRecord<MemoryChannels>(MemoryChannels(), nullptr, &MemoryChannels::first,
                                    &MemoryChannels::second);
}
inline Setting TheLut() {
    return OfRecord<Lut>(Lut(), nullptr, &Lut::isOn, &Lut::entry);
}
inline Setting Fire() {
    return {[](TestCamera&) { return std::string(); },
            [](TestCamera& camera, std::istream&) { return camera.FireSoftwareTrigger(); }};
}

}  // namespace Zevrin
