#include "Transport.h"

namespace Zevrin {

std::vector<std::unique_ptr<Transport>> CreateTransports() {
    std::vector<std::unique_ptr<Transport>> transports;
    return transports;
}

}  // namespace Zevrin
