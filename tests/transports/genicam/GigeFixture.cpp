#include "GigeFixture.h"

#include <cstdio>

namespace Zevrin {

int HoldControl() {
    CameraSystem system;
    IidcCamera camera;
    const Error error = camera.Connect(kSerialNumber);
    std::puts(error == ERR_OK ? "held" : error.GetTrace().c_str());
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    return error == ERR_OK ? 0 : 1;
}

GigeTest::GigeTest() {
    StartFakeCamera();
}

void GigeTest::StartFakeCamera(const std::vector<std::string>& options) {
    m_pFakeCamera.reset();
    std::vector<std::string> command = {ZEVRIN_FAKE_CAMERA_PROGRAM, "--exit-with-stdin", "--serial",
                                        std::to_string(kSerialNumber)};
    command.insert(command.end(), options.begin(), options.end());
    m_pFakeCamera = std::make_unique<ChildProcess>(command);
    const std::string said = m_pFakeCamera->ReadUntil("ready\n", kPatience);
    EXPECT_EQ(said, "ready\n");
}

Error GigeTest::SetImageSize(unsigned int width, unsigned int height) {
    Error error = Write(kWidthAddress, width);
    return error == ERR_OK ? Write(kHeightAddress, height) : error;
}

std::string RunProgram(const std::vector<std::string>& command) {
    ChildProcess program(command);
    std::string said = program.ReadUntil("\x04", kPatience);  // which no program says: all of it
    EXPECT_EQ(program.Wait(kPatience), 0) << said;
    return said;
}

}  // namespace Zevrin
