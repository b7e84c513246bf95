#pragma once

#include <unistd.h>

#include <utility>

namespace Zevrin {

/// A file descriptor of the system; -1: none.
class FileHandle {
  public:
    explicit FileHandle(int handle = -1) noexcept : m_handle(handle) {}
    ~FileHandle() {
        if (m_handle >= 0) {
            close(m_handle);
        }
    }
    FileHandle(FileHandle&& other) noexcept : m_handle(std::exchange(other.m_handle, -1)) {}
    FileHandle& operator=(FileHandle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    int Get() const noexcept { return m_handle; }
    bool IsOpen() const noexcept { return m_handle >= 0; }

  private:
    int m_handle;
};

}  // namespace Zevrin
