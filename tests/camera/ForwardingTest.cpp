#include "Fixture.h"

/// Counts what the calling thread allocates with `new`, from construction to `Stop`.
class AllocationCounter {
  public:
    AllocationCounter();
    int Stop();
};

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

/// How an operation of the camera object treats the guard and the component's result.
enum class Shape { kUnguarded, kPassThrough, kWrapping, kOwnMessage };

/// An operation that hands its arguments to one component.
struct Operation {
    std::string name;
    Shape shape;
    std::string componentOperation;                ///< "Class::Operation"
    std::function<void(TestCamera&)> emptyHandle;  ///< takes the component away
    const char* failureText;                       ///< of kOwnMessage
    std::function<Error(CameraInternal&)> invoke;
    std::string expectedCall;  ///< what the component is to see
};

/// A component's operation of the same name is given as "Class::" alone.
template <typename Component, typename... Parameters, typename... Arguments>
Operation Row(const std::string& name, Error (CameraInternal::*operation)(Parameters...), Shape shape,
              boost::shared_ptr<Component> CameraInternal::*handle, std::string componentOperation,
              Arguments... arguments) {
    const char* const failureText =
        name == "SetCallback" ? "Failed to set callback data." : "Failed setting user buffers.";
    componentOperation += componentOperation.back() == ':' ? name : "";
    return {
        name,
        shape,
        componentOperation,
        [handle](TestCamera& camera) { (camera.*handle).reset(); },
        failureText,
        [=](CameraInternal& camera) { return (camera.*operation)(static_cast<Parameters>(arguments)...); },
        Script::CallText(componentOperation, static_cast<Parameters>(arguments)...)};
}

#define ROW(operation, ...) Row(#operation, &CameraInternal::operation, __VA_ARGS__)

