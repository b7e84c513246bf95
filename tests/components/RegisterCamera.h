#pragma once

#include <boost/smart_ptr/make_shared.hpp>
#include <initializer_list>

#include "FakeHardware.h"
#include "support/Checks.h"

namespace Zevrin {

/// A component on a camera that is a memory. Registers are given here by number and words by value, as the
/// standard writes them, not by the library's own tables.
template <typename Component>
class RegisterCamera : public testing::Test {
  protected:
    RegisterCamera() { m_component.SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U); }

    void SetRegisters(std::initializer_list<FakeHardware::Cell> cells) { m_pHardware->SetRegisters(cells); }
    void SetBlock(unsigned int block, std::initializer_list<FakeHardware::Cell> cells) {
        m_pHardware->SetBlock(block, cells);
    }

    /// A table of what cannot be set: each row is refused by name and with the range, and nothing is written.
    template <typename Rows, typename Set>
    void ExpectRefusals(const Rows& rows, const Set& set) {
        const FakeHardware::Memory before = m_pHardware->GetMemory();
        for (const auto& row : rows) {
            EXPECT_TRUE(SaysPart(set(row), row.error, row.text));
            EXPECT_EQ(m_pHardware->GetMemory(), before) << row.text;
        }
    }

    /// That these calls with a null pointer are refused.
    static void ExpectRefused(std::initializer_list<Error> results) {
        for (const Error& error : results) {
            EXPECT_EQ(error, ERR_INVALID_PARAMETER) << error.GetTrace();
        }
    }

    boost::shared_ptr<FakeHardware> m_pHardware = boost::make_shared<FakeHardware>();
    Component m_component;
};

}  // namespace Zevrin
