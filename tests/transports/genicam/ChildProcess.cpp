#include "ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>

extern char** environ;

namespace Zevrin {

namespace {

using Clock = std::chrono::steady_clock;

int MillisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<long long>(left.count(), 0));
}

bool IsReady(int handle, Clock::time_point deadline) {
    pollfd event{handle, POLLIN, 0};
    return poll(&event, 1, MillisecondsUntil(deadline)) > 0;
}

void Close(int* pHandle) {
    if (*pHandle >= 0) {
        close(*pHandle);
        *pHandle = -1;
    }
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command) {
    int input[2] = {-1, -1};
    int output[2] = {-1, -1};
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe can be had");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDERR_FILENO);
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    const int result = posix_spawn(&m_id, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    close(output[1]);
    m_input = input[1];
    m_output = output[0];
    if (result != 0) {
        m_id = -1;
        throw std::runtime_error("'" + command[0] + "' cannot be started");
    }
}

std::string ChildProcess::ReadUntil(const std::string& text, std::chrono::seconds limit) {
    const auto deadline = Clock::now() + limit;
    while (m_said.find(text) == std::string::npos && IsReady(m_output, deadline)) {
        char bytes[1024];
        const ssize_t count = read(m_output, bytes, sizeof bytes);
        if (count <= 0) {
            break;
        }
        m_said.append(bytes, static_cast<std::size_t>(count));
    }
    return m_said;
}

void ChildProcess::Signal(int number) {
    if (m_id > 0) {
        kill(m_id, number);
    }
}

void ChildProcess::CloseInput() {
    Close(&m_input);
}

int ChildProcess::Wait(std::chrono::seconds limit) {
    const int handle = static_cast<int>(syscall(SYS_pidfd_open, m_id, 0));
    const bool hasEnded = handle >= 0 && IsReady(handle, Clock::now() + limit);
    close(handle);
    int status = 0;
    if (!hasEnded || waitpid(m_id, &status, 0) != m_id) {
        return -1;
    }
    m_id = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void ChildProcess::End() {
    Close(&m_input);
    Close(&m_output);
    if (m_id > 0) {
        kill(m_id, SIGKILL);
        waitpid(m_id, nullptr, 0);
        m_id = -1;
    }
}

}  // namespace Zevrin
