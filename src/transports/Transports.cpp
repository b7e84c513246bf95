#include "Transport.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "SimulatedTransport.h"
#ifdef ZEVRIN_WITH_GENICAM
#include "GenicamTransport.h"
#endif

namespace Zevrin {

namespace {

/// ZEVRIN_TRANSPORTS, when it is set, names the transports that are asked for cameras, separated by commas:
/// "simulated" keeps a program off the network.
void KeepWanted(std::vector<std::unique_ptr<Transport>>* pTransports) {
    const char* const wanted = std::getenv("ZEVRIN_TRANSPORTS");
    if (wanted == nullptr || *wanted == '\0') {
        return;
    }
    const std::string names = "," + std::string(wanted) + ",";
    const auto isUnwanted = [&](const std::unique_ptr<Transport>& pTransport) {
        return names.find("," + std::string(pTransport->GetName()) + ",") == std::string::npos;
    };
    pTransports->erase(std::remove_if(pTransports->begin(), pTransports->end(), isUnwanted),
                       pTransports->end());
}

}  // namespace

std::vector<std::unique_ptr<Transport>> CreateTransports() {
    std::vector<std::unique_ptr<Transport>> transports;
    transports.push_back(std::make_unique<SimulatedTransport>());
#ifdef ZEVRIN_WITH_GENICAM
    transports.push_back(std::make_unique<GenicamTransport>());
#endif
    KeepWanted(&transports);
    return transports;
}

}  // namespace Zevrin
