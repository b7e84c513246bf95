#include "Output.h"

#include <algorithm>
#include <cstddef>
#include <iostream>

namespace ZevrinTool {

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

void Print(const Json& document) {
    std::cout << document.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

Json ToJson(const Zevrin::CameraListing& camera) {
    return {{"serialNumber", camera.serialNumber},
            {"interface", Zevrin::GetInterfaceTypeName(camera.interfaceType)},
            {"vendor", camera.vendorName},
            {"model", camera.modelName},
            {"address", camera.address}};
}

}  // namespace ZevrinTool
