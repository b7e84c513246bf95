#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

#include "zevrin/Error.h"

namespace Zevrin {

/// A file that is written under a passing name in the folder of its own and takes its own name when it is
/// whole. Given up, it leaves nothing behind and whatever had its name stays.
class WholeFile {
  public:
    explicit WholeFile(std::string path);
    ~WholeFile();
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    /// Errors: ERR_FILE_FAILED.
    Error Open();

    /// Open for writing after `Open`.
    std::FILE* GetStream() const { return m_pStream; }

    /// Errors: ERR_FILE_FAILED; the file has been given up then.
    Error Write(const void* data, std::size_t size);

    /// Ends writing: a disk that is full is known from here on. `Finish` does it when it has not been done.
    /// Errors: ERR_FILE_FAILED; the file has been given up then.
    Error Close();

    /// Gives the file its name.
    /// Errors: ERR_FILE_FAILED; the file has been given up then.
    Error Finish();

    /// The error of a write that failed, by the system's error number or in words.
    Error WriteFailure(int errorNumber) const;
    Error WriteFailure(const std::string& reason) const;

  private:
    std::string m_path;
    std::string m_passingPath;  // empty when there is no such file
    std::FILE* m_pStream = nullptr;
};

}  // namespace Zevrin
