#include "ConfigEntry.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace ZevrinTool {

namespace {

std::string Expected(const IntegerRange& range) {
    return "it must be a whole number from " + std::to_string(range.min) + " to " +
           std::to_string(range.max) + (range.step > 1 ? " in steps of " + std::to_string(range.step) : "");
}

}  // namespace

ConfigEntry::ConfigEntry(const Json& object, std::string path, Findings* pRefused)
    : m_object(object), m_path(std::move(path)), m_pRefused(pRefused), m_refusedBefore(pRefused->size()) {
    if (!object.is_object()) {
        m_pRefused->push_back({m_path, object, "it must be an object"});
    }
}

const Json* ConfigEntry::Find(const std::string& key) {
    m_known.insert(key);
    return Has(key) ? &m_object.at(key) : nullptr;
}

ConfigEntry ConfigEntry::Enter(const std::string& key) const {
    return ConfigEntry(m_object.at(key), (m_path.empty() ? "" : m_path + ".") + key, m_pRefused);
}

void ConfigEntry::Read(const std::string& key, bool* pValue) {
    const Json* const pJson = Find(key);
    if (pJson != nullptr && !pJson->is_boolean()) {
        Refuse(key, "it must be true or false");
    } else if (pJson != nullptr) {
        *pValue = pJson->get<bool>();
    }
}

void ConfigEntry::Read(const std::string& key, const RealRange& range, float* pValue) {
    const Json* const pJson = Find(key);
    if (pJson == nullptr) {
        return;
    }
    // Compared as the camera has it; the comparison is false for not-a-number.
    const double number = pJson->is_number() ? pJson->get<double>() : std::numeric_limits<double>::infinity();
    const bool fits = std::fabs(number) <= static_cast<double>(std::numeric_limits<float>::max());
    const float value = fits ? static_cast<float>(number) : std::numeric_limits<float>::quiet_NaN();
    if (value >= static_cast<float>(range.min) && value <= static_cast<float>(range.max)) {
        *pValue = value;
    } else {
        Refuse(key, "it must be a number from " + RangeText(range.min, range.max, range.unit));
    }
}

void ConfigEntry::Read(const std::string& key, const Choices& choices, unsigned int* pValue) {
    const Json* const pJson = Find(key);
    if (pJson == nullptr) {
        return;
    }
    for (const Choice& choice : choices) {
        if (*pJson == choice.word) {
            *pValue = choice.value;
            return;
        }
    }
    Refuse(key, "it must be one of " + ListWords(choices));
}

bool ConfigEntry::ReadList(const std::string& key, const IntegerRange& range,
                           std::vector<unsigned int>* pValues) {
    const Json* const pJson = Find(key);
    if (pJson == nullptr || !pJson->is_array()) {
        Refuse(key, "it must be a list of numbers");
        return false;
    }
    for (const Json& entry : *pJson) {
        if (!CheckInteger(entry, m_path + "." + key + "[" + std::to_string(pValues->size()) + "]", range)) {
            return false;
        }
        pValues->push_back(entry.get<unsigned int>());
    }
    return true;
}

bool ConfigEntry::CheckInteger(const Json& value, const std::string& path, const IntegerRange& range) const {
    // An unsigned number beyond the signed ones must not become a negative one.
    const bool isSmall = value.is_number_unsigned()
                             ? value.get<unsigned long long>() <= static_cast<unsigned long long>(range.max)
                             : value.is_number_integer();
    const long long number = isSmall ? value.get<long long>() : 0;
    const bool isGood = isSmall && number >= range.min && number <= range.max && number % range.step == 0;
    if (!isGood) {
        m_pRefused->push_back({path, value, Expected(range)});
    }
    return isGood;
}

void ConfigEntry::Refuse(const std::string& key, const std::string& reason) const {
    m_pRefused->push_back({m_path + "." + key, Has(key) ? m_object.at(key) : Json(), reason});
}

void ConfigEntry::RefuseOthers() const {
    if (!m_object.is_object()) {
        return;
    }
    for (const auto& entry : m_object.items()) {
        if (m_known.count(entry.key()) == 0) {
            std::string known;
            for (const std::string& key : m_known) {
                known += (known.empty() ? "" : ", ") + key;
            }
            m_pRefused->push_back({(m_path.empty() ? "" : m_path + ".") + entry.key(), entry.value(),
                                   "there is no such key; there are: " + known});
        }
    }
}

double Exactly(float value) {
    char text[64] = {};
    std::to_chars(text, text + sizeof text - 1, value);
    return std::strtod(text, nullptr);
}

}  // namespace ZevrinTool
