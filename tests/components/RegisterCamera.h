#pragma once

#include <boost/smart_ptr/make_shared.hpp>
#include <initializer_list>
#include <sstream>

#include "FakeHardware.h"
#include "support/Checks.h"

namespace Zevrin {

/// One call that sets something, and what it comes to.
template <typename Record>
struct Outcome {
    const char* given;  ///< registers that differ from those of the fixture
    Record record;
    ErrorType error;
    const char* text;  ///< with ERR_OK the registers that change, else a part of the message
};

/// A component on a camera that is a memory. Registers are given by number and words by value, as the
/// standard writes them, not by the library's own tables.
template <typename Component>
class RegisterCamera : public testing::Test {
  protected:
    explicit RegisterCamera(const char* registers = "") {
        m_component.SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U);
        m_pHardware->m_hasOnlyWhatWasSet = true;
        Have(registers);
    }

    /// Adds registers in hexadecimal, such as "830=83F10005 62C=0", that count from the command registers.
    /// What follows a # up to the end of its line is a comment.
    static void Add(const std::string& text, FakeHardware::Memory* pMemory) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line.substr(0, line.find('#')));
            unsigned int offset = 0;
            unsigned int value = 0;
            for (char sign = 0; words >> std::hex >> offset >> sign >> value;) {
                (*pMemory)[FakeHardware::KeyOf(offset)] = value;
            }
            EXPECT_TRUE(words.eof()) << line;
        }
    }
    void Have(const std::string& text) { Add(text, &m_pHardware->m_memory); }

    /// Each row begins with the fixture's registers. Nothing changes but what the row says.
    template <typename Record, typename Set>
    void ExpectOutcomes(std::initializer_list<Outcome<Record>> rows, const Set& set) {
        const FakeHardware::Memory home = m_pHardware->m_memory;
        for (const Outcome<Record>& row : rows) {
            SCOPED_TRACE(std::string(row.given) + ": " + row.text);
            Have(row.given);
            FakeHardware::Memory expected = m_pHardware->m_memory;
            const Error error = set(row.record);
            if (row.error == ERR_OK) {
                EXPECT_TRUE(IsOk(error));
                Add(row.text, &expected);
            } else {
                EXPECT_TRUE(SaysPart(error, row.error, row.text));
            }
            EXPECT_EQ(m_pHardware->m_memory, expected);
            m_pHardware->m_memory = home;
        }
        EXPECT_EQ(m_pHardware->m_broadcasts, 0U);
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
