#include "CameraConfig.h"
#include "Properties.h"

namespace ZevrinTool {

namespace {

using Zevrin::IidcCamera;
using Zevrin::Property;
using Zevrin::PropertyInfo;
using Zevrin::PropertyType;

Json Describe(const PropertyReading& reading) {
    const Property& property = reading.property;
    Json description = {{"on", property.onOff}, {"auto", property.autoManualMode}, {"raw", property.valueA}};
    if (reading.HasSecondValue()) {
        description["rawSecond"] = property.valueB;
    }
    if (reading.info.absValSupported) {
        description.update(
            {{"absolute", Exactly(property.absValue)}, {"absoluteRules", property.absControl}});
    }
    return description;
}

Json Read(IidcCamera& camera, Findings* pUnread) {
    Json properties = Json::object();
    for (const Choice& name : PropertyNames()) {
        try {
            const PropertyReading reading = ReadProperty(camera, static_cast<PropertyType>(name.value));
            if (reading.info.present && !reading.IsReadOnly()) {
                properties[name.word] = Describe(reading);
            }
        } catch (const ToolFailure& failure) {
            pUnread->push_back({"properties." + name.word, nullptr, failure.what()});
        }
    }
    return properties;
}

Zevrin::Error SetValue(IidcCamera& camera, const Property& wanted) {
    Property property = wanted;
    property.onOff = true;
    property.autoManualMode = false;
    return camera.SetProperty(&property);
}

Zevrin::Error SetMode(IidcCamera& camera, const Property& wanted) {
    Property property = wanted;
    property.onOff = true;
    Zevrin::Error error;
    if (wanted.autoManualMode) {
        error = camera.SetProperty(&property);
    }
    if (error == Zevrin::ERR_OK && !wanted.onOff) {
        property.onOff = false;
        error = camera.SetProperty(&property);
    }
    return error;
}

/// A value alone is a wish to have it; which of two values rules has to be said.
void ReadValues(ConfigEntry& entry, const PropertyReading& reading, Property* pWanted) {
    const PropertyInfo& info = reading.info;
    const bool hasRaw = entry.Has("raw") || entry.Has("rawSecond");
    if (hasRaw || entry.Has("absolute")) {
        pWanted->onOff = true;
        pWanted->autoManualMode = false;
    }
    if (hasRaw != entry.Has("absolute")) {
        pWanted->absControl = !hasRaw;
    }
    entry.Read("raw", IntegerRange{info.min, info.max}, &pWanted->valueA);
    if (reading.HasSecondValue()) {
        entry.Read("rawSecond", IntegerRange{info.min, info.max}, &pWanted->valueB);
    }
    if (info.absValSupported) {
        entry.Read("absolute", RealRange{Exactly(info.absMin), Exactly(info.absMax), info.unitAbbreviation},
                   &pWanted->absValue);
        entry.Read("absoluteRules", &pWanted->absControl);
    }
}

void CheckModes(const ConfigEntry& entry, const PropertyInfo& info, const Property& wanted) {
    if (!wanted.onOff && !info.onOffSupported) {
        entry.Refuse("on", "it cannot be switched off");
    }
    if (wanted.autoManualMode && !info.autoSupported) {
        entry.Refuse("auto", "it has no auto mode");
    }
    if (!wanted.autoManualMode && !info.manualSupported && wanted.onOff) {
        entry.Refuse("auto", "it has no manual mode");
    }
}

/// Whoever changes only the value that does not rule would see nothing happen.
void CheckRule(const ConfigEntry& entry, const Property& present, const Property& wanted) {
    const bool isRawSame = wanted.valueA == present.valueA && wanted.valueB == present.valueB;
    const bool isAbsoluteSame = Exactly(wanted.absValue) == Exactly(present.absValue);
    const bool isRuleSame = wanted.absControl == present.absControl;
    if (entry.Has("absolute") && isRuleSame && !wanted.autoManualMode && isRawSame != isAbsoluteSame &&
        isRawSame == !wanted.absControl) {
        entry.Refuse(wanted.absControl ? "raw" : "absolute",
                     std::string("it does not rule, by \"absoluteRules\", and ") +
                         (wanted.absControl ? "absolute" : "raw") + " is as it was");
    }
}

void PlanOne(ConfigEntry& entry, PropertyType type, IidcCamera& camera, ConfigPlan* pPlan) {
    const PropertyReading reading = ReadProperty(camera, type);
    const PropertyInfo info = reading.info;
    if (!info.present || reading.IsReadOnly()) {
        entry.Refuse(info.present ? "it can only be read" : "this camera has none");
        return;
    }
    Property wanted = reading.property;
    wanted.onePush = false;
    ReadValues(entry, reading, &wanted);
    entry.Read("on", &wanted.onOff);
    entry.Read("auto", &wanted.autoManualMode);
    CheckModes(entry, info, wanted);
    CheckRule(entry, reading.property, wanted);
    entry.RefuseOthers();
    if (!entry.IsGood()) {
        return;
    }
    if (info.manualSupported) {
        pPlan->steps.push_back(
            {kStageValues, entry.GetPath(), [&camera, wanted] { return SetValue(camera, wanted); }});
    }
    pPlan->steps.push_back(
        {kStageModes, entry.GetPath(), [&camera, wanted] { return SetMode(camera, wanted); }});
}

void PlanAll(ConfigEntry& entry, IidcCamera& camera, ConfigPlan* pPlan) {
    for (const Choice& name : PropertyNames()) {
        if (entry.Find(name.word) != nullptr) {
            ConfigEntry property = entry.Enter(name.word);
            if (property.IsGood()) {
                PlanOne(property, static_cast<PropertyType>(name.value), camera, pPlan);
            }
        }
    }
    entry.RefuseOthers();
}

}  // namespace

const ConfigSection kPropertySection = {"properties", Read, PlanAll};

}  // namespace ZevrinTool
