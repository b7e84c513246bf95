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

/// A document for programs on standard output. Bytes that are no UTF-8, in file names, become U+FFFD.
void Print(const Json& document);

/// The keys by which every verb names a camera.
Json ToJson(const Zevrin::CameraListing& camera);

}  // namespace ZevrinTool
