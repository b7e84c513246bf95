#include "RegisterAccess.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <optional>
#include <utility>

#include "DescriptionCheck.h"
#include "IidcBlock.h"
#include "RegisterView.h"
#include "Registers.h"

namespace Zevrin {

RegisterBases RegisterAccess::GetBases() {
    return {kUsualInitialRegisterSpace, kUsualCommandRegisters};
}

Error OpenRegisters(const boost::shared_ptr<GenicamDevice>& pDevice, unsigned int serialNumber,
                    std::function<void()> onAcquisitionStart,
                    boost::shared_ptr<RegisterAccess>* ppRegisters) {
    std::optional<unsigned int> block;
    Error error = CheckDescription(*pDevice);
    if (error == ERR_OK) {
        error = IidcBlock::Find(*pDevice, serialNumber, &block);
    }
    if (error == ERR_OK && block) {
        *ppRegisters = boost::make_shared<IidcBlock>(pDevice, *block, std::move(onAcquisitionStart));
    } else if (error == ERR_OK) {
        *ppRegisters = boost::make_shared<RegisterView>(pDevice, std::move(onAcquisitionStart));
    }
    return error;
}

}  // namespace Zevrin
