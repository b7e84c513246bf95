#pragma once

#include <gtest/gtest.h>

#include <boost/smart_ptr/make_shared.hpp>
#include <functional>

#include "FakeHardware.h"

namespace Zevrin {

/// A component on a camera that is a memory. Registers are given here by number and words by value, as the
/// standard writes them, not by the library's own tables.
template <typename Component>
class RegisterCamera : public testing::Test {
  protected:
    RegisterCamera() { m_component.SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U); }

    struct Cell {
        unsigned int offset;
        unsigned int value;
    };
    void SetRegisters(std::initializer_list<Cell> cells) {
        for (const Cell& cell : cells) {
            m_pHardware->SetRegister(cell.offset, cell.value);
        }
    }
    void SetBlock(unsigned int block, std::initializer_list<Cell> cells) {
        for (const Cell& cell : cells) {
            m_pHardware->SetBase(block + cell.offset, cell.value);
        }
    }

    /// Runs the operation once for each of its register accesses with that one failing, which it must
    /// report; then it succeeds once. With `keepsRegisters`, a failure leaves the camera as it was.
    void SweepFailures(const char* what, const std::function<Error()>& operation,
                       bool keepsRegisters = true) {
        SCOPED_TRACE(what);
        const FakeHardware::Memory before = m_pHardware->GetMemory();
        for (unsigned int n = 1; n < 1000; ++n) {
            m_pHardware->FailAccess(n);
            const Error error = operation();
            const bool wasReached = m_pHardware->GetAccesses() >= n;
            const FakeHardware::Memory after = m_pHardware->GetMemory();
            m_pHardware->FailAccess(0);
            m_pHardware->SetMemory(before);
            if (!wasReached) {
                EXPECT_EQ(error, ERR_OK) << error.GetTrace();
                EXPECT_GT(n, 1U) << "no access at all";
                return;
            }
            const Error reason = error.GetCause() != ERR_OK ? error.GetCause() : error;
            EXPECT_EQ(reason, ERR_TIMEOUT) << "access " << n << " failed: " << error.GetTrace();
            if (keepsRegisters) {
                EXPECT_EQ(after, before) << "access " << n;
            }
        }
        FAIL() << "too many accesses";
    }

    boost::shared_ptr<FakeHardware> m_pHardware = boost::make_shared<FakeHardware>();
    Component m_component;
};

/// Whether a refusal says what a person needs to know.
inline testing::AssertionResult Says(const Error& error, ErrorType type, const char* text) {
    if (error == type && std::string(error.GetDescription()).find(text) != std::string::npos) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "not '" << text << "' but " << error.GetTrace();
}

}  // namespace Zevrin
