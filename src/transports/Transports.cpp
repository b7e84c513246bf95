#include "Transport.h"

#include <cstdlib>
#include <set>
#include <sstream>
#include <string>

#include "Failure.h"
#include "FormatText.h"
#include "SimulatedTransport.h"
#ifdef ZEVRIN_WITH_GENICAM
#include "GenicamTransport.h"
#endif

namespace Zevrin {

namespace {

using Transports = std::vector<std::unique_ptr<Transport>>;

/// In place of all transports when the environment asks for one that is not there: to find no camera would
/// leave its user in the dark.
class UnknownTransport : public Transport {
  public:
    UnknownTransport(const std::string& name, const std::string& known)
        : m_error(Failure(
              ERR_TRANSPORT_FAILED,
              "The environment variable ZEVRIN_TRANSPORTS names the transport \"%s\"; this build has %s.",
              Printable(name).c_str(), known.c_str())) {}
    const char* GetName() const override { return "unknown"; }
    Error Discover(std::vector<boost::shared_ptr<HardwareInterface>>*) override { return m_error; }
    void SetTopologyListener(TopologyListener*) override {}

  private:
    const Error m_error;
};

/// ZEVRIN_TRANSPORTS, when it is set, names the transports that are asked for cameras, separated by commas:
/// "simulated" keeps a program off the network.
void KeepWanted(Transports* pTransports) {
    const char* const wanted = std::getenv("ZEVRIN_TRANSPORTS");
    if (wanted == nullptr || *wanted == '\0') {
        return;
    }
    std::set<std::string> names;
    std::istringstream list(wanted);
    for (std::string name; std::getline(list, name, ',');) {
        names.insert(name);
    }
    std::string known;
    Transports kept;
    for (auto& pTransport : *pTransports) {
        known += (known.empty() ? "" : ", ") + std::string(pTransport->GetName());
        if (names.erase(pTransport->GetName()) != 0) {
            kept.push_back(std::move(pTransport));
        }
    }
    if (!names.empty()) {
        kept.clear();
        kept.push_back(std::make_unique<UnknownTransport>(*names.begin(), known));
    }
    *pTransports = std::move(kept);
}

}  // namespace

std::vector<std::unique_ptr<Transport>> CreateTransports() {
    Transports transports;
    transports.push_back(std::make_unique<SimulatedTransport>());
#ifdef ZEVRIN_WITH_GENICAM
    transports.push_back(std::make_unique<GenicamTransport>());
#endif
    KeepWanted(&transports);
    return transports;
}

}  // namespace Zevrin
