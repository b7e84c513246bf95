#pragma once

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "support/Checks.h"
#include "support/Spawn.h"
#include "support/TemporaryFolder.h"

namespace Zevrin {

using Json = nlohmann::json;
using Parts = std::vector<std::string>;

const std::string kZevrin = PROGRAM_FOLDER "/zevrin";
const std::string kSource = SOURCE_FOLDER;

inline std::string ReadFile(const std::string& path) {
    std::ifstream stream(path);
    return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

/// Whether a file begins and ends as a PNG file does; one that was cut short lacks its end.
inline bool IsWholePng(const std::string& path) {
    static const std::string kBegin = "\x89PNG\r\n\x1a\n";
    static const std::string kEnd = "IEND\xae\x42\x60\x82";
    const std::string bytes = ReadFile(path);
    return bytes.size() > kBegin.size() + kEnd.size() && bytes.compare(0, kBegin.size(), kBegin) == 0 &&
           bytes.compare(bytes.size() - kEnd.size(), kEnd.size(), kEnd) == 0;
}

/// The tool in a folder of its own, where the machine's cameras stay out of sight.
class ToolFolder : public testing::Test {
  protected:
    ToolFolder() {
        m_options.folder = m_folder.Path();
        m_options.environment = {{"ZEVRIN_TRANSPORTS", "simulated"}};
        m_options.limit = std::chrono::seconds(200);
    }

    void Write(const std::string& name, const std::string& text) const {
        std::ofstream(m_folder.Path(name)) << text;
    }
    /// @param before  what the shell does first
    SpawnResult Run(const std::string& arguments, const std::string& before = "") const {
        return SpawnShell(before + "exec '" + kZevrin + "' " + arguments, m_options);
    }
    void AwaitFileIn(const std::string& name) const {
        const std::string folder = m_folder.Path(name);
        ASSERT_TRUE(
            Await([&] { return std::filesystem::exists(folder) && !std::filesystem::is_empty(folder); }));
    }
    std::size_t CountWholePngs(const std::string& name) const {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path(name))) {
            EXPECT_TRUE(IsWholePng(entry.path())) << entry.path();
            ++count;
        }
        return count;
    }
    static void ExpectParts(const std::string& text, const Parts& parts) {
        for (const std::string& part : parts) {
            EXPECT_NE(std::string::npos, text.find(part)) << "\"" << part << "\" in:\n" << text;
        }
    }

    TemporaryFolder m_folder;
    SpawnOptions m_options;
};

}  // namespace Zevrin
