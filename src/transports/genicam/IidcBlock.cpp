#include "IidcBlock.h"

#include <boost/thread/lock_guard.hpp>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <string>
#include <utility>

#include "Failure.h"
#include "FormatText.h"
#include "GenicamDevice.h"
#include "RegisterFields.h"
#include "Registers.h"

namespace Zevrin {

namespace {

constexpr char kVariable[] = "ZEVRIN_IIDC_BLOCK";
constexpr unsigned long long kMaxQuadlet = std::numeric_limits<unsigned int>::max();

// USB3 Vision, 64-bit addresses: in the bootstrap registers, and in the block that the first of them points
// to.
constexpr unsigned int kSbrmAddress = 0x01D8;
constexpr unsigned int kIidcBlockAddress = 0x38;

bool ParseNumber(const std::string& text, unsigned int* pValue) {
    char* pEnd = nullptr;
    const unsigned long long value = std::strtoull(text.c_str(), &pEnd, 0);
    *pValue = static_cast<unsigned int>(value);
    return !text.empty() && text[0] != '-' && *pEnd == '\0' && value <= kMaxQuadlet;
}

Error FindInEnvironment(unsigned int serialNumber, std::optional<unsigned int>* pAddress) {
    const char* const text = std::getenv(kVariable);
    std::istringstream entries(text != nullptr ? text : "");
    for (std::string entry; std::getline(entries, entry, ',');) {
        const std::size_t separator = entry.find('=');
        unsigned int serial = 0;
        unsigned int address = 0;
        if (separator == std::string::npos || !ParseNumber(entry.substr(0, separator), &serial) ||
            !ParseNumber(entry.substr(separator + 1), &address) || address % kRegisterSize != 0) {
            return Failure(
                ERR_INVALID_PARAMETER,
                "The environment variable %s has the entry '%s'; it must be SERIAL=ADDRESS, such as "
                "20001=0xF0F00000, with a multiple of 4.",
                kVariable, Printable(entry).c_str());
        }
        if (serial == serialNumber) {
            *pAddress = address;
        }
    }
    return Error();
}

/// 0 when it is none of this device's 32-bit addresses.
Error ReadPointer(GenicamDevice& device, unsigned int address, unsigned int* pTarget) {
    unsigned int halves[2] = {};  // the lower first
    const Error error = device.ReadMemory(address, halves, 2);
    *pTarget = halves[1] == 0 && halves[0] % kRegisterSize == 0 ? halves[0] : 0;
    return error;
}

/// The pointer may also mean registers of another layout: these have image formats where IIDC has them, and
/// nothing beside.
Error FindInBootstrap(GenicamDevice& device, std::optional<unsigned int>* pAddress) {
    unsigned int sbrm = 0;
    unsigned int block = 0;
    unsigned int formats = 0;
    Error error = ReadPointer(device, kSbrmAddress, &sbrm);
    if (error == ERR_OK && sbrm != 0 && sbrm <= kMaxQuadlet - kIidcBlockAddress) {
        error = ReadPointer(device, sbrm + kIidcBlockAddress, &block);
    }
    if (error == ERR_OK && block != 0 && block <= kMaxQuadlet - Register::kFormatInquiry) {
        error = device.ReadMemory(block + Register::kFormatInquiry, &formats, 1);
    }
    if (error == ERR_OK && formats != 0 && (formats & ~kVideoFlags.GetMask()) == 0) {
        *pAddress = block;
    }
    // Other failures are those of a device that has no such registers.
    return error == ERR_TIMEOUT || error == ERR_CAMERA_LOST ? error : Error();
}

Error MakeUnreachable(ErrorType type, unsigned int addressLow) {
    return Failure(type, "Register 0xFFFF %08X is not within the camera's IIDC registers.", addressLow);
}

}  // namespace

Error IidcBlock::Find(GenicamDevice& device, unsigned int serialNumber,
                      std::optional<unsigned int>* pAddress) {
    pAddress->reset();
    const Error error = FindInEnvironment(serialNumber, pAddress);
    return error != ERR_OK || *pAddress || device.IsGigE() ? error : FindInBootstrap(device, pAddress);
}

IidcBlock::IidcBlock(boost::shared_ptr<GenicamDevice> pDevice, unsigned int address,
                     std::function<void()> onAcquisitionStart)
    : m_pDevice(std::move(pDevice)),
      m_address(address),
      m_onAcquisitionStart(std::move(onAcquisitionStart)) {}

/// The address in the device's memory; none when the run leaves the register space or the 32 bits.
std::optional<unsigned int> IidcBlock::Locate(unsigned int addressLow, unsigned int count) const {
    const unsigned long long size = static_cast<unsigned long long>(count) * kRegisterSize;
    const unsigned long long first = static_cast<unsigned long long>(m_address) + addressLow;
    if (addressLow < kUsualInitialRegisterSpace ||
        addressLow - kUsualInitialRegisterSpace + size > kInitialRegisterSpaceSize ||
        first < kUsualCommandRegisters || first - kUsualCommandRegisters + size > kMaxQuadlet + 1) {
        return std::nullopt;
    }
    return static_cast<unsigned int>(first - kUsualCommandRegisters);
}

Error IidcBlock::Read(unsigned int addressLow, unsigned int* pValues, unsigned int count) {
    const std::optional<unsigned int> address = Locate(addressLow, count);
    if (!address) {
        return MakeUnreachable(ERR_READ_REGISTER_FAILED, addressLow);
    }
    boost::lock_guard<boost::recursive_mutex> lock(m_pDevice->GetAccessMutex());
    return m_pDevice->ReadMemory(*address, pValues, count);
}

Error IidcBlock::Write(unsigned int addressLow, const unsigned int* pValues, unsigned int count) {
    const std::optional<unsigned int> address = Locate(addressLow, count);
    if (!address) {
        return MakeUnreachable(ERR_WRITE_REGISTER_FAILED, addressLow);
    }
    boost::lock_guard<boost::recursive_mutex> lock(m_pDevice->GetAccessMutex());
    const unsigned int index =
        (kUsualCommandRegisters + Register::kTransmission - addressLow) / kRegisterSize;
    if (index < count && (pValues[index] & kSwitchBit) != 0) {
        m_onAcquisitionStart();
    }
    return m_pDevice->WriteMemory(*address, pValues, count);
}

}  // namespace Zevrin
