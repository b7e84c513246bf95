#include <boost/preprocessor/cat.hpp>
#include <boost/preprocessor/tuple/elem.hpp>
#include <tuple>

#include "Fixture.h"

namespace Zevrin {
namespace {

void OnImage(Image*, const void*) {}

/// What an operation is given at one of its places: like nothing else of its type.
template <typename Parameter>
Parameter Given(std::size_t* pPlace, bool flag) {
    const std::size_t place = (*pPlace)++;
    using Pointee = std::remove_const_t<std::remove_pointer_t<Parameter>>;
    if constexpr (std::is_same_v<Parameter, bool>) {
        return flag;
    } else if constexpr (std::is_same_v<Parameter, ImageCallback>) {
        return &OnImage;
    } else if constexpr (std::is_pointer_v<Parameter>) {
        static std::conditional_t<std::is_void_v<Pointee>, char, Pointee> records[4];
        return &records[place];
    } else {
        return static_cast<Parameter>(0x80000100U + place);
    }
}

/// What an operation makes of the component's result.
struct Shape {
    bool isOwn;           ///< a fresh success, a failure that wraps the component's
    const char* message;  ///< in place of the component's
};
constexpr Shape kPassed{false, nullptr};
constexpr Shape kWrapped{true, nullptr};
constexpr Shape kNoCallback{true, "Failed to set callback data."};
constexpr Shape kNoBuffers{true, "Failed setting user buffers."};

class ForwardingTest : public CameraTest {
  protected:
    ForwardingTest() {
        m_script.onCall = [this] { m_holdsInside = BusMasterHolds(); };
        m_script.success = InternalError(3, "Component.cpp", "", "", ERR_OK, "the component's own success");
        m_script.registers[0x80000100U] = 0;  // which is allocated here
    }

    /// Hands its arguments to one operation of a component, whose handle must not be empty.
    template <typename Component, typename... Parameters>
    void Expect(const char* componentOperation, Error (CameraInternal::*operation)(Parameters...),
                boost::shared_ptr<Component> CameraInternal::*handle, const Shape& shape) {
        for (const bool flag : {false, true}) {
            std::size_t place = 0;
            const std::tuple<Parameters...> given{Given<Parameters>(&place, flag)...};
            const auto invoke = [&] {
                return std::apply([&](auto... values) { return (m_camera.*operation)(values...); }, given);
            };
            const auto call = [&](auto... values) { return Script::CallText(componentOperation, values...); };
            ExpectSuccess(invoke, std::apply(call, given), shape);
            m_script.failures = {{componentOperation, ComponentFailure()}};
            ExpectFailure(invoke(), shape);
            m_script.failures.clear();
            EXPECT_DEATH(((m_camera.*handle).reset(), static_cast<void>(invoke())), "px != 0");
        }
    }

    /// Nothing is allocated, and the guard's hold on the bus manager is gone when the component is called.
    template <typename Invoke>
    void ExpectSuccess(const Invoke& invoke, const std::string& call, const Shape& shape) {
        Calls().clear();
        const int allocations = Script::t_allocations;
        const Error error = invoke();
        EXPECT_EQ(Script::t_allocations, allocations);
        EXPECT_EQ(error, ERR_OK);
        EXPECT_STREQ(error.GetSourceFile(), shape.isOwn ? "" : "Component.cpp");
        EXPECT_EQ(Calls(), CallList{call});
        EXPECT_EQ(m_holdsInside, BusMasterHolds());
    }

