#include <csignal>

#include "GigeFixture.h"

namespace Zevrin {
namespace {

TEST_F(GigeTest, ProgramSaysWhyItDoesNotServe) {
    const struct {
        std::vector<std::string> options;
        int exitCode;
        std::string text;
    } refusals[] = {
        {{}, 1, "UDP port 3956 of 127.0.0.1 is taken"},
        {{"--address", "127.0.0.9"}, 1, "no network interface of this machine has the address 127.0.0.9"},
        {{"--genicam", "/no/such.xml"}, 1, "'/no/such.xml' cannot be read"},
        {{"--address", "localhost"}, 2, "--address is 'localhost'"},
        {{"--genicam", "/"}, 1, "'/' is not XML"},
        {{"--frame-rate", "0"}, 2, "--frame-rate is '0'; it must be a number from 1 to 1000"},
        {{"--serial", "1234567890123456"}, 2, "1 to 15 characters"},
        {{"--serial"}, 2, "lacks its value"},
        {{"word"}, 2, "'word' is not an option"},
    };
    for (const auto& refusal : refusals) {
        std::vector<std::string> command = {ZEVRIN_FAKE_CAMERA_PROGRAM};
        command.insert(command.end(), refusal.options.begin(), refusal.options.end());
        const SpawnResult program = Spawn(command);
        EXPECT_NE(program.messages.find(refusal.text), std::string::npos) << program.messages;
        EXPECT_EQ(program.exitCode, refusal.exitCode) << program.messages;
    }
}

TEST_F(GigeTest, ProgramEndsBySignalAndWithItsInput) {
    m_pFakeCamera->Signal(SIGTERM);
    EXPECT_EQ(m_pFakeCamera->Finish().exitCode, 0);
    StartFakeCamera();
    m_pFakeCamera->CloseInput();
    EXPECT_EQ(m_pFakeCamera->Finish().exitCode, 0);
}

}  // namespace
}  // namespace Zevrin
