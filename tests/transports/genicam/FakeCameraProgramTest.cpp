#include <csignal>

#include "GigeFixture.h"

namespace Zevrin {
namespace {

struct Refusal {
    std::vector<std::string> options;
    int exitCode;
    std::string text;
};

TEST_F(GigeTest, ProgramSaysWhyItDoesNotServe) {
    const Refusal refusals[] = {
        {{}, 1, "UDP port 3956 of 127.0.0.1 is taken"},
        {{"--address", "203.0.113.9"}, 1, "no network interface of this machine has the address 203.0.113.9"},
        {{"--address", "127.0.0.9"}, 1, "no network interface of this machine has the address 127.0.0.9"},
        {{"--genicam", "/no/such.xml"}, 1, "'/no/such.xml' cannot be read"},
        {{"--address", "localhost"}, 2, "--address is 'localhost'"},
        {{"--genicam", "/"}, 1, "'/' is not XML"},
        {{"--genicam", "/proc/self/cmdline"}, 1, "does not begin with '<'"},
        {{"--frame-rate", "0"}, 2, "--frame-rate is '0'; it must be a number from 1 to 1000"},
        {{"--serial", "1234567890123456"}, 2, "1 to 15 characters"},
        {{"--serial"}, 2, "lacks its value"},
        {{"word"}, 2, "'word' is not an option"},
    };
    for (const Refusal& refusal : refusals) {
        std::vector<std::string> command = {ZEVRIN_FAKE_CAMERA_PROGRAM};
        command.insert(command.end(), refusal.options.begin(), refusal.options.end());
        ChildProcess program(command);
        const std::string said = program.ReadUntil("\n", kPatience);
        EXPECT_NE(said.find(refusal.text), std::string::npos) << said;
        EXPECT_EQ(program.Wait(kPatience), refusal.exitCode) << said;
    }
}

TEST_F(GigeTest, ProgramEndsBySignalAndWithItsInput) {
    m_pFakeCamera->Signal(SIGTERM);
    EXPECT_EQ(m_pFakeCamera->Wait(kPatience), 0);
    StartFakeCamera();
    m_pFakeCamera->CloseInput();
    EXPECT_EQ(m_pFakeCamera->Wait(kPatience), 0);
}

}  // namespace
}  // namespace Zevrin
