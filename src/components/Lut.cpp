#include "Lut.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>

#include "Failure.h"
#include "RegisterFields.h"
#include "RegisterSequence.h"
#include "Registers.h"

namespace Zevrin {

struct Lut::Table {
    unsigned int block = 0;  ///< 0: there is none
    unsigned int inquiry = 0;
    unsigned int inputBits = 0;
    unsigned int outputBits = 0;
    unsigned int banks = 0;
    unsigned int channels = 0;

    bool IsPresent() const { return block != 0 && (inquiry & LutInquiry::kPresence) != 0; }
    unsigned int GetNumEntries() const { return 1U << inputBits; }
    unsigned int GetMaxEntry() const { return RegisterField{32 - outputBits, 31}.GetMax(); }
    unsigned int GetAddress(unsigned int bank, unsigned int channel) const {
        return block + LutBlock::kEntries + kRegisterSize * GetNumEntries() * (bank * channels + channel);
    }
};

namespace {

constexpr unsigned int kMaxInputBits = 16;
constexpr unsigned int kMaxOutputBits = 32;
constexpr unsigned int kQuadletsPerAccess = 128;

// What is done with a channel, as messages say it.
constexpr char kRead[] = "read";
constexpr char kWritten[] = "written";

Error NoPlace() {
    return Failure(ERR_INVALID_PARAMETER, "What the look-up table answers needs a place to go to.");
}

/// Hands `transfer` the whole channel in runs of quadlets.
template <typename Transfer>
Error TransferChannel(RegisterSequence& camera, unsigned int numEntries, const char* what,
                      const Transfer& transfer) {
    for (unsigned int first = 0; first < numEntries; first += kQuadletsPerAccess) {
        transfer(first, std::min(kQuadletsPerAccess, numEntries - first));
        if (camera.HasFailed()) {
            return FailureBecause(camera.GetError().GetType(), camera.GetError(),
                                  "The look-up table could not be %s beyond %u of its %u entries: %s", what,
                                  first, numEntries, camera.GetError().GetDescription());
        }
    }
    return Error();
}

}  // namespace

Error Lut::FindTable(Table* pTable) {
    RegisterSequence camera(*this);
    if ((camera.Read(Register::kOptionalFunctionInquiry) & OptionalFunction::kLut) == 0) {
        return camera.GetError();
    }
    pTable->block = camera.FindBlock(Register::kLutCsrInquiry);
    if (pTable->block != 0) {
        pTable->inquiry = camera.ReadBase(pTable->block + LutBlock::kInquiry);
    }
    if (camera.HasFailed() || !pTable->IsPresent()) {
        return camera.GetError();
    }
    pTable->inputBits = LutInquiry::kInputBits.Get(pTable->inquiry);
    pTable->outputBits = LutInquiry::kOutputBits.Get(pTable->inquiry);
    pTable->banks = LutInquiry::kBanks.Get(pTable->inquiry);
    pTable->channels = LutInquiry::kChannels.Get(pTable->inquiry);
    if (pTable->inputBits < 1 || pTable->inputBits > kMaxInputBits || pTable->outputBits < 1 ||
        pTable->outputBits > kMaxOutputBits || pTable->banks < 1 || pTable->channels < 1) {
        return Failure(
            ERR_LUT_FAILED,
            "The camera describes a look-up table from %u to %u bits with %u banks and %u channels; 1 to %u "
            "and 1 to %u bits, and at least one of the others, are possible.",
            pTable->inputBits, pTable->outputBits, pTable->banks, pTable->channels, kMaxInputBits,
            kMaxOutputBits);
    }
    return Error();
}

Error Lut::RequireTable(Table* pTable) {
    const Error error = FindTable(pTable);
    if (error == ERR_OK && !pTable->IsPresent()) {
        return Failure(ERR_FEATURE_ABSENT, "This camera has no look-up table.");
    }
    return error;
}

Error Lut::RequireBank(unsigned int bank, Table* pTable) {
    const Error error = RequireTable(pTable);
    if (error == ERR_OK && bank >= pTable->banks) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "The look-up table has no bank %u; its banks are 0 to %u.",
                       bank, pTable->banks - 1);
    }
    return error;
}

Error Lut::RequireChannel(unsigned int bank, unsigned int channel, unsigned int numEntries, const char* what,
                          Table* pTable) {
    Error error = RequireBank(bank, pTable);
    if (error != ERR_OK) {
        return error;
    }
    if (channel >= pTable->channels) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The look-up table has no channel %u; its channels are 0 to %u.", channel,
                       pTable->channels - 1);
    }
    if (numEntries != pTable->GetNumEntries()) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "%u entries are given for a channel of the look-up table; it has exactly %u.",
                       numEntries, pTable->GetNumEntries());
    }
    bool isReadable = false;
    bool isWritable = false;
    error = ReadBankStatus(*pTable, bank, &isReadable, &isWritable);
    if (error == ERR_OK && !(what == kRead ? isReadable : isWritable)) {
        error = Failure(ERR_ACCESS_DENIED, "Bank %u of the look-up table cannot be %s.", bank, what);
    }
    return error;
}

