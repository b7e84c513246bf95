#include "support/NetworkRoom.h"

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstring>
#include <future>
#include <stdexcept>

#include "support/OwnNetwork.h"
#include "support/Spawn.h"

namespace Zevrin {
namespace {

constexpr char kBridge[] = "rooms";
constexpr char kFarPort[] = "eth0";

void Run(const std::string& line) {
    const SpawnResult result = SpawnShell("PATH=$PATH:/usr/sbin:/sbin; " + line);
    if (result.exitCode != 0) {
        throw std::runtime_error("'" + line + "': " + result.messages);
    }
}

/// On a thread of its own, since a thread that has changed its network has no way back of its own.
void OnOtherThread(const std::function<void()>& action) {
    std::async(std::launch::async, action).get();
}

int OpenTap(const std::string& name) {
    const int handle = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
    ifreq request{};
    std::strncpy(request.ifr_name, name.c_str(), IFNAMSIZ - 1);
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    if (handle < 0 || ioctl(handle, TUNSETIFF, &request) != 0) {
        throw std::runtime_error("/dev/net/tun: " + std::string(std::strerror(errno)));
    }
    return handle;
}

}  // namespace

NetworkRoom::NetworkRoom(unsigned int number, Cable cable)
    : m_number(number), m_port("port" + std::to_string(number)) {
    if (if_nametoindex(kBridge) == 0) {
        Run(std::string("ip link add ") + kBridge + " type bridge && ip address add 10.73.0.1/24 dev " +
            kBridge + " && ip link set " + kBridge + " up");
    }
    OnOtherThread([this] {
        if (unshare(CLONE_NEWNET) != 0) {
            throw std::runtime_error("no network namespace: " + std::string(std::strerror(errno)));
        }
        BringUpLoopback();
        m_space = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    });
    Furnish(cable);
}

void NetworkRoom::Furnish(Cable cable) {
    if (cable == Cable::kTap) {
        m_nearEnd = OpenTap(m_port);
        Within([this] { m_farEnd = OpenTap(kFarPort); });
    } else {
        Run("ip link add " + m_port + " type veth peer name " + kFarPort + " netns /proc/" +
            std::to_string(getpid()) + "/fd/" + std::to_string(m_space));
    }
    Run("ip link set " + m_port + " master " + kBridge + " up");
    Within([this] {
        Run("ip address add " + GetAddress() + "/24 dev " + kFarPort + " && ip link set " + kFarPort + " up");
    });
}

NetworkRoom::~NetworkRoom() {
    SpawnShell("PATH=$PATH:/usr/sbin:/sbin; ip link delete " + m_port);
    for (const int handle : {m_space, m_nearEnd, m_farEnd}) {
        close(handle);
    }
}

std::string NetworkRoom::GetAddress() const {
    return "10.73.0." + std::to_string(m_number + 1);
}

void NetworkRoom::Within(const std::function<void()>& action) const {
    OnOtherThread([&] {
        if (setns(m_space, CLONE_NEWNET) != 0) {
            throw std::runtime_error("the room cannot be entered: " + std::string(std::strerror(errno)));
        }
        action();
    });
}

}  // namespace Zevrin
