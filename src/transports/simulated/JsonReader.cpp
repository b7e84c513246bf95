#include "JsonReader.h"

#include <algorithm>
#include <array>
#include <set>
#include <stdexcept>
#include <utility>

#include "Failure.h"
#include "FormatText.h"

namespace Zevrin {

using nlohmann::json;

namespace {

constexpr std::size_t kMaxShownValue = 60;
constexpr int kMaxDepth = 16;

/// Ends the parser at once.
struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Looks at a text while it is parsed: what the parser itself would take, at the cost of the stack or of all
/// but the last value of a key.
class Watch {
  public:
    bool operator()(int depth, json::parse_event_t event, const json& value) {
        if (depth > kMaxDepth) {
            throw Refusal(FormatText("nests lists and objects more than %d deep.", kMaxDepth));
        }
        std::set<std::string>& keys = m_keys[static_cast<std::size_t>(depth)];  // of the object at this depth
        if (event == json::parse_event_t::object_end) {
            m_keys[static_cast<std::size_t>(depth) + 1].clear();
        } else if (event == json::parse_event_t::key && !keys.insert(value.get<std::string>()).second) {
            throw Refusal(FormatText("has the key \"%s\" twice in one object.",
                                     Printable(value.get_ref<const std::string&>()).c_str()));
        }
        return true;
    }