Error Lut::ReadBankStatus(const Table& table, unsigned int bank, bool* pReadable, bool* pWritable) {
    RegisterSequence camera(*this);
    const unsigned int status = camera.ReadBase(table.block + LutBlock::kBankStatus);
    if (!camera.HasFailed()) {
        *pReadable = (status & LutBankStatus::Readable(bank)) != 0;
        *pWritable = (status & LutBankStatus::Writable(bank)) != 0;
    }
    return camera.GetError();
}

Error Lut::QuerySupport(LUTData* pData) {
    if (pData == nullptr) {
        return NoPlace();
    }
    Table table;
    const Error error = FindTable(&table);
    if (error != ERR_OK) {
        return error;
    }
    RegisterSequence camera(*this);
    LUTData data;
    if (table.IsPresent()) {
        data.supported = true;
        data.enabled = (camera.ReadBase(table.block + LutBlock::kControl) & LutControl::kEnable) != 0;
        data.numBanks = table.banks;
        data.numChannels = table.channels;
        data.inputBitDepth = table.inputBits;
        data.outputBitDepth = table.outputBits;
        data.numEntries = table.GetNumEntries();
    }
    if (!camera.HasFailed()) {
        *pData = data;
    }
    return camera.GetError();
}

Error Lut::QueryBankStatus(unsigned int bank, bool* pReadable, bool* pWritable) {
    if (pReadable == nullptr || pWritable == nullptr) {
        return NoPlace();
    }
    Table table;
    const Error error = RequireBank(bank, &table);
    return error != ERR_OK ? error : ReadBankStatus(table, bank, pReadable, pWritable);
}

Error Lut::GetActiveBank(unsigned int* pBank) {
    if (pBank == nullptr) {
        return NoPlace();
    }
    Table table;
    const Error error = RequireTable(&table);
    if (error != ERR_OK) {
        return error;
    }
    RegisterSequence camera(*this);
    const unsigned int control = camera.ReadBase(table.block + LutBlock::kControl);
    if (!camera.HasFailed()) {
        *pBank = LutControl::kActiveBank.Get(control);
    }
    return camera.GetError();
}

Error Lut::SetActiveBank(unsigned int bank) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    Table table;
    const Error error = RequireBank(bank, &table);
    if (error != ERR_OK) {
        return error;
    }
    RegisterSequence camera(*this);
    const unsigned int control = camera.ReadBase(table.block + LutBlock::kControl);
    camera.WriteBase(table.block + LutBlock::kControl, LutControl::kActiveBank.Put(control, bank));
    return camera.GetError();
}

Error Lut::Enable(bool on) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    Table table;
    const Error error = RequireTable(&table);
    if (error != ERR_OK) {
        return error;
    }
    if ((table.inquiry & LutInquiry::kOnOff) == 0) {
        return Failure(ERR_NOT_SUPPORTED, "The look-up table of this camera cannot be switched %s.",
                       on ? "on" : "off");
    }
    RegisterSequence camera(*this);
    const unsigned int control = camera.ReadBase(table.block + LutBlock::kControl);
    camera.WriteBase(table.block + LutBlock::kControl,
                     on ? control | LutControl::kEnable : control & ~LutControl::kEnable);
    return camera.GetError();
}

Error Lut::GetChannel(unsigned int bank, unsigned int channel, unsigned int numEntries,
                      unsigned int* pEntries) {
    if (pEntries == nullptr) {
        return NoPlace();
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    Table table;
    const Error error = RequireChannel(bank, channel, numEntries, kRead, &table);
    if (error != ERR_OK) {
        return error;
    }
    RegisterSequence camera(*this);
    const unsigned int address = table.GetAddress(bank, channel);
    return TransferChannel(camera, numEntries, kRead, [&](unsigned int first, unsigned int count) {
        camera.ReadBase(address + kRegisterSize * first, pEntries + first, count);
    });
}

Error Lut::SetChannel(unsigned int bank, unsigned int channel, unsigned int numEntries,
                      const unsigned int* pEntries) {
    if (pEntries == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "A channel of the look-up table needs entries to come from.");
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    Table table;
    const Error error = RequireChannel(bank, channel, numEntries, kWritten, &table);
    if (error != ERR_OK) {
        return error;
    }
    const unsigned int* const pTooLarge = std::find_if(
        pEntries, pEntries + numEntries, [&](unsigned int entry) { return entry > table.GetMaxEntry(); });
    if (pTooLarge != pEntries + numEntries) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "Entry %u of the look-up table is to be %u; it must be 0 to %u (%u bits).",
                       static_cast<unsigned int>(pTooLarge - pEntries), *pTooLarge, table.GetMaxEntry(),
                       table.outputBits);
    }
    RegisterSequence camera(*this);
    const unsigned int address = table.GetAddress(bank, channel);
    return TransferChannel(camera, numEntries, kWritten, [&](unsigned int first, unsigned int count) {
        camera.WriteBase(address + kRegisterSize * first, pEntries + first, count);
    });
}

}  // namespace Zevrin
