#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace Zevrin {

/// A program of the test's own. Its standard input stays open for as long as the object lives.
class ChildProcess {
  public:
    explicit ChildProcess(const std::vector<std::string>& command);
    ~ChildProcess() { End(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// What it says on standard output and standard error up to the text, to its end, or to the deadline.
    std::string ReadUntil(const std::string& text, std::chrono::seconds limit);

    void Signal(int number);
    void CloseInput();

    /// Its exit code; -1 when a signal ended it or the limit has passed.
    int Wait(std::chrono::seconds limit);

  private:
    void End();

    pid_t m_id = -1;
    int m_input = -1;
    int m_output = -1;
    std::string m_said;
};

}  // namespace Zevrin
