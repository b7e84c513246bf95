#include "KeepAssertions.h"
// Before everything else.
#include <cmath>
#include <limits>

#include "CameraInternal.h"
#include "CameraRegisters.h"
#include "CameraShapes.h"
#include "IOBase.h"
#include "Iso.h"
#include "zevrin/EmbeddedImageInfo.h"

namespace Zevrin {

namespace {

// The record is pairs of one-byte booleans. It is read and written byte by byte: a caller's byte may hold
// other values than 0 and 1, which is no valid `bool`.
static_assert(sizeof(EmbeddedImageInfo) == 2 * EmbeddedImageInfo::kItemCount, "pairs of bytes without gaps");

unsigned char* AvailableByte(EmbeddedImageInfo* pInfo, unsigned int item) {
    return reinterpret_cast<unsigned char*>(pInfo) + 2 * item;
}

unsigned char* OnOffByte(EmbeddedImageInfo* pInfo, unsigned int item) {
    return AvailableByte(pInfo, item) + 1;
}

unsigned char BitAsByte(unsigned int word, unsigned int bit) {
    return static_cast<unsigned char>(word >> bit & 1U);
}

unsigned int WithBit(unsigned int word, unsigned int mask, bool isSet) {
    return isSet ? word | mask : word & ~mask;
}

/// Bit 31 and the bits of all ten items: the camera keeps those of the items that it supports.
constexpr unsigned int kProbeItems = 0x800003FFU;

constexpr unsigned int kPinCount = 32;

unsigned int PinMask(unsigned int pin) {
    return kMostSignificantBit >> pin;
}

// A table of readings: bit 31 of its information register tells that it is there, bits 12 to 23 how many
// entries it has; bits 0 to 13 of its offset register where it begins, in quadlets.
constexpr unsigned int kEntryCountShift = 12;
constexpr unsigned int kEntryCountMask = 0xFFF;
constexpr unsigned int kTableOffsetMask = 0x3FFF;
constexpr unsigned int kQuadlet = 4;

constexpr double kInfinityStandIn = 99999.0;

}  // namespace

// The probe: all ones are written and read back, and the former value is restored. A read-back that fails
// leaves the register as the probe wrote it.
Error CameraInternal::GetEmbeddedImageInfo(EmbeddedImageInfo* pInfo) {
    Error error = Guard(*this);
    if (error != ERR_OK) {
        return error;
    }
    if (pInfo == nullptr) {
        return MakeError(ERR_INVALID_PARAMETER, "Invalid embedded image information parameter.");
    }
    unsigned int current = 0;
    error = ReadRegister(kEmbeddedInfoRegister, &current);
    if (error != ERR_OK) {
        return Wrap(error);
    }
    for (unsigned int item = 0; item < EmbeddedImageInfo::kItemCount; ++item) {
        *OnOffByte(pInfo, item) = BitAsByte(current, item);
    }
    error = WriteRegister(kEmbeddedInfoRegister, kProbeItems, false);
    if (error != ERR_OK) {
        return Wrap(error);
    }
    unsigned int probed = 0;
    error = ReadRegister(kEmbeddedInfoRegister, &probed);
    if (error != ERR_OK) {
        return Wrap(error);
    }
    error = WriteRegister(kEmbeddedInfoRegister, current, false);
    if (error != ERR_OK) {
        return Wrap(error);
    }
    for (unsigned int item = 0; item < EmbeddedImageInfo::kItemCount; ++item) {
        *AvailableByte(pInfo, item) = BitAsByte(probed, item);
    }
    return Success();
}

Error CameraInternal::SetEmbeddedImageInfo(EmbeddedImageInfo* pInfo) {
    Error error = Guard(*this);
    if (error != ERR_OK) {
        return error;
    }
    if (pInfo == nullptr) {
        return MakeError(ERR_INVALID_PARAMETER, "Invalid embedded image information parameter.");
    }
    unsigned int value = 0;
    error = ReadRegister(kEmbeddedInfoRegister, &value);
    if (error != ERR_OK) {
        return Wrap(error);
    }
    for (unsigned int item = 0; item < EmbeddedImageInfo::kItemCount; ++item) {
        value = WithBit(value, 1U << item, *OnOffByte(pInfo, item) != 0);
    }
    error = WriteRegister(kEmbeddedInfoRegister, value, false);
    if (error != ERR_OK) {
        return Wrap(error);
    }
    return Conclude(m_pIso->CacheEmbeddedImageInfo(value), ERR_FAILED,
                    "Failed to cache the embedded image info.");
}

Error CameraInternal::ReadRegValues(unsigned int infoRegister, unsigned int offsetRegister, float* pValues,
                                    unsigned int* pCount) {
    return ReadRegValuesUpTo(std::numeric_limits<unsigned int>::max(), infoRegister, offsetRegister, pValues,
                             pCount);
}

Error CameraInternal::ReadRegValuesUpTo(unsigned int limit, unsigned int infoRegister,
                                        unsigned int offsetRegister, float* pValues, unsigned int* pCount) {
    *pCount = 0;
    unsigned int info = 0;
    Error error = ReadRegister(infoRegister, &info);
    if (error != ERR_OK) {
        return error;
    }
    const unsigned int entryCount = info >> kEntryCountShift & kEntryCountMask;
    if ((info & kMostSignificantBit) == 0 || entryCount == 0) {
        return Success();
    }
    unsigned int offset = 0;
    error = ReadRegister(offsetRegister, &offset);
    if (error != ERR_OK) {
        return error;
    }
    unsigned int address = (offset & kTableOffsetMask) * kQuadlet;
    for (; *pCount < entryCount && *pCount < limit; address += kQuadlet) {
        unsigned int raw = 0;
        error = ReadRegister(address, &raw);
        if (error != ERR_OK) {
            return error;
        }
        pValues[(*pCount)++] = static_cast<float>(Convert32bitIEEEToFloat(raw));
    }
    return Success();
}

double CameraInternal::Convert32bitIEEEToFloat(unsigned int raw) {
    constexpr unsigned int kMantissaBits = 23;
    constexpr unsigned int kHiddenBit = 1U << kMantissaBits;
    constexpr unsigned int kExponentMask = 0xFF;
    constexpr int kExponentOfLastBit = 150;  // bias 127 and 23 bits of mantissa

    const bool isNegative = (raw & kMostSignificantBit) != 0;
    const unsigned int exponent = raw >> kMantissaBits & kExponentMask;
    const unsigned int mantissa = raw & (kHiddenBit - 1);
    if (exponent == kExponentMask) {
        return isNegative && mantissa == 0 ? -kInfinityStandIn : kInfinityStandIn;
    }
    if (exponent == 0 && mantissa == 0) {
        return 0.0;  // of either sign
    }
    const double significand = exponent == 0 ? mantissa : mantissa + kHiddenBit;
    const int power = (exponent == 0 ? 1 : static_cast<int>(exponent)) - kExponentOfLastBit;
    return std::ldexp(isNegative ? -significand : significand, power);
}

Error CameraInternal::GetGPIOPinDirection(unsigned int pin, unsigned int* pDirection) {
    Error error = Guard(*this);
    if (error != ERR_OK) {
        return error;
    }
    if (pin >= kPinCount) {
        return MakeError(ERR_INVALID_PARAMETER, "Invalid GPIO pin value.");
    }
    unsigned int directions = 0;
    error = ReadRegister(kPioDirectionRegister, &directions);
    if (error != ERR_OK) {
        return MakeError(ERR_READ_REGISTER_FAILED, error, "Failed to read PIO direction register.");
    }
    *pDirection = (directions & PinMask(pin)) != 0 ? 1 : 0;
    return Success();
}

Error CameraInternal::SetGPIOPinDirection(unsigned int pin, unsigned int direction, bool broadcast) {
    Error error = Guard(*this);
    if (error != ERR_OK) {
        return error;
    }
    if (pin >= kPinCount) {
        return MakeError(ERR_INVALID_PARAMETER, "Invalid GPIO pin value.");
    }
    if (direction > 1) {
        return MakeError(ERR_INVALID_PARAMETER, "Invalid direction value for GPIO pin.");
    }
    unsigned int directions = 0;
    error = ReadRegister(kPioDirectionRegister, &directions);
    if (error != ERR_OK) {
        return MakeError(ERR_READ_REGISTER_FAILED, error, "Failed to read PIO direction register.");
    }
    directions = WithBit(directions, PinMask(pin), direction == 1);
    return Conclude(WriteRegister(kPioDirectionRegister, directions, broadcast), ERR_WRITE_REGISTER_FAILED,
                    "Failed to write PIO direction register.");
}

}  // namespace Zevrin
