#include "Transport.h"

#ifdef ZEVRIN_WITH_GENICAM
#include "GenicamTransport.h"
#endif

namespace Zevrin {

std::vector<std::unique_ptr<Transport>> CreateTransports() {
    std::vector<std::unique_ptr<Transport>> transports;
#ifdef ZEVRIN_WITH_GENICAM
    transports.push_back(std::make_unique<GenicamTransport>());
#endif
    return transports;
}

}  // namespace Zevrin
