#include "Output.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iomanip>
#include <iostream>

namespace ZevrinTool {

namespace {

constexpr int kLabelWidth = 20;

std::string ToText(const Json& value) {
    if (value.is_boolean()) {
        return value.get<bool>() ? "yes" : "no";
    }
    if (value.is_array()) {
        std::string list;
        for (const Json& entry : value) {
            list += (list.empty() ? "" : ", ") + ToText(entry);
        }
        return list.empty() ? "none" : list;
    }
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string ToText(const Fact& fact, const char* unknown) {
    const std::string text = !fact.text.empty() ? fact.text : fact.value.is_null() ? "" : ToText(fact.value);
    return text.empty() ? unknown : Printable(text);
}

std::string ToHeading(std::string label) {
    std::transform(label.begin(), label.end(), label.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    return label;
}

}  // namespace

void Table::Print() const {
    std::vector<std::size_t> widths(m_rows.front().size());
    for (const auto& row : m_rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    for (const auto& row : m_rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += row[column] + std::string(widths[column] - row[column].size() + 2, ' ');
        }
        std::cout << line.substr(0, line.find_last_not_of(' ') + 1) << "\n";
    }
}

Json ToJson(const Facts& facts) {
    Json document = Json::object();
    for (const Fact& fact : facts) {
        if (!fact.key.empty()) {
            document[fact.key] = fact.value;
        }
    }
    return document;
}

void PrintLines(const Facts& facts) {
    for (const Fact& fact : facts) {
        if (!fact.label.empty()) {
            std::cout << std::left << std::setw(kLabelWidth) << fact.label << ToText(fact, "not available")
                      << "\n";
        }
    }
}

void PrintRows(const std::vector<Facts>& rows) {
    if (rows.empty()) {
        return;
    }
    const auto gather = [](const Facts& facts, const auto& show) {
        std::vector<std::string> cells;
        for (const Fact& fact : facts) {
            if (!fact.label.empty()) {
                cells.push_back(show(fact));
            }
        }
        return cells;
    };
    Table table(gather(rows.front(), [](const Fact& fact) { return ToHeading(fact.label); }));
    for (const Facts& row : rows) {
        table.Add(gather(row, [](const Fact& fact) { return ToText(fact, "-"); }));
    }
    table.Print();
}

const char* OnOff(bool isOn) {
    return isOn ? "on" : "off";
}

double Shorten(float value) {
    return std::strtod(RealText(static_cast<double>(value)).c_str(), nullptr);
}

std::string RealText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

std::string RangeText(double min, double max, const std::string& unit) {
    return RealText(min) + " to " + RealText(max) + (unit.empty() ? "" : " " + unit);
}

std::vector<unsigned int> BitsOf(unsigned int mask) {
    std::vector<unsigned int> bits;
    for (unsigned int bit = 0; mask != 0; ++bit, mask >>= 1) {
        if ((mask & 1) != 0) {
            bits.push_back(bit);
        }
    }
    return bits;
}

std::string Printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char letter) { return letter < ' ' || letter == 0x7F; }, '?');
    return text;
}

std::string Quote(const Json& value) {
    constexpr std::size_t kMaxQuote = 60;
    const std::string text = Printable(value.dump(-1, ' ', true, Json::error_handler_t::replace));
    return text.size() > kMaxQuote ? text.substr(0, kMaxQuote) + "..." : text;
}

void Print(const Json& document) {
    std::cout << document.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

void PrintLine(const Json& document) {
    std::cout << document.dump(-1, ' ', false, Json::error_handler_t::replace) << std::endl;
}

Json ToJson(const Zevrin::CameraListing& camera) {
    return {{"serialNumber", camera.serialNumber},
            {"interface", Zevrin::GetInterfaceTypeName(camera.interfaceType)},
            {"vendor", camera.vendorName},
            {"model", camera.modelName},
            {"address", camera.address}};
}

}  // namespace ZevrinTool
