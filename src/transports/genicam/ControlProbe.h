#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "FileHandle.h"

namespace Zevrin {

/// Asks a GigE Vision device whether it is there, beside whoever controls it, on a socket of its own.
///
/// A question is a read of the version register, which is no sign of life of a controlling program; any
/// answer will do, also one that refuses. Threads: one thread at a time.
class ControlProbe {
  public:
    /// @param address  of the device, as four numbers; a probe of an address that is none never has an answer
    explicit ControlProbe(const std::string& address);

    /// False when the system refuses a socket, too.
    bool IsOpen() const { return m_socket.IsOpen(); }

    /// Asks once.
    void Ask();

    /// Waits for an answer to any of the last questions.
    /// @param wakeHandle  ends the wait when it can be read from; -1: none
    bool WaitForAnswer(std::chrono::milliseconds limit, int wakeHandle);

    /// Asks until there is an answer, for as long as a camera that is there may be silent.
    bool Finds();

    /// Reads `size` bytes, at most 512 and divisible by 4, of the device's memory.
    /// @return whether there was an answer that holds them
    bool ReadMemory(unsigned int address, unsigned int size, std::vector<unsigned char>* pBytes);

    /// Reads one register, asking once.
    /// @return whether there was an answer that has it
    bool ReadRegister(unsigned int address, unsigned int* pValue);

    /// The address of this machine from which the device is reached; empty when there is no way to it.
    std::string GetOwnAddress() const;

  private:
    bool TakeAnswer();
    bool TakeAcknowledge(unsigned int command, std::vector<unsigned char>* pPacket);
    void Send(unsigned int command, const unsigned char* payload, std::size_t size);
    bool Awaits(std::chrono::milliseconds limit, int wakeHandle, const std::function<bool()>& take);

    FileHandle m_socket;
    unsigned short m_requestId = 0;
};

}  // namespace Zevrin
