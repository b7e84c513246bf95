#pragma once

namespace Zevrin {

// The registers that the camera object computes with, as offsets from the command registers. Bits are
// numbered from the least significant end.

constexpr unsigned int kPowerRegister = 0x0610;            ///< bit 31: the camera is powered up
constexpr unsigned int kTransmissionRegister = 0x0614;     ///< bit 31: the camera sends images
constexpr unsigned int kPioDirectionRegister = 0x11F8;     ///< bit 31 - p: direction of pin p
constexpr unsigned int kDiagnosticRegister0 = 0x12E0;      ///< meaning is the camera's
constexpr unsigned int kDiagnosticRegister1 = 0x12E4;      ///< meaning is the camera's
constexpr unsigned int kEmbeddedInfoRegister = 0x12F8;     ///< bit i: item i is stamped into images
constexpr unsigned int kTransmitFailureRegister = 0x12FC;  ///< counter; writing 0 resets it

// Two tables of readings: an information register (presence, number of entries) and an offset register.
constexpr unsigned int kMeasurementsAInfo = 0x1A50;
constexpr unsigned int kMeasurementsAOffset = 0x1A54;
constexpr unsigned int kMeasurementsBInfo = 0x1A58;
constexpr unsigned int kMeasurementsBOffset = 0x1A5C;

constexpr unsigned int kMostSignificantBit = 0x80000000U;

}  // namespace Zevrin
