#include "PropertyManager.h"

#include <boost/thread/lock_guard.hpp>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "Failure.h"
#include "PropertyTable.h"
#include "RegisterFields.h"
#include "RegisterSequence.h"
#include "Registers.h"

namespace Zevrin {

/// What the camera says about one of its features.
struct PropertyManager::Abilities {
    bool isPresent = false;
    unsigned int inquiry = 0;        ///< fields of FeatureInquiry
    unsigned int absoluteBlock = 0;  ///< 0: no absolute control
    float absoluteMin = 0;           ///< as shown to people
    float absoluteMax = 0;

    bool Can(unsigned int ability) const { return (inquiry & ability) != 0; }
    bool IsAbsolute() const { return absoluteBlock != 0; }
};

namespace {

static_assert(sizeof(float) == sizeof(unsigned int), "absolute values are IEEE-754 single precision");

float ToShown(const PropertyRow& row, unsigned int word) {
    float value = 0;
    std::memcpy(&value, &word, sizeof value);
    return static_cast<float>(static_cast<double>(value) + row.absoluteOffset);
}

unsigned int ToRegister(const PropertyRow& row, float shown) {
    const auto value = static_cast<float>(static_cast<double>(shown) - row.absoluteOffset);
    unsigned int word = 0;
    std::memcpy(&word, &value, sizeof word);
    return word;
}

template <std::size_t N>
void CopyText(const char* text, char (&field)[N]) {
    std::snprintf(field, N, "%s", text);
}

unsigned int WithBit(unsigned int word, unsigned int bit, bool isSet) {
    return isSet ? word | bit : word & ~bit;
}

template <typename Record>
Error FindRow(const Record* pRecord, const PropertyRow** ppRow) {
    if (pRecord == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "A property needs a record.");
    }
    *ppRow = FindProperty(pRecord->type);
    if (*ppRow == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "There is no property %u; properties are 0 to %u.",
                       static_cast<unsigned int>(pRecord->type), kPropertyTypeCount - 1);
    }
    return Error();
}

Error CheckRaw(const char* name, const char* which, unsigned int value, unsigned int inquiry) {
    const unsigned int min = FeatureInquiry::kMinimum.Get(inquiry);
    const unsigned int max = FeatureInquiry::kMaximum.Get(inquiry);
    if (value < min || value > max) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "The %s%s is to be %u; it must be %u to %u.", which, name,
                       value, min, max);
    }
    return Error();
}

/// Whether the feature has the switch and the mode that are asked for.
Error CheckModes(const char* name, const Property& property, unsigned int inquiry, bool isAbsolute) {
    const auto can = [inquiry](unsigned int ability) { return (inquiry & ability) != 0; };
    if (!can(FeatureInquiry::kAuto | FeatureInquiry::kManual | FeatureInquiry::kOnePush |
             FeatureInquiry::kOnOff)) {
        return Failure(ERR_FEATURE_READ_ONLY, "The %s of this camera can only be read.", name);
    }
    if (!property.onOff) {
        return can(FeatureInquiry::kOnOff)
                   ? Error()
                   : Failure(ERR_NOT_SUPPORTED, "The %s of this camera cannot be switched off.", name);
    }
    if (property.autoManualMode && property.onePush) {
        return Failure(ERR_INVALID_PARAMETER,
                       "The %s cannot be adjusted once (one push) while it is adjusted all the time (auto).",
                       name);
    }
    if (property.autoManualMode && !can(FeatureInquiry::kAuto)) {
        return Failure(ERR_NOT_SUPPORTED, "The %s of this camera has no auto mode.", name);
    }
    if (property.onePush && !can(FeatureInquiry::kOnePush)) {
        return Failure(ERR_NOT_SUPPORTED, "The %s of this camera has no one-push adjustment.", name);
    }
    if (!property.autoManualMode && !property.onePush && !can(FeatureInquiry::kManual)) {
        return Failure(ERR_NOT_SUPPORTED, "The %s of this camera has no manual mode.", name);
    }
    if (property.absControl && !isAbsolute) {
        return Failure(ERR_NOT_SUPPORTED, "The %s of this camera has no absolute control.", name);
    }
    return Error();
}

/// Whether the caller's record says what the feature's value is to be.
bool SetsValue(const Property& property) {
    return property.onOff && !property.autoManualMode && !property.onePush;
}