const std::vector<Operation>& Operations() {
    using T = TestCamera;
    constexpr Shape kWrap = Shape::kWrapping;
    constexpr Shape kPass = Shape::kPassThrough;
    constexpr Shape kOwn = Shape::kOwnMessage;
    static const std::vector<Operation> operations = {
        ROW(GetBayerFormat, Shape::kUnguarded, &T::m_pIso, "Iso::", &g_bayer),
        ROW(GetPropertyInfo, kPass, &T::m_pPropertyManager, "PropertyManager::", &g_propertyInfo),
        ROW(GetProperty, kPass, &T::m_pPropertyManager, "PropertyManager::", &g_property),
        ROW(SetProperty, kPass, &T::m_pPropertyManager, "PropertyManager::", &g_property, true),
        ROW(SetProperty, kPass, &T::m_pPropertyManager, "PropertyManager::", &g_property, false),
        ROW(GetTriggerDelayInfo, kWrap, &T::m_pPropertyManager, "PropertyManager::GetPropertyInfo",
            &g_propertyInfo),
        ROW(GetTriggerDelay, kWrap, &T::m_pPropertyManager, "PropertyManager::GetProperty", &g_property),
        ROW(GetTriggerModeInfo, kWrap, &T::m_pTrigger, "Trigger::", &g_triggerModeInfo),
        ROW(GetTriggerMode, kWrap, &T::m_pTrigger, "Trigger::", &g_triggerMode),
        ROW(SetTriggerMode, kWrap, &T::m_pTrigger, "Trigger::", &g_triggerMode, true),
        ROW(SetTriggerMode, kWrap, &T::m_pTrigger, "Trigger::", &g_triggerMode, false),
        ROW(FireSoftwareTrigger, kWrap, &T::m_pTrigger, "Trigger::", true),
        ROW(FireSoftwareTrigger, kWrap, &T::m_pTrigger, "Trigger::", false),
        ROW(GetStrobeInfo, kWrap, &T::m_pStrobe, "Strobe::", &g_strobeInfo),
        ROW(GetStrobe, kWrap, &T::m_pStrobe, "Strobe::", &g_strobe),
        ROW(SetStrobe, kWrap, &T::m_pStrobe, "Strobe::", &g_strobe, true),
        ROW(SetStrobe, kWrap, &T::m_pStrobe, "Strobe::", &g_strobe, false),
        ROW(ReadRegister, kWrap, &T::m_pIOBase, "IOBase::", 0x12F8, &g_value),
        ROW(WriteRegister, kWrap, &T::m_pIOBase, "IOBase::", 0x614, 0x80000000U, true),
        ROW(WriteRegister, kWrap, &T::m_pIOBase, "IOBase::", 0x614, 7, false),
        ROW(ReadRegisterBlock, kWrap, &T::m_pIOBase, "IOBase::", 0xFFFF, 0xF0001000U, g_block, 4),
        ROW(WriteRegisterBlock, kWrap, &T::m_pIOBase, "IOBase::", 1, 0x2000, g_block, 3),
        ROW(ReadBaseRegister, kWrap, &T::m_pIOBase, "IOBase::", 0x400, &g_value),
        ROW(WriteBaseRegister, kWrap, &T::m_pIOBase, "IOBase::", 0x404, 6),
        ROW(GetLUTInfo, kWrap, &T::m_pLut, "Lut::QuerySupport", &g_lut),
        ROW(GetLUTBankInfo, kWrap, &T::m_pLut, "Lut::QueryBankStatus", 3, &g_flags[0], &g_flags[1]),
        ROW(GetActiveLUTBank, kWrap, &T::m_pLut, "Lut::GetActiveBank", &g_value),
        ROW(SetActiveLUTBank, kWrap, &T::m_pLut, "Lut::SetActiveBank", 2),
        ROW(EnableLUT, kWrap, &T::m_pLut, "Lut::Enable", true),
        ROW(EnableLUT, kWrap, &T::m_pLut, "Lut::Enable", false),
        ROW(GetLUTChannel, kWrap, &T::m_pLut, "Lut::GetChannel", 1, 2, 4, g_block),
        ROW(SetLUTChannel, kWrap, &T::m_pLut, "Lut::SetChannel", 3, 1, 2, g_block),
        ROW(GetMemoryChannel, kWrap, &T::m_pMemoryChannel, "MemoryChannel::", &g_value),
        ROW(SaveToMemoryChannel, kWrap, &T::m_pMemoryChannel, "MemoryChannel::", 1),
        ROW(RestoreFromMemoryChannel, kWrap, &T::m_pMemoryChannel, "MemoryChannel::", 2),
        ROW(GetMemoryChannelInfo, kWrap, &T::m_pMemoryChannel, "MemoryChannel::", &g_value),
        ROW(RetrieveBuffer, kWrap, &T::m_pIso, "Iso::", &g_image),
        ROW(WaitForBufferEvent, kWrap, &T::m_pIso, "Iso::", &g_image, 250),
        ROW(SetCallback, kOwn, &T::m_pIso, "Iso::", &OnImage, &g_value),
        ROW(SetUserBuffers, kOwn, &T::m_pIso, "Iso::", g_memory, 4, 2),
    };
    return operations;
}

class ForwardingTest : public CameraTest, public testing::WithParamInterface<Operation> {
  protected:
    /// Which of the camera object's files noticed it is its own affair; all say that it was this one.
    static void ExpectOwnSource(const Error& error) {
        EXPECT_STREQ(error.GetSourceFile(), "CameraInternal.cpp");
        EXPECT_GT(error.GetSourceLine(), 0);
        EXPECT_EQ(std::string(error.GetBuildDate()).size(), std::string("Oct 15 2018").size());
        EXPECT_EQ(std::string(error.GetBuildTime()).size(), std::string("22:23:22").size());
    }
    const bool m_isPassedThrough =
        GetParam().shape == Shape::kUnguarded || GetParam().shape == Shape::kPassThrough;
};

INSTANTIATE_TEST_SUITE_P(AllOperations, ForwardingTest, testing::ValuesIn(Operations()),
                         [](const auto& row) { return row.param.name + std::to_string(row.index); });

TEST_P(ForwardingTest, HandsItsArgumentsToOneComponentOperationAllocatingNothing) {
    int holdsInside = -1;
    m_script.onCall = [&] { holdsInside = BusMasterHolds(); };
    m_script.success = InternalError(3, "Component.cpp", "", "", ERR_OK, "the component's own success");
    Error error = GetParam().invoke(m_camera);
    EXPECT_EQ(error, ERR_OK);
    EXPECT_STREQ(error.GetSourceFile(), m_isPassedThrough ? "Component.cpp" : "")
        << "own success, or a fresh one";
    EXPECT_EQ(Calls(), CallList{GetParam().expectedCall});
    EXPECT_EQ(holdsInside, BusMasterHolds()) << "the guard's hold is gone when the component is called";

    m_script.isQuiet = true;
    AllocationCounter counter;
    error = GetParam().invoke(m_camera);
    EXPECT_EQ(counter.Stop(), 0);
    EXPECT_EQ(error, ERR_OK);
}

