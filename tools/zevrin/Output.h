#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include <zevrin/CameraSystem.h>

namespace ZevrinTool {

using Json = nlohmann::ordered_json;

/// Columns of text on standard output, each as wide as its widest entry.
class Table {
  public:
    explicit Table(std::vector<std::string> heading) : m_rows{std::move(heading)} {}
    void Add(std::vector<std::string> row) { m_rows.push_back(std::move(row)); }
    void Print() const;

  private:
    std::vector<std::vector<std::string>> m_rows;
};

/// One fact of an answer: a labelled value for people, a key for programs.
struct Fact {
    std::string label;  ///< empty: for programs only
    std::string key;    ///< empty: for people only
    Json value;         ///< null: the camera does not tell it
    std::string text;   ///< for people; empty: the value as it is
};
using Facts = std::vector<Fact>;

Json ToJson(const Facts& facts);

/// On standard output: a line for each fact, or a row for each group of facts that have the same labels.
void PrintLines(const Facts& facts);
void PrintRows(const std::vector<Facts>& rows);

const char* OnOff(bool isOn);

/// A single-precision number with the digits that mean something.
double Shorten(float value);
std::string RealText(double value);

/// "0 to 24 dB".
std::string RangeText(double min, double max, const std::string& unit = std::string());

/// The numbers whose bits are set: 0 for the least significant one.
std::vector<unsigned int> BitsOf(unsigned int mask);

/// Without control characters, which a device must not send to a terminal.
std::string Printable(std::string text);

/// A value of outside data as it may stand in a message, however long it is.
std::string Quote(const Json& value);

/// A document for programs on standard output. Bytes that are no UTF-8, in file names, become U+FFFD.
void Print(const Json& document);

/// The same on one line, for one of several that follow each other in time.
void PrintLine(const Json& document);

/// The keys by which every verb names a camera.
Json ToJson(const Zevrin::CameraListing& camera);

}  // namespace ZevrinTool
