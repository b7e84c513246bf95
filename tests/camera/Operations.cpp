#include "Fixture.h"
#include "Image.h"
#include "InternalError.h"

namespace Zevrin {

namespace {

unsigned int g_value;
unsigned int g_block[4];
bool g_flags[2];
PropertyInfo g_propertyInfo;
Property g_property;
TriggerModeInfo g_triggerModeInfo;
TriggerMode g_triggerMode;
StrobeInfo g_strobeInfo;
StrobeControl g_strobe;
LUTData g_lut;
BayerTileFormat g_bayer;
Image g_image;
unsigned char g_memory[8];

void OnImage(Image*, const void*) {}

using Invoke = std::function<Error(CameraInternal&)>;

template <typename Component, typename... Arguments>
Operation Row(const char* name, Shape shape, boost::shared_ptr<Component> CameraInternal::*handle,
              const Invoke& invoke, const char* componentOperation, const Arguments&... arguments) {
    Operation row;
    row.name = name;
    row.shape = shape;
    row.invoke = invoke;
    row.componentOperation = componentOperation;
    row.expectedCall = Script::CallText(componentOperation, arguments...);
    row.emptyHandle = [handle](TestCamera& camera) { (camera.*handle).reset(); };
    return row;
}

Operation Says(Operation row, ErrorType type, const char* text) {
    row.failureType = type;
    row.failureText = text;
    return row;
}

}  // namespace

Error ComponentFailure() {
    return InternalError(17, "Component.cpp", "Jan  1 2020", "00:00:00", ERR_TRIGGER_FAILED,
                         "component %s %d", "said", 99);
}

const std::vector<Operation>& Operations() {
    using C = CameraInternal;
    using T = TestCamera;
    const Shape wrap = Shape::kWrapping;
    const Shape pass = Shape::kGuardedPassThrough;
    const Shape own = Shape::kOwnMessage;
    static const std::vector<Operation> operations = {
        Row(
            "GetBayerFormat", Shape::kUnguardedPassThrough, &T::m_pIso,
            [](C& c) { return c.GetBayerFormat(&g_bayer); }, "Iso::GetBayerFormat", &g_bayer),

        Row(
            "GetPropertyInfo", pass, &T::m_pPropertyManager,
            [](C& c) { return c.GetPropertyInfo(&g_propertyInfo); }, "PropertyManager::GetPropertyInfo",
            &g_propertyInfo),
        Row(
            "GetProperty", pass, &T::m_pPropertyManager, [](C& c) { return c.GetProperty(&g_property); },
            "PropertyManager::GetProperty", &g_property),
        Row(
            "SetProperty", pass, &T::m_pPropertyManager,
            [](C& c) { return c.SetProperty(&g_property, true); }, "PropertyManager::SetProperty",
            &g_property, true),

        Row(
            "GetTriggerModeInfo", wrap, &T::m_pTrigger,
            [](C& c) { return c.GetTriggerModeInfo(&g_triggerModeInfo); }, "Trigger::GetTriggerModeInfo",
            &g_triggerModeInfo),
        Row(
            "GetTriggerMode", wrap, &T::m_pTrigger, [](C& c) { return c.GetTriggerMode(&g_triggerMode); },
            "Trigger::GetTriggerMode", &g_triggerMode),
        Row(
            "SetTriggerMode", wrap, &T::m_pTrigger,
            [](C& c) { return c.SetTriggerMode(&g_triggerMode, true); }, "Trigger::SetTriggerMode",
            &g_triggerMode, true),
        Row(
            "FireSoftwareTrigger", wrap, &T::m_pTrigger, [](C& c) { return c.FireSoftwareTrigger(true); },
            "Trigger::FireSoftwareTrigger", true),

        Row(
            "GetTriggerDelayInfo", Shape::kDelegating, &T::m_pPropertyManager,
            [](C& c) { return c.GetTriggerDelayInfo(&g_propertyInfo); }, "PropertyManager::GetPropertyInfo",
            &g_propertyInfo),
        Row(
            "GetTriggerDelay", Shape::kDelegating, &T::m_pPropertyManager,
            [](C& c) { return c.GetTriggerDelay(&g_property); }, "PropertyManager::GetProperty", &g_property),

        Row(
            "GetStrobeInfo", wrap, &T::m_pStrobe, [](C& c) { return c.GetStrobeInfo(&g_strobeInfo); },
            "Strobe::GetStrobeInfo", &g_strobeInfo),
        Row(
            "GetStrobe", wrap, &T::m_pStrobe, [](C& c) { return c.GetStrobe(&g_strobe); },
            "Strobe::GetStrobe", &g_strobe),
        Row(
            "SetStrobe", wrap, &T::m_pStrobe, [](C& c) { return c.SetStrobe(&g_strobe, true); },
            "Strobe::SetStrobe", &g_strobe, true),

        Row(
            "ReadRegister", wrap, &T::m_pIOBase, [](C& c) { return c.ReadRegister(0x12F8, &g_value); },
            "IOBase::ReadRegister", 0x12F8, &g_value),
        Row(
            "WriteRegister", wrap, &T::m_pIOBase,
            [](C& c) { return c.WriteRegister(0x614, 0x80000000U, true); }, "IOBase::WriteRegister", 0x614,
            0x80000000U, true),
        Row(
            "ReadRegisterBlock", wrap, &T::m_pIOBase,
            [](C& c) { return c.ReadRegisterBlock(0xFFFF, 0xF0001000U, g_block, 4); },
            "IOBase::ReadRegisterBlock", 0xFFFF, 0xF0001000U, g_block, 4),
        Row(
            "WriteRegisterBlock", wrap, &T::m_pIOBase,
            [](C& c) { return c.WriteRegisterBlock(0x0001, 0x2000, g_block, 3); },
            "IOBase::WriteRegisterBlock", 1, 0x2000, g_block, 3),
        Row(
            "ReadBaseRegister", wrap, &T::m_pIOBase, [](C& c) { return c.ReadBaseRegister(0x400, &g_value); },
            "IOBase::ReadBaseRegister", 0x400, &g_value),
        Row(
            "WriteBaseRegister", wrap, &T::m_pIOBase, [](C& c) { return c.WriteBaseRegister(0x404, 6); },
            "IOBase::WriteBaseRegister", 0x404, 6),

        Row(
            "GetLUTInfo", wrap, &T::m_pLut, [](C& c) { return c.GetLUTInfo(&g_lut); }, "Lut::QuerySupport",
            &g_lut),
        Row(
            "GetLUTBankInfo", wrap, &T::m_pLut,
            [](C& c) { return c.GetLUTBankInfo(3, &g_flags[0], &g_flags[1]); }, "Lut::QueryBankStatus", 3,
            &g_flags[0], &g_flags[1]),
        Row(
            "GetActiveLUTBank", wrap, &T::m_pLut, [](C& c) { return c.GetActiveLUTBank(&g_value); },
            "Lut::GetActiveBank", &g_value),
        Row(
            "SetActiveLUTBank", wrap, &T::m_pLut, [](C& c) { return c.SetActiveLUTBank(2); },
            "Lut::SetActiveBank", 2),
        Row(
            "EnableLUT", wrap, &T::m_pLut, [](C& c) { return c.EnableLUT(true); }, "Lut::Enable", true),
        Row(
            "GetLUTChannel", wrap, &T::m_pLut, [](C& c) { return c.GetLUTChannel(1, 2, 4, g_block); },
            "Lut::GetChannel", 1, 2, 4, g_block),
        Row(
            "SetLUTChannel", wrap, &T::m_pLut, [](C& c) { return c.SetLUTChannel(3, 1, 2, g_block); },
            "Lut::SetChannel", 3, 1, 2, g_block),

        Row(
            "GetMemoryChannel", wrap, &T::m_pMemoryChannel, [](C& c) { return c.GetMemoryChannel(&g_value); },
            "MemoryChannel::GetMemoryChannel", &g_value),
        Row(
            "SaveToMemoryChannel", wrap, &T::m_pMemoryChannel, [](C& c) { return c.SaveToMemoryChannel(1); },
            "MemoryChannel::SaveToMemoryChannel", 1),
        Row(
            "RestoreFromMemoryChannel", wrap, &T::m_pMemoryChannel,
            [](C& c) { return c.RestoreFromMemoryChannel(2); }, "MemoryChannel::RestoreFromMemoryChannel", 2),
        Row(
            "GetMemoryChannelInfo", wrap, &T::m_pMemoryChannel,
            [](C& c) { return c.GetMemoryChannelInfo(&g_value); }, "MemoryChannel::GetMemoryChannelInfo",
            &g_value),

        Row(
            "RetrieveBuffer", wrap, &T::m_pIso, [](C& c) { return c.RetrieveBuffer(&g_image); },
            "Iso::RetrieveBuffer", &g_image),
        Row(
            "WaitForBufferEvent", wrap, &T::m_pIso, [](C& c) { return c.WaitForBufferEvent(&g_image, 250); },
            "Iso::WaitForBufferEvent", &g_image, 250),
        Says(Row(
                 "SetCallback", own, &T::m_pIso, [](C& c) { return c.SetCallback(&OnImage, &g_value); },
                 "Iso::SetCallback", reinterpret_cast<const void*>(&OnImage), &g_value),
             ERR_FAILED, "Failed to set callback data."),
        Says(Row(
                 "SetUserBuffers", own, &T::m_pIso, [](C& c) { return c.SetUserBuffers(g_memory, 4, 2); },
                 "Iso::SetUserBuffers", static_cast<void*>(g_memory), 4, 2),
             ERR_FAILED, "Failed setting user buffers."),
        // The other value of each flag.
        Row(
            "SetPropertyHere", pass, &T::m_pPropertyManager,
            [](C& c) { return c.SetProperty(&g_property, false); }, "PropertyManager::SetProperty",
            &g_property, false),
        Row(
            "SetTriggerModeHere", wrap, &T::m_pTrigger,
            [](C& c) { return c.SetTriggerMode(&g_triggerMode, false); }, "Trigger::SetTriggerMode",
            &g_triggerMode, false),
        Row(
            "FireSoftwareTriggerHere", wrap, &T::m_pTrigger,
            [](C& c) { return c.FireSoftwareTrigger(false); }, "Trigger::FireSoftwareTrigger", false),
        Row(
            "SetStrobeHere", wrap, &T::m_pStrobe, [](C& c) { return c.SetStrobe(&g_strobe, false); },
            "Strobe::SetStrobe", &g_strobe, false),
        Row(
            "WriteRegisterHere", wrap, &T::m_pIOBase, [](C& c) { return c.WriteRegister(0x614, 7, false); },
            "IOBase::WriteRegister", 0x614, 7, false),
        Row(
            "DisableLUT", wrap, &T::m_pLut, [](C& c) { return c.EnableLUT(false); }, "Lut::Enable", false),
    };
    return operations;
}

}  // namespace Zevrin
