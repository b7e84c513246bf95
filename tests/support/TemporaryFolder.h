#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace Zevrin {

/// A folder of a test's own, removed with all that is in it.
class TemporaryFolder {
  public:
    TemporaryFolder() : m_path(testing::TempDir() + "zevrin-test-XXXXXX") {
        if (mkdtemp(&m_path[0]) == nullptr) {
            ADD_FAILURE() << "no folder could be made at " << m_path;
        }
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string Path() const { return m_path; }
    std::string Path(const std::string& name) const { return m_path + "/" + name; }

  private:
    std::string m_path;
};

}  // namespace Zevrin