  private:
    std::array<std::set<std::string>, kMaxDepth + 2> m_keys;
};

/// Only what stands alone is shown in full.
std::string Shown(const json& value) {
    if (value.is_array()) {
        return FormatText("a list of length %zu", value.size());
    }
    if (value.is_object()) {
        return "an object";
    }
    return Printable(value.dump(-1, ' ', false, json::error_handler_t::replace), kMaxShownValue);
}

std::string Join(const std::vector<std::string>& names) {
    std::string joined;
    for (const std::string& name : names) {
        joined += (joined.empty() ? "\"" : ", \"") + name + "\"";
    }
    return joined;
}

/// ASCII's; a text with a NUL in it would also come out shorter elsewhere than it is.
bool HasControlCharacter(const std::string& text) {
    constexpr unsigned char kSpace = 0x20;
    constexpr unsigned char kDelete = 0x7F;
    return std::any_of(text.begin(), text.end(), [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte < kSpace || byte == kDelete;
    });
}

/// Decimal or, with "0x", hexadecimal digits and nothing else.
bool ParseUnsigned(const std::string& text, unsigned long long* pValue) {
    const bool isHex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = isHex ? text.substr(2) : text;
    const char* allowed = isHex ? "0123456789abcdefABCDEF" : "0123456789";
    if (digits.empty() || digits.size() > 12 || digits.find_first_not_of(allowed) != std::string::npos) {
        return false;
    }
    *pValue = std::stoull(digits, nullptr, isHex ? 16 : 10);
    return true;
}

}  // namespace

Error ParseJson(const std::string& text, json* pValue) {
    try {
        *pValue = json::parse(text, Watch());
    } catch (const Refusal& refusal) {
        return Failure(ERR_INVALID_DESCRIPTION, "The description %s", refusal.what());
    } catch (const json::exception& exception) {
        const std::string problem = exception.what();  // behind "[", the parser's own number of it, and "] "
        return Failure(ERR_INVALID_DESCRIPTION, "The description is not JSON: %s",
                       Printable(problem.substr(problem.find("] ") + 2), 200).c_str());
    }
    return Error();
}

JsonReader::JsonReader(const json& value, std::string path, Error* pError)
    : m_value(value), m_path(std::move(path)), m_pError(pError), m_isObject(value.is_object()) {
    if (!m_isObject) {
        ComplainAbout(m_path, value, "an object in braces");
    }
}

std::string JsonReader::PathOf(const std::string& key) const {
    return m_path.empty() ? key : m_path + "." + key;
}

bool JsonReader::Has(const char* key) const {
    return m_isObject && m_value.contains(key);
}

const json* JsonReader::Find(const char* key) {
    m_known.emplace_back(key);
    if (!m_isObject) {
        return nullptr;
    }
    const auto found = m_value.find(key);
    return found != m_value.end() ? &*found : nullptr;
}

void JsonReader::ComplainAbout(const std::string& path, const json& value, const std::string& whatIsRight) {
    if (*m_pError != ERR_OK) {
        return;
    }
    if (path.empty()) {
        *m_pError = Failure(ERR_INVALID_DESCRIPTION, "The description is %s; it must be %s.",
                            Shown(value).c_str(), whatIsRight.c_str());
    } else {
        *m_pError = Failure(ERR_INVALID_DESCRIPTION, "The key \"%s\" is %s; it must be %s.",
                            Printable(path).c_str(), Shown(value).c_str(), whatIsRight.c_str());
    }
}

void JsonReader::Complain(const char* key, const std::string& whatIsRight) {
    const json absent;
    const json& value = Has(key) ? m_value[key] : absent;
    ComplainAbout(PathOf(key), value, whatIsRight);
}

void JsonReader::ReadBool(const char* key, bool* pValue) {
    const json* pFound = Find(key);
    if (pFound == nullptr) {
        return;
    }
    if (pFound->is_boolean()) {
        *pValue = pFound->get<bool>();
    } else {
        ComplainAbout(PathOf(key), *pFound, "true or false");
    }
}

void JsonReader::ReadText(const char* key, std::string* pValue) {
    const json* pFound = Find(key);
    if (pFound == nullptr) {
        return;
    }
    constexpr std::size_t kMaxText = 63;
    if (pFound->is_string() && pFound->get_ref<const std::string&>().size() <= kMaxText &&
        !HasControlCharacter(pFound->get_ref<const std::string&>())) {
        *pValue = pFound->get<std::string>();
    } else {
        ComplainAbout(PathOf(key), *pFound,
                      FormatText("a text of at most %zu bytes without control characters", kMaxText));
    }
}

bool JsonReader::IsWholeWithin(const json& value, unsigned int min, unsigned int max, unsigned int unit,
                               unsigned int* pValue) const {
    unsigned long long number = 0;
    if (value.is_number_unsigned()) {
        number = value.get<unsigned long long>();
    } else if (!value.is_string() || !ParseUnsigned(value.get_ref<const std::string&>(), &number)) {
        return false;
    }
    if (number < min || number > max || number % unit != 0) {
        return false;
    }
    *pValue = static_cast<unsigned int>(number);
    return true;
}

void JsonReader::ReadUnsigned(const char* key, unsigned int min, unsigned int max, unsigned int* pValue) {
    const json* pFound = Find(key);
    if (pFound != nullptr && (pFound->is_string() || !IsWholeWithin(*pFound, min, max, 1, pValue))) {
        ComplainAbout(PathOf(key), *pFound, FormatText("a whole number from %u to %u", min, max));
    }
}

void JsonReader::ReadMultiple(const char* key, unsigned int min, unsigned int max, unsigned int unit,
                              unsigned int* pValue) {
    const json* pFound = Find(key);
    if (pFound != nullptr && (pFound->is_string() || !IsWholeWithin(*pFound, min, max, unit, pValue))) {
        ComplainAbout(PathOf(key), *pFound, FormatText("a multiple of %u from %u to %u", unit, min, max));
    }
}

void JsonReader::ReadNumber(const char* key, double min, double max, double* pValue) {
    const json* pFound = Find(key);
    if (pFound == nullptr) {
        return;
    }
    const double number = pFound->is_number() ? pFound->get<double>() : min - 1;
    if (number >= min && number <= max) {
        *pValue = number;
    } else {
        ComplainAbout(PathOf(key), *pFound, FormatText("a number from %g to %g", min, max));
    }
}

void JsonReader::ReadChoice(const char* key, const std::vector<std::string>& names, std::size_t* pIndex) {
    const json* pFound = Find(key);
    if (pFound == nullptr) {
        return;
    }
    const auto found = pFound->is_string()
                           ? std::find(names.begin(), names.end(), pFound->get_ref<const std::string&>())
                           : names.end();
    if (found != names.end()) {
        *pIndex = static_cast<std::size_t>(found - names.begin());
    } else {
        ComplainAbout(PathOf(key), *pFound, "one of " + Join(names));
    }
}

void JsonReader::ReadList(const char* key, std::size_t minCount, std::size_t maxCount,
                          const std::function<void(const json&, const std::string&)>& read) {
    const json* pFound = Find(key);
    if (pFound == nullptr) {
        return;
    }
    if (!pFound->is_array() || pFound->size() < minCount || pFound->size() > maxCount) {
        ComplainAbout(PathOf(key), *pFound, FormatText("a list of %zu to %zu entries", minCount, maxCount));
        return;
    }
    for (std::size_t index = 0; index < pFound->size() && *m_pError == ERR_OK; ++index) {
        read((*pFound)[index], FormatText("%s[%zu]", PathOf(key).c_str(), index));
    }
}

void JsonReader::ReadUnsignedList(const char* key, unsigned int min, unsigned int max, unsigned int unit,
                                  std::vector<unsigned int>* pValues) {
    constexpr std::size_t kMaxEntries = 4096;
    ReadList(key, 0, kMaxEntries, [&](const json& value, const std::string& path) {
        unsigned int number = 0;
        if (IsWholeWithin(value, min, max, unit, &number)) {
            pValues->push_back(number);
        } else {
            const std::string multiple = unit == 1 ? "a whole number" : FormatText("a multiple of %u", unit);
            ComplainAbout(path, value, multiple + FormatText(" from %u to %u", min, max));
        }
    });
}

void JsonReader::ReadObject(const char* key, const std::function<void(JsonReader&)>& read) {
    const json* pFound = Find(key);
    if (pFound != nullptr) {
        JsonReader reader(*pFound, PathOf(key), m_pError);
        read(reader);
        reader.Finish();
    }
}

void JsonReader::Finish() {
    if (!m_isObject || *m_pError != ERR_OK) {
        return;
    }
    for (const auto& item : m_value.items()) {
        if (std::find(m_known.begin(), m_known.end(), item.key()) == m_known.end()) {
            *m_pError = Failure(
                ERR_INVALID_DESCRIPTION, "The key \"%s\" with the value %s is not known; there can be %s.",
                Printable(PathOf(item.key())).c_str(), Shown(item.value()).c_str(), Join(m_known).c_str());
            return;
        }
    }
}

}  // namespace Zevrin
