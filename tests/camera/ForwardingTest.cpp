#include "AllocationCounter.h"
#include "Fixture.h"
#include "InternalError.h"

namespace Zevrin {

namespace {

class ForwardingTest : public CameraTest, public testing::WithParamInterface<Operation> {
  protected:
    static bool IsGuarded() { return GetParam().shape != Shape::kUnguardedPassThrough; }
    static bool IsPassedThrough() {
        return GetParam().shape == Shape::kGuardedPassThrough ||
               GetParam().shape == Shape::kUnguardedPassThrough;
    }
    Error Invoke() { return GetParam().invoke(m_camera); }
};

INSTANTIATE_TEST_SUITE_P(AllOperations, ForwardingTest, testing::ValuesIn(Operations()),
                         [](const auto& row) { return row.param.name; });

TEST_P(ForwardingTest, HandsItsArgumentsToOneComponentOperation) {
    const int holds = BusMasterHolds();
    int holdsInside = -1;
    Script::Get().onCall = [&] { holdsInside = BusMasterHolds(); };
    Script::Get().success = InternalError(3, "Component.cpp", "", "", ERR_OK, "the component's own success");
    const Error error = Invoke();
    EXPECT_EQ(error, ERR_OK);
    EXPECT_STREQ(error.GetSourceFile(), IsPassedThrough() ? "Component.cpp" : "")
        << "own success, or a fresh one";
    EXPECT_EQ(Calls(), std::vector<std::string>{GetParam().expectedCall});
    EXPECT_EQ(holdsInside, holds) << "the guard's hold is gone when the component is called";
    EXPECT_EQ(BusMasterHolds(), holds);
}

TEST_P(ForwardingTest, PassesAFailureUpInItsShape) {
    const Error failure = ComponentFailure();
    Script::Get().failures[GetParam().componentOperation] = failure;
    const int holds = BusMasterHolds();
    const Error error = Invoke();
    const bool hasOwnMessage = GetParam().shape == Shape::kOwnMessage;
    EXPECT_EQ(error.GetType(), hasOwnMessage ? GetParam().failureType : failure.GetType());
    EXPECT_STREQ(error.GetDescription(), hasOwnMessage ? GetParam().failureText : failure.GetDescription());
    EXPECT_EQ(CauseLevels(error), IsPassedThrough() ? 0 : 1);
    if (IsPassedThrough()) {
        EXPECT_STREQ(error.GetSourceFile(), "Component.cpp");
    } else {
        ExpectOwnSource(error);
        EXPECT_STREQ(error.GetCause().GetDescription(), failure.GetDescription());
        EXPECT_EQ(error.GetCause().GetType(), failure.GetType());
    }
    EXPECT_EQ(BusMasterHolds(), holds);
}

TEST_P(ForwardingTest, AsksTheGuardFirst) {
    struct {
        unsigned int generation;
        bool isConnected;
        ErrorType type;
        const char* text;
    } const cases[] = {
        {kGeneration + 1, true, ERR_INVALID_GENERATION, "Generation count is incorrect."},
        {kGeneration, false, ERR_NOT_CONNECTED, "Camera object is not connected to a camera."},
        {kGeneration + 1, false, ERR_INVALID_GENERATION, "Generation count is incorrect."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Calls().clear();
        Script::Get().generations = {c.generation};
        EXPECT_EQ(c.isConnected ? m_camera.Connect(kSerialNumber) : m_camera.Disconnect(), ERR_OK);
        const int holds = BusMasterHolds();
        const Error error = Invoke();
        if (IsGuarded()) {
            EXPECT_EQ(error.GetType(), c.type);
            EXPECT_STREQ(error.GetDescription(), c.text);
            EXPECT_EQ(CauseLevels(error), 1);
            EXPECT_EQ(error.GetCause().GetType(), c.type);
            ExpectOwnSource(error);
            ExpectOwnSource(error.GetCause());
            EXPECT_TRUE(Calls().empty());
        } else {
            EXPECT_EQ(error, ERR_OK);
            EXPECT_EQ(Calls().size(), 1U);
        }
        EXPECT_EQ(BusMasterHolds(), holds);
    }
}

TEST_P(ForwardingTest, AllocatesNothingOnSuccess) {
    Script::Get().isQuiet = true;
    AllocationCounter counter;
    const Error error = Invoke();
    EXPECT_EQ(counter.Stop(), 0);
    EXPECT_EQ(error, ERR_OK);
}

using ForwardingDeathTest = ForwardingTest;

INSTANTIATE_TEST_SUITE_P(AllOperations, ForwardingDeathTest, testing::ValuesIn(Operations()),
                         [](const auto& row) { return row.param.name; });

TEST_P(ForwardingDeathTest, EndsTheProcessWhenItsComponentIsMissing) {
    GetParam().emptyHandle(m_camera);
    EXPECT_DEATH(static_cast<void>(Invoke()), "px != 0");
}

using EmptyHandleDeathTest = CameraTest;

TEST_F(EmptyHandleDeathTest, EndsTheProcessOutsideTheFamilyToo) {
    m_camera.m_pIso.reset();
    EXPECT_DEATH(static_cast<void>(m_camera.StopCapture()), "px != 0");
    m_camera.m_pPropertyManager.reset();
    const Property delay;
    EXPECT_DEATH(static_cast<void>(m_camera.SetTriggerDelay(&delay, false)), "px != 0");
    EXPECT_DEATH(static_cast<void>(m_camera.SetAllIO(nullptr, 0, 0)), "px != 0");
    EXPECT_DEATH(static_cast<void>(m_camera.ReleaseAllIO()), "px != 0");
}

using TriggerDelayTest = CameraTest;

TEST_F(TriggerDelayTest, GettersWriteTheTypeIntoTheCallersRecordAndTheSetterDoesNot) {
    PropertyInfo info;
    info.type = WHITE_BALANCE;
    EXPECT_EQ(m_camera.GetTriggerDelayInfo(&info), ERR_OK);
    EXPECT_EQ(info.type, TRIGGER_DELAY);

    Property delay;
    delay.type = WHITE_BALANCE;
    EXPECT_EQ(m_camera.GetTriggerDelay(&delay), ERR_OK);
    EXPECT_EQ(delay.type, TRIGGER_DELAY);

    delay.type = WHITE_BALANCE;
    delay.valueA = 1234;
    delay.reserved[7] = 77;
    Calls().clear();
    EXPECT_EQ(m_camera.SetTriggerDelay(&delay, true), ERR_OK);
    EXPECT_EQ(delay.type, WHITE_BALANCE);
    ASSERT_EQ(Calls().size(), 1U);
    EXPECT_EQ(Calls()[0].find(Script::CallText("PropertyManager::SetProperty", &delay)), std::string::npos)
        << "the component was given the caller's own record";
    const Property& seen = Script::Get().lastProperty;
    EXPECT_EQ(seen.type, TRIGGER_DELAY);
    EXPECT_EQ(seen.valueA, 1234U);
    EXPECT_EQ(seen.reserved[7], 77U);
}

TEST_F(TriggerDelayTest, SetterHandsItsFlagOn) {
    const Property delay;
    for (const char flag : {'0', '1'}) {
        EXPECT_EQ(m_camera.SetTriggerDelay(&delay, flag == '1'), ERR_OK);
        EXPECT_EQ(Calls().back().back(), flag);
    }
}

TEST_F(TriggerDelayTest, LeavesTheCallersRecordAloneWhenTheGuardFails) {
    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    PropertyInfo info;
    info.type = WHITE_BALANCE;
    EXPECT_EQ(m_camera.GetTriggerDelayInfo(&info), ERR_NOT_CONNECTED);
    EXPECT_EQ(info.type, WHITE_BALANCE);
    Property delay;
    delay.type = WHITE_BALANCE;
    EXPECT_EQ(m_camera.GetTriggerDelay(&delay), ERR_NOT_CONNECTED);
    EXPECT_EQ(delay.type, WHITE_BALANCE);
}

TEST_F(TriggerDelayTest, WrapsABusResetBetweenItsTwoChecksTwice) {
    Property delay;
    PropertyInfo info;
    const std::function<Error()> operations[] = {
        [&] { return m_camera.GetTriggerDelayInfo(&info); },
        [&] { return m_camera.GetTriggerDelay(&delay); },
        [&] { return m_camera.SetTriggerDelay(&delay, false); },
    };
    for (const auto& operation : operations) {
        Script::Get().generations = {kGeneration, kGeneration + 1};
        const Error error = operation();
        EXPECT_EQ(error.GetType(), ERR_INVALID_GENERATION);
        EXPECT_STREQ(error.GetDescription(), "Generation count is incorrect.");
        EXPECT_EQ(CauseLevels(error), 2);
    }
    EXPECT_TRUE(Calls().empty());
}

TEST_F(TriggerDelayTest, SetterWrapsAComponentFailureOnce) {
    Script::Get().failures["PropertyManager::SetProperty"] = ComponentFailure();
    const Property delay;
    const Error error = m_camera.SetTriggerDelay(&delay, false);
    EXPECT_EQ(error.GetType(), ERR_TRIGGER_FAILED);
    EXPECT_EQ(CauseLevels(error), 1);
}

using WrappingTest = CameraTest;

TEST_F(WrappingTest, ReadsTheDescriptionAsAFormat) {
    Script::Get().failures["Lut::Enable"] = InternalError(1, "a.cpp", "", "", ERR_LUT_FAILED, "100%%%% sure");
    const Error error = m_camera.EnableLUT(true);
    EXPECT_STREQ(error.GetCause().GetDescription(), "100%% sure");
    EXPECT_STREQ(error.GetDescription(), "100% sure");
}

using ConfigurationTest = CameraTest;

TEST_F(ConfigurationTest, IsNotImplementedWhateverTheStateAndTheArgument) {
    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    const ZevrinConfig config;
    for (const Error& error : {m_camera.GetConfiguration(nullptr), m_camera.SetConfiguration(nullptr),
                               m_camera.SetConfiguration(&config)}) {
        EXPECT_EQ(error, ERR_NOT_IMPLEMENTED);
        EXPECT_STREQ(error.GetDescription(), "This function is not implemented.");
        EXPECT_EQ(CauseLevels(error), 0);
    }
    EXPECT_TRUE(Calls().empty());
}

}  // namespace

}  // namespace Zevrin
