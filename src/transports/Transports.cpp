#include "Transport.h"

#include "SimulatedTransport.h"

namespace Zevrin {

std::vector<std::unique_ptr<Transport>> CreateTransports() {
    std::vector<std::unique_ptr<Transport>> transports;
    transports.push_back(std::make_unique<SimulatedTransport>());
    return transports;
}

}  // namespace Zevrin
