#include "LutRegisters.h"

#include "DeviceLayout.h"
#include "DeviceRegisters.h"
#include "RegisterFields.h"
#include "SimulatedDevice.h"

namespace Zevrin {

namespace {

constexpr unsigned int kBits = 10;  // of an index and of an entry
constexpr unsigned int kEntries = 1U << kBits;
constexpr unsigned int kMaxEntry = kEntries - 1;
constexpr unsigned int kSampleBits = 16;
constexpr unsigned int kWritableBanks = 2;
constexpr unsigned int kBanks = 3;  // the last one inverts and cannot be changed
constexpr unsigned int kColorChannels = 3;

unsigned int OffsetOf(unsigned int run) {
    return Block::kLut + LutBlock::kEntries + kRegisterSize * kEntries * run;
}

void ControlWritten(SimulatedDevice& device, unsigned int offset, unsigned int written, unsigned int before) {
    if (LutControl::kActiveBank.Get(written) >= kBanks) {
        const unsigned int stored = device.GetRegisters().Get(offset);
        device.GetRegisters().Set(offset,
                                  LutControl::kActiveBank.Put(stored, LutControl::kActiveBank.Get(before)));
    }
    device.TouchLut();
}

void EntryWritten(SimulatedDevice& device, unsigned int, unsigned int, unsigned int) {
    device.TouchLut();
}

unsigned int GetChannels(const RegisterFile& registers) {
    return LutInquiry::kChannels.Get(registers.Get(Block::kLut + LutBlock::kInquiry));
}

}  // namespace

bool IsLutOn(const RegisterFile& registers) {
    return (registers.Get(Block::kLut + LutBlock::kControl) & LutControl::kEnable) != 0;
}

LutBank ReadLutBank(const RegisterFile& registers) {
    const unsigned int active = LutControl::kActiveBank.Get(registers.Get(Block::kLut + LutBlock::kControl));
    LutBank bank;
    bank.channels = GetChannels(registers);
    bank.entries = registers.GetRun(OffsetOf(active * bank.channels), kEntries * bank.channels);
    return bank;
}

unsigned int ApplyLut(const LutBank& bank, std::size_t channel, unsigned int sample) {
    const std::size_t index = sample >> (kSampleBits - kBits);
    const unsigned int entry = bank.entries[channel % bank.channels * kEntries + index] & kMaxEntry;
    return entry << (kSampleBits - kBits) | entry >> (2 * kBits - kSampleBits);  // full range stays full
}

std::vector<RegisterRow> MakeLutRegisters(const CameraDescription& camera) {
    const unsigned int channels = camera.bayer != BAYER_NONE ? kColorChannels : 1;
    const unsigned int inquiry = LutInquiry::kPresence | LutInquiry::kOnOff |
                                 LutInquiry::kInputBits.Make(kBits) | LutInquiry::kOutputBits.Make(kBits) |
                                 LutInquiry::kBanks.Make(kBanks) | LutInquiry::kChannels.Make(channels);
    unsigned int status = 0;
    for (unsigned int bank = 0; bank < kBanks; ++bank) {
        status |= LutBankStatus::Readable(bank);
        status |= bank < kWritableBanks ? LutBankStatus::Writable(bank) : 0;
    }
    std::vector<RegisterRow> rows = {
        {Register::kLutCsrInquiry, 1, 0, QuadletOffset(Block::kLut), "LUT_CSR_INQ"},
        {Block::kLut + LutBlock::kInquiry, 1, 0, inquiry, "LUT_INQ"},
        {Block::kLut + LutBlock::kControl, 1, LutControl::kEnable | LutControl::kActiveBank.GetMask(), 0,
         "LUT_CTRL", nullptr, ControlWritten},
        {Block::kLut + LutBlock::kBankStatus, 1, 0, status, "LUT_BANK_STATUS"},
    };
    for (unsigned int run = 0; run < kBanks * channels; ++run) {
        const bool isWritable = run < kWritableBanks * channels;
        RegisterRow entries = {OffsetOf(run), kEntries,    isWritable ? kMaxEntry : 0, 0, "LUT_ENTRY",
                               nullptr,       EntryWritten};
        entries.resetStep = isWritable ? 1 : -1;
        entries.reset = isWritable ? 0 : kMaxEntry;
        rows.push_back(entries);
    }
    return rows;
}

}  // namespace Zevrin
