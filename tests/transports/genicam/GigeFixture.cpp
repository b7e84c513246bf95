#include "GigeFixture.h"

#include <cstdio>

#include "BusMaster.h"
#include "Singleton.h"

namespace Zevrin {

using std::chrono::steady_clock;

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

double GetSecondsSince(steady_clock::time_point begin) {
    return std::chrono::duration<double>(steady_clock::now() - begin).count();
}

double GetSecondsUntilLost(steady_clock::time_point begin, const std::function<Error()>& call) {
    Error error;
    while ((error = call()) == ERR_OK) {
    }
    EXPECT_EQ(error.GetType(), ERR_CAMERA_LOST) << error.GetTrace();
    return GetSecondsSince(begin);
}

unsigned int GetGeneration(unsigned int serialNumber) {
    const SingletonHold<BusMaster> busMaster;
    return busMaster->GetGeneration(serialNumber);
}

/// Frames that were lost show at the next one only: of the last ones nobody knows before there is one more.
void TestCamera::Quieten(unsigned int before, Image* pImage) {
    constexpr std::chrono::milliseconds kFrameTakes{500};  // much longer than it does
    unsigned int sent = 0;
    const auto hasCounted = [&](unsigned int count) {
        while (pImage != nullptr && WaitForBufferEvent(pImage, 0) == ERR_OK) {
        }
        return CountAll() - before >= count;
    };
    EXPECT_TRUE(Comes([&] {
        EXPECT_OK(WriteRegister(kTransmission, 0));
        EXPECT_OK(ReadRegisterBlock(0, kFrameCountAddress, &sent, 1));
        const bool isAll = Comes([&] { return hasCounted(sent); }, kFrameTakes);
        if (!isAll) {
            EXPECT_OK(WriteRegister(kTransmission, kOn));
            Comes([&, one = CountAll() - before + 1] { return hasCounted(one); }, kFrameTakes);
        }
        return isAll;
    }));
    EXPECT_EQ(CountAll() - before, sent);
}

int FindPicture(const Image& image) {
    const std::size_t stride = image.GetStride();
    auto missing = image.GetMissingParts().begin();
    int picture = -1;
    for (std::size_t position = 0; position < stride * image.GetHeight(); ++position) {
        while (missing != image.GetMissingParts().end() && position >= missing->offset + missing->size) {
            ++missing;
        }
        const unsigned char byte = image.GetData()[position];
        const bool isMissing = missing != image.GetMissingParts().end() && position >= missing->offset;
        const unsigned char found = static_cast<unsigned char>(byte - position % stride - position / stride);
        picture = picture < 0 && !isMissing ? found : picture;
        if (isMissing ? byte != 0 : found != picture) {
            return -1;
        }
    }
    return picture >= 0 ? picture : GetPictureByte(image, 0, 0);
}

bool HasTestPicture(const Image& image) {
    return FindPicture(image) == GetPictureByte(image, 0, 0);
}

std::string MakeArchiveEntry(unsigned int unpackedSize) {
    std::string entry = std::string("PK\x01\x02") + std::string(42, '\0');
    for (unsigned int byte = 0; byte < 4; ++byte) {  // the low one first
        entry[24 + byte] = static_cast<char>(unpackedSize >> 8 * byte & 0xFF);
    }
    return entry;
}

std::string RunProgram(const std::vector<std::string>& command) {
    ChildProcess program(command);
    std::string said = program.ReadUntil("\x04", kPatience);  // which no program says: all of it
    EXPECT_EQ(program.Wait(kPatience), 0) << said;
    return said;
}

}  // namespace Zevrin