TEST_P(ForwardingTest, PassesAFailureUpInItsShape) {
    const Error failure = ComponentFailure();
    m_script.failures[GetParam().componentOperation] = failure;
    const Error error = GetParam().invoke(m_camera);
    const bool hasOwnMessage = GetParam().shape == Shape::kOwnMessage;
    EXPECT_TRUE(Says(error, hasOwnMessage ? ERR_FAILED : failure.GetType(),
                     hasOwnMessage ? GetParam().failureText : failure.GetDescription(),
                     m_isPassedThrough ? 0 : 1));
    if (m_isPassedThrough) {
        EXPECT_STREQ(error.GetSourceFile(), "Component.cpp");
    } else {
        ExpectOwnSource(error);
        EXPECT_TRUE(Says(error.GetCause(), failure.GetType(), failure.GetDescription()));
    }
}

using ForwardingDeathTest = ForwardingTest;

INSTANTIATE_TEST_SUITE_P(AllOperations, ForwardingDeathTest, testing::ValuesIn(Operations()),
                         [](const auto& row) { return row.param.name + std::to_string(row.index); });

TEST_P(ForwardingDeathTest, EndsTheProcessWhenItsComponentIsMissing) {
    GetParam().emptyHandle(m_camera);
    EXPECT_DEATH(static_cast<void>(GetParam().invoke(m_camera)), "px != 0");
}

using EmptyHandleDeathTest = CameraTest;

TEST_F(EmptyHandleDeathTest, EndsTheProcessOutsideTheFamilyToo) {
    m_camera.m_pIso.reset();
    m_camera.m_pPropertyManager.reset();
    EXPECT_DEATH(static_cast<void>(m_camera.StopCapture()), "px != 0");
    EXPECT_DEATH(static_cast<void>(m_camera.SetTriggerDelay(&g_property, false)), "px != 0");
    EXPECT_DEATH(static_cast<void>(m_camera.SetAllIO(nullptr, 0, 0)), "px != 0");
    EXPECT_DEATH(static_cast<void>(m_camera.ReleaseAllIO()), "px != 0");
}

using TriggerDelayTest = CameraTest;

/// The getters' writing of the type is the sweep's.
TEST_F(TriggerDelayTest, IsAPropertyWhoseTypeTheSetterDoesNotWriteIntoTheCallersRecord) {
    Property delay;
    delay.type = WHITE_BALANCE;
    delay.valueA = 1234;
    delay.reserved[7] = 77;
    for (const char flag : {'0', '1'}) {
        EXPECT_EQ(m_camera.SetTriggerDelay(&delay, flag == '1'), ERR_OK);
        EXPECT_EQ(Calls().back().back(), flag);
    }
    EXPECT_EQ(delay.type, WHITE_BALANCE);
    EXPECT_EQ(m_script.lastProperty.type, TRIGGER_DELAY);
    EXPECT_EQ(m_script.lastProperty.valueA, 1234U);
    EXPECT_EQ(m_script.lastProperty.reserved[7], 77U);

    m_script.failures["PropertyManager::SetProperty"] = ComponentFailure();
    EXPECT_TRUE(Says(m_camera.SetTriggerDelay(&delay, false), ERR_TRIGGER_FAILED, "component said 99", 1));
}

TEST_F(TriggerDelayTest, WrapsABusResetBetweenItsTwoChecksTwice) {
    const std::function<Error()> operations[] = {
        [&] { return m_camera.GetTriggerDelayInfo(&g_propertyInfo); },
        [&] { return m_camera.GetTriggerDelay(&g_property); },
        [&] { return m_camera.SetTriggerDelay(&g_property, false); },
    };
    for (const auto& operation : operations) {
        m_script.generations = {kGeneration, kGeneration + 1};
        EXPECT_TRUE(Says(operation(), ERR_INVALID_GENERATION, "Generation count is incorrect.", 2));
    }
    EXPECT_TRUE(Calls().empty());
}

using OtherOperationsTest = CameraTest;

