#include "Properties.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <iterator>
#include <sstream>

#include "Numbers.h"

namespace ZevrinTool {

using Zevrin::Property;
using Zevrin::PropertyInfo;

/// A word for a mode, beside the values.
struct PropertyChange::Word {
    const char* word;
    Mode pApply;
};

const PropertyChange::Word PropertyChange::kWords[] = {
    {"auto",
     [](Property* pProperty) {
         pProperty->onOff = true;
         pProperty->autoManualMode = true;
     }},
    {"manual",
     [](Property* pProperty) {
         pProperty->onOff = true;
         pProperty->autoManualMode = false;
     }},
    {"on", [](Property* pProperty) { pProperty->onOff = true; }},
    {"off", [](Property* pProperty) { pProperty->onOff = false; }},
    {"one-push",
     [](Property* pProperty) {
         pProperty->onOff = true;
         pProperty->autoManualMode = false;
         pProperty->onePush = true;
     }},
};

namespace {

constexpr char kRaw[] = "raw:";
constexpr std::size_t kRawLength = sizeof kRaw - 1;

bool HasSecondValue(const PropertyInfo& info) {
    return info.type == Zevrin::WHITE_BALANCE;
}

const char* StateOf(const PropertyInfo& info, const Property& property) {
    if (PropertyReading{info, property}.IsReadOnly()) {
        return "read only";
    }
    return !property.onOff           ? "off"
           : property.onePush        ? "one-push"
           : property.autoManualMode ? "auto"
                                     : "manual";
}

Json ModesOf(const PropertyInfo& info) {
    const struct {
        bool isThere;
        const char* name;
    } modes[] = {{info.autoSupported, "auto"},
                 {info.manualSupported, "manual"},
                 {info.onePushSupported, "one-push"},
                 {info.onOffSupported, "on/off"}};
    Json names = Json::array();
    for (const auto& mode : modes) {
        if (mode.isThere) {
            names.push_back(mode.name);
        }
    }
    return names;
}

/// Conversions between scales leave a temperature with digits that no sensor has.
double Readable(const PropertyInfo& info, float value) {
    constexpr double kStepsPerDegree = 100;
    return info.type != Zevrin::TEMPERATURE
               ? Shorten(value)
               : std::round(static_cast<double>(value) * kStepsPerDegree) / kStepsPerDegree + 0.0;  // no -0
}

std::string WithUnit(const std::string& number, const PropertyInfo& info) {
    return info.unitAbbreviation[0] != '\0' ? number + " " + info.unitAbbreviation : number;
}

}  // namespace

bool PropertyReading::IsReadOnly() const {
    return !info.autoSupported && !info.manualSupported && !info.onOffSupported && !info.onePushSupported;
}

PropertyReading ReadProperty(Zevrin::IidcCamera& camera, Zevrin::PropertyType type, const std::string& what) {
    PropertyReading reading;
    reading.info.type = type;
    reading.property.type = type;
    Check(camera.GetPropertyInfo(&reading.info), what);
    Check(camera.GetProperty(&reading.property), what);
    return reading;
}

const Choices& PropertyNames() {
    static const Choices names = [] {
        Choices made;
        for (unsigned int type = 0; type < Zevrin::kPropertyTypeCount; ++type) {
            made.push_back(
                {ToWord(Zevrin::GetPropertyTypeName(static_cast<Zevrin::PropertyType>(type))), type});
        }
        return made;
    }();
    return names;
}

PropertyChange PropertyChange::Parse(const std::string& argument, const std::string& text) {
    PropertyChange change;
    const Word* const pWord = std::find_if(std::begin(kWords), std::end(kWords),
                                           [&](const Word& word) { return ToWord(text) == word.word; });
    if (pWord != std::end(kWords)) {
        change.m_pMode = pWord->pApply;
    } else if (text.compare(0, kRawLength, kRaw) == 0) {
        std::istringstream parts(text.substr(kRawLength) + ",");
        for (std::string part; std::getline(parts, part, ',');) {
            change.m_raw.push_back(ParseNumber(argument, part, NumberRule()));
        }
    } else {
        try {
            change.m_absolute = ParseReal(argument, text);
        } catch (const CLI::ValidationError&) {
            throw CLI::ValidationError(
                argument, "\"" + text + "\" is not understood; it must be " + kPropertyValueHelp);
        }
    }
    return change;
}

void PropertyChange::Apply(const PropertyInfo& info, Property* pProperty) const {
    const std::string name = Zevrin::GetPropertyTypeName(info.type);
    pProperty->onePush = false;
    if (m_pMode != nullptr) {
        m_pMode(pProperty);
        return;
    }
    if (m_absolute && info.present && !info.absValSupported) {
        throw ToolFailure(kExitUsage, "the " + name +
                                          " of this camera has no value in a unit; it takes raw:" +
                                          std::to_string(info.min) + " to raw:" + std::to_string(info.max));
    }
    if (m_raw.size() > (HasSecondValue(info) ? 2U : 1U)) {
        throw ToolFailure(kExitUsage, std::to_string(m_raw.size()) + " raw values are given for the " + name +
                                          "; " + (HasSecondValue(info) ? "it takes red,blue" : "it has one"));
    }
    pProperty->onOff = true;
    pProperty->autoManualMode = false;
    pProperty->absControl = m_absolute.has_value();
    if (m_absolute) {
        pProperty->absValue = static_cast<float>(*m_absolute);
    } else {
        pProperty->valueA = m_raw.front();
        pProperty->valueB = m_raw.back();
    }
}

std::string ValueText(const PropertyInfo& info, const Property& property) {
    return info.absValSupported ? WithUnit(RealText(Readable(info, property.absValue)), info)
                                : "raw " + std::to_string(property.valueA);
}

Facts Describe(const PropertyInfo& info, const Property& property) {
    const bool isAbsolute = info.absValSupported;
    const auto absolute = [&](float value) { return isAbsolute ? Json(Readable(info, value)) : Json(); };
    const std::string second = ", " + std::to_string(property.valueB);
    return {
        {"Property", "name", ToWord(Zevrin::GetPropertyTypeName(info.type)), ""},
        {"State", "state", StateOf(info, property), ""},
        {"Value", "value", absolute(property.absValue), isAbsolute ? ValueText(info, property) : ""},
        {"Range", "", nullptr,
         isAbsolute ? WithUnit(RangeText(Readable(info, info.absMin), Readable(info, info.absMax)), info)
                    : ""},
        {"", "min", absolute(info.absMin), ""},
        {"", "max", absolute(info.absMax), ""},
        {"", "unit", info.unit, ""},
        {"Raw", "raw", property.valueA,
         std::to_string(property.valueA) + (HasSecondValue(info) ? second : "")},
        {"", "rawSecond", HasSecondValue(info) ? Json(property.valueB) : Json(), ""},
        {"Raw range", "", nullptr, RangeText(info.min, info.max)},
        {"", "rawMin", info.min, ""},
        {"", "rawMax", info.max, ""},
        {"", "absoluteRules", property.absControl, ""},
        {"Modes", "modes", ModesOf(info), ""},
    };
}

}  // namespace ZevrinTool
