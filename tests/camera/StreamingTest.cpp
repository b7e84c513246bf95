#include "Fixture.h"

namespace Zevrin {

namespace {

using StreamingTest = CameraTest;

void OnImage(Image*, const void*) {}

TEST_F(StreamingTest, CallbackIsRefusedWhileTheStreamRuns) {
    Script::Get().isGrabStarted = true;
    const Error error = m_camera.SetCallback(&OnImage, nullptr);
    EXPECT_EQ(error.GetType(), ERR_ISOCH_ALREADY_STARTED);
    EXPECT_STREQ(error.GetDescription(), "Isoch has already been started.");
    EXPECT_EQ(CauseLevels(error), 0);
    EXPECT_TRUE(Calls().empty());
}

TEST_F(StreamingTest, NullCallbackAndRunningUserBuffersAreTheComponentsToJudge) {
    EXPECT_EQ(m_camera.SetCallback(nullptr, nullptr), ERR_OK);
    Script::Get().isGrabStarted = true;
    EXPECT_EQ(m_camera.SetUserBuffers(nullptr, -1, 0), ERR_OK);
    EXPECT_EQ(Calls().size(), 2U);
}

TEST_F(StreamingTest, StopNeedsAStream) {
    const Error error = m_camera.StopCapture();
    EXPECT_EQ(error.GetType(), ERR_ISOCH_NOT_STARTED);
    EXPECT_STREQ(error.GetDescription(), "Isoch has not been started.");
    EXPECT_EQ(CauseLevels(error), 0);
    EXPECT_TRUE(Calls().empty());
}

TEST_F(StreamingTest, StopReportsItsOwnTypeWhateverTheComponentSays) {
    Script::Get().isGrabStarted = true;
    EXPECT_EQ(m_camera.StopCapture(), ERR_OK);
    EXPECT_EQ(Calls(), std::vector<std::string>{"Iso::StopCapture"});

    Script::Get().failures["Iso::StopCapture"] = ComponentFailure();
    const Error error = m_camera.StopCapture();
    EXPECT_EQ(error.GetType(), ERR_ISOCH_STOP_FAILED);
    ExpectOwnSource(error);
    EXPECT_STREQ(error.GetDescription(), "Error stopping stream.");
    EXPECT_STREQ(error.GetCause().GetDescription(), ComponentFailure().GetDescription());
}

TEST_F(StreamingTest, StopAsksTheGuardBeforeTheStream) {
    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    const Error error = m_camera.StopCapture();
    EXPECT_EQ(error.GetType(), ERR_NOT_CONNECTED);
    EXPECT_EQ(CauseLevels(error), 1);
    EXPECT_EQ(m_camera.SetCallback(nullptr, nullptr), ERR_NOT_CONNECTED);
    EXPECT_EQ(Script::Get().grabStartedQueries, 0);
}

}  // namespace

}  // namespace Zevrin
