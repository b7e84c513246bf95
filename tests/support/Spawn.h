#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace Zevrin {

/// How another program is run.
struct SpawnOptions {
    std::string folder;                              ///< working folder; empty: the test's own
    std::map<std::string, std::string> environment;  ///< on top of the test's own
    std::chrono::seconds limit{60};                  ///< after which it is killed
    bool keepsInputOpen = false;                     ///< for as long as the process object lives
};

/// What it left.
struct SpawnResult {
    int exitCode = -1;  ///< -1: it was killed, for its time was up or by another signal
    std::string output;
    std::string messages;  ///< from standard error
};

/// A program that runs beside the test; killed at the end when it still runs.
class Process {
  public:
    Process(const std::vector<std::string>& command, const SpawnOptions& options = SpawnOptions());
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void Signal(int number);
    void CloseInput();

    /// Reads standard output until `text` appears in it. False when the program ends first, or the time is
    /// up.
    bool WaitForOutput(const std::string& text);

    /// Waits for the end, reading all that the program writes.
    SpawnResult Finish();

  private:
    bool ReadSome();

    pid_t m_process = -1;
    int m_input = -1;
    int m_output = -1;
    int m_messages = -1;
    std::chrono::steady_clock::time_point m_deadline;
    SpawnResult m_result;
};

SpawnResult Spawn(const std::vector<std::string>& command, const SpawnOptions& options = SpawnOptions());

/// A line as a shell would take it.
SpawnResult SpawnShell(const std::string& line, const SpawnOptions& options = SpawnOptions());

}  // namespace Zevrin
