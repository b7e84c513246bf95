#include "KeepAssertions.h"
// Before everything else.
#include "CameraInternal.h"
#include "CameraShapes.h"
#include "IOBase.h"
#include "Iso.h"
#include "Lut.h"
#include "MemoryChannel.h"
#include "PropertyManager.h"
#include "Strobe.h"
#include "Trigger.h"

namespace Zevrin {

namespace {

Error NotImplemented(int line = __builtin_LINE()) {
    return MakeError(ERR_NOT_IMPLEMENTED, "This function is not implemented.", line);
}

}  // namespace

Error CameraInternal::GetConfiguration(ZevrinConfig*) {
    return NotImplemented();
}

Error CameraInternal::SetConfiguration(const ZevrinConfig*) {
    return NotImplemented();
}

Error CameraInternal::GetBayerFormat(BayerTileFormat* pFormat) {
    return m_pIso->GetBayerFormat(pFormat);
}

// Registers.

Error CameraInternal::ReadRegister(unsigned int address, unsigned int* pValue) {
    return Wrapping(*this, [&] { return m_pIOBase->ReadRegister(address, pValue); });
}

Error CameraInternal::WriteRegister(unsigned int address, unsigned int value, bool broadcast) {
    return Wrapping(*this, [&] { return m_pIOBase->WriteRegister(address, value, broadcast); });
}

Error CameraInternal::ReadBaseRegister(unsigned int address, unsigned int* pValue) {
    return Wrapping(*this, [&] { return m_pIOBase->ReadBaseRegister(address, pValue); });
}

Error CameraInternal::WriteBaseRegister(unsigned int address, unsigned int value) {
    return Wrapping(*this, [&] { return m_pIOBase->WriteBaseRegister(address, value); });
}

Error CameraInternal::ReadRegisterBlock(unsigned short addressHigh, unsigned int addressLow,
                                        unsigned int* pBuffer, unsigned int length) {
    return Wrapping(*this,
                    [&] { return m_pIOBase->ReadRegisterBlock(addressHigh, addressLow, pBuffer, length); });
}

Error CameraInternal::WriteRegisterBlock(unsigned short addressHigh, unsigned int addressLow,
                                         const unsigned int* pBuffer, unsigned int length) {
    return Wrapping(*this,
                    [&] { return m_pIOBase->WriteRegisterBlock(addressHigh, addressLow, pBuffer, length); });
}

// Properties.

Error CameraInternal::GetPropertyInfo(PropertyInfo* pInfo) {
    return GuardedPassThrough(*this, [&] { return m_pPropertyManager->GetPropertyInfo(pInfo); });
}

Error CameraInternal::GetProperty(Property* pProperty) {
    return GuardedPassThrough(*this, [&] { return m_pPropertyManager->GetProperty(pProperty); });
}

Error CameraInternal::SetProperty(const Property* pProperty, bool broadcast) {
    return GuardedPassThrough(*this, [&] { return m_pPropertyManager->SetProperty(pProperty, broadcast); });
}

// Trigger.

Error CameraInternal::GetTriggerModeInfo(TriggerModeInfo* pInfo) {
    return Wrapping(*this, [&] { return m_pTrigger->GetTriggerModeInfo(pInfo); });
}

Error CameraInternal::GetTriggerMode(TriggerMode* pMode) {
    return Wrapping(*this, [&] { return m_pTrigger->GetTriggerMode(pMode); });
}

Error CameraInternal::SetTriggerMode(const TriggerMode* pMode, bool broadcast) {
    return Wrapping(*this, [&] { return m_pTrigger->SetTriggerMode(pMode, broadcast); });
}

Error CameraInternal::FireSoftwareTrigger(bool broadcast) {
    return Wrapping(*this, [&] { return m_pTrigger->FireSoftwareTrigger(broadcast); });
}

// The trigger delay goes through the object's own property operations, which check the guard once more: a
// bus reset between the two checks is wrapped twice.

Error CameraInternal::GetTriggerDelayInfo(PropertyInfo* pInfo) {
    return Wrapping(*this, [&] {
        pInfo->type = TRIGGER_DELAY;
        return GetPropertyInfo(pInfo);
    });
}

Error CameraInternal::GetTriggerDelay(Property* pDelay) {
    return Wrapping(*this, [&] {
        pDelay->type = TRIGGER_DELAY;
        return GetProperty(pDelay);
    });
}

Error CameraInternal::SetTriggerDelay(const Property* pDelay, bool broadcast) {
    return Wrapping(*this, [&] {
        Property delay = *pDelay;
        delay.type = TRIGGER_DELAY;
        return SetProperty(&delay, broadcast);
    });
}

// Strobe.

Error CameraInternal::GetStrobeInfo(StrobeInfo* pInfo) {
    return Wrapping(*this, [&] { return m_pStrobe->GetStrobeInfo(pInfo); });
}

Error CameraInternal::GetStrobe(StrobeControl* pControl) {
    return Wrapping(*this, [&] { return m_pStrobe->GetStrobe(pControl); });
}

Error CameraInternal::SetStrobe(const StrobeControl* pControl, bool broadcast) {
    return Wrapping(*this, [&] { return m_pStrobe->SetStrobe(pControl, broadcast); });
}

// Look-up tables.

Error CameraInternal::GetLUTInfo(LUTData* pData) {
    return Wrapping(*this, [&] { return m_pLut->QuerySupport(pData); });
}

Error CameraInternal::GetLUTBankInfo(unsigned int bank, bool* pReadable, bool* pWritable) {
    return Wrapping(*this, [&] { return m_pLut->QueryBankStatus(bank, pReadable, pWritable); });
}

Error CameraInternal::GetActiveLUTBank(unsigned int* pBank) {
    return Wrapping(*this, [&] { return m_pLut->GetActiveBank(pBank); });
}

Error CameraInternal::SetActiveLUTBank(unsigned int bank) {
    return Wrapping(*this, [&] { return m_pLut->SetActiveBank(bank); });
}

Error CameraInternal::EnableLUT(bool on) {
    return Wrapping(*this, [&] { return m_pLut->Enable(on); });
}

Error CameraInternal::GetLUTChannel(unsigned int bank, unsigned int channel, unsigned int numEntries,
                                    unsigned int* pEntries) {
    return Wrapping(*this, [&] { return m_pLut->GetChannel(bank, channel, numEntries, pEntries); });
}

Error CameraInternal::SetLUTChannel(unsigned int bank, unsigned int channel, unsigned int numEntries,
                                    const unsigned int* pEntries) {
    return Wrapping(*this, [&] { return m_pLut->SetChannel(bank, channel, numEntries, pEntries); });
}

// Memory channels.

Error CameraInternal::GetMemoryChannel(unsigned int* pChannel) {
    return Wrapping(*this, [&] { return m_pMemoryChannel->GetMemoryChannel(pChannel); });
}

Error CameraInternal::SaveToMemoryChannel(unsigned int channel) {
    return Wrapping(*this, [&] { return m_pMemoryChannel->SaveToMemoryChannel(channel); });
}

Error CameraInternal::RestoreFromMemoryChannel(unsigned int channel) {
    return Wrapping(*this, [&] { return m_pMemoryChannel->RestoreFromMemoryChannel(channel); });
}

Error CameraInternal::GetMemoryChannelInfo(unsigned int* pHighestChannel) {
    return Wrapping(*this, [&] { return m_pMemoryChannel->GetMemoryChannelInfo(pHighestChannel); });
}

}  // namespace Zevrin
