#include "support/Spawn.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace Zevrin {
namespace {

/// In the child: never returns.
[[noreturn]] void Become(char* const* arguments, const SpawnOptions& options, int input, int output,
                         int messages) {
    setpgid(0, 0);  // so that its own children can be killed with it
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(messages, STDERR_FILENO);
    if (options.folder.empty() || chdir(options.folder.c_str()) == 0) {
        for (const auto& variable : options.environment) {
            setenv(variable.first.c_str(), variable.second.c_str(), 1);
        }
        execvp(arguments[0], arguments);
    }
    _exit(127);
}

}  // namespace

Process::Process(const std::vector<std::string>& command, const SpawnOptions& options)
    : m_deadline(std::chrono::steady_clock::now() + options.limit) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));  // execvp leaves it alone
    }
    arguments.push_back(nullptr);
    int input[2];
    int output[2];
    int messages[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0 || pipe2(messages, O_CLOEXEC) != 0) {
        return;
    }
    m_process = fork();
    if (m_process == 0) {
        Become(arguments.data(), options, input[0], output[1], messages[1]);
    }
    setpgid(m_process, m_process);
    close(input[0]);
    close(output[1]);
    close(messages[1]);
    m_input = input[1];
    m_output = output[0];
    m_messages = messages[0];
    if (!options.keepsInputOpen) {
        CloseInput();
    }
}

Process::~Process() {
    if (m_process > 0) {
        Signal(SIGKILL);
        Finish();
    }
    CloseInput();
}

void Process::Signal(int number) {
    kill(-m_process, number);
}

void Process::CloseInput() {
    if (m_input >= 0) {
        close(std::exchange(m_input, -1));
    }
}

/// One round of reading. False when both ends are closed, or the time is up.
bool Process::ReadSome() {
    pollfd ends[] = {{m_output, POLLIN, 0}, {m_messages, POLLIN, 0}};
    std::string* const texts[] = {&m_result.output, &m_result.messages};
    int* const descriptors[] = {&m_output, &m_messages};
    if (m_output < 0 && m_messages < 0) {
        return false;
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(m_deadline - std::chrono::steady_clock::now());
    const int ready = poll(ends, 2, static_cast<int>(std::max<long long>(left.count(), 0)));
    if (ready <= 0) {
        return ready < 0 && errno == EINTR;
    }
    for (int end = 0; end < 2; ++end) {
        char bytes[4096];
        if (ends[end].revents != 0) {
            const ssize_t count = read(ends[end].fd, bytes, sizeof bytes);
            if (count > 0) {
                texts[end]->append(bytes, static_cast<std::size_t>(count));
            } else {
                close(std::exchange(*descriptors[end], -1));
            }
        }
    }
    return true;
}

bool Process::WaitForOutput(const std::string& text) {
    while (m_result.output.find(text) == std::string::npos) {
        if (!ReadSome()) {
            return false;
        }
    }
    return true;
}

SpawnResult Process::Finish() {
    if (m_process <= 0) {
        return m_result;
    }
    while (ReadSome()) {
    }
    if (m_output >= 0 || m_messages >= 0) {
        Signal(SIGKILL);  // the time is up
        close(m_output);
        close(m_messages);
    }
    int status = 0;
    waitpid(std::exchange(m_process, -1), &status, 0);
    m_result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return m_result;
}

SpawnResult Spawn(const std::vector<std::string>& command, const SpawnOptions& options) {
    return Process(command, options).Finish();
}

SpawnResult SpawnShell(const std::string& line, const SpawnOptions& options) {
    return Spawn({"bash", "-c", line}, options);
}

}  // namespace Zevrin