    /// Which of the camera object's files noticed it is its own affair; all say that it was this one.
    static void ExpectFailure(const Error& error, const Shape& shape) {
        const Error failure = ComponentFailure();
        EXPECT_TRUE(Says(error, shape.message != nullptr ? ERR_FAILED : failure.GetType(),
                         shape.message != nullptr ? shape.message : failure.GetDescription(), shape.isOwn));
        EXPECT_TRUE(
            Says(shape.isOwn ? error.GetCause() : error, failure.GetType(), failure.GetDescription()));
        EXPECT_STREQ(error.GetSourceFile(), shape.isOwn ? "CameraInternal.cpp" : "Component.cpp");
        EXPECT_GT(error.GetSourceLine(), 0);
        EXPECT_EQ(std::string(error.GetBuildDate()).size(), shape.isOwn ? sizeof "Oct 15 2018" - 1 : 0);
        EXPECT_EQ(std::string(error.GetBuildTime()).size(), shape.isOwn ? sizeof "22:23:22" - 1 : 0);
    }

    int m_holdsInside = -1;
};

#define FORWARDS_AS(operation, component, componentOperation, shape)                          \
    {                                                                                         \
        SCOPED_TRACE(BOOST_PP_STRINGIZE(operation));                                          \
        Expect(BOOST_PP_STRINGIZE(component::componentOperation), &CameraInternal::operation, \
                                  &TestCamera::BOOST_PP_CAT(m_p, component), shape);          \
    }
#define FORWARDS_EACH(unused, row, operation) \
    FORWARDS_AS(operation, BOOST_PP_TUPLE_ELEM(0, row), operation, BOOST_PP_TUPLE_ELEM(1, row))
#define FORWARDS(component, shape, operations) \
    BOOST_PP_SEQ_FOR_EACH(FORWARDS_EACH, (component, shape), operations)

TEST_F(ForwardingTest, EachOperationCallsItsOwnOfAComponent) {
    FORWARDS(IOBase, kWrapped, (ReadRegister)(WriteRegister)(ReadRegisterBlock)(WriteRegisterBlock))
    FORWARDS(IOBase, kWrapped, (ReadBaseRegister)(WriteBaseRegister))
    FORWARDS(PropertyManager, kPassed, (GetPropertyInfo)(GetProperty)(SetProperty))
    FORWARDS_AS(GetTriggerDelayInfo, PropertyManager, GetPropertyInfo, kWrapped)
    FORWARDS_AS(GetTriggerDelay, PropertyManager, GetProperty, kWrapped)
    FORWARDS(Trigger, kWrapped, (GetTriggerModeInfo)(GetTriggerMode)(SetTriggerMode)(FireSoftwareTrigger))
    FORWARDS(Strobe, kWrapped, (GetStrobeInfo)(GetStrobe)(SetStrobe))
    FORWARDS_AS(GetLUTInfo, Lut, QuerySupport, kWrapped)
    FORWARDS_AS(GetLUTBankInfo, Lut, QueryBankStatus, kWrapped)
    FORWARDS_AS(GetActiveLUTBank, Lut, GetActiveBank, kWrapped)
    FORWARDS_AS(SetActiveLUTBank, Lut, SetActiveBank, kWrapped)
    FORWARDS_AS(EnableLUT, Lut, Enable, kWrapped)
    FORWARDS_AS(GetLUTChannel, Lut, GetChannel, kWrapped)
    FORWARDS_AS(SetLUTChannel, Lut, SetChannel, kWrapped)
    FORWARDS(MemoryChannel, kWrapped, (GetMemoryChannel)(GetMemoryChannelInfo))
    FORWARDS(MemoryChannel, kWrapped, (SaveToMemoryChannel)(RestoreFromMemoryChannel))
    FORWARDS(Iso, kPassed, (GetBayerFormat))
    FORWARDS(Iso, kWrapped, (RetrieveBuffer)(WaitForBufferEvent))
    FORWARDS(Iso, kNoCallback, (SetCallback))
    FORWARDS(Iso, kNoBuffers, (SetUserBuffers))
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
}

TEST_F(TriggerDelayTest, WrapsABusResetBetweenItsTwoChecksTwice) {
    Property delay;
    PropertyInfo info;
    const auto camera = [&]() -> TestCamera& {
        m_script.generations = {kGeneration, kGeneration + 1};
        return m_camera;
    };
    for (const Error& error : {camera().GetTriggerDelayInfo(&info), camera().GetTriggerDelay(&delay),
                               camera().SetTriggerDelay(&delay, false)}) {
        EXPECT_TRUE(Says(error, ERR_INVALID_GENERATION, "Generation count is incorrect.", 2));
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
    for (const bool isStarted : {false, true}) {
        m_script.isGrabStarted = isStarted;
        EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
        EXPECT_EQ(m_camera.StopCapture(), ERR_NOT_CONNECTED);
        EXPECT_EQ(m_camera.SetCallback(nullptr, nullptr), ERR_NOT_CONNECTED);
        EXPECT_EQ(m_camera.Connect(kSerialNumber), ERR_OK);
        EXPECT_TRUE(isStarted
                        ? Says(m_camera.SetCallback(&OnImage, nullptr), ERR_ISOCH_ALREADY_STARTED,
                               "Isoch has already been started.")
                        : Says(m_camera.StopCapture(), ERR_ISOCH_NOT_STARTED, "Isoch has not been started."));
        EXPECT_TRUE(Calls().empty());
    }
    EXPECT_EQ(m_camera.SetUserBuffers(nullptr, -1, 0), ERR_OK) << "the component's to judge";
    EXPECT_EQ(m_camera.StopCapture(), ERR_OK);
    EXPECT_EQ(Calls().back(), "Iso::StopCapture");
    m_script.failures["Iso::StopCapture"] = ComponentFailure();
    EXPECT_TRUE(Says(m_camera.StopCapture(), ERR_ISOCH_STOP_FAILED, "Error stopping stream.", 1));
}

/// The four operations on events, which are not guarded.
TEST_F(OtherOperationsTest, EventsReachTheComponentOnTheTwoInterfacesThatHaveThem) {
    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    const std::string lookUp = "BusMaster::GetHwInterfaceFromSerialNumber";
    const auto expect = [&](const std::string& call, const auto& invoke, const char* refusal) {
        SCOPED_TRACE(call);
        for (int type = -1; type <= 6; ++type) {
            m_script.interfaceTypes[kSerialNumber] = type < 6 ? type : 3;
            if (type == 6) {
                m_script.failures = {{lookUp, ComponentFailure()}};
            }
            const bool hasEvents = type == 2 || type == 3;
            Calls().clear();
            EXPECT_TRUE(hasEvents
                            ? Says(invoke(), ERR_OK, "")
                            : Says(invoke(), ERR_NOT_IMPLEMENTED, "Interface does not support events."));
            CallList expected = {Script::CallText(lookUp, kSerialNumber), call};
            expected.resize(hasEvents ? 2 : 1);
            EXPECT_EQ(Calls(), expected) << type;
        }
        m_script.failures.clear();
        m_script.eventStatus = -7;
        EXPECT_TRUE(Says(invoke(), ERR_FAILED, refusal));
        m_script.eventStatus = 0;
    };
    EventOptions options;
    expect(
        Script::CallText("EventList::RegisterEvent", &options),
        [&] { return m_camera.RegisterEvent(&options); },
        "Could not register event, likely due to it already being registered. De-register it first, and try "
        "again.");
    expect(
        Script::CallText("EventList::DeregisterEvent", &options),
        [&] { return m_camera.DeregisterEvent(&options); },
        "Could not de-register event, likely due to it not being registered.");
    expect(
        Script::CallText("EventList::RegisterAllEvents", &options),
        [&] { return m_camera.RegisterAllEvents(&options); },
        "Could not register all events, likely due to at least one already being registered. De-register all "
        "events and try again.");
    expect(
        "EventList::DeregisterAllEvents", [&] { return m_camera.DeregisterAllEvents(); },
        "Could not de-register all events, likely due to none being registered.");
}

}  // namespace
}  // namespace Zevrin
