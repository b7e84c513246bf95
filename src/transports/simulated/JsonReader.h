#pragma once

#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "zevrin/Error.h"

namespace Zevrin {

/// Parses a JSON text. Errors: ERR_INVALID_DESCRIPTION with the place of the fault.
Error ParseJson(const std::string& text, nlohmann::json* pValue);

/// Reads the keys of one JSON object and remembers the first thing that is wrong: a value of the wrong type
/// or out of range, and, in `Finish`, a key that nobody asked for. Absent keys leave their target alone.
class JsonReader {
  public:
    /// @param path  how to name the object in messages; empty for the whole description
    JsonReader(const nlohmann::json& value, std::string path, Error* pError);

    bool Has(const char* key) const;

    void ReadBool(const char* key, bool* pValue);
    void ReadText(const char* key, std::string* pValue);
    void ReadUnsigned(const char* key, unsigned int min, unsigned int max, unsigned int* pValue);

    /// A whole number that is also a multiple of `unit`.
    void ReadMultiple(const char* key, unsigned int min, unsigned int max, unsigned int unit,
                      unsigned int* pValue);
    void ReadNumber(const char* key, double min, double max, double* pValue);

    /// One of the names; stores its position.
    void ReadChoice(const char* key, const std::vector<std::string>& names, std::size_t* pIndex);

    /// Whole numbers, also as texts such as "0x614".
    void ReadUnsignedList(const char* key, unsigned int min, unsigned int max, unsigned int unit,
                          std::vector<unsigned int>* pValues);

    /// Calls `read` with each element's value and path.
    void ReadList(const char* key, std::size_t minCount, std::size_t maxCount,
                  const std::function<void(const nlohmann::json&, const std::string&)>& read);
    void ReadObject(const char* key, const std::function<void(JsonReader&)>& read);

    /// Says that this key's value is wrong. The first complaint counts.
    void Complain(const char* key, const std::string& whatIsRight);

    void Finish();

  private:
    const nlohmann::json* Find(const char* key);
    std::string PathOf(const std::string& key) const;
    void ComplainAbout(const std::string& path, const nlohmann::json& value, const std::string& whatIsRight);
    bool IsWholeWithin(const nlohmann::json& value, unsigned int min, unsigned int max, unsigned int unit,
                       unsigned int* pValue) const;

    const nlohmann::json& m_value;
    const std::string m_path;
    Error* const m_pError;
    bool m_isObject;
    std::vector<std::string> m_known;
};

}  // namespace Zevrin
