// Hosts Aravis' fake GigE Vision camera.

#include <arpa/inet.h>
#include <arv.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "AddressGuard.h"
#include "Options.h"
#include "TestPicture.h"

namespace {

constexpr unsigned short kControlPort = 3956;          // GVCP
constexpr guint32 kStreamPacketSizeRegister = 0x0D04;  // GigE Vision: SCPS of stream channel 0
constexpr double kMicrosecondsPerSecond = 1e6;
constexpr double kPerCent = 0.01;

struct Unref {
    void operator()(void* pObject) const { g_object_unref(pObject); }
};

[[noreturn]] void ThrowNoInterface(const std::string& address) {
    throw std::runtime_error("no network interface of this machine has the address " + address);
}

/// Aravis shares the port with whoever asks, so that a second camera would be served by chance. Whether the
/// port is free shows when it is asked for without sharing.
void RequireFreePort(const std::string& address) {
    const int handle = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(kControlPort);
    inet_pton(AF_INET, address.c_str(), &name.sin_addr);
    const int result = bind(handle, reinterpret_cast<const sockaddr*>(&name), sizeof name);
    const int reason = errno;
    close(handle);
    if (result == 0) {
        return;
    }
    if (reason == EADDRINUSE) {
        throw std::runtime_error("UDP port 3956 of " + address + " is taken: another camera is served there");
    }
    if (reason == EADDRNOTAVAIL) {
        ThrowNoInterface(address);
    }
    throw std::runtime_error("UDP port 3956 of " + address + " cannot be used: " + std::strerror(reason));
}

/// Aravis itself would go on without one.
void RequireDescription(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error("the description '" + path + "' cannot be read: " + std::strerror(errno));
    }
    if (file.get() != '<') {  // nor can a directory be read
        throw std::runtime_error("the description '" + path + "' is not XML: it does not begin with '<'");
    }
}

using FakeCameraHandle = std::unique_ptr<ArvGvFakeCamera, Unref>;

FakeCameraHandle StartCamera(const Options& options) {
    if (!options.descriptionFile.empty()) {
        RequireDescription(options.descriptionFile);
    }
    RequireFreePort(options.address);
    FakeCameraHandle pCamera(arv_gv_fake_camera_new_full(
        options.address.c_str(), options.serialNumber.c_str(),
        options.descriptionFile.empty() ? nullptr : options.descriptionFile.c_str()));
    if (!pCamera || !arv_gv_fake_camera_is_running(pCamera.get())) {
        ThrowNoInterface(options.address);
    }
    g_object_set(pCamera.get(), "gvsp-lost-ratio", options.packetLoss * kPerCent, nullptr);
    ArvFakeCamera* const pInside = arv_gv_fake_camera_get_fake_camera(pCamera.get());
    arv_fake_camera_write_register(pInside, ARV_FAKE_CAMERA_REGISTER_ACQUISITION_FRAME_PERIOD_US,
                                   static_cast<guint32>(kMicrosecondsPerSecond / options.frameRate));
    arv_fake_camera_write_register(pInside, kStreamPacketSizeRegister, options.packetSize);
    arv_fake_camera_set_fill_pattern(pInside, FillTestPicture, pInside);
    GuardAddresses(pInside, kControlPort);
    return pCamera;
}

/// Before any thread is started, so that none of them takes the signals.
int BlockEndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

bool IsClosed(const pollfd& input) {
    if (input.revents == 0) {
        return false;
    }
    char ignored[256];
    return read(input.fd, ignored, sizeof ignored) <= 0;
}

void WaitForEnd(int signalHandle, bool withInput) {
    std::array<pollfd, 2> events{{{signalHandle, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
    do {
        if (poll(events.data(), withInput ? 2 : 1, -1) < 0) {  // interrupted: nothing was said of the events
            events[0].revents = events[1].revents = 0;
        }
    } while (events[0].revents == 0 && !IsClosed(events[1]));
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = ParseOptions(argc, argv);
        if (options.help) {
            std::fputs(GetHelp().c_str(), stdout);
            return 0;
        }
        const int signalHandle = BlockEndSignals();
        const FakeCameraHandle pCamera = StartCamera(options);
        std::puts("ready");
        std::fflush(stdout);
        WaitForEnd(signalHandle, options.exitWithStdin);
        return 0;
    } catch (const std::invalid_argument& reason) {
        std::fprintf(stderr, "fake-gige-camera: %s; --help tells more\n", reason.what());
        return kExitUsage;
    } catch (const std::exception& reason) {
        std::fprintf(stderr, "fake-gige-camera: %s\n", reason.what());
        return kExitFailed;
    }
}
