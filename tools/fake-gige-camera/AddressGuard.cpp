#include "AddressGuard.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <sys/socket.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace {

constexpr guint32 kDescriptionUrl =
    0x0200;  // GigE Vision: first URL, "Local:<name>;<address>;<size>" in hexadecimal
constexpr std::size_t kUrlSize = 512;

/// The description is what lies last in the memory.
unsigned int FindEndOfMemory(ArvFakeCamera* pCamera) {
    std::array<char, kUrlSize + 1> url{};
    unsigned int address = 0;
    unsigned int size = 0;
    if (!arv_fake_camera_read_memory(pCamera, kDescriptionUrl, kUrlSize, url.data()) ||
        std::sscanf(url.data(), "%*[^;];%x;%x", &address, &size) != 2) {
        throw std::runtime_error("the fake camera does not tell where its description lies");
    }
    return address + size;
}

bool IsBoundTo(int handle, unsigned short port) {
    sockaddr_in name{};
    socklen_t size = sizeof name;
    return getsockname(handle, reinterpret_cast<sockaddr*>(&name), &size) == 0 &&
           name.sin_family == AF_INET && ntohs(name.sin_port) == port;
}

}  // namespace

void GuardAddresses(ArvFakeCamera* pCamera, unsigned short controlPort) {
    // Offsets from the UDP header, which is 8 bytes; GVCP has its command 2 and the first address 8 bytes on.
    constexpr unsigned int kCommand = 10;
    constexpr unsigned int kAddress = 16;
    std::array<sock_filter, 9> code = {{
        BPF_STMT(BPF_LD | BPF_H | BPF_ABS, kCommand),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x0080, 3, 0),  // READREG
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x0082, 2, 0),  // WRITEREG
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x0084, 1, 0),  // READMEM
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x0086, 0, 2),  // WRITEMEM
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kAddress),
        BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, FindEndOfMemory(pCamera), 1, 0),
        BPF_STMT(BPF_RET | BPF_K, 0xFFFFFFFFU),  // all of it arrives
        BPF_STMT(BPF_RET | BPF_K, 0),
    }};
    const sock_fprog filter = {static_cast<unsigned short>(code.size()), code.data()};
    int guarded = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int handle = std::atoi(entry.path().filename().c_str());
        if (IsBoundTo(handle, controlPort)) {
            if (setsockopt(handle, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter) != 0) {
                throw std::runtime_error("the fake camera's sockets take no filter");
            }
            ++guarded;
        }
    }
    if (guarded == 0) {
        throw std::runtime_error("the fake camera has no socket to guard");
    }
}
