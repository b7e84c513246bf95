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

void GigeTest::StartFakeCamera(const std::vector<std::string>& options) {
    m_pFakeCamera.reset();
    std::vector<std::string> command = {ZEVRIN_FAKE_CAMERA_PROGRAM, "--exit-with-stdin", "--serial",
                                        std::to_string(kSerialNumber)};
    command.insert(command.end(), options.begin(), options.end());
    m_pFakeCamera = std::make_unique<ChildProcess>(command);
    const std::string said = m_pFakeCamera->ReadUntil("ready\n", kPatience);
    ASSERT_EQ(said, "ready\n");
}

Error GigeTest::SetImageSize(unsigned int width, unsigned int height) {
    Error error = Write(kWidthAddress, width);
    return error == ERR_OK ? Write(kHeightAddress, height) : error;
}

bool HasTestPicture(const Image& image) {
    const std::size_t stride = image.GetStride();
    auto missing = image.GetMissingParts().begin();
    for (std::size_t position = 0; position < stride * image.GetHeight(); ++position) {
        while (missing != image.GetMissingParts().end() && position >= missing->offset + missing->size) {
            ++missing;
        }
        const bool isMissing = missing != image.GetMissingParts().end() && position >= missing->offset;
        const unsigned char sent = GetPictureByte(image, position % stride, position / stride);
        if (image.GetData()[position] != (isMissing ? 0 : sent)) {
            return false;
        }
    }
    return true;
}

std::string RunProgram(const std::vector<std::string>& command) {
    ChildProcess program(command);
    std::string said = program.ReadUntil("\x04", kPatience);  // which no program says: all of it
    EXPECT_EQ(program.Wait(kPatience), 0) << said;
    return said;
}

}  // namespace Zevrin
