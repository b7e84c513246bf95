#include "support/OwnNetwork.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace Zevrin {
namespace {

/// What is run by a user with such privileges would not have them.
void PassOnNetworkPrivilege() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct privileges[_LINUX_CAPABILITY_U32S_3]{};
    if (syscall(SYS_capget, &header, privileges) == 0) {
        privileges[0].inheritable |= 1U << CAP_NET_ADMIN;
        syscall(SYS_capset, &header, privileges);
        prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, CAP_NET_ADMIN, 0, 0);
    }
}

/// A user without privileges has them in a user namespace of its own, where its own number must be known.
bool LeaveNetwork() {
    if (unshare(CLONE_NEWNET) == 0) {
        return true;
    }
    const std::string user = std::to_string(getuid());
    const std::string group = std::to_string(getgid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        return false;
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << user + " " + user + " 1";
    std::ofstream("/proc/self/gid_map") << group + " " + group + " 1";
    PassOnNetworkPrivilege();
    return true;
}

}  // namespace

bool BringUpLoopback() {
    const int handle = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    const bool isUp = ioctl(handle, SIOCSIFFLAGS, &request) == 0;
    close(handle);
    return isUp;
}

void TakeNetwork() {
    if (LeaveNetwork() && BringUpLoopback()) {
        return;
    }
    std::fprintf(stderr, "No network of its own for this process: waiting for the common one.\n");
    const int handle = open("/tmp", O_RDONLY | O_DIRECTORY | O_CLOEXEC);  // which any user can lock
    flock(handle, LOCK_EX);                                               // until the process ends
}

}  // namespace Zevrin