Error CheckAbsolute(const PropertyRow& row, float value, float min, float max) {
    // The comparison is written so that not-a-number is never in range.
    if (!std::isfinite(value) || !(value >= min && value <= max)) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "The %s is to be %g; it must be %g to %g%s%s.", row.name,
                       static_cast<double>(value), static_cast<double>(min), static_cast<double>(max),
                       row.unit[0] != '\0' ? " " : "", row.unit);
    }
    return Error();
}

unsigned int MakeControl(const PropertyRow& row, const Property& property, unsigned int control) {
    control = WithBit(control, FeatureControl::kOnOff, property.onOff);
    if (!property.onOff) {
        return WithBit(control, FeatureControl::kOnePush, false);
    }
    control = WithBit(control, FeatureControl::kAuto, property.autoManualMode);
    control = WithBit(control, FeatureControl::kOnePush, property.onePush);
    if (SetsValue(property)) {
        control = WithBit(control, FeatureControl::kAbsolute, property.absControl);
    }
    if (SetsValue(property) && !property.absControl) {
        control = FeatureControl::kValue.Put(control, property.valueA);
        if (row.hasSecondValue) {
            control = FeatureControl::kSecondValue.Put(control, property.valueB);
        }
    }
    return control;
}

}  // namespace

Error PropertyManager::ReadAbilities(const PropertyRow& row, Abilities* pAbilities) {
    RegisterSequence camera(*this);
    // The registers of a feature that is not there need not exist.
    if ((camera.Read(row.presenceRegister) & row.presenceMask) == 0) {
        return camera.GetError();
    }
    pAbilities->inquiry = camera.Read(row.inquiryRegister);
    pAbilities->isPresent = pAbilities->Can(FeatureInquiry::kPresence);
    if (pAbilities->isPresent && pAbilities->Can(FeatureInquiry::kAbsolute)) {
        pAbilities->absoluteBlock = camera.FindBlock(row.absoluteCsrRegister);
    }
    if (pAbilities->IsAbsolute()) {
        static_assert(AbsoluteBlock::kMaximum == AbsoluteBlock::kMinimum + kRegisterSize, "read in one go");
        unsigned int range[2] = {};
        camera.ReadBase(pAbilities->absoluteBlock + AbsoluteBlock::kMinimum, range, 2);
        pAbilities->absoluteMin = ToShown(row, range[0]);
        pAbilities->absoluteMax = ToShown(row, range[1]);
    }
    return camera.GetError();
}

Error PropertyManager::GetPropertyInfo(PropertyInfo* pInfo) {
    const PropertyRow* pRow = nullptr;
    Error error = FindRow(pInfo, &pRow);
    Abilities abilities;
    if (error == ERR_OK) {
        error = ReadAbilities(*pRow, &abilities);
    }
    if (error != ERR_OK) {
        return error;
    }
    PropertyInfo info;
    info.type = pRow->type;
    info.present = abilities.isPresent;
    CopyText(pRow->unit, info.unit);
    CopyText(pRow->unitAbbreviation, info.unitAbbreviation);
    if (abilities.isPresent) {
        info.autoSupported = abilities.Can(FeatureInquiry::kAuto);
        info.manualSupported = abilities.Can(FeatureInquiry::kManual);
        info.onOffSupported = abilities.Can(FeatureInquiry::kOnOff);
        info.onePushSupported = abilities.Can(FeatureInquiry::kOnePush);
        info.readOutSupported = abilities.Can(FeatureInquiry::kReadOut);
        info.absValSupported = abilities.IsAbsolute();
        info.min = FeatureInquiry::kMinimum.Get(abilities.inquiry);
        info.max = FeatureInquiry::kMaximum.Get(abilities.inquiry);
        info.absMin = abilities.absoluteMin;
        info.absMax = abilities.absoluteMax;
    }
    *pInfo = info;
    return Error();
}

