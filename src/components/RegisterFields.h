#pragma once

#include "RegisterBits.h"

namespace Zevrin {

// What is in the registers and blocks of Registers.h, in the numbering of the IIDC standard: bit 0 is the
// most significant of the word. Single bits are masks, all else is a field.

/// The bits of a field that is a list of what is there: its first bit stands for number 0, and bit n of the
/// result for number n.
constexpr unsigned int GetFlags(unsigned int word, RegisterField field) {
    unsigned int flags = 0;
    for (unsigned int bit = field.first; bit <= field.last; ++bit) {
        flags |= (word & RegisterBit(bit)) != 0 ? 1U << (bit - field.first) : 0;
    }
    return flags;
}

namespace BasicFunction {
constexpr unsigned int kOptionalFunctions = RegisterBit(3);  ///< OPT_FUNCTION_INQ tells of some
constexpr RegisterField kHighestMemoryChannel{28, 31};
}  // namespace BasicFunction

namespace OptionalFunction {
constexpr unsigned int kStrobe = RegisterBit(3);
constexpr unsigned int kLut = RegisterBit(4);  // ours
}  // namespace OptionalFunction

/// The bit of the trigger among the features of Register::kFeatureHighInquiry.
constexpr unsigned int kTriggerFeature = RegisterBit(12);

/// What a feature can do. The trigger and the strobe outputs have inquiry registers of their own.
namespace FeatureInquiry {
constexpr unsigned int kPresence = RegisterBit(0);
constexpr unsigned int kAbsolute = RegisterBit(1);
constexpr unsigned int kOnePush = RegisterBit(3);
constexpr unsigned int kReadOut = RegisterBit(4);
constexpr unsigned int kOnOff = RegisterBit(5);
constexpr unsigned int kAuto = RegisterBit(6);
constexpr unsigned int kManual = RegisterBit(7);
constexpr RegisterField kMinimum{8, 19};
constexpr RegisterField kMaximum{20, 31};
}  // namespace FeatureInquiry

namespace FeatureControl {
constexpr unsigned int kPresence = RegisterBit(0);
constexpr unsigned int kAbsolute = RegisterBit(1);
constexpr unsigned int kOnePush = RegisterBit(5);
constexpr unsigned int kOnOff = RegisterBit(6);
constexpr unsigned int kAuto = RegisterBit(7);
constexpr RegisterField kSecondValue{8, 19};  // white balance: U or blue
constexpr RegisterField kValue{20, 31};       // white balance: V or red
}  // namespace FeatureControl

namespace TriggerInquiry {
using FeatureInquiry::kOnOff;
using FeatureInquiry::kPresence;
using FeatureInquiry::kReadOut;
constexpr unsigned int kPolarity = RegisterBit(6);
constexpr unsigned int kValueRead = RegisterBit(7);
constexpr RegisterField kSources{8, 11};  // flags
constexpr unsigned int kSoftware = RegisterBit(15);
constexpr RegisterField kModes{16, 31};  // flags
}  // namespace TriggerInquiry

namespace TriggerControl {
constexpr unsigned int kOnOff = RegisterBit(6);
constexpr RegisterField kPolarity{7, 7};
constexpr RegisterField kSource{8, 10};
constexpr RegisterField kMode{12, 15};
constexpr RegisterField kParameter{20, 31};
}  // namespace TriggerControl

/// The source of TriggerControl::kSource that is the software trigger.
constexpr unsigned int kSoftwareTriggerSource = 7;

/// The mode of TriggerControl::kMode in which the camera exposes for as long as the trigger is active.
constexpr unsigned int kLevelTriggerMode = 1;

namespace StrobeInquiry {
using FeatureInquiry::kMaximum;
using FeatureInquiry::kMinimum;
using FeatureInquiry::kOnOff;
using FeatureInquiry::kPresence;
using FeatureInquiry::kReadOut;
constexpr unsigned int kPolarity = RegisterBit(6);
}  // namespace StrobeInquiry

namespace StrobeControlRegister {
constexpr unsigned int kOnOff = RegisterBit(6);
constexpr RegisterField kPolarity{7, 7};
constexpr RegisterField kDelay{8, 19};
constexpr RegisterField kDuration{20, 31};
}  // namespace StrobeControlRegister

/// The standard leaves the unit of strobe delay and duration to the camera; ours is a hundredth of a
/// millisecond.
constexpr unsigned int kStrobeTicksPerMs = 100;
constexpr unsigned int kStrobeOutputs = 4;

namespace LutInquiry {
constexpr unsigned int kPresence = RegisterBit(0);
constexpr unsigned int kOnOff = RegisterBit(5);
constexpr RegisterField kInputBits{8, 15};
constexpr RegisterField kOutputBits{16, 23};
constexpr RegisterField kBanks{24, 27};
constexpr RegisterField kChannels{28, 31};
}  // namespace LutInquiry

namespace LutControl {
constexpr unsigned int kEnable = RegisterBit(0);
constexpr RegisterField kActiveBank{28, 31};
}  // namespace LutControl

namespace LutBankStatus {
constexpr unsigned int Readable(unsigned int bank) {
    return RegisterBit(2 * bank);
}
constexpr unsigned int Writable(unsigned int bank) {
    return RegisterBit(2 * bank + 1);
}
}  // namespace LutBankStatus

/// Both Register::kMemorySaveChannel and Register::kCurrentMemoryChannel.
constexpr RegisterField kMemoryChannelField{0, 3};

/// Register::kFormatInquiry, kModeInquiry and kFrameRateInquiry: flags.
constexpr RegisterField kVideoFlags{0, 7};

/// Register::kCurrentFormat, kCurrentMode and kCurrentFrameRate.
constexpr RegisterField kVideoModeField{0, 2};

/// Sizes, positions and their units: horizontal and vertical.
constexpr RegisterField kHorizontalField{0, 15};
constexpr RegisterField kVerticalField{16, 31};

constexpr RegisterField kColorCodingField{0, 7};
constexpr RegisterField kColorCodingFlags{0, 10};

namespace PacketParameters {
constexpr RegisterField kUnit{0, 15};  // the smallest packet, of which all others are multiples
constexpr RegisterField kMaximum{16, 31};
}  // namespace PacketParameters

namespace BytesPerPacket {
constexpr RegisterField kSize{0, 15};
constexpr RegisterField kRecommended{16, 31};
}  // namespace BytesPerPacket

namespace ValueSetting {
constexpr unsigned int kPresence = RegisterBit(0);
constexpr unsigned int kSetting1 = RegisterBit(1);
constexpr unsigned int kError1 = RegisterBit(8);  // size, position or colour coding
constexpr unsigned int kError2 = RegisterBit(9);  // packet size
}  // namespace ValueSetting

}  // namespace Zevrin
