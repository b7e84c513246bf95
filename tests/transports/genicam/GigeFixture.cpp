#include "GigeFixture.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "BusMaster.h"
#include "Singleton.h"

namespace Zevrin {

namespace {

sockaddr_in MakeName(const char* address, unsigned int port) {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, address, &name.sin_addr);
    return name;
}

}  // namespace

unsigned int GetGeneration(unsigned int serialNumber) {
    const SingletonHold<BusMaster> busMaster;
    return busMaster->GetGeneration(serialNumber);
}

std::string Describe(const std::string& file) {
    return ZEVRIN_DESCRIPTIONS "/" + file;
}

std::unique_ptr<Process> ServeCamera(const std::vector<std::string>& options) {
    std::vector<std::string> command = {ZEVRIN_FAKE_CAMERA_PROGRAM, "--exit-with-stdin"};
    command.insert(command.end(), options.begin(), options.end());
    SpawnOptions spawning;
    spawning.keepsInputOpen = true;
    auto pCamera = std::make_unique<Process>(command, spawning);
    EXPECT_TRUE(pCamera->WaitForOutput("ready\n"));
    return pCamera;
}

void GigeTest::StartFakeCamera(const std::vector<std::string>& options) {
    m_pFakeCamera.reset();  // the port is its own
    std::vector<std::string> all = {"--serial", std::to_string(kSerialNumber)};
    all.insert(all.end(), options.begin(), options.end());
    m_pFakeCamera = ServeCamera(all);
}

TestCamera::~TestCamera() {
    const Error disconnected = Disconnect();  // before what its reports go to is gone
    static_cast<void>(disconnected);
}

Error TestCamera::SetImageSize(unsigned int width, unsigned int height) {
    Error error = WriteMemory(kWidthAddress, width);
    return error == ERR_OK ? WriteMemory(kHeightAddress, height) : error;
}

void TestCamera::ReconnectByItself() {
    ReconnectPolicy policy;
    policy.limitMs = kPatienceMs;
    policy.userData = this;
    policy.callback = [](const ReconnectReport* pReport) {
        auto& camera = *static_cast<TestCamera*>(const_cast<void*>(pReport->userData));
        const std::lock_guard<std::mutex> lock(camera.m_mutex);
        if (pReport->step == RECONNECT_LOST) {
            camera.m_countedBefore = camera.CountAll();
        }
        if (pReport->step != RECONNECT_TRY_FAILED) {
            camera.m_steps.push_back(pReport->step);
        }
    };
    EXPECT_OK(SetReconnectPolicy(&policy));
}

std::vector<ReconnectStep> TestCamera::GetSteps() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_steps;
}

/// Frames that were lost show at the next one only, so when some are missing for long, some more are sent.
void TestCamera::Quieten(Image* pImage) {
    constexpr unsigned int kPause = 500;  // looks
    unsigned int sent = 0;
    unsigned int looks = 0;
    EXPECT_TRUE(Await([&] {
        const bool isSending = looks / kPause % 2 == 1;
        if (looks++ % kPause == 0) {
            EXPECT_OK(WriteRegister(kTransmission, isSending ? kOn : 0));
        }
        EXPECT_OK(ReadMemory(kFrameCountAddress, &sent));
        while (pImage != nullptr && WaitForBufferEvent(pImage, 0) == ERR_OK) {
        }
        return !isSending && CountAll() - m_countedBefore >= sent;
    }));
    EXPECT_EQ(CountAll() - m_countedBefore, sent);
}

int FindPicture(const Image& image) {
    const std::size_t stride = image.GetStride();
    std::vector<char> isMissing(stride * image.GetHeight(), 0);
    for (const ByteRange& range : image.GetMissingParts()) {
        std::fill_n(isMissing.begin() + static_cast<std::ptrdiff_t>(range.offset), range.size, 1);
    }
    int picture = -1;
    for (std::size_t position = 0; position < isMissing.size(); ++position) {
        const unsigned char byte = image.GetData()[position];
        const auto found = static_cast<unsigned char>(byte - position % stride - position / stride);
        picture = picture < 0 && isMissing[position] == 0 ? found : picture;
        if (isMissing[position] != 0 ? byte != 0 : found != picture) {
            return -1;
        }
    }
    return std::max(picture, 0);  // of an image without a byte it may be any
}

/// The fake camera's picture has at position b of row y the byte b + y + the frame's 16-bit number.
bool HasTestPicture(const Image& image) {
    return FindPicture(image) == static_cast<unsigned char>((image.GetFrameId() - 1) % 65535 + 1);
}

std::string MakeArchiveEntry(unsigned int unpackedSize) {
    std::string entry = std::string("PK\x01\x02") + std::string(42, '\0');
    for (unsigned int byte = 0; byte < 4; ++byte) {  // the low one first
        entry[24 + byte] = static_cast<char>(unpackedSize >> 8 * byte & 0xFF);
    }
    return entry;
}

Peer::Peer(const char* address) : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_in own = MakeName(address, 0);
    EXPECT_EQ(bind(m_socket, reinterpret_cast<const sockaddr*>(&own), sizeof own), 0);
}

Peer::~Peer() {
    close(m_socket);
}

void Peer::Send(unsigned int port, const Bytes& bytes) {
    const sockaddr_in host = MakeName("127.0.0.1", port);
    sendto(m_socket, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&host), sizeof host);
}

Bytes Peer::Receive() {
    pollfd event{m_socket, POLLIN, 0};
    Bytes bytes(64);
    const bool isThere = poll(&event, 1, static_cast<int>(kPatienceMs)) == 1;
    bytes.resize(isThere ? static_cast<std::size_t>(recv(m_socket, bytes.data(), bytes.size(), 0)) : 0);
    return bytes;
}

void Peer::WriteRegister(unsigned int address, unsigned int value) {
    Bytes command = {0x42, 1, 0, 0x82, 0, 8, 0, 1};
    for (const unsigned int number : {address, value}) {
        for (const int shift : {24, 16, 8, 0}) {
            command.push_back(static_cast<unsigned char>(number >> shift & 0xFF));
        }
    }
    Send(3956, command);
    EXPECT_EQ(Receive(), (Bytes{0, 0, 0, 0x83, 0, 4, 0, 1, 0, 0, 0, 1}));
}

}  // namespace Zevrin