Error PropertyManager::GetProperty(Property* pProperty) {
    const PropertyRow* pRow = nullptr;
    Error error = FindRow(pProperty, &pRow);
    if (error != ERR_OK) {
        return error;
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    Abilities abilities;
    error = ReadAbilities(*pRow, &abilities);
    if (error != ERR_OK) {
        return error;
    }
    Property property;
    property.type = pRow->type;
    if (abilities.isPresent) {
        RegisterSequence camera(*this);
        const unsigned int control = camera.Read(pRow->controlRegister);
        const auto has = [control](unsigned int bit) { return (control & bit) != 0; };
        property.present = has(FeatureControl::kPresence);
        property.absControl = abilities.IsAbsolute() && has(FeatureControl::kAbsolute);
        property.onePush = has(FeatureControl::kOnePush);
        // Such that the record can be given back to SetProperty as it is.
        property.onOff = has(FeatureControl::kOnOff) || !abilities.Can(FeatureInquiry::kOnOff);
        property.autoManualMode = abilities.Can(FeatureInquiry::kAuto) &&
                                  (has(FeatureControl::kAuto) || !abilities.Can(FeatureInquiry::kManual));
        property.valueA = FeatureControl::kValue.Get(control);
        property.valueB = FeatureControl::kSecondValue.Get(control);
        if (abilities.IsAbsolute()) {
            property.absValue =
                ToShown(*pRow, camera.ReadBase(abilities.absoluteBlock + AbsoluteBlock::kValue));
        }
        error = camera.GetError();
    }
    if (error == ERR_OK) {
        *pProperty = property;
    }
    return error;
}

Error PropertyManager::SetProperty(const Property* pProperty, bool broadcast) {
    const PropertyRow* pRow = nullptr;
    Error error = FindRow(pProperty, &pRow);
    if (error != ERR_OK) {
        return error;
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    Abilities abilities;
    error = ReadAbilities(*pRow, &abilities);
    if (error == ERR_OK && !abilities.isPresent) {
        error = Failure(ERR_FEATURE_ABSENT, "This camera has no %s.", pRow->name);
    }
    if (error == ERR_OK) {
        error = CheckModes(pRow->name, *pProperty, abilities.inquiry, abilities.IsAbsolute());
    }
    const bool setsAbsolute = SetsValue(*pProperty) && pProperty->absControl;
    if (error == ERR_OK && setsAbsolute) {
        error = CheckAbsolute(*pRow, pProperty->absValue, abilities.absoluteMin, abilities.absoluteMax);
    } else if (error == ERR_OK && SetsValue(*pProperty)) {
        error = CheckRaw(pRow->name, pRow->hasSecondValue ? "first value (red, V) of the " : "",
                         pProperty->valueA, abilities.inquiry);
        if (error == ERR_OK && pRow->hasSecondValue) {
            error =
                CheckRaw(pRow->name, "second value (blue, U) of the ", pProperty->valueB, abilities.inquiry);
        }
    }
    if (error != ERR_OK) {
        return error;
    }
    RegisterSequence camera(*this, broadcast);
    const unsigned int control = camera.Read(pRow->controlRegister);
    if (camera.HasFailed()) {
        return camera.GetError();
    }
    if ((control & FeatureControl::kPresence) == 0) {
        return Failure(ERR_FEATURE_ABSENT, "The %s of this camera is not available at present.", pRow->name);
    }
    const unsigned int newControl = MakeControl(*pRow, *pProperty, control);
    if (setsAbsolute) {
        return SetAbsolute(*pRow, abilities, *pProperty, control, newControl, broadcast);
    }
    camera.Write(pRow->controlRegister, newControl);
    return camera.GetError();
}

/// The value goes first, so that the camera never follows an absolute value that nobody has set; but not
/// while the camera adjusts it, when it takes none.
Error PropertyManager::SetAbsolute(const PropertyRow& row, const Abilities& abilities,
                                   const Property& property, unsigned int oldControl, unsigned int control,
                                   bool broadcast) {
    const unsigned int valueAddress = abilities.absoluteBlock + AbsoluteBlock::kValue;
    RegisterSequence camera(*this, broadcast);
    const unsigned int oldValue = camera.ReadBase(valueAddress);
    if ((oldControl & FeatureControl::kAuto) != 0) {
        camera.Write(row.controlRegister, WithBit(oldControl, FeatureControl::kAuto, false));
    }
    if (camera.HasFailed()) {
        return camera.GetError();
    }
    camera.WriteBase(valueAddress, ToRegister(row, property.absValue));
    camera.Write(row.controlRegister, control);
    if (camera.HasFailed()) {
        RegisterSequence(*this, broadcast).WriteBase(valueAddress, oldValue);
        RegisterSequence(*this, broadcast).Write(row.controlRegister, oldControl);
    }
    return camera.GetError();
}

}  // namespace Zevrin
