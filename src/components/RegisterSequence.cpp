#include "RegisterSequence.h"

#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>
#include <boost/thread/thread.hpp>

#include "Failure.h"
#include "Registers.h"

namespace Zevrin {

namespace {

constexpr auto kPollInterval = boost::chrono::milliseconds(2);

}  // namespace

unsigned int RegisterSequence::Read(unsigned int address) {
    unsigned int value = 0;
    if (!HasFailed()) {
        m_error = m_io.ReadRegister(address, &value);
    }
    return HasFailed() ? 0 : value;
}

void RegisterSequence::Write(unsigned int address, unsigned int value) {
    if (!HasFailed()) {
        m_error = m_io.WriteRegister(address, value, m_broadcast);
    }
}

unsigned int RegisterSequence::ReadBase(unsigned int address) {
    unsigned int value = 0;
    ReadBase(address, &value, 1);
    return HasFailed() ? 0 : value;
}

void RegisterSequence::ReadBase(unsigned int address, unsigned int* pBuffer, unsigned int length) {
    if (!HasFailed()) {
        m_error = m_io.ReadBaseRegisters(address, pBuffer, length);
    }
}

void RegisterSequence::WriteBase(unsigned int address, unsigned int value) {
    WriteBase(address, &value, 1);
}

void RegisterSequence::WriteBase(unsigned int address, const unsigned int* pBuffer, unsigned int length) {
    if (!HasFailed()) {
        m_error = m_io.WriteBaseRegisters(address, pBuffer, length, m_broadcast);
    }
}

unsigned int RegisterSequence::FindBlock(unsigned int inquiryRegister) {
    const unsigned int quadlets = Read(inquiryRegister);
    if (quadlets >= kInitialRegisterSpaceSize / kRegisterSize) {
        m_error =
            Failure(ERR_INVALID_ADDRESS,
                    "Register 0x%03X announces a block at quadlet 0x%08X; the register space ends at 0x%08X.",
                    inquiryRegister, quadlets, kInitialRegisterSpaceSize / kRegisterSize);
        return 0;
    }
    return quadlets * kRegisterSize;
}

template <typename ReadAgain>
unsigned int RegisterSequence::WaitFor(const ReadAgain& read, unsigned int address, unsigned int mask,
                                       unsigned int timeoutMs) {
    const boost::this_thread::disable_interruption notInterrupted;  // what follows must not be left out
    const auto deadline = boost::chrono::steady_clock::now() + boost::chrono::milliseconds(timeoutMs);
    unsigned int value = read();
    while (!HasFailed() && (value & mask) != 0) {
        if (boost::chrono::steady_clock::now() >= deadline) {
            m_error = Failure(ERR_TIMEOUT,
                              "Register 0x%03X still reads 0x%08X after %u ms; bits 0x%08X should be 0.",
                              address, value, timeoutMs, mask);
            break;
        }
        boost::this_thread::sleep_for(kPollInterval);
        value = read();
    }
    return value;
}

unsigned int RegisterSequence::WaitForClear(unsigned int address, unsigned int mask, unsigned int timeoutMs) {
    return WaitFor([&] { return Read(address); }, address, mask, timeoutMs);
}

unsigned int RegisterSequence::WaitForClearBase(unsigned int address, unsigned int mask,
                                                unsigned int timeoutMs) {
    return WaitFor([&] { return ReadBase(address); }, address, mask, timeoutMs);
}

}  // namespace Zevrin