TEST_F(OtherOperationsTest, WrappingReadsTheDescriptionAsAFormat) {
    m_script.failures["Lut::Enable"] = InternalError(1, "a.cpp", "", "", ERR_LUT_FAILED, "100%%%% sure");
    const Error error = m_camera.EnableLUT(true);
    EXPECT_STREQ(error.GetCause().GetDescription(), "100%% sure");
    EXPECT_STREQ(error.GetDescription(), "100% sure");
}

TEST_F(OtherOperationsTest, ConfigurationIsNotImplemented) {
    for (const Error& error : {m_camera.GetConfiguration(nullptr), m_camera.SetConfiguration(nullptr)}) {
        EXPECT_TRUE(Says(error, ERR_NOT_IMPLEMENTED, "This function is not implemented."));
    }
}

TEST_F(OtherOperationsTest, CallbackAndStopLookAtTheStreamAfterTheGuard) {
    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    EXPECT_EQ(m_camera.StopCapture(), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_camera.SetCallback(nullptr, nullptr), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_script.grabStartedQueries, 0);
    EXPECT_EQ(m_camera.Connect(kSerialNumber), ERR_OK);
    EXPECT_TRUE(Says(m_camera.StopCapture(), ERR_ISOCH_NOT_STARTED, "Isoch has not been started."));

    m_script.isGrabStarted = true;
    EXPECT_TRUE(Says(m_camera.SetCallback(&OnImage, nullptr), ERR_ISOCH_ALREADY_STARTED,
                     "Isoch has already been started."));
    EXPECT_TRUE(Calls().empty());
    EXPECT_EQ(m_camera.SetUserBuffers(nullptr, -1, 0), ERR_OK) << "the component's to judge";
    EXPECT_EQ(m_camera.StopCapture(), ERR_OK);
    EXPECT_EQ(Calls().back(), "Iso::StopCapture");
    m_script.failures["Iso::StopCapture"] = ComponentFailure();
    EXPECT_TRUE(Says(m_camera.StopCapture(), ERR_ISOCH_STOP_FAILED, "Error stopping stream.", 1));
}

/// The four operations on events, which are not guarded.
TEST_F(OtherOperationsTest, EventsReachTheComponentOnTheTwoInterfacesThatHaveThem) {
    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    EventOptions options;
    const struct {
        std::string call;
        std::function<Error()> invoke;
        const char* refusal;  ///< null: the sweep has it
    } rows[] = {
        {Script::CallText("EventList::RegisterEvent", &options),
         [&] { return m_camera.RegisterEvent(&options); }, nullptr},
        {Script::CallText("EventList::DeregisterEvent", &options),
         [&] { return m_camera.DeregisterEvent(&options); },
         "Could not de-register event, likely due to it not being registered."},
        {Script::CallText("EventList::RegisterAllEvents", &options),
         [&] { return m_camera.RegisterAllEvents(&options); }, nullptr},
        {"EventList::DeregisterAllEvents", [&] { return m_camera.DeregisterAllEvents(); },
         "Could not de-register all events, likely due to none being registered."},
    };
    const char* const noEvents = "Interface does not support events.";
    const std::string asked = Script::CallText("BusMaster::GetHwInterfaceFromSerialNumber", kSerialNumber);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.call);
        m_script.eventStatus = 0;
        m_script.failures.clear();
        for (int type = -1; type <= 5; ++type) {
            const bool hasEvents = type == 2 || type == 3;
            m_script.interfaceType = type;
            Calls().clear();
            const Error error = row.invoke();
            EXPECT_TRUE(hasEvents ? Says(error, ERR_OK, "") : Says(error, ERR_NOT_IMPLEMENTED, noEvents));
            EXPECT_EQ(Calls(), hasEvents ? (CallList{asked, row.call}) : CallList{asked}) << type;
        }
        m_script.interfaceType = 3;
        m_script.eventStatus = -7;
        const Error error = row.invoke();
        EXPECT_EQ(error, ERR_FAILED);
        EXPECT_TRUE(row.refusal == nullptr || error.GetDescription() == std::string(row.refusal));
        m_script.failures["BusMaster::GetHwInterfaceFromSerialNumber"] = ComponentFailure();
        EXPECT_TRUE(Says(row.invoke(), ERR_NOT_IMPLEMENTED, noEvents));
    }
}

}  // namespace
}  // namespace Zevrin
