#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "Fuzz.h"

namespace Zevrin {

/// A regular file for what is parsed from one only; it goes with the program.
class InputFile {
  public:
    InputFile() : m_handle(mkstemp(m_path)) { Require(m_handle >= 0, "there is a file"); }
    ~InputFile() {
        close(m_handle);
        unlink(m_path);
    }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// The file's path, once it holds the text.
    const char* Hold(const std::string& text) const {
        Require(ftruncate(m_handle, 0) == 0 &&
                    pwrite(m_handle, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
                "the file can be written");
        return m_path;
    }

  private:
    char m_path[32] = "/tmp/zevrin-input-XXXXXX";
    const int m_handle;
};

}  // namespace Zevrin
